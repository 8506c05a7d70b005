#include "render/line_cap.h"

#include <cmath>

#include "foundation/graphics_path.h"

LGraphicsPath* GetLineCap(KVLineCapStyle style, float width, LPointTemplate<float> point,
                          LPointTemplate<float> towards) {
    const float x = point.x, y = point.y, w = width;
    double turn = 0;
    LPointTemplate<float> corners[4];
    unsigned long count = 0;
    switch (style) {
    case KVLineCapDiamond:
        corners[0] = {x, y - w};
        corners[1] = {x - w, y};
        corners[2] = {x, y + w};
        corners[3] = {x, y};
        count = 4;
        break;
    case KVLineCapCircle: {
        // Round, so there is nothing to turn.
        LGraphicsPath* path = new LGraphicsPath();
        path->AddCircle(x, y, w);
        return path;
    }
    case KVLineCapSquare45:
        turn = 45;
        [[fallthrough]];
    case KVLineCapSquare:
        corners[0] = {x - w, y - w};
        corners[1] = {x + w, y - w};
        corners[2] = {x + w, y + w};
        corners[3] = {x - w, y + w};
        count = 4;
        break;
    default:
        return nullptr;
    }
    const double a = std::atan2(static_cast<double>(towards.y) - y, static_cast<double>(towards.x) - x);
    const double radians = (a * 57.2957795131 + turn) / 57.2957795131;
    const double c = std::cos(radians), s = std::sin(radians);
    for (unsigned long i = 0; i < count; ++i) {
        const double dx = corners[i].x - x, dy = corners[i].y - y;
        corners[i] = {static_cast<float>(x + dx * c - dy * s), static_cast<float>(y + dx * s + dy * c)};
    }
    LGraphicsPath* path = new LGraphicsPath();
    path->AddLines(corners, count);
    path->CloseFigure();
    return path;
}
