/* Points, sizes and rectangles. */
#ifndef KC_CGGEOMETRY_H
#define KC_CGGEOMETRY_H

#include <CoreGraphics/CGBase.h>

CG_EXTERN_C_BEGIN

struct CGPoint {
  CGFloat x;
  CGFloat y;
};
typedef struct CGPoint CGPoint;

struct CGSize {
  CGFloat width;
  CGFloat height;
};
typedef struct CGSize CGSize;

struct CGRect {
  CGPoint origin;
  CGSize size;
};
typedef struct CGRect CGRect;

CG_INLINE CGPoint CGPointMake(CGFloat x, CGFloat y) {
  CGPoint p;
  p.x = x;
  p.y = y;
  return p;
}

CG_INLINE CGSize CGSizeMake(CGFloat width, CGFloat height) {
  CGSize s;
  s.width = width;
  s.height = height;
  return s;
}

CG_INLINE CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  CGRect r;
  r.origin.x = x;
  r.origin.y = y;
  r.size.width = width;
  r.size.height = height;
  return r;
}

CG_EXTERN const CGPoint CGPointZero;
CG_EXTERN const CGSize CGSizeZero;
CG_EXTERN const CGRect CGRectZero;

CG_EXTERN_C_END

#endif /* KC_CGGEOMETRY_H */
