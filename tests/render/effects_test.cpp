// The raster effects drawn straight on a target: where a shadow falls and
// how soft it is, the bevel's light, and the glows' reach.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "document/shapes.h"
#include "foundation/line_style.h"
#include "imaging/image_blur.h"
#include "render/lighting.h"
#include "render/render_image_buffer.h"
#include "support/ink.h"
#include "support/process_log.h"
#include "support/temp_dir.h"
#include "target/draw_path.h"

namespace {

using kvtest::Ink;
using kvtest::ProcessLog;

const LGuiColorAlpha kRed(255, 0, 0, 255);

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

// A black picture whose alpha at (x, y) is `alpha(x, y)`.
LImageBuffer AlphaPicture(int width, int height, const std::function<int(int, int)>& alpha) {
    LImageBuffer picture;
    LImage::New(picture, width, height, LPixelFormatB8G8R8A8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            unsigned char* p = picture.GetPictureRow(y) + x * 4;
            p[0] = p[1] = p[2] = 0;
            p[3] = static_cast<unsigned char>(alpha(x, y));
        }
    return picture;
}

// The lighting as every bevel asks for it.
LProcessResult Light(LProcessInterface& process, const LImageBuffer& source, LImageBuffer& lit,
                     float blurRadius) {
    const LGuiColor white = LGuiColor::FromBytes(255, 255, 255);
    KVSpeLgting job;
    job.source = &source;
    job.target = &lit;
    job.blurRadius = blurRadius;
    job.colour = &white;
    return Process(process, job);
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
    ProcessLog process;
    EXPECT_EQ(CastShadow(t, process, "crayon", shadow), LProcessResultError);
    EXPECT_FALSE(process.errors.empty());
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

TEST(Lighting, MatchesTheReferenceOnAlphaRamps) {
    const std::string python = KV_PYTHON;
    if (std::system((python + " -c 'import numpy' 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "python3 with numpy is needed for the reference";
    const int w = 23, h = 17;
    const std::pair<const char*, std::function<int(int, int)>> ramps[] = {
        {"across", [](int x, int) { return x * 255 / (w - 1); }},
        {"down", [](int, int y) { return 255 - y * 255 / (h - 1); }},
        {"diagonal", [](int x, int y) { return (x + y) * 255 / (w + h - 2); }},
        {"steep", [](int x, int y) { return std::min(255, std::abs(x - 11) * 40 + y * 3); }},
        {"cone", [](int x, int y) {
             return std::max(0, 255 - static_cast<int>(std::hypot(x - 11, y - 8) * 30));
         }},
        {"edge", [](int x, int) { return x < 9 ? 0 : 255; }},
    };
    kvtest::TempDir dir;
    for (const auto& [name, alpha] : ramps) {
        const LImageBuffer source = AlphaPicture(w, h, alpha);
        LImageBuffer lit;
        LProcessInterfaceVoid v;
        ASSERT_EQ(Light(v, source, lit, 0), LProcessResultOk) << name;

        const std::string in = dir.File(std::string(name) + ".alpha"),
                          out = dir.File(std::string(name) + ".bgra");
        {
            std::ofstream file(in, std::ios::binary);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    file.put(static_cast<char>(source.GetPictureRow(y)[x * 4 + 3]));
        }
        const std::string command = python + " " + KV_LIGHTING_REFERENCE + " " +
                                    std::to_string(w) + " " + std::to_string(h) + " " + in + " " +
                                    out;
        ASSERT_EQ(std::system(command.c_str()), 0) << name;
        std::ifstream file(out, std::ios::binary);
        std::vector<char> expected((std::istreambuf_iterator<char>(file)),
                                   std::istreambuf_iterator<char>());
        ASSERT_EQ(expected.size(), static_cast<size_t>(w * h * 4)) << name;
        int differing = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 4; ++c) {
                    const int got = lit.GetPictureRow(y)[x * 4 + c];
                    const int want = static_cast<unsigned char>(expected[(y * w + x) * 4 + c]);
                    if (got != want && differing++ < 5)
                        ADD_FAILURE() << name << " at " << x << "," << y << " channel " << c
                                      << ": " << got << " against " << want;
                }
        EXPECT_EQ(differing, 0) << name;
    }
}

TEST(Lighting, AFlatOpaquePictureGetsTheSameGreyEverywhere) {
    // The normal points at the viewer: d = 0.9238795, and 0.9238795^16 of
    // 255 is 71.
    const LImageBuffer source = AlphaPicture(40, 30, [](int, int) { return 255; });
    LImageBuffer lit;
    LProcessInterfaceVoid v;
    ASSERT_EQ(Light(v, source, lit, 4), LProcessResultOk);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(lit.GetPictureRow(y)[x * 4 + c], 71) << x << "," << y;
}

TEST(Lighting, RefusesPicturesOfOtherFormatsAndStops) {
    LImageBuffer grey, lit;
    LImage::New(grey, 8, 8, LPixelFormatB8G8R8A8 + 1);
    ProcessLog process;
    EXPECT_EQ(Light(process, grey, lit, 1), LProcessResultError);
    EXPECT_FALSE(process.errors.empty());

    ProcessLog stopped(0);
    const LImageBuffer source = AlphaPicture(8, 8, [](int, int) { return 255; });
    EXPECT_EQ(Light(stopped, source, lit, 1), LProcessResultStopped);
}

TEST(Bevel, LightsTheUpperLeftEdgeAndNeverDarkensTheBody) {
    const LGuiColorAlpha grey(100, 100, 100, 255);
    struct Case {
        const char* kind;
        float lineWidth;
    } cases[] = {{"rect", 0}, {"rect", 8}, {"ellipse", 4}, {"poly", 0}, {"path", 3}};
    for (const Case& c : cases) {
        KVRenderImageBuffer t(300, 300);
        t.Clear(LPixelColour(255, 255, 255, 255));
        LProcessInterfaceVoid v;
        const KVBevelEmboss bevel{10};
        KVPoint corners[4] = {{kBox.x1, kBox.y1}, {kBox.x2, kBox.y1}, {kBox.x2, kBox.y2},
                              {kBox.x1, kBox.y2}};
        Stroke s(kBox.x1, kBox.y1, kBox.x2, kBox.y1);
        s.segments.PushBack(new KVDrawCoordBezierSegment({kBox.x2, kBox.y1}, {kBox.x2, kBox.y1},
                                                         {kBox.x2, kBox.y2}, {kBox.x2, kBox.y2}));
        s.segments.PushBack(new KVDrawCoordBezierSegment({kBox.x2, kBox.y2}, {kBox.x2, kBox.y2},
                                                         {kBox.x1, kBox.y2}, {kBox.x1, kBox.y2}));
        s.segments.PushBack(new KVDrawCoordBezierSegment({kBox.x1, kBox.y2}, {kBox.x1, kBox.y2},
                                                         {kBox.x1, kBox.y1}, {kBox.x1, kBox.y1}));
        const std::string kind = c.kind;
        LProcessResult r = LProcessResultError;
        if (kind == "rect") {
            t.FillRect(v, c.lineWidth, grey, grey, kBox);
            r = t.FillRectBevelEmboss(v, c.lineWidth, grey, grey, kBox, bevel);
        } else if (kind == "ellipse") {
            t.FillEllipse(v, c.lineWidth, grey, grey, kBox);
            r = t.FillEllipseBevelEmboss(v, c.lineWidth, grey, grey, kBox, bevel);
        } else if (kind == "poly") {
            t.FillPoly(v, c.lineWidth, grey, grey, corners, 4, kBox);
            r = t.FillPolyBevelEmboss(v, c.lineWidth, grey, grey, corners, 4, kBox, bevel);
        } else {
            t.FillPath(v, s.Begin(), c.lineWidth, grey, grey);
            r = t.FillPathBevelEmboss(v, KVBrushRoundPen, s.Begin(), c.lineWidth, grey, grey,
                                      kBox, bevel, nullptr);
        }
        ASSERT_EQ(r, LProcessResultOk) << kind;
        // The flat middle: the body plus the grey of a light straight on.
        EXPECT_NEAR(At(t, 150, 140)[1], 100 + 71 * 155 / 255, 2) << kind;
        // Just inside the upper left edge the slope faces the light.
        const int lit = At(t, 152, static_cast<int>(kBox.y1) + 4)[1];
        const int shaded = At(t, 152, static_cast<int>(kBox.y2) - 10)[1];
        EXPECT_GT(lit, 155) << kind;
        EXPECT_LT(shaded, 135) << kind;
        EXPECT_GE(shaded, 100) << kind;
        // Outside the shape nothing changes.
        EXPECT_EQ(At(t, 150, 60)[1], 255) << kind;
    }
}

TEST(Bevel, StrokesAndTextAreLitAndCrayonsRefused) {
    const KVBevelEmboss bevel{4};
    KVRenderImageBuffer t(300, 300);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    Stroke s(50, 50, 250, 50);
    EXPECT_EQ(t.DrawPathBevelEmboss(v, KVBrushRoundPen, s.Begin(), 12, LGuiColor(), bevel,
                                    KVBox(50, 50, 250, 50), nullptr),
              LProcessResultOk);
    EXPECT_GT(FindInk(t, 0).Width(), 190);
    EXPECT_EQ(t.DrawTextBevelEmboss(v, "Lit", 40, true, false, false, "Sans", LAlignmentXLeft,
                                    KVBox(50, 150, 250, 250), bevel),
              LProcessResultOk);
    EXPECT_GT(FindInk(t, 0).y2, 150);
    ProcessLog process;
    EXPECT_EQ(t.DrawPathBevelEmboss(process, KVBrushCrayon, s.Begin(), 12, LGuiColor(), bevel,
                                    KVBox(50, 50, 250, 50), nullptr),
              LProcessResultError);
}

namespace {

const LGuiColorAlpha kGreen(0, 255, 0, 255);

// One element with an outer glow of `strength` on a transparent target.
void GlowRect(KVRenderImageBuffer& t, const KVBox& box, float strength, bool inner) {
    LProcessInterfaceVoid v;
    KVRenderImage* child =
        inner ? t.BeginInnerGlow(kGreen, strength) : t.BeginOuterGlow(kGreen, strength);
    ASSERT_NE(child, nullptr);
    child->FillRect(v, 0, kRed, kRed, box);
    if (inner)
        t.FinishInnerGlow(v);
    else
        t.FinishOuterGlow(v);
}

} // namespace

TEST(Glow, AGlowInsideAGlowComposesBackWhereTheElementWasDrawn) {
    KVRenderImageBuffer t(100, 80);
    t.Clear(LPixelColour());
    KVRenderImage* outer = t.BeginOuterGlow(kGreen, 4);
    ASSERT_NE(outer, nullptr);
    KVRenderImage* inner = outer->BeginInnerGlow(kGreen, 4);
    ASSERT_NE(inner, nullptr);
    LProcessInterfaceVoid v;
    inner->FillRect(v, 0, kRed, kRed, KVBox(30, 30, 70, 50));
    outer->FinishInnerGlow(v);
    t.FinishOuterGlow(v);
    EXPECT_GT(At(t, 50, 40)[2], 240);
    EXPECT_GT(At(t, 31, 40)[1], 0);
    EXPECT_GT(At(t, 27, 40)[1], 0);
    EXPECT_EQ(At(t, 27, 40)[2], 0);
}

TEST(Glow, OuterGlowShowsOnlyWhereTheElementIsNotAndInnerBleedsIn) {
    struct Case {
        bool inner;
        int x;
        bool red, green;
    } cases[] = {
        // Outer: the body untouched, the glow around it, none past its reach.
        {false, 50, true, false},
        {false, 30, true, false},
        {false, 26, false, true},
        {false, 10, false, false},
        // Inner: the edge tinted, the middle and the outside untouched.
        {true, 31, true, true},
        {true, 50, true, false},
        {true, 26, false, false},
    };
    for (const Case& c : cases) {
        KVRenderImageBuffer t(100, 80);
        t.Clear(LPixelColour());
        GlowRect(t, KVBox(30, 20, 70, 60), 3, c.inner);
        const unsigned char* p = At(t, c.x, 40);
        const std::string what = std::string(c.inner ? "inner" : "outer") + " at " +
                                 std::to_string(c.x);
        EXPECT_EQ(p[2] > 0, c.red) << what;
        EXPECT_EQ(p[1] > 0, c.green) << what;
        if (!c.inner && c.red) {
            EXPECT_EQ(p[1], 0) << what;
        }
    }
}

TEST(Glow, AGlowOverhangingThePictureIsKeptAsInTheMiddleOfALargerOne) {
    // The same element at the right edge of a narrow picture and in the
    // middle of a wide one: the part that shows is the same, pixel for pixel.
    KVRenderImageBuffer narrow(100, 80), wide(300, 80);
    narrow.Clear(LPixelColour());
    wide.Clear(LPixelColour());
    GlowRect(narrow, KVBox(80, 20, 120, 60), 6, false);
    GlowRect(wide, KVBox(180, 20, 220, 60), 6, false);
    narrow.Flush();
    wide.Flush();
    for (int y = 0; y < 80; ++y)
        ASSERT_EQ(std::memcmp(narrow.GetImage().GetPictureRow(y),
                              wide.GetImage().GetPictureRow(y) + 100 * 4, 100 * 4),
                  0)
            << "row " << y;
    // The glow reaches the picture's edge above the element.
    EXPECT_GT(At(narrow, 99, 15)[1], 0);
}

TEST(Glow, TheOuterGlowIsTheWholeCanvasMaskBlurred) {
    // The glow worked out the long way: a mask of the whole doubled canvas,
    // blurred as a whole, laid where the element is not.
    const KVBox box(40, 30, 60, 45);
    const float strength = 5;
    KVRenderImageBuffer t(100, 80);
    t.Clear(LPixelColour());
    GlowRect(t, box, strength, false);

    KVRenderImageBuffer body(200, 160);
    body.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    body.FillRect(v, 0, kRed, kRed, KVBox(box.x1 + 50, box.y1 + 40, box.x2 + 50, box.y2 + 40));
    body.Flush();
    LImageBuffer mask;
    LImage::New(mask, 200, 160, LPixelFormatB8G8R8A8);
    for (int y = 0; y < 160; ++y)
        for (int x = 0; x < 200; ++x) {
            unsigned char* m = mask.GetPictureRow(y) + x * 4;
            const unsigned char* b = body.GetImage().GetPictureRow(y) + x * 4;
            m[0] = m[2] = 0;
            m[1] = 255;
            m[3] = (b[0] | b[1] | b[2] | b[3]) ? 255 : 0;
        }
    LImageBlurSettings blur(mask, 5);
    ASSERT_EQ(Process(v, blur), LProcessResultOk);
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 100; ++x) {
            const unsigned char* b = body.GetImage().GetPictureRow(y + 40) + (x + 50) * 4;
            const unsigned char* m = mask.GetPictureRow(y + 40) + (x + 50) * 4;
            const unsigned char* want = (b[3] == 0 && m[3] != 0) ? m : b;
            const unsigned char* got = At(t, x, y);
            ASSERT_EQ(std::memcmp(got, want, 4), 0) << x << "," << y;
        }
}

TEST(Glow, AStoppedGlowLeavesTheElementOut) {
    for (bool inner : {false, true}) {
        KVRenderImageBuffer t(100, 80);
        t.Clear(LPixelColour());
        LProcessInterfaceVoid v;
        KVRenderImage* child = inner ? t.BeginInnerGlow(kGreen, 3) : t.BeginOuterGlow(kGreen, 3);
        ASSERT_NE(child, nullptr);
        child->FillRect(v, 0, kRed, kRed, KVBox(30, 20, 70, 60));
        ProcessLog stopped(0);
        if (inner)
            t.FinishInnerGlow(stopped);
        else
            t.FinishOuterGlow(stopped);
        EXPECT_FALSE(FindInk(t, 0).Any()) << (inner ? "inner" : "outer");
    }
}

TEST(Glow, AnElementWithBothGlowsHasItsInnerGlowInsideAndTheOuterOutside) {
    KVRectangleElementProperties p;
    p.SetRectangle({30, 20, 70, 60});
    p.SetFill(kRed);
    p.SetInnerGlow(KVGlow{LGuiColorAlpha(0, 0, 255, 255), 3});
    p.SetOuterGlow(KVGlow{kGreen, 3});
    KVRectangleElement element(p);
    KVRenderImageBuffer t(100, 80);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    ASSERT_EQ(element.Render(v, t), LProcessResultOk);
    // Inside the edge: red tinted blue; outside: green only.
    EXPECT_GT(At(t, 31, 40)[0], 0);
    EXPECT_EQ(At(t, 31, 40)[1], 0);
    EXPECT_GT(At(t, 27, 40)[1], 0);
    EXPECT_EQ(At(t, 27, 40)[0], 0);
    EXPECT_EQ(At(t, 50, 40)[2], 255);
}
