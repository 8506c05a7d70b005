#include "surface/frame_geometry.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kRadiansPerDegree = 0.017453292f;

// Which sides a handle drags: -1 the left or top, +1 the right or bottom.
struct Sides {
    int x;
    int y;
};

Sides SidesOf(int handle) {
    switch (handle) {
    case KVHandleTopLeft: return {-1, -1};
    case KVHandleTopRight: return {1, -1};
    case KVHandleBottomRight: return {1, 1};
    case KVHandleBottomLeft: return {-1, 1};
    case KVHandleLeft: return {-1, 0};
    case KVHandleTop: return {0, -1};
    case KVHandleRight: return {1, 0};
    case KVHandleBottom: return {0, 1};
    default: return {0, 0};
    }
}

} // namespace

KVFrame KVFrame::FromBox(const LBoundingBox2T<float>& box, float rotation) {
    return {(box.x1 + box.x2) / 2, (box.y1 + box.y2) / 2, box.GetWidth(), box.GetHeight(), rotation};
}

LBoundingBox2T<float> KVFrame::GetBox() const {
    return {x - width / 2, y - height / 2, x + width / 2, y + height / 2};
}

LPointTemplate<float> KVRotatePoint(LPointTemplate<float> p, float cx, float cy, float degrees) {
    if (degrees == 0)
        return p;
    const float a = degrees * kRadiansPerDegree;
    const float c = std::cos(a), s = std::sin(a);
    const float dx = p.x - cx, dy = p.y - cy;
    return {cx + dx * c - dy * s, cy + dx * s + dy * c};
}

int KVWhichHandle(const KVFrame& frame, float margin, float scale, bool rotatable, float x, float y) {
    const LPointTemplate<float> p = KVRotatePoint({x, y}, frame.x, frame.y, -frame.rotation);
    const LBoundingBox2T<float> box = frame.GetBox();
    const float left = box.x1 - margin, top = box.y1 - margin;
    const float right = box.x2 + margin, bottom = box.y2 + margin;
    const float h = scale * 9;
    if (p.x < left || p.x > right || p.y < top || p.y > bottom) {
        if (!rotatable)
            return KVHandleNone;
        const float hy = top - kRotationHandleDistance;
        return std::abs(p.x - frame.x) <= h && std::abs(p.y - hy) <= h ? KVHandleRotation : KVHandleNone;
    }
    const auto column = [&](int first, int middle, int last) {
        return p.x < left + h ? first : p.x <= right - h ? middle : last;
    };
    if (p.y < top + h)
        return column(KVHandleTopLeft, KVHandleTop, KVHandleTopRight);
    if (p.y <= bottom - h)
        return column(KVHandleLeft, KVHandleInside, KVHandleRight);
    return column(KVHandleBottomLeft, KVHandleBottom, KVHandleBottomRight);
}

float KVSnapRotation(float degrees, int snap) {
    if (snap <= 0)
        return degrees;
    const float magnitude = std::abs(degrees);
    const long whole = std::lround(magnitude);
    const long within = whole % 90;
    float snapped = magnitude;
    if (within < snap)
        snapped = static_cast<float>(whole - within);
    else if (within > 90 - snap)
        snapped = static_cast<float>(whole - within + 90);
    return degrees < 0 ? -snapped : snapped;
}

bool KVShouldSnap(int distance, LPointTemplate<float>& point, const KVGuides& guides) {
    bool snapped = false;
    const auto pull = [&](float& value, const std::vector<float>& lines) {
        for (float line : lines)
            if (std::abs(value - line) <= static_cast<float>(distance)) {
                value = line;
                snapped = true;
                return;
            }
    };
    pull(point.y, guides.horizontals);
    pull(point.x, guides.verticals);
    return snapped;
}

