// Exceptions: the built-in RuntimeException family with "Message" and
// "ErrorNumber", and the pending exception of a call. Raising does not take
// the plug-in's lock: the host locks the exception for itself and delivers it
// to the caller when the plug-in function returns, and it stays pending until
// the host program takes it or a later call raises another. When one call
// raises more than once, the first exception is the one delivered, as it is
// the one that would have unwound the caller.
#include "runtime.h"

namespace plugin_host {

bool ExceptionProperty(ObjState* st, const std::string& name, Value* out) {
  if (name == "message") {
    *out = st->Extra().message;
    return true;
  }
  if (name == "errornumber") {
    *out = Value::Integer(st->Extra().errorNumber);
    return true;
  }
  return false;
}

bool SetExceptionProperty(ObjState* st, const std::string& name, const Value& v) {
  if (name == "message" && (v.kind() == Kind::String || v.isNil())) {
    st->Extra().message = v;
    return true;
  }
  int64_t i;
  if (name == "errornumber" && ValueToInt64(v, &i)) {
    st->Extra().errorNumber = static_cast<RBInteger>(i);
    return true;
  }
  return false;
}

void Runtime::Raise(REALobject exc) {
  ObjState* st = StateOfKind(exc, Builtin::Exception);
  if (st == nullptr) {
    if (exc != nullptr) Problem("raise of something that is not an exception");
    return;
  }
  if (pending_ != nullptr && pendingSerial_ == callSerial_) return;
  LockObject(exc);
  ClearPending();
  pending_ = exc;
  pendingSerial_ = callSerial_;
}

void Runtime::ClearPending() {
  REALobject p = pending_;
  pending_ = nullptr;
  if (p != nullptr) UnlockObject(p);
}

std::optional<ExceptionInfo> Runtime::TakePending() {
  if (pending_ == nullptr) return std::nullopt;
  ExceptionInfo info;
  ObjState* st = State(pending_, true);
  if (st != nullptr) {
    info.className = st->cls->name;
    info.message = StringBytesOf(st->Extra().message.string());
    info.errorNumber = st->Extra().errorNumber;
  }
  ClearPending();
  return info;
}

namespace {
void HostRaiseException(REALobject exc) {
  if (Runtime* rt = Runtime::Current()) rt->Raise(exc);
}
}  // namespace

void AddExceptionFunctions(FunctionTable* t) {
  (*t)["RuntimeRaiseException"] = reinterpret_cast<void*>(&HostRaiseException);
}

}  // namespace plugin_host
