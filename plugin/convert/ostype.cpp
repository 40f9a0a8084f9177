// REALstringToOSType.
#include "convert/ostype.h"

#include "convert/rb_text.h"

OSType REALstringToOSType(REALstring s) {
  rbText text(s);
  const int32_t length = text.MacRomanLength();
  const unsigned char *bytes = reinterpret_cast<const unsigned char *>(text.MacRomanText());
  OSType code = 0;
  for (int32_t i = 0; i < 4; ++i) {
    const unsigned char byte = i < length ? bytes[i] : ' ';
    code = (code << 8) | byte;
  }
  return code;
}
