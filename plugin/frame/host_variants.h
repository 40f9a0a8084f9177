// Host variants: new variants of strings, numbers and Booleans, the readers
// that take a scalar or a string out of any variant, and a variant's type
// code. A reader the host lacks gives 0 (or nil), and a variant type the
// host cannot tell is 0.
#pragma once

#include "host_plugin_interface.h"

// New variants, owned; nil when the host cannot make one.
REALobject REALNewVariantString(REALstring value);
REALobject REALNewVariantInteger(int32_t value);
REALobject REALNewVariantInt64(int64_t value);
REALobject REALNewVariantDouble(double value);
REALobject REALNewVariantBoolean(RBBoolean value);

// The host's conversions of a variant's value. Each falls back to the
// variant's property of the same meaning ("Int32Value", "LongValue",
// "SingleValue", "DoubleValue", "StringValue") when the host lacks the
// function. The string is owned.
int32_t GetVariantInt32(REALobject variant);
int64_t GetVariantInt64(REALobject variant);
float GetVariantSingle(REALobject variant);
double GetVariantDouble(REALobject variant);
REALstring GetVariantString(REALobject variant);

// "VarType" of the variant, or its "Type" property on a host that does not
// let the plug-in load that global method; 0 when neither can be read.
int32_t GetVariantType(REALobject variant);
