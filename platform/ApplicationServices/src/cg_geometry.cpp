// The zero geometry constants.
#include <CoreGraphics/CGGeometry.h>

const CGPoint CGPointZero = {0.0, 0.0};
const CGSize CGSizeZero = {0.0, 0.0};
const CGRect CGRectZero = {{0.0, 0.0}, {0.0, 0.0}};
