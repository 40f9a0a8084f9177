// The variant wrappers: each host function has its own cache, and each reader
// has a property to fall back on.
#include "frame/host_variants.h"

#include "frame/host_functions.h"

namespace {

template <typename Fn>
Fn As(void *address) {
  return reinterpret_cast<Fn>(address);
}

}  // namespace

REALobject REALNewVariantString(REALstring value) {
  static void *cache;
  auto f = As<StringToVariant_fn>(Bind(cache, "StringToVariant"));
  return f ? f(value) : nullptr;
}

REALobject REALNewVariantInteger(int32_t value) {
  static void *cache;
  auto f = As<Int32ToVariant_fn>(Bind(cache, "Int32ToVariant"));
  return f ? f(value) : nullptr;
}

REALobject REALNewVariantInt64(int64_t value) {
  static void *cache;
  auto f = As<Int64ToVariant_fn>(Bind(cache, "Int64ToVariant"));
  return f ? f(value) : nullptr;
}

REALobject REALNewVariantDouble(double value) {
  static void *cache;
  auto f = As<DoubleToVariant_fn>(Bind(cache, "DoubleToVariant"));
  return f ? f(value) : nullptr;
}

REALobject REALNewVariantBoolean(RBBoolean value) {
  static void *cache;
  auto f = As<BooleanToVariant_fn>(Bind(cache, "BooleanToVariant"));
  return f ? f(value) : nullptr;
}

int32_t GetVariantInt32(REALobject variant) {
  static void *cache;
  if (auto f = As<VariantToInt32_fn>(Bind(cache, "VariantToInt32"))) return f(variant);
  int32_t value = 0;
  return REALGetPropValueInt32(variant, "Int32Value", &value) ? value : 0;
}

int64_t GetVariantInt64(REALobject variant) {
  static void *cache;
  if (auto f = As<VariantToInt64_fn>(Bind(cache, "VariantToInt64"))) return f(variant);
  int64_t value = 0;
  return REALGetPropValueInt64(variant, "LongValue", &value) ? value : 0;
}

float GetVariantSingle(REALobject variant) {
  static void *cache;
  if (auto f = As<VariantToSingle_fn>(Bind(cache, "VariantToSingle"))) return f(variant);
  float value = 0;
  return REALGetPropValueSingle(variant, "SingleValue", &value) ? value : 0;
}

double GetVariantDouble(REALobject variant) {
  static void *cache;
  if (auto f = As<VariantToDouble_fn>(Bind(cache, "VariantToDouble"))) return f(variant);
  double value = 0;
  return REALGetPropValueDouble(variant, "DoubleValue", &value) ? value : 0;
}

REALstring GetVariantString(REALobject variant) {
  static void *cache;
  if (auto f = As<VariantToString_fn>(Bind(cache, "VariantToString"))) return f(variant);
  REALstring value = nullptr;
  return REALGetPropValueString(variant, "StringValue", &value) ? value : nullptr;
}

// The global method is loaded once it can be had, and kept.
int32_t GetVariantType(REALobject variant) {
  static void *varType;
  if (varType == nullptr) varType = REALLoadFrameworkMethod("VarType(value As Variant) As Int32");
  if (varType != nullptr) return As<VarType_method>(varType)(variant);
  int32_t type = 0;
  return REALGetPropValueInt32(variant, "Type", &type) ? type : 0;
}
