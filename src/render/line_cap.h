#pragma once
// The shapes drawn at a line's ends for the cap styles that are not plain
// stroke caps.

#include "foundation/geometry.h"
#include "target/render_types.h"

class LGraphicsPath;

// A new path the caller owns, turned to point from `point` towards
// `towards`; null for the styles the stroke draws itself (0 to 3) and for
// unknown values. `width` is the line's: a cap is twice that across.
LGraphicsPath* GetLineCap(KVLineCapStyle style, float width, LPointTemplate<float> point,
                          LPointTemplate<float> towards);
