/* Everything CoreGraphics offers here. */
#ifndef KC_COREGRAPHICS_H
#define KC_COREGRAPHICS_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGDataConsumer.h>
#include <CoreGraphics/CGImage.h>
#include <CoreGraphics/CGFont.h>
#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGBitmapContext.h>
#include <CoreGraphics/CGLayer.h>
#include <CoreGraphics/CGPSConverter.h>

#endif /* KC_COREGRAPHICS_H */
