#include "surface/frame_geometry.h"

#include <gtest/gtest.h>

namespace {

// A frame 100 by 60 device pixels wide at every zoom, with a margin of 4;
// the table's points are device pixels from its top-left corner, so the
// handles must stay 9 device pixels wide however far the view is zoomed.
TEST(FrameGeometry, HandlesAtEachZoom) {
    struct {
        float dx, dy;
        int handle;
    } const rows[] = {
        {0, 0, KVHandleTopLeft},       {50, 0, KVHandleTop},          {100, 0, KVHandleTopRight},
        {0, 30, KVHandleLeft},         {50, 30, KVHandleInside},      {100, 30, KVHandleRight},
        {0, 60, KVHandleBottomLeft},   {50, 60, KVHandleBottom},      {100, 60, KVHandleBottomRight},
        // The margin is the frame's: a corner or a side, not a miss.
        {-3, -3, KVHandleTopLeft},     {50, 63, KVHandleBottom},      {-5, 30, KVHandleNone},
        {4.9f, 30, KVHandleLeft},      {5.1f, 30, KVHandleInside},
    };
    for (float zoom : {0.25f, 1.0f, 4.0f}) {
        const float s = 1 / zoom;
        const KVFrame frame = KVFrame::FromBox({100, 100, 100 + 100 * s, 100 + 60 * s});
        for (const auto& r : rows)
            EXPECT_EQ(KVWhichHandle(frame, 4 * s, s, true, 100 + r.dx * s, 100 + r.dy * s), r.handle)
                << "zoom " << zoom << " at " << r.dx << ", " << r.dy;
        // The rotation handle stays 20 image units above the frame's top
        // at every zoom; only its size follows the zoom.
        const float hx = frame.x, hy = 100 - 4 * s - kRotationHandleDistance;
        EXPECT_EQ(KVWhichHandle(frame, 4 * s, s, true, hx, hy), KVHandleRotation) << zoom;
        EXPECT_EQ(KVWhichHandle(frame, 4 * s, s, true, hx + 8.9f * s, hy - 8.9f * s), KVHandleRotation) << zoom;
        EXPECT_EQ(KVWhichHandle(frame, 4 * s, s, true, hx + 9.1f * s, hy), KVHandleNone) << zoom;
        EXPECT_EQ(KVWhichHandle(frame, 4 * s, s, false, hx, hy), KVHandleNone) << zoom;
    }
}

TEST(FrameGeometry, TurnedFrameFindsItsHandlesTurned) {
    // A quarter turn clockwise puts the top side on the right.
    const KVFrame frame = KVFrame::FromBox({100, 100, 200, 160}, 90);
    EXPECT_EQ(KVWhichHandle(frame, 0, 1, true, 180, 130), KVHandleTop);
    EXPECT_EQ(KVWhichHandle(frame, 0, 1, true, 200, 130), KVHandleRotation);
}

struct DragRow {
    int handle;
    float toX, toY;
    bool keepAspect;
    LBoundingBox2T<float> box;
};

TEST(FrameGeometry, DragsFromEachHandle) {
    const DragRow rows[] = {
        {KVHandleBottomRight, 250, 200, false, {100, 100, 250, 200}},
        {KVHandleTopLeft, 50, 80, false, {50, 80, 200, 160}},
        {KVHandleRight, 260, 999, false, {100, 100, 260, 160}},
        {KVHandleTop, 999, 120, false, {100, 120, 200, 160}},
        // Through the opposite corner: the size stops at nothing.
        {KVHandleTopLeft, 300, 300, false, {200, 160, 200, 160}},
        {KVHandleLeft, 300, 130, false, {200, 100, 200, 160}},
        {KVHandleInside, 160, 140, false, {110, 110, 210, 170}},
        // The aspect at button down holds: 5 to 3.
        {KVHandleBottomRight, 300, 180, true, {100, 100, 300, 220}},
        {KVHandleRight, 300, 130, true, {100, 70, 300, 190}},
    };
    for (const DragRow& r : rows) {
        KVFrameDrag drag;
        const KVFrame frame = KVFrame::FromBox({100, 100, 200, 160});
        // Grabbed on the handle's own spot, or in the middle to move.
        const float gx[] = {150, 100, 200, 200, 100, 100, 150, 200, 150, 150};
        const float gy[] = {130, 100, 100, 160, 160, 130, 100, 130, 160, 130};
        drag.Begin(frame, r.handle, gx[r.handle], gy[r.handle], r.keepAspect, 0);
        const LBoundingBox2T<float> box = drag.MoveTo(r.toX, r.toY).GetBox();
        EXPECT_FLOAT_EQ(box.x1, r.box.x1) << r.handle;
        EXPECT_FLOAT_EQ(box.y1, r.box.y1) << r.handle;
        EXPECT_FLOAT_EQ(box.x2, r.box.x2) << r.handle;
        EXPECT_FLOAT_EQ(box.y2, r.box.y2) << r.handle;
    }
}

TEST(FrameGeometry, TurnedFrameKeepsItsFixedCornerOnScreen) {
    const KVFrame frame = KVFrame::FromBox({100, 100, 200, 160}, 30);
    const auto corner = [](const KVFrame& f) {
        return KVRotatePoint({f.x - f.width / 2, f.y - f.height / 2}, f.x, f.y, f.rotation);
    };
    KVFrameDrag drag;
    drag.Begin(frame, KVHandleBottomRight, 150, 130, false, 0);
    const KVFrame moved = drag.MoveTo(260, 260);
    EXPECT_NEAR(corner(moved).x, corner(frame).x, 1e-3);
    EXPECT_NEAR(corner(moved).y, corner(frame).y, 1e-3);
}

TEST(FrameGeometry, RotationHandleTurnsAndSnaps) {
    struct {
        float degrees;
        int snap;
        float turned;
    } const rows[] = {{89, 2, 90}, {45, 2, 45}, {1, 2, 0}, {-91, 2, -90}, {89, 0, 89}};
    for (const auto& r : rows) {
        // The pointer at `degrees` clockwise from straight up.
        const KVFrame frame = KVFrame::FromBox({0, 0, 100, 100});
        const LPointTemplate<float> at = KVRotatePoint({50, -100}, 50, 50, r.degrees);
        KVFrameDrag drag;
        drag.Begin(frame, KVHandleRotation, 50, -100, false, r.snap);
        EXPECT_NEAR(drag.MoveTo(at.x, at.y).rotation, r.turned, 1e-3) << r.degrees;
    }
}

// Guides pull a point or a box within reach; the first guide in the order
// they were made wins, not the nearest, and a box never changes its size.
TEST(FrameGeometry, FramesSnapToTheFirstGuideInReachAndKeepTheirSize) {
    const KVGuides guides{{50, 48}, {200}};
    struct {
        LPointTemplate<float> point, snapped;
    } const points[] = {
        {{197, 53}, {200, 50}}, // both axes; 50 before 48 though 48 is nearer
        {{100, 47}, {100, 50}}, // 50 is in reach (3) and comes first
        {{194, 56}, {194, 56}}, // six away from each: out of reach
    };
    for (const auto& c : points) {
        LPointTemplate<float> p = c.point;
        EXPECT_EQ(KVShouldSnap(5, p, guides), !(c.point == c.snapped));
        EXPECT_EQ(p, c.snapped) << c.point.x << "," << c.point.y;
    }
    struct {
        LBoundingBox2T<float> box, snapped;
    } const boxes[] = {
        {{10, 46, 30, 66}, {10, 50, 30, 70}},     // its top onto 50
        {{10, 20, 30, 47}, {10, 23, 30, 50}},     // its bottom onto 50
        {{180, 0, 198, 10}, {182, 0, 200, 10}},   // its right onto 200
        {{60, 60, 70, 70}, {60, 60, 70, 70}},     // nothing in reach
    };
    for (const auto& c : boxes) {
        LBoundingBox2T<float> b = c.box;
        KVShouldSnap(5, b, guides);
        EXPECT_EQ(b, c.snapped) << c.box.x1 << "," << c.box.y1;
    }
    // A drag snaps the box it moves and the side it pulls, from button down.
    const KVFrame frame = KVFrame::FromBox({0, 0, 40, 20});
    KVFrameDrag drag;
    drag.Begin(frame, KVHandleInside, 20, 10, false, 0, 5, guides);
    EXPECT_EQ(drag.MoveTo(20, 37).GetBox(), (LBoundingBox2T<float>{0, 30, 40, 50}));
    drag.Begin(frame, KVHandleBottomRight, 40, 20, false, 0, 5, guides);
    EXPECT_EQ(drag.MoveTo(197, 46).GetBox(), (LBoundingBox2T<float>{0, 0, 200, 50}));
    drag.Begin(frame, KVHandleBottomRight, 40, 20, false, 0, 0, guides);
    EXPECT_EQ(drag.MoveTo(197, 46).GetBox(), (LBoundingBox2T<float>{0, 0, 197, 46})) << "snapping off";
}

} // namespace
