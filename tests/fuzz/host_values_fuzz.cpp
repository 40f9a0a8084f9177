// Host dictionaries of any shape converted to CoreFoundation and back
// through the plug-in: the input builds a Dictionary (strings in every host
// encoding, numbers, Booleans, dates, memory blocks, folder items, nested
// dictionaries, arrays of every element type, variants of every type code,
// plug-in objects), and "CopyMatching" sends it to the framework. This
// program answers for the framework with the query itself, so the plug-in
// converts it back into a host variant. Nothing may leak or be released
// twice on either side.
#include <CoreFoundation/CFLiveObjects.h>
#include <Security/Security.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"
#include "plugin_host/host.h"

using plugin_host::Host;
using plugin_host::Value;

extern "C" OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result) {
  if (result) *result = CFRetain(query);
  return errSecSuccess;
}

namespace {

const uint32_t kEncodings[] = {kREALEncodingUTF8,    kREALEncodingMacRoman,  kREALEncodingASCII,
                               kREALEncodingUTF16,   kREALEncodingUTF16LE,   kREALEncodingUTF16BE,
                               kREALEncodingUTF32,   kREALEncodingISOLatin1, kREALEncodingWindowsLatin1,
                               kREALEncodingUnknown, 0x12345678u};
const char kDeclaration[] = "CopyMatching(Query as dictionary, byref result as variant) as boolean";

Host& TheHost() {
  static Host* host = [] {
    plugin_host::HostOptions options;
    options.standIns = {{"CFObjectZNQ", true, 8 * sizeof(void*)}};
    auto* h = new Host(options);
    if (!h->Load(KC_PLUGIN_PATH)) abort();
    return h;
  }();
  return *host;
}

Value Build(Host& h, FuzzInput& in, int depth);

// Dictionary keys and values are variants: strings go in boxed.
Value BuildBoxed(Host& h, FuzzInput& in, int depth) {
  Value v = Build(h, in, depth);
  return v.kind() == plugin_host::Kind::String ? h.Variant(v) : v;
}

Value Build(Host& h, FuzzInput& in, int depth) {
  const uint8_t op = in.Byte();
  const size_t count = depth < 6 ? in.Byte() % 5 : 0;
  switch (op % 16) {
    case 0: return Value();
    case 1: return h.String(in.Bytes(in.Byte() % 24), kEncodings[in.Byte() % 11]);
    case 2: return h.Variant(Value::Int64(int64_t(in.Number(8))));
    case 3: {
      double d;
      uint64_t bits = in.Number(8);
      std::memcpy(&d, &bits, sizeof d);
      return h.Variant(Value::Double(d));
    }
    case 4: return h.Variant(Value::Boolean(in.Byte() & 1));
    case 5: {
      plugin_host::DateFields f;
      f.year = int(int16_t(in.Number(2)));
      f.month = int8_t(in.Byte());
      f.day = int8_t(in.Byte());
      f.second = int8_t(in.Byte());
      return h.Date(f);
    }
    case 6: return h.MemoryBlock(in.Bytes(in.Byte() % 32));
    case 7: {
      Value d = h.Dictionary();
      for (size_t i = 0; i < count; ++i) {
        Value key = BuildBoxed(h, in, depth + 1);
        h.DictionarySet(d, key, BuildBoxed(h, in, depth + 1));
      }
      return d;
    }
    case 8: {
      std::vector<Value> elements;
      for (size_t i = 0; i < count; ++i) elements.push_back(Build(h, in, depth + 1));
      for (Value& e : elements)
        if (e.kind() != plugin_host::Kind::Object) e = Value();
      return h.Array(4, elements);
    }
    case 9: {
      std::vector<Value> elements;
      for (size_t i = 0; i < count; ++i) elements.push_back(h.String(in.Bytes(in.Byte() % 8), kEncodings[in.Byte() % 11]));
      return h.Array(3, elements);
    }
    case 10: {
      // Arrays of scalars: Int32, Double, Boolean, UInt8, Int64, Single.
      static const int kTypes[] = {0, 2, 16, 5, 11, 1};
      const int type = kTypes[in.Byte() % 6];
      std::vector<Value> elements;
      for (size_t i = 0; i < count; ++i) {
        const uint64_t n = in.Number(4);
        elements.push_back(type == 16 ? Value::Boolean(n & 1)
                           : type == 2 || type == 1 ? Value::Double(double(int32_t(n)) / 3)
                                                    : Value::Int64(int64_t(int32_t(n))));
      }
      return h.Array(type, elements);
    }
    case 11: return h.TextVariant(int32_t(in.Byte()), in.Bytes(in.Byte() % 16));
    case 12: return h.CurrencyVariant(int64_t(in.Number(8)));
    case 13: return h.FolderItem(in.Bytes(in.Byte() % 32));
    case 14: {
      static const char* kClasses[] = {"KeychainZNQ", "KeychainItemZNQ", "KeychainSearchZNQ", "CFObjectZNQ"};
      Value o = h.NewInstance(kClasses[in.Byte() % 4]);
      if (h.ClassName(o) == "CFObjectZNQ" && (in.Byte() & 1)) {
        CFTypeRef held = CFStringCreateWithCString(nullptr, "held", kCFStringEncodingUTF8);
        std::memcpy(h.InstanceData(o), &held, sizeof held);
      }
      return o;
    }
    default: return h.Variant(in.Byte() & 1 ? Value::Single(float(int32_t(in.Number(4))))
                                            : Value::Color(RBColor(in.Number(3))));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Host& h = TheHost();
  const size_t objects = h.LiveObjects(), strings = h.LiveStrings();
  const CFIndex cfObjects = CFLiveObjectsGetTotalCount();
  {
    FuzzInput in(data, size);
    Value query = h.Dictionary();
    while (!in.empty()) {
      Value key = BuildBoxed(h, in, 1);
      h.DictionarySet(query, key, BuildBoxed(h, in, 1));
    }
    Value result;
    plugin_host::CallResult r = h.CallShared("KeychainManagerZNQ", kDeclaration, {query, plugin_host::Arg::ByRef(result)});
    if (!r.ok) abort();
    h.TakeException();
  }
  if (h.LiveObjects() != objects || h.LiveStrings() != strings || h.BadReleases() != 0 ||
      !h.Problems().empty() || CFLiveObjectsGetTotalCount() != cfObjects)
    abort();
  return 0;
}
