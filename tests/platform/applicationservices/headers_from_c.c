/* Compiled as C: the umbrella header must be valid C, and the record sizes
   must be the same as C++ sees them. */
#include <ApplicationServices/ApplicationServices.h>

size_t kc_as_c_sizes(size_t *fsref, size_t *hfsName, size_t *cgfloat);

size_t kc_as_c_sizes(size_t *fsref, size_t *hfsName, size_t *cgfloat) {
  *fsref = sizeof(FSRef);
  *hfsName = sizeof(HFSUniStr255);
  *cgfloat = sizeof(CGFloat);
  return sizeof(FSSpec);
}
