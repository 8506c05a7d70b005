#pragma once
// What the raster tests measure drawn pictures by: the box of the pixels a
// drawing reached, and erase strokes along a few points.

#include <algorithm>
#include <initializer_list>

#include "imaging/image_buffer.h"
#include "target/draw_path.h"
#include "target/effects.h"

namespace kvtest {

// The box of the pixels whose alpha is above a threshold, edges included.
struct Ink {
    int x1 = 1 << 30, y1 = 1 << 30, x2 = -1, y2 = -1;
    bool Any() const { return x2 >= 0; }
    int Width() const { return Any() ? x2 - x1 + 1 : 0; }
    int Height() const { return Any() ? y2 - y1 + 1 : 0; }
};

inline Ink FindInk(const LImageBuffer& image, int threshold = 0) {
    Ink box;
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* row = image.GetPictureRow(y);
        for (int x = 0; x < image.width; ++x)
            if (row[x * 4 + 3] > threshold) {
                box.x1 = std::min(box.x1, x);
                box.y1 = std::min(box.y1, y);
                box.x2 = std::max(box.x2, x);
                box.y2 = std::max(box.y2, y);
            }
    }
    return box;
}

// An erase stroke through straight corners at the points, in the colour of
// the background it paints.
inline KVEraserStroke EraserAlong(std::initializer_list<LPointTemplate<float>> points, float width,
                                  unsigned long softnessPercent, LPixelColour background) {
    KVDrawPath path(1, 1, nullptr);
    for (const LPointTemplate<float>& p : points)
        path.AddCoord(new KVDrawCoord(p.x, p.y));
    return KVEraserStroke(path, width, softnessPercent,
                          LGuiColorAlpha(background.red, background.green, background.blue, 255));
}

} // namespace kvtest
