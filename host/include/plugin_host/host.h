// The plug-in host runtime, as a host program (a test, a tool) uses it.
//
//   plugin_host::HostOptions opt;
//   opt.version = 2014.0;
//   plugin_host::Host host(opt);
//   ASSERT_TRUE(host.Load(pluginPath));
//   auto r = host.CallShared("MyModule", "Greet(name as string) as string",
//                            {host.String("Ann")});
//   ASSERT_TRUE(r.ok) << r.error;
//   EXPECT_EQ(host.StringBytes(r.value), "Hello Ann");
//
// A Host loads one plug-in, answers its resolver, keeps its classes and
// objects, and calls its methods by their exact declaration text. Each Host
// loads a private copy of the plug-in file, so every Host starts the plug-in's
// process-wide state afresh.
//
// Ownership: every Value the Host hands back owns one lock (see value.h);
// arguments are lent to the plug-in for the call. Destroy every Value before
// its Host. Host functions the plug-in calls find their Host as the one that
// is active: a Host becomes active when it is made and whenever one of its
// functions runs, so several Hosts may live at once, used from one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host_plugin_interface.h"
#include "plugin_host/value.h"

namespace plugin_host {

// A class the host program adds, such as a stand-in for a wrapper class of a
// sibling plug-in. Its instance data is dataSize bytes, zero-filled; with
// writesTag its constructor stores 0x52424346 in word 2 of the instance data,
// and its destructor releases (CFRelease) a reference left in word 0.
struct StandInClass {
  std::string name;
  bool writesTag = true;
  size_t dataSize = 8 * sizeof(void*);
};

struct HostOptions {
  // What "REALGetRBVersion" reports; without a value that name is withheld.
  std::optional<double> version = 2014.0;
  // Whether word 2 of an array object points at its element storage.
  bool arraysExposeStorage = false;
  // Host names the resolver answers with null.
  std::set<std::string> withheld;
  std::vector<StandInClass> standIns;
};

// What the plug-in registered, as the host read it from its records.
struct MethodInfo {
  std::string declaration;
  bool hasSetter = false;  // a property-like method
  RBWord flags = 0;
};
struct PropertyInfo {
  std::string name;
  std::string type;
  RBWord flags = 0;
  bool storedGetter = false;  // getter -1: the host reads the field itself
  bool storedSetter = false;  // setter -1
  bool readOnly = false;      // no setter
  RBWord param = 0;
};
struct DefinitionInfo {
  std::string name;
  std::string superName;   // classes only
  int layoutVersion = 0;   // word 0 of the record as registered
  size_t dataSize = 0;     // classes only, as the record carries it
  RBWord flags = 0;        // classes only
  bool hasConstructor = false;
  bool hasDestructor = false;
  const RBWord* record = nullptr;  // the plug-in's own record
  std::vector<MethodInfo> methods;  // with classes: methods, then methods2
  std::vector<PropertyInfo> properties;
  std::vector<std::string> constants;  // declarations: "Name = value"
};

// Result of a call into the plug-in. ok is false when the host refused the
// call (unknown declaration, arguments that do not match it); the method
// was then not called and error says why.
struct CallResult {
  bool ok = false;
  std::string error;
  Value value;  // the method's result (nil for none), owned
};

// An exception the plug-in raised and the host kept pending.
struct ExceptionInfo {
  std::string className;
  std::string message;  // the bytes of "Message"
  RBInteger errorNumber = 0;
};

struct DateFields {
  int year = 2001, month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

class Runtime;

class Host {
 public:
  explicit Host(HostOptions options = HostOptions());
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // ---- Loading --------------------------------------------------------------
  // Loads a private copy of the plug-in and runs its REALPluginMain once.
  bool Load(const std::string& pluginPath, std::string* error = nullptr);
  // The layout version the plug-in announced, or -1.
  int announcedLayoutVersion() const;
  // How often the plug-in asked the resolver for a name (withheld or not).
  int LookupCount(const std::string& hostName) const;
  // The address the resolver gives for a name (counted like the plug-in's).
  void* Resolve(const char* hostName);

  const DefinitionInfo* Module(const std::string& name) const;
  const DefinitionInfo* Class(const std::string& name) const;  // plug-in classes
  // The registered declaration of a module's or class's method with this name
  // and these parameter types ("string", "KeychainZNQ", "byref memoryblock",
  // "KeychainZNQ()"; any case), so that a program can pick an overload
  // without writing its declaration out. Empty when none matches.
  std::string DeclarationOf(const std::string& owner, const std::string& name,
                            const std::vector<std::string>& parameterTypes) const;
  // The text after " = " of a module's or class's constant.
  std::optional<std::string> Constant(const std::string& owner, const std::string& name) const;

