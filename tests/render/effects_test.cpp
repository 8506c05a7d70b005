// The raster effects drawn straight on a target: where a shadow falls and
// how soft it is, the bevel's light, and the glows' reach.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "document/shapes.h"
#include "foundation/line_style.h"
#include "render/render_image_buffer.h"
#include "support/ink.h"
#include "target/draw_path.h"

namespace {

using kvtest::Ink;

const LGuiColorAlpha kRed(255, 0, 0, 255);

struct ErrorProcess : LProcessInterfaceVoid {
    std::string error;
    void SetError(const char* message) override { error = message; }
};

// Byte order: blue, green, red, alpha.
const unsigned char* At(KVRenderImageBuffer& t, int x, int y) {
    t.Flush();
    return t.GetImage().GetPictureRow(y) + x * 4;
}

Ink FindInk(KVRenderImageBuffer& t, int threshold) {
    t.Flush();
    return kvtest::FindInk(t.GetImage(), threshold);
}

struct Stroke {
    LList<KVDrawCoordBezierSegment> segments;
    Stroke(float x1, float y1, float x2, float y2) {
        segments.PushBack(new KVDrawCoordBezierSegment({x1, y1}, {x1, y1}, {x2, y2}, {x2, y2}));
    }
    KVSegments Begin() { return KVSegments(segments.GetFirst()); }
};

const KVBox kBox(100, 100, 200, 180);

// Every shape kind's shadow, on a transparent 300 by 300 target.
LProcessResult CastShadow(KVRenderImageBuffer& t, LProcessInterface& v, const std::string& kind,
                          const KVDropShadow& shadow, float lineWidth = 0,
                          bool hasFill = true) {
    KVPoint corners[4] = {{kBox.x1, kBox.y1}, {kBox.x2, kBox.y1}, {kBox.x2, kBox.y2},
                          {kBox.x1, kBox.y2}};
    if (kind == "rect")
        return t.DrawRectShadow(v, kBox, lineWidth, hasFill, shadow);
    if (kind == "ellipse")
        return t.DrawEllipseShadow(v, kBox, lineWidth, hasFill, shadow);
    if (kind == "poly")
        return t.DrawPolyShadow(v, corners, 4, kBox, lineWidth, hasFill, shadow);
    if (kind == "triangle")
        return t.DrawTriangleShadow(v, corners[0], corners[1], corners[2], kBox, lineWidth,
                                    hasFill, shadow);
    if (kind == "text")
        return t.DrawTextShadow(v, "Shadow text", 40, true, false, false, "Sans",
                                LAlignmentXLeft, kBox, shadow);
    Stroke s(kBox.x1, kBox.y1, kBox.x2, kBox.y2);
    const int brush = kind == "pen" ? KVBrushRoundPen : kind == "pencil" ? KVBrushPencil
                                                                         : KVBrushCrayon;
    return t.DrawPathShadow(v, static_cast<KVBrushType>(brush), s.Begin(), 6, false, shadow,
                            kBox, nullptr);
}

} // namespace

TEST(DropShadow, EveryKindCastsABlackShadowOfTheShapeAroundItsBox) {
    const KVDropShadow shadow{0, 0, 0, 20};
    for (const char* kind : {"rect", "ellipse", "poly", "triangle", "text", "pen", "pencil"}) {
        KVRenderImageBuffer t(300, 300);
        t.Clear(LPixelColour());
        LProcessInterfaceVoid v;
        ASSERT_EQ(CastShadow(t, v, kind, shadow), LProcessResultOk) << kind;
        const Ink ink = FindInk(t, 40);
        ASSERT_TRUE(ink.Any()) << kind;
        // Offsets of 0: the shadow lies where the shape is.
        EXPECT_GE(ink.x1, kBox.x1 - 12) << kind;
        EXPECT_LE(ink.x1, kBox.x1 + 40) << kind;
        EXPECT_GE(ink.y1, kBox.y1 - 12) << kind;
        EXPECT_LE(ink.y2, kBox.y2 + 12) << kind;
        bool black = true;
        t.Flush();
        for (int y = 0; y < 300; ++y)
            for (int x = 0; x < 300; ++x) {
                const unsigned char* p = At(t, x, y);
                black = black && p[0] == 0 && p[1] == 0 && p[2] == 0;
            }
        EXPECT_TRUE(black) << kind;
    }
    // The crayon's passes have no shadow of their own.
    KVRenderImageBuffer t(300, 300);
    t.Clear(LPixelColour());
    ErrorProcess process;
    EXPECT_EQ(CastShadow(t, process, "crayon", shadow), LProcessResultError);
    EXPECT_FALSE(process.error.empty());
}

