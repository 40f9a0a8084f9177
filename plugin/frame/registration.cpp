// Registration of the module and class records, with the conversion to the
// short layout (version 9) that the oldest hosts read. The conversion works
// word by word: every entry of the long layout begins with the words of its
// short form, so a short entry is the first words of the long one.
#include "frame/registration.h"

#include <stdlib.h>
#include <string.h>

#include "frame/host_functions.h"
#include "frame/plugin_state.h"

namespace {

constexpr size_t kWord = sizeof(RBWord);
constexpr size_t kMaxListBytes = 2147483647;

// A new zero-filled array of count entries of newWords words, each holding
// the first newWords words of the matching source entry of oldWords words.
// Null when there is nothing to copy. A failed allocation gives null too,
// which the host reads as an empty list.
RBWord *CopyList(const void *source, RBWord count, size_t oldWords, size_t newWords) {
  if (source == nullptr || count == 0) return nullptr;
  const unsigned long long bytes =
      static_cast<unsigned long long>(count) * newWords * kWord;
  if (bytes == 0 || bytes > kMaxListBytes) return nullptr;
  RBWord *copy = static_cast<RBWord *>(calloc(count, newWords * kWord));
  if (copy == nullptr) return nullptr;
  const RBWord *from = static_cast<const RBWord *>(source);
  for (RBWord i = 0; i < count; ++i) memcpy(copy + i * newWords, from + i * oldWords, newWords * kWord);
  return copy;
}

constexpr size_t kMethodWords = sizeof(REALmethodDefinition) / kWord;
constexpr size_t kMethodWords9 = sizeof(REALmethodDefinition9) / kWord;
constexpr size_t kConstantWords = sizeof(REALconstant) / kWord;
constexpr size_t kConstantWords9 = sizeof(REALconstant9) / kWord;
constexpr size_t kModuleWords9 = sizeof(REALmoduleDefinition9) / kWord;
constexpr size_t kClassWords9 = sizeof(REALclassDefinition9) / kWord;

RBWord RoundUpTo16(RBWord size) { return (size + 15) & ~static_cast<RBWord>(15); }

}  // namespace

REALproperty9 *FixProperties(const REALproperty *properties, RBWord count) {
  return reinterpret_cast<REALproperty9 *>(
      CopyList(properties, count, sizeof(REALproperty) / kWord, sizeof(REALproperty9) / kWord));
}

void MyREALRegisterModule(REALmoduleDefinition *module) {
  if (CurrentREALControlVersion > 9) {
    module->version = static_cast<RBWord>(CurrentREALControlVersion);
    REALRegisterModule(module);
    return;
  }
  REALmoduleDefinition9 *shortForm =
      static_cast<REALmoduleDefinition9 *>(calloc(1, sizeof(REALmoduleDefinition9)));
  if (shortForm == nullptr) return;
  shortForm->version = static_cast<RBWord>(CurrentREALControlVersion);
  shortForm->name = module->name;
  shortForm->methods = reinterpret_cast<REALmethodDefinition9 *>(
      CopyList(module->methods, module->methodCount, kMethodWords, kMethodWords9));
  shortForm->methodCount = module->methodCount;
  shortForm->constants = reinterpret_cast<REALconstant9 *>(
      CopyList(module->constants, module->constantCount, kConstantWords, kConstantWords9));
  shortForm->constantCount = module->constantCount;
  shortForm->properties = FixProperties(module->properties, module->propertyCount);
  shortForm->propertyCount = module->propertyCount;
  shortForm->list6 = CopyList(module->list6, module->list6Count, 6, 4);
  shortForm->list6Count = module->list6Count;
  shortForm->list7 = CopyList(module->list7, module->list7Count, 7, 5);
  shortForm->list7Count = module->list7Count;
  // The host is handed the static record, now holding the short form in its
  // first words; its remaining words keep their stored zeros.
  memcpy(module, shortForm, kModuleWords9 * kWord);
  REALRegisterModule(module);
  free(shortForm);
}

void MyREALRegisterClass(REALclassDefinition *cls) {
  cls->dataSize = RoundUpTo16(cls->dataSize);
  if (CurrentREALControlVersion > 9) {
    cls->version = static_cast<RBWord>(CurrentREALControlVersion);
    REALRegisterClass(cls);
    return;
  }
  REALclassDefinition9 *shortForm =
      static_cast<REALclassDefinition9 *>(calloc(1, sizeof(REALclassDefinition9)));
  if (shortForm == nullptr) return;
  shortForm->version = static_cast<RBWord>(CurrentREALControlVersion);
  shortForm->name = cls->name;
  shortForm->superName = cls->superName;
  shortForm->dataSize = cls->dataSize;
  shortForm->forSystemUse = cls->forSystemUse;
  shortForm->constructor = cls->constructor;
  shortForm->destructor = cls->destructor;
  shortForm->properties = FixProperties(cls->properties, cls->propertyCount);
  shortForm->propertyCount = cls->propertyCount;
  shortForm->methods = reinterpret_cast<REALmethodDefinition9 *>(
      CopyList(cls->methods, cls->methodCount, kMethodWords, kMethodWords9));
  shortForm->methodCount = cls->methodCount;
  // The 4-word entries shrink to 2 words, and each source entry's word 1 then
  // points at its short copy.
  RBWord *list4 = CopyList(cls->list4, cls->list4Count, 4, 2);
  if (list4 != nullptr) {
    RBWord *source = static_cast<RBWord *>(cls->list4);
    for (RBWord i = 0; i < cls->list4Count; ++i)
      source[i * 4 + 1] = reinterpret_cast<RBWord>(list4 + i * 2);
  }
  shortForm->list4 = list4;
  shortForm->list4Count = cls->list4Count;
  memcpy(shortForm->reserved13, cls->reserved13, sizeof shortForm->reserved13);
  shortForm->constants = reinterpret_cast<REALconstant9 *>(
      CopyList(cls->constants, cls->constantCount, kConstantWords, kConstantWords9));
  shortForm->constantCount = cls->constantCount;
  shortForm->mFlags = cls->mFlags;
  shortForm->properties2 = FixProperties(cls->properties2, cls->propertyCount2);
  shortForm->propertyCount2 = cls->propertyCount2;
  shortForm->methods2 = reinterpret_cast<REALmethodDefinition9 *>(
      CopyList(cls->methods2, cls->methodCount2, kMethodWords, kMethodWords9));
  shortForm->methodCount2 = cls->methodCount2;
  memcpy(cls, shortForm, kClassWords9 * kWord);
  REALRegisterClass(cls);
  free(shortForm);
}