  // ---- Making values (each with one lock for the caller) --------------------
  Value String(std::string_view bytes, uint32_t encoding = kREALEncodingUTF8);
  Value NewInstance(const std::string& className);  // constructor runs; nil if unknown
  Value MemoryBlock(std::string_view bytes);
  Value Date(const DateFields& fields);
  Value FolderItem(const std::string& path);
  Value Dictionary();
  bool DictionarySet(const Value& dict, const Value& key, const Value& value);
  // An array of an element type code; elements given as Values of the
  // matching kind (strings for 3, objects or nil for 4, ...).
  Value Array(int elementType, const std::vector<Value>& elements);
  // A variant boxing a scalar or a string (type codes 2, 3, 4, 5, 8, 11, 16;
  // an Integer boxes as 3 on 64-bit). Objects are their own variants: VarType
  // gives 7 for a date, 0x1000 + code for an array and 9 for other objects.
  Value Variant(const Value& v);
  Value CurrencyVariant(int64_t tenThousandths);  // type code 6
  // A variant of any other type code that holds only its text (18 CString,
  // 21 CFStringRef, 23 OSType, ...); its StringValue is the text.
  Value TextVariant(int32_t typeCode, std::string_view text);

  // ---- Calling ----------------------------------------------------------------
  // A module's shared method, by its exact declaration text.
  CallResult CallShared(const std::string& module, const std::string& declaration,
                        const std::vector<Arg>& args = {});
  // A class method (the object's class or one it inherits from).
  CallResult CallMethod(const Value& object, const std::string& declaration,
                        const std::vector<Arg>& args = {});
  // Assigning to a property-like method: its setter gets args, then value.
  CallResult AssignShared(const std::string& module, const std::string& declaration,
                          const std::vector<Arg>& args, const Value& value);
  CallResult AssignMethod(const Value& object, const std::string& declaration,
                          const std::vector<Arg>& args, const Value& value);
  // Properties by name: of plug-in classes and modules, and of the built-in
  // classes (Date fields, exception Message and ErrorNumber, variant
  // accessors, dictionary Count).
  CallResult GetProperty(const Value& object, const std::string& name);
  CallResult SetProperty(const Value& object, const std::string& name, const Value& value);
  CallResult GetModuleProperty(const std::string& module, const std::string& name);
  CallResult SetModuleProperty(const std::string& module, const std::string& name,
                               const Value& value);

  // The exception a call raised, handed over once. It stays pending until
  // taken or until a later call raises another; reading properties in
  // between leaves it alone.
  std::optional<ExceptionInfo> TakeException();

  // ---- Reading values ---------------------------------------------------------
  std::string ClassName(const Value& object) const;
  bool IsA(const Value& object, const std::string& className) const;
  unsigned char* InstanceData(const Value& object) const;  // byte 24; null if not an object
  RBInteger LockCount(const Value& handle) const;         // -1 if not a live host value

  std::string StringBytes(const Value& str) const;  // as stored
  uint32_t StringEncoding(const Value& str) const;  // 0xFFFF for nil
  std::string StringUTF8(const Value& str) const;   // converted from its encoding

  std::string MemoryBlockBytes(const Value& block) const;

  int ArrayElementType(const Value& array) const;  // -1 if not an array
  RBInteger ArrayUBound(const Value& array) const;
  Value ArrayElement(const Value& array, RBInteger index) const;

  int32_t VariantType(const Value& v) const;  // what "VarType" gives
  Value VariantValue(const Value& v) const;   // the scalar or string a variant boxes

  RBInteger DictionaryCount(const Value& dict) const;
  Value DictionaryKey(const Value& dict, RBInteger index) const;
  Value DictionaryValueAt(const Value& dict, RBInteger index) const;
  Value DictionaryLookup(const Value& dict, const Value& key) const;  // nil if absent

  std::optional<DateFields> DateOf(const Value& date) const;
  std::string FolderItemPath(const Value& item) const;

  // ---- Accounting ---------------------------------------------------------------
  size_t LiveObjects() const;  // every object, arrays included
  size_t LiveStrings() const;
  size_t LiveArrays() const;
  size_t LiveInstances(const std::string& className) const;
  // String data records ("PluginGetStringData") filled and not yet disposed
  // (counted while the host offers "PluginDisposeStringData").
  size_t LiveStringData() const;
  // Unlocks of values that had no lock left, or of pointers that were never
  // host values: counted and described, never acted on.
  size_t BadReleases() const;
  std::vector<std::string> Problems() const;

  Runtime& runtime() { return *rt_; }

 private:
  std::unique_ptr<Runtime> rt_;
};

}  // namespace plugin_host