bool KVShouldSnap(int distance, LBoundingBox2T<float>& box, const KVGuides& guides) {
    bool snapped = false;
    // Moves along one axis by the offset that puts the nearer-listed edge
    // on the first guide in reach.
    const auto pull = [&](float& low, float& high, const std::vector<float>& lines) {
        for (float line : lines)
            for (float edge : {low, high})
                if (std::abs(edge - line) <= static_cast<float>(distance)) {
                    low += line - edge;
                    high += line - edge;
                    snapped = true;
                    return;
                }
    };
    pull(box.y1, box.y2, guides.horizontals);
    pull(box.x1, box.x2, guides.verticals);
    return snapped;
}

void KVFrameDrag::Begin(const KVFrame& frame, int h, float x, float y, bool keep, int snap, int move,
                        const KVGuides& lines) {
    moveSnap = move;
    guides = lines;
    start = frame;
    handle = h;
    grabX = x;
    grabY = y;
    keepAspect = keep;
    // A flat frame holds its width: the aspect is then infinite.
    aspect = frame.height > 0 ? frame.width / frame.height : INFINITY;
    rotationSnap = snap;
}

KVFrame KVFrameDrag::MoveTo(float x, float y) const {
    KVFrame f = start;
    if (handle == KVHandleInside) {
        f.x += x - grabX;
        f.y += y - grabY;
        if (moveSnap > 0) {
            LBoundingBox2T<float> box = f.GetBox();
            if (KVShouldSnap(moveSnap, box, guides))
                f = KVFrame::FromBox(box, f.rotation);
        }
        return f;
    }
    if (handle == KVHandleRotation) {
        // Straight up from the centre is no turn.
        f.rotation = -std::atan2(start.y - y, x - start.x) / kRadiansPerDegree + 90;
        if (f.rotation > 180)
            f.rotation -= 360;
        f.rotation = KVSnapRotation(f.rotation, rotationSnap);
        return f;
    }
    const Sides sides = SidesOf(handle);
    if (sides.x == 0 && sides.y == 0)
        return f;
    // In the frame's own axes: the dragged sides go with the pointer from
    // where it took hold, the others stay put, and a side dragged past the
    // one opposite stops there.
    const LPointTemplate<float> p = KVRotatePoint({x, y}, start.x, start.y, -start.rotation);
    const LPointTemplate<float> g = KVRotatePoint({grabX, grabY}, start.x, start.y, -start.rotation);
    const float dx = p.x - g.x, dy = p.y - g.y;
    float left = start.x - start.width / 2, right = start.x + start.width / 2;
    float top = start.y - start.height / 2, bottom = start.y + start.height / 2;
    // The dragged sides, where the pointer takes them, then onto a guide.
    LPointTemplate<float> edge(sides.x < 0 ? left + dx : right + dx, sides.y < 0 ? top + dy : bottom + dy);
    if (moveSnap > 0)
        KVShouldSnap(moveSnap, edge, guides);
    if (sides.x < 0)
        left = std::min(edge.x, right);
    if (sides.x > 0)
        right = std::max(edge.x, left);
    if (sides.y < 0)
        top = std::min(edge.y, bottom);
    if (sides.y > 0)
        bottom = std::max(edge.y, top);
    float w = right - left, h = bottom - top;
    if (keepAspect && std::isfinite(aspect) && aspect > 0) {
        if (sides.x == 0)
            w = h * aspect;
        else if (sides.y == 0)
            h = w / aspect;
        else if (w / h < aspect)
            w = h * aspect;
        else
            h = w / aspect;
        // The fixed side stays; an axis not dragged grows about the middle.
        const float mx = start.x, my = start.y;
        left = sides.x < 0 ? right - w : sides.x > 0 ? left : mx - w / 2;
        top = sides.y < 0 ? bottom - h : sides.y > 0 ? top : my - h / 2;
        right = left + w;
        bottom = top + h;
    }
    // The fixed corner stays where it is on screen.
    const LPointTemplate<float> centre =
        KVRotatePoint({(left + right) / 2, (top + bottom) / 2}, start.x, start.y, start.rotation);
    f.x = centre.x;
    f.y = centre.y;
    f.width = w;
    f.height = h;
    return f;
}
