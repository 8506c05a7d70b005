#pragma once
// Reading back what a paint surface drew.

#include <algorithm>

#include "foundation/paint_surface.h"

namespace kvtest {

// The box of the pixels whose alpha is above a threshold; `any` false when
// there are none. Right and bottom are inclusive.
struct InkBox {
    int x1 = 0, y1 = 0, x2 = -1, y2 = -1;
    bool any = false;
    double CentreX() const { return (x1 + x2) / 2.0; }
};

inline InkBox FindInk(LPaintSurfaceImage& image, int threshold = 0) {
    InkBox box;
    for (int y = 0; y < image.GetHeight(); ++y)
        for (int x = 0; x < image.GetWidth(); ++x)
            if (image.GetPixel(x, y).alpha > threshold) {
                if (!box.any) {
                    box.x1 = box.x2 = x;
                    box.y1 = box.y2 = y;
                    box.any = true;
                }
                box.x1 = std::min(box.x1, x);
                box.x2 = std::max(box.x2, x);
                box.y1 = std::min(box.y1, y);
                box.y2 = std::max(box.y2, y);
            }
    return box;
}

// The sum of alpha over the picture, in pixels (255 is one).
inline double Coverage(LPaintSurfaceImage& image) {
    double sum = 0;
    for (int y = 0; y < image.GetHeight(); ++y)
        for (int x = 0; x < image.GetWidth(); ++x)
            sum += image.GetPixel(x, y).alpha / 255.0;
    return sum;
}

} // namespace kvtest
