#pragma once
// The vector form of an element in the render cache: its outline, and how to
// stroke and fill it. Filled from an element's CreatePathCache.

#include "target/effects.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "foundation/ptr.h"

class KVCachePath : public LGraphicsPath {
public:
    LPtr<LGuiColorAlpha> fillColour;
    LPtr<KVGradient> gradient;
    LPtr<LLineStyle> lineStyle;
    // A separate outline for the fill; when null the path itself is filled.
    LPtr<LGraphicsPath> fillPath;
    // 0 means no stroke.
    float lineWidth = 1.0f;
    LGuiColorAlpha lineColour{0, 0, 0, 255};
};