TEST(DropShadow, OffsetsAndSizeAreSharesOfTheBox) {
    // Half-covered edges of a filled 100 by 80 box's shadow.
    struct Case {
        KVDropShadow shadow;
        int left, right, top, bottom;
    } cases[] = {
        {{0, 0, 0, 5}, 100, 199, 100, 179},
        {{0, 10, 0, 5}, 110, 209, 100, 179},
        {{0, 0, -25, 5}, 100, 199, 80, 159},
        // Grown by a fifth, centred on the shape: 120 by 96.
        {{20, 0, 0, 5}, 90, 209, 92, 187},
        {{20, 10, 10, 5}, 100, 219, 100, 195},
    };
    for (const Case& c : cases) {
        for (const char* kind : {"rect", "poly"}) {
            KVRenderImageBuffer t(300, 300);
            t.Clear(LPixelColour());
            LProcessInterfaceVoid v;
            ASSERT_EQ(CastShadow(t, v, kind, c.shadow), LProcessResultOk);
            const Ink ink = FindInk(t, 127);
            const std::string what = std::string(kind) + " size " +
                                     std::to_string(c.shadow.size) + " offset " +
                                     std::to_string(c.shadow.horizontalOffset) + "," +
                                     std::to_string(c.shadow.verticalOffset);
            EXPECT_NEAR(ink.x1, c.left, 1) << what;
            EXPECT_NEAR(ink.x2, c.right, 1) << what;
            EXPECT_NEAR(ink.y1, c.top, 1) << what;
            EXPECT_NEAR(ink.y2, c.bottom, 1) << what;
        }
    }
}

TEST(DropShadow, SofterShadowsReachFurtherAndOutlinesLeaveTheMiddleClear) {
    int reach[2] = {};
    const int softness[2] = {4, 60};
    for (int i = 0; i < 2; ++i) {
        KVRenderImageBuffer t(300, 300);
        t.Clear(LPixelColour());
        LProcessInterfaceVoid v;
        ASSERT_EQ(CastShadow(t, v, "rect", KVDropShadow{0, 0, 0, softness[i]}), LProcessResultOk);
        reach[i] = static_cast<int>(kBox.x1) - FindInk(t, 0).x1;
        // The middle of a filled shape's shadow is fully black.
        EXPECT_EQ(At(t, 150, 140)[3], 255);
    }
    // A radius of 1 against one of 15: three passes of the box each way.
    EXPECT_LE(reach[0], 4);
    EXPECT_GE(reach[1], 20);

    KVRenderImageBuffer t(300, 300);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    ASSERT_EQ(CastShadow(t, v, "ellipse", KVDropShadow{0, 0, 0, 4}, 6, false), LProcessResultOk);
    EXPECT_EQ(At(t, 150, 140)[3], 0);
    EXPECT_GT(At(t, 100, 140)[3], 128);
}

TEST(DropShadow, TheShadowLiesUnderTheBody) {
    KVRectangleElementProperties p;
    p.SetRectangle({100, 100, 200, 180});
    p.SetFill(kRed);
    p.SetShadow(KVDropShadow{0, 20, 20, 10});
    KVRectangleElement element(p);
    KVRenderImageBuffer t(300, 300);
    t.Clear(LPixelColour(255, 255, 255, 255));
    LProcessInterfaceVoid v;
    ASSERT_EQ(element.Render(v, t), LProcessResultOk);
    // The body is red where the shadow runs under it, the shadow dark past it.
    const unsigned char* body = At(t, 190, 170);
    EXPECT_EQ(body[2], 255);
    EXPECT_EQ(body[1], 0);
    const unsigned char* shade = At(t, 210, 190);
    EXPECT_LT(shade[1], 60);
    EXPECT_EQ(shade[1], shade[2]);
}
