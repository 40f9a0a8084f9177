// How one row of a definition table is written: a method (with or without a
// setter) or a constant, with the flags every row of this plug-in carries.
#pragma once

#include "host_plugin_interface.h"

// Any implementing function, stored as the host's untyped procedure word.
template <typename Function>
REALproc Proc(Function f) {
  return reinterpret_cast<REALproc>(f);
}

// A method usable in every kind of project; the trailing words stay 0.
template <typename Function>
REALmethodDefinition Method(Function f, const char *declaration) {
  return {Proc(f), nullptr, declaration, kREALFlagConsoleSafe, 0, 0};
}

// A property-like method: the host calls getter to read it and setter, with
// the same arguments and the assigned value last, to assign it.
template <typename Getter, typename Setter>
REALmethodDefinition Method(Getter getter, Setter setter, const char *declaration) {
  return {Proc(getter), Proc(setter), declaration, kREALFlagConsoleSafe, 0, 0};
}

// A constant, declared as "Name = value".
inline REALconstant Constant(const char *declaration) { return {declaration, 0, 0, 0, 0}; }
