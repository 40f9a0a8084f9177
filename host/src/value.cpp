// Value: a host program's scalar or its one lock on a host string or object.
#include "runtime.h"

namespace plugin_host {

namespace {

Runtime* RuntimeOfObject(REALobject o) {
  auto* head = reinterpret_cast<ObjectHead*>(o);
  if (head->magic != kObjectMagic || head->state == nullptr) return Runtime::Current();
  return head->state->rt;
}

Runtime* RuntimeOfString(REALstring s) {
  auto* rec = reinterpret_cast<StrRec*>(s);
  if (rec->magic != kStringMagic) return Runtime::Current();
  return static_cast<Runtime*>(ValueArena::OwnerOf(s));
}

}  // namespace

Value::~Value() { unlock(); }

Value::Value(const Value& other) : kind_(other.kind_), i_(other.i_) { lock(); }

Value::Value(Value&& other) noexcept : kind_(other.kind_), i_(other.i_) {
  other.kind_ = Kind::Nil;
  other.i_ = 0;
}

Value& Value::operator=(const Value& other) {
  if (this != &other) {
    Value copy(other);
    *this = std::move(copy);
  }
  return *this;
}

Value& Value::operator=(Value&& other) noexcept {
  if (this != &other) {
    unlock();
    kind_ = other.kind_;
    i_ = other.i_;
    other.kind_ = Kind::Nil;
    other.i_ = 0;
  }
  return *this;
}

Value Value::Integer(RBInteger v) {
  Value r;
  r.kind_ = Kind::Integer;
  r.i_ = v;
  return r;
}
Value Value::Int32(int32_t v) {
  Value r;
  r.kind_ = Kind::Int32;
  r.i_ = v;
  return r;
}
Value Value::Int64(int64_t v) {
  Value r;
  r.kind_ = Kind::Int64;
  r.i_ = v;
  return r;
}
Value Value::Boolean(bool v) {
  Value r;
  r.kind_ = Kind::Boolean;
  r.b_ = v;
  return r;
}
Value Value::Single(float v) {
  Value r;
  r.kind_ = Kind::Single;
  r.d_ = v;
  return r;
}
Value Value::Double(double v) {
  Value r;
  r.kind_ = Kind::Double;
  r.d_ = v;
  return r;
}
Value Value::Color(RBColor v) {
  Value r;
  r.kind_ = Kind::Color;
  r.i_ = v;
  return r;
}

Value Value::AdoptString(REALstring s) {
  Value r;
  if (s != nullptr) {
    r.kind_ = Kind::String;
    r.str_ = s;
  }
  return r;
}
Value Value::AdoptObject(REALobject o) {
  Value r;
  if (o != nullptr) {
    r.kind_ = Kind::Object;
    r.obj_ = o;
  }
  return r;
}
Value Value::RetainString(REALstring s) {
  Value r = AdoptString(s);
  r.lock();
  return r;
}
Value Value::RetainObject(REALobject o) {
  Value r = AdoptObject(o);
  r.lock();
  return r;
}

RBInteger Value::integer() const { return static_cast<RBInteger>(int64()); }

int64_t Value::int64() const {
  switch (kind_) {
    case Kind::Integer:
    case Kind::Int32:
    case Kind::Int64: return i_;
    default: return 0;
  }
}

double Value::real() const { return kind_ == Kind::Single || kind_ == Kind::Double ? d_ : 0.0; }

REALstring Value::releaseString() {
  REALstring s = string();
  if (s != nullptr) {
    i_ = 0;
    kind_ = Kind::Nil;
  }
  return s;
}

REALobject Value::releaseObject() {
  REALobject o = object();
  if (o != nullptr) {
    i_ = 0;
    kind_ = Kind::Nil;
  }
  return o;
}

void Value::reset() {
  unlock();
  kind_ = Kind::Nil;
  i_ = 0;
}

void Value::lock() const {
  if (kind_ == Kind::String && str_ != nullptr) {
    if (Runtime* rt = RuntimeOfString(str_)) rt->LockString(str_);
  } else if (kind_ == Kind::Object && obj_ != nullptr) {
    if (Runtime* rt = RuntimeOfObject(obj_)) rt->LockObject(obj_);
  }
}

void Value::unlock() const {
  if (kind_ == Kind::String && str_ != nullptr) {
    if (Runtime* rt = RuntimeOfString(str_)) {
      Activate active(rt);
      rt->UnlockString(str_);
    }
  } else if (kind_ == Kind::Object && obj_ != nullptr) {
    if (Runtime* rt = RuntimeOfObject(obj_)) {
      // The destructors this may run call back into their own host.
      Activate active(rt);
      rt->UnlockObject(obj_);
    }
  }
}

}  // namespace plugin_host
