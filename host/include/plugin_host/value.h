// Values a host program holds: scalars, and locks on host strings and objects.
//
// A Value that holds a string or an object owns exactly one lock on it:
// copying a Value locks the handle again, destroying it unlocks it. Values
// must not outlive the Host that made them.
#pragma once

#include <cstdint>
#include <utility>

#include "host_plugin_interface.h"

namespace plugin_host {

enum class Kind {
  Nil,  // a nil string or a nil object
  Integer,
  Int32,
  Int64,
  Boolean,
  Single,
  Double,
  Color,
  String,
  Object  // any host object: instances, variants, arrays, dictionaries, ...
};

class Value {
 public:
  Value() = default;  // nil
  ~Value();
  Value(const Value& other);
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other);
  Value& operator=(Value&& other) noexcept;

  static Value Integer(RBInteger v);
  static Value Int32(int32_t v);
  static Value Int64(int64_t v);
  static Value Boolean(bool v);
  static Value Single(float v);
  static Value Double(double v);
  static Value Color(RBColor v);

  // Takes over one lock the caller holds (null gives nil).
  static Value AdoptString(REALstring s);
  static Value AdoptObject(REALobject o);
  // Takes a new lock of its own (null gives nil).
  static Value RetainString(REALstring s);
  static Value RetainObject(REALobject o);

  Kind kind() const { return kind_; }
  bool isNil() const { return kind_ == Kind::Nil; }

  // Scalars: each reads its own kind; integer kinds read each other, as do
  // the two floating-point kinds.
  RBInteger integer() const;
  int32_t int32() const { return static_cast<int32_t>(integer()); }
  int64_t int64() const;
  bool boolean() const { return kind_ == Kind::Boolean && b_; }
  float single() const { return static_cast<float>(real()); }
  double real() const;
  RBColor color() const { return kind_ == Kind::Color ? static_cast<RBColor>(i_) : 0; }

  // Handles stay owned by this Value; null unless the kind matches.
  REALstring string() const { return kind_ == Kind::String ? str_ : nullptr; }
  REALobject object() const { return kind_ == Kind::Object ? obj_ : nullptr; }

  // Gives the lock to the caller and leaves this Value nil.
  REALstring releaseString();
  REALobject releaseObject();

  void reset();  // unlocks and becomes nil

 private:
  void lock() const;
  void unlock() const;

  // One field is in use, the one of kind_: a host keeps hundreds of
  // thousands of these inside dictionaries and variants.
  Kind kind_ = Kind::Nil;
  union {
    int64_t i_ = 0;
    double d_;
    bool b_;
    REALstring str_;
    REALobject obj_;
  };
};

// One argument of a call: a value passed as it is (the host program keeps its
// lock; the plug-in borrows it), or a by-reference slot. For a by-reference
// argument the host hands the plug-in a pointer to a slot that holds the
// Value's handle or scalar; after the call the Value holds what the slot holds
// then, with the lock that came with it.
class Arg {
 public:
  Arg(const Value& v) : value_(&v) {}  // NOLINT: implicit by design
  static Arg ByRef(Value& slot) {
    Arg a(slot);
    a.slot_ = &slot;
    return a;
  }
  const Value& value() const { return *value_; }
  Value* slot() const { return slot_; }

 private:
  const Value* value_;
  Value* slot_ = nullptr;
};

}  // namespace plugin_host
