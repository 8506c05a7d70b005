#pragma once
// The geometry of an on-canvas frame, apart from any window: which handle a
// point is on, and where a drag from a handle takes the frame. Points are in
// image units; `scale` is image units per device pixel (one over the zoom).

#include <vector>

#include "document/widget.h"
#include "foundation/geometry.h"


// A box turned about its centre; rotation in degrees, clockwise on screen.
struct KVFrame {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;
    float rotation = 0;

    static KVFrame FromBox(const LBoundingBox2T<float>& box, float rotation = 0);
    bool operator==(const KVFrame&) const = default;
    LBoundingBox2T<float> GetBox() const;
};

// The rotation handle sits this many image units above the top side.
inline constexpr float kRotationHandleDistance = 20.0f;

// `rotatable` frames also answer the rotation handle. The margin around the
// shape is part of the frame, so a point in it is never a miss.
int KVWhichHandle(const KVFrame& frame, float margin, float scale, bool rotatable, float x, float y);

// Turns (x, y) about (cx, cy) by `degrees`.
LPointTemplate<float> KVRotatePoint(LPointTemplate<float> p, float cx, float cy, float degrees);

// Pulls an angle within `snap` degrees of a right angle onto it.
float KVSnapRotation(float degrees, int snap);

// Guides a frame snaps to: positions of the horizontal guides (y) and of
// the vertical ones (x), in image units, in the order the user made them.
struct KVGuides {
    std::vector<float> horizontals;
    std::vector<float> verticals;
};

// Puts the point on the first guide of each direction within `distance`;
// true when it moved.
bool KVShouldSnap(int distance, LPointTemplate<float>& point, const KVGuides& guides);
// Moves the box, never resizes it, so that an edge lies on a guide: on the
// first guide within `distance` of its top or bottom (top first), and then
// of its left or right; the first in the guides' order, not the nearest.
bool KVShouldSnap(int distance, LBoundingBox2T<float>& box, const KVGuides& guides);

// One drag of a frame from button down to button up. Each move is worked
// out from the frame at button down, so the drag never creeps.
class KVFrameDrag {
public:
    // Starts dragging `handle` of `frame` from (x, y); `moveSnap` pulls
    // the dragged corner or the moved box onto `guides`.
    void Begin(const KVFrame& frame, int handle, float x, float y, bool keepAspect, int rotationSnap,
               int moveSnap = 0, const KVGuides& guides = {});
    // The frame with the pointer at (x, y).
    KVFrame MoveTo(float x, float y) const;
    int GetHandle() const { return handle; }
    const KVFrame& GetStart() const { return start; }

private:
    KVFrame start;
    int handle = KVHandleNone;
    float grabX = 0;
    float grabY = 0;
    float aspect = 1;
    bool keepAspect = false;
    int rotationSnap = 0;
    int moveSnap = 0;
    KVGuides guides;
};
