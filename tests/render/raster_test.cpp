#include <gtest/gtest.h>

#include <cairo.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "target/draw_path.h"
#include "document/project.h"
#include "document/shapes.h"
#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "render/line_cap.h"
#include "render/render_image_buffer.h"
#include "support/ink.h"
#include "support/process_log.h"

namespace {

const LGuiColorAlpha kRed(255, 0, 0, 255);
const LGuiColorAlpha kBlue(0, 0, 255, 255);
const LPixelColour kWhite(255, 255, 255, 255);

LPixelColour Pixel(KVRenderImageBuffer& t, int x, int y) {
    t.Flush();
    const unsigned char* p = t.GetImage().GetPictureRow(y) + x * 4;
    return LPixelColour(p[2], p[1], p[0], p[3]);
}

using kvtest::Ink;
using kvtest::FindInk;

Ink FindInk(KVRenderImageBuffer& t, int threshold = 0) {
    t.Flush();
    return FindInk(t.GetImage(), threshold);
}

double MeanDifference(KVRenderImageBuffer& a, KVRenderImageBuffer& b) {
    a.Flush();
    b.Flush();
    double sum = 0;
    const LImageBuffer &ia = a.GetImage(), &ib = b.GetImage();
    for (int y = 0; y < ia.height; ++y)
        for (int x = 0; x < ia.width * 4; ++x)
            sum += std::abs(ia.GetPictureRow(y)[x] - ib.GetPictureRow(y)[x]);
    return sum / (ia.width * ia.height);
}

} // namespace

TEST(RasterFill, WidthZeroFillReachesAQuarterPixelOut) {
    KVRenderImageBuffer t(40, 40);
    ASSERT_EQ(t.Clear(LPixelColour()), LProcessResultOk);
    LProcessInterfaceVoid v;
    ASSERT_EQ(t.FillRect(v, 0, kBlue, kRed, KVBox(10, 10, 20, 20)), LProcessResultOk);
    EXPECT_EQ(Pixel(t, 15, 15).red, 255);
    // Integer coordinates are pixel centres: the edge pixels are three
    // quarters covered, the ones beyond untouched.
    EXPECT_NEAR(Pixel(t, 10, 15).alpha, 191, 3);
    EXPECT_EQ(Pixel(t, 21, 15).alpha, 0);
    // No outline at width 0, whatever its colour.
    EXPECT_EQ(Pixel(t, 10, 15).blue, 0);
}

TEST(RasterFill, OutlineCoversTheFillEdgeWithoutASeam) {
    KVRenderImageBuffer t(40, 40);
    t.Clear(kWhite);
    LProcessInterfaceVoid v;
    ASSERT_EQ(t.FillRect(v, 2, kBlue, kRed, KVBox(10, 10, 20, 20)), LProcessResultOk);
    // The outline sits on the bounds, blue.
    EXPECT_EQ(Pixel(t, 10, 15).blue, 255);
    EXPECT_EQ(Pixel(t, 10, 15).red, 0);
    EXPECT_EQ(Pixel(t, 15, 15).red, 255);
    // Between outline and fill the white background shows at most faintly:
    // a fill that stopped where the outline starts would leave a quarter.
    for (int x = 10; x <= 20; ++x)
        EXPECT_LT(Pixel(t, x, 15).green, 40) << "column " << x;
}

TEST(RasterFill, PolygonOutlineOnlyWithALineColourThatShows) {
    KVPoint points[4] = {{10, 10}, {30, 10}, {30, 30}, {10, 30}};
    const KVBox bounds(10, 10, 30, 30);
    LProcessInterfaceVoid v;
    KVRenderImageBuffer bare(40, 40), hidden(40, 40), shown(40, 40);
    for (KVRenderImageBuffer* t : {&bare, &hidden, &shown})
        t->Clear(kWhite);
    bare.FillPoly(v, 0, kBlue, kRed, points, 4, bounds);
    hidden.FillPoly(v, 3, LGuiColorAlpha(0, 0, 255, 0), kRed, points, 4, bounds);
    shown.FillPoly(v, 3, LGuiColorAlpha(0, 0, 255, 128), kRed, points, 4, bounds);
    EXPECT_EQ(MeanDifference(bare, hidden), 0);
    EXPECT_GT(Pixel(shown, 10, 20).blue, 100);
    // Rectangles stroke at any line alpha: half-transparent outlines show.
    KVRenderImageBuffer rect(40, 40);
    rect.Clear(kWhite);
    rect.FillRect(v, 3, LGuiColorAlpha(0, 0, 255, 128), kRed, bounds);
    EXPECT_GT(Pixel(rect, 10, 20).blue, 100);
    EXPECT_LT(Pixel(rect, 10, 20).red, 200);
}

TEST(RasterFill, ZeroWidthOutlinesDrawNothing) {
    KVRenderImageBuffer t(30, 30);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    KVPoint points[3] = {{2, 2}, {20, 2}, {10, 20}};
    EXPECT_EQ(t.DrawRect(v, 0, kRed, KVBox(2, 2, 20, 20)), LProcessResultOk);
    EXPECT_EQ(t.DrawPoly(v, 0, kRed, points, 3, KVBox(2, 2, 20, 20)), LProcessResultOk);
    EXPECT_FALSE(FindInk(t).Any());
    EXPECT_EQ(t.DrawPoly(v, 1, kRed, points, 3, KVBox(2, 2, 20, 20)), LProcessResultOk);
    EXPECT_TRUE(FindInk(t).Any());
}

TEST(RasterFill, GradientsSpanTheBox) {
    // Linear: from the left edge of the box to its right.
    KVRenderImageBuffer t(120, 40);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    ASSERT_EQ(t.FillRect(v, KVGradient(), 0, kRed, KVBox(10, 5, 110, 35)), LProcessResultOk);
    EXPECT_LT(Pixel(t, 12, 20).red, 20);
    EXPECT_GT(Pixel(t, 108, 20).red, 235);
    EXPECT_NEAR(Pixel(t, 60, 20).red, 128, 8);

    // Radial: the record's stops run from the rim in to the centre, over
    // half the box's width across; down, over the same share of a radius
    // that reaches 1.701 heights past the box, 17.7 pixels here. Past them
    // the first colour stays.
    KVGradient g;
    g.radial = true;
    g.start = {0.5f, 0.5f};
    g.radiusX = 0.5f;
    g.radiusY = 0.25f;
    g.AddStop(0.5f, kRed);
    KVRenderImageBuffer r(100, 40);
    r.Clear(LPixelColour());
    ASSERT_EQ(r.FillRect(v, g, 0, kRed, KVBox(0, 0, 100, 40)), LProcessResultOk);
    EXPECT_EQ(Pixel(r, 50, 20), LPixelColour(255, 255, 255, 255));
    for (const LPixelColour red : {Pixel(r, 75, 20), Pixel(r, 25, 20), Pixel(r, 50, 29)}) {
        EXPECT_GT(red.red, 230);
        EXPECT_LT(red.green, 20);
    }
    for (const LPixelColour black : {Pixel(r, 99, 20), Pixel(r, 50, 39)}) {
        EXPECT_LT(black.red, 25);
        EXPECT_EQ(black.alpha, 255);
    }
}

TEST(RasterTransform, ClearInstallsRotationThenScaleThenTranslation) {
    KVRenderImageBuffer t(120, 120);
    t.rotation = 90;
    t.centreX = t.centreY = 50;
    t.scaleX = t.scaleY = 2;
    t.translateX = 10;
    ASSERT_EQ(t.Clear(LPixelColour()), LProcessResultOk);
    LProcessInterfaceVoid v;
    t.FillRect(v, 0, kRed, kRed, KVBox(0, 0, 2, 2));
    // (1, 1) moved by 10, doubled to (22, 2), turned a quarter about (50, 50).
    const Ink ink = FindInk(t, 128);
    ASSERT_TRUE(ink.Any());
    EXPECT_NEAR((ink.x1 + ink.x2) / 2.0, 97.5, 1);
    EXPECT_NEAR((ink.y1 + ink.y2) / 2.0, 22.5, 1);
    // A flush puts the same transform back on top of the surface's.
    EXPECT_EQ(Pixel(t, 97, 22).red, 255);
}

TEST(RasterTransform, SecondBeginDropsTheFirstChild) {
    KVRenderImageBuffer t(40, 40);
    t.Clear(LPixelColour());
    LProcessInterfaceVoid v;
    KVRenderImage* first = t.BeginRotate(30, {20, 20});
    first->FillRect(v, 0, kRed, kRed, KVBox(5, 5, 35, 35));
    KVRenderImage* second = t.BeginScale(1, 1);
    EXPECT_NE(second, first);
    EXPECT_EQ(t.GetCurrentImage(), second);
    EXPECT_EQ(t.GetClosingImage(), &t);
    t.FinishScale();
    EXPECT_FALSE(FindInk(t).Any());
    // A finish without a child does nothing.
    t.FinishRotate();
    EXPECT_FALSE(FindInk(t).Any());
}

// The composing uses the finishing target's own transform: the four cases.
TEST(RasterTransform, FinishComposesByTheParentsOwnTransform) {
    LProcessInterfaceVoid v;
    auto composed = [&](auto setUp) {
        auto t = std::make_unique<KVRenderImageBuffer>(40, 40);
        setUp(*t);
        t->Clear(LPixelColour());
        KVRenderImage* child = t->BeginScale(1, 1);
        t->GetClosingImage(); // reachable while drawing
        child->FillRect(v, 0, kRed, kRed, KVBox(4, 4, 8, 8));
        t->FinishTransform(true);
        return FindInk(*t, 128);
    };
    const Ink plain = composed([](KVRenderImageBuffer&) {});
    EXPECT_EQ(plain.x1, 4);
    EXPECT_EQ(plain.x2, 8);
    const Ink moved = composed([](KVRenderImageBuffer& t) {
        t.translateX = 5;
        t.translateY = 3;
    });
    EXPECT_EQ(moved.x1, 9);
    EXPECT_EQ(moved.y1, 7);
    const Ink scaled = composed([](KVRenderImageBuffer& t) { t.scaleX = t.scaleY = 2; });
    EXPECT_NEAR(scaled.x1, 8, 1);
    EXPECT_NEAR(scaled.x2, 17, 1);
    const Ink turned = composed([](KVRenderImageBuffer& t) {
        t.rotation = 90;
        t.centreX = t.centreY = 20;
    });
    // A quarter turn clockwise about the middle takes (6, 6) to (33, 6).
    EXPECT_NEAR((turned.x1 + turned.x2) / 2.0, 33, 1);
    EXPECT_NEAR((turned.y1 + turned.y2) / 2.0, 6, 1);
}

namespace {
struct Stroke {
    LList<KVDrawCoordBezierSegment> segments;
    Stroke(float x1, float y1, float x2, float y2) {
        segments.PushBack(new KVDrawCoordBezierSegment({x1, y1}, {x1, y1}, {x2, y2}, {x2, y2}));
    }
    KVSegments Begin() { return KVSegments(segments.GetFirst()); }
};
} // namespace

TEST(RasterPath, DispatchByBrushAndWidth) {
    LProcessInterfaceVoid v;
    KVPressure pressure;
    const LLineStyle style;
    auto draw = [&](int type, float width, const KVPressure* p) {
        KVRenderImageBuffer t(60, 40);
        t.Clear(LPixelColour());
        Stroke s(10, 20, 50, 20);
        const LProcessResult r = t.DrawPath(v, static_cast<KVBrushType>(type), s.Begin(), style,
                                            width, kRed, KVBox(10, 20, 50, 20), 0, p);
        return std::make_pair(r, FindInk(t).Any());
    };
    // Thin strokes of any brush are plain strokes.
    EXPECT_EQ(draw(7, 1.0f, nullptr), std::make_pair(LProcessResultOk, true));
    EXPECT_EQ(draw(3, 0.5f, &pressure), std::make_pair(LProcessResultOk, true));
    EXPECT_EQ(draw(8, 3, nullptr), std::make_pair(LProcessResultOk, true));
    // Types only the crayon reaches, and types no brush has.
    for (int type : {5, 6, 10, -1})
        EXPECT_EQ(draw(type, 2, nullptr).first, LProcessResultError) << "type " << type;
    // Stamped brushes, and the pen with pressure, lay stamps.
    for (int type : {1, 2, 3, 4, 7, 9})
        EXPECT_EQ(draw(type, 8, nullptr), std::make_pair(LProcessResultOk, true))
            << "type " << type;
    pressure.maximum = 1024;
    pressure.count = 2;
    const long levels[2] = {512, 512};
    pressure.levels.Append(levels, 2);
    EXPECT_EQ(draw(0, 3, &pressure), std::make_pair(LProcessResultOk, true));
    // A marker with pressure reaches the stamps, which have none for it.
    EXPECT_EQ(draw(8, 3, &pressure), std::make_pair(LProcessResultOk, false));
}

TEST(RasterPath, StrokeLayerLandsOnThePathEvenBlurred) {
    LProcessInterfaceVoid v;
    LLineStyle style;
    KVRenderImageBuffer t(80, 60);
    t.Clear(LPixelColour());
    Stroke s(20, 30, 60, 30);
    ASSERT_EQ(t.DrawPath(v, KVBrushRoundPen, s.Begin(), style, 6, kRed, KVBox(20, 30, 60, 30), 0,
                         nullptr),
              LProcessResultOk);
    const Ink sharp = FindInk(t, 128);
    // Round caps on the round pen: half the width beyond each end.
    EXPECT_NEAR(sharp.x1, 17, 1);
    EXPECT_NEAR(sharp.x2, 63, 1);
    EXPECT_NEAR(sharp.y1, 27, 1);
    EXPECT_NEAR(sharp.y2, 33, 1);
    EXPECT_EQ(Pixel(t, 40, 30).red, 255);

    KVRenderImageBuffer blurred(80, 60);
    blurred.Clear(LPixelColour());
    ASSERT_EQ(blurred.DrawPath(v, KVBrushRoundPen, s.Begin(), style, 6, kRed,
                               KVBox(20, 30, 60, 30), 3, nullptr),
              LProcessResultOk);
    const Ink soft = FindInk(blurred, 0);
    EXPECT_NEAR((soft.x1 + soft.x2) / 2.0, 40, 1);
    EXPECT_NEAR((soft.y1 + soft.y2) / 2.0, 30, 1);
    EXPECT_LT(soft.y1, sharp.y1);
    // The blur mixes in only the stroke's colour, never black.
    const LPixelColour edge = Pixel(blurred, 40, soft.y1);
    EXPECT_GT(edge.alpha, 0);
    EXPECT_EQ(edge.red, edge.alpha);
}

TEST(RasterPath, OversizedStrokeLayerFailsWithAnError) {
    kvtest::ProcessLog process;
    KVRenderImageBuffer t(20, 20);
    t.Clear(LPixelColour());
    Stroke s(0, 0, 1e9f, 0);
    EXPECT_EQ(t.DrawPath(process, KVBrushRoundPen, s.Begin(), LLineStyle(), 4, kRed,
                         KVBox(0, 0, 1e9f, 0), 0, nullptr),
              LProcessResultError);
    EXPECT_FALSE(process.errors.empty());
}

TEST(RasterPath, FilledPathStaysOneFigure) {
    LProcessInterfaceVoid v;
    KVRenderImageBuffer t(40, 40);
    t.Clear(LPixelColour());
    LList<KVDrawCoordBezierSegment> segments;
    segments.PushBack(new KVDrawCoordBezierSegment({5, 5}, {5, 5}, {35, 5}, {35, 5}));
    segments.PushBack(new KVDrawCoordBezierSegment({35, 5}, {35, 5}, {35, 35}, {35, 35}));
    segments.PushBack(new KVDrawCoordBezierSegment({35, 35}, {35, 35}, {5, 35}, {5, 35}));
    ASSERT_EQ(t.FillPath(v, KVSegments(segments.GetFirst()), 2, LGuiColor(0, 0, 0xffff), kRed),
              LProcessResultOk);
    EXPECT_EQ(Pixel(t, 20, 20).red, 255);
    EXPECT_EQ(Pixel(t, 35, 20).blue, 255);
}

TEST(RasterLine, ShapedCapsAndStrokeCaps) {
    LProcessInterfaceVoid v;
    KVRenderImageBuffer t(70, 40);
    t.Clear(LPixelColour());
    ASSERT_EQ(t.DrawLine(v, 4, kRed, KVLineCapRound, KVLineCapSquare, LLineDashSolid, 10, 20, 50,
                         20),
              LProcessResultOk);
    const Ink ink = FindInk(t, 64);
    EXPECT_NEAR(ink.x1, 8, 1); // a round stroke cap at the start
    EXPECT_EQ(ink.x2, 54);     // a square twice the width across the end
    EXPECT_EQ(ink.y1, 16);
    EXPECT_EQ(ink.y2, 24);
}

TEST(RasterText, TextPictureTakesAlphaFromDarkness) {
    kvtest::ProcessLog process;
    LImageBuffer out;
    const LGuiColorAlpha colour(0, 128, 255, 128);
    ASSERT_EQ(KVRenderImageBuffer::DrawText(process, out, "  Hello  ", 24, true, false, false,
                                            "DejaVu Sans", LAlignmentXLeft, 160, 40, colour),
              LProcessResultOk);
    ASSERT_TRUE(out.IsValid());
    ASSERT_EQ(out.width, 160);
    const Ink ink = FindInk(out);
    ASSERT_TRUE(ink.Any());
    EXPECT_GE(ink.x1, 23); // moved in by its size, leading blanks trimmed
    EXPECT_LT(ink.x1, 32);
    int maxAlpha = 0;
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            const unsigned char* p = out.GetPictureRow(y) + x * 4;
            maxAlpha = std::max<int>(maxAlpha, p[3]);
            ASSERT_LE(p[3], 128);
            if (p[3] == 128) { // full darkness: the colour itself, premultiplied
                EXPECT_NEAR(p[0], 128, 1);
                EXPECT_NEAR(p[1], 64, 1);
                EXPECT_EQ(p[2], 0);
            }
        }
    EXPECT_EQ(maxAlpha, 128);
    const unsigned char* corner = out.GetPictureRow(0);
    EXPECT_EQ(corner[3], 0);

    EXPECT_EQ(KVRenderImageBuffer::DrawText(process, out, "x", 12, false, false, false, "Sans",
                                            LAlignmentXLeft, 0, 10, colour),
              LProcessResultError);
    EXPECT_FALSE(process.errors.empty());
}

TEST(RasterTarget, TargetWithoutAPictureRefusesToDraw) {
    LProcessInterfaceVoid v;
    KVRenderImageBuffer t(0, 0);
    EXPECT_EQ(t.Clear(LPixelColour()), LProcessResultError);
    EXPECT_EQ(t.FillRect(v, 1, kRed, kRed, KVBox(0, 0, 5, 5)), LProcessResultError);
    EXPECT_EQ(t.DrawLine(v, 1, kRed, KVLineCapFlat, KVLineCapFlat, LLineDashSolid, 0, 0, 5, 5),
              LProcessResultError);
    EXPECT_FALSE(t.FastFillPath(LGraphicsPath(), kRed));
    KVRenderImage* child = t.BeginTranslate(1, 1);
    ASSERT_NE(child, nullptr);
    t.FinishTranslate();
    EXPECT_FALSE(t.SaveAsFile("x.png"));
    EXPECT_FALSE(t.DoesImageUseMetadata());
}

TEST(RasterTarget, PicturesAreDrawnAtTheirPlaceAndBadOnesRefused) {
    kvtest::ProcessLog process;
    KVRenderImageBuffer t(40, 30);
    t.Clear(LPixelColour());
    LImageBuffer empty;
    EXPECT_EQ(t.DrawImage(process, empty, 0, 0, 10, 10), LProcessResultError);
    EXPECT_FALSE(process.errors.empty());
    LImageBuffer dot;
    LImage::New(dot, 4, 3, LPixelFormatB8G8R8A8);
    ASSERT_TRUE(dot.IsValid());
    dot.Clear(LPixelColour(0, 0, 255, 255));
    ASSERT_EQ(t.DrawImage(process, dot, 10, 5, 4, 3), LProcessResultOk);
    const Ink ink = FindInk(t, 128);
    EXPECT_EQ(ink.x1, 10);
    EXPECT_EQ(ink.y1, 5);
    EXPECT_EQ(ink.x2, 13);
    EXPECT_EQ(ink.y2, 7);
}

// Children are composed and cleaned only where they were drawn on, and a
// finished child is kept for the next one: the pixels must still be those of
// composing whole fresh pictures.
TEST(RasterTransform, TouchedAreaComposingKeepsEveryPixel) {
    LProcessInterfaceVoid v;
    struct Step {
        float degrees; // 0: moved instead
        KVBox box;
    };
    const Step steps[] = {{30, KVBox(20, 20, 60, 40)},  {-45, KVBox(70, 10, 110, 70)},
                          {10, KVBox(10, 50, 50, 90)},  {75, KVBox(40, 30, 90, 60)},
                          {0, KVBox(20, 20, 60, 40)},   {0, KVBox(70, 10, 110, 70)},
                          {0, KVBox(10, 50, 50, 90)},   {0, KVBox(40, 30, 90, 60)}};
    KVRenderImageBuffer fast(120, 100), full(120, 100);
    fast.Clear(kWhite);
    full.Clear(kWhite);
    for (const Step& s : steps) {
        const KVPoint centre{(s.box.x1 + s.box.x2) / 2, (s.box.y1 + s.box.y2) / 2};
        // One kind of drawing per step, so that each one's area is tested.
        const int kind = static_cast<int>(&s - steps) % 4;
        auto draw = [&](KVRenderImage& t) {
            KVPoint tri[3] = {{s.box.x1, s.box.y2}, {centre.x, s.box.y1}, {s.box.x2, s.box.y2}};
            if (kind == 0)
                t.FillEllipse(v, 3, kBlue, LGuiColorAlpha(255, 0, 0, 160), s.box);
            else if (kind == 1)
                t.DrawPoly(v, 4, LGuiColorAlpha(0, 128, 0, 255), tri, 3, s.box);
            else if (kind == 2)
                t.DrawText(v, "Ab", 14, false, false, false, "DejaVu Sans", LAlignmentXLeft,
                           kBlue, s.box);
            else
                t.DrawLine(v, 3, kBlue, KVLineCapDiamond, KVLineCapSquare45, LLineDashDash,
                           s.box.x1, s.box.y1, s.box.x2, s.box.y2);
        };
        if (s.degrees != 0) {
            draw(*fast.BeginRotate(s.degrees, centre));
            fast.FinishRotate();
        } else {
            draw(*fast.BeginTranslate(3, -2));
            fast.FinishTranslate();
        }

        // The whole picture, as a new child gives it.
        KVRenderImageBuffer layer(120, 100);
        layer.rotation = s.degrees;
        layer.centreX = centre.x;
        layer.centreY = centre.y;
        if (s.degrees == 0) {
            layer.translateX = 3;
            layer.translateY = -2;
        }
        layer.Clear(LPixelColour());
        draw(layer);
        layer.Flush();
        full.Flush();
        LImage::CopyAlphaComposite(layer.GetImage(), full.GetImage(), 0, 0, 0, 0, 120, 100);
        full.Flush();
        EXPECT_EQ(MeanDifference(fast, full), 0) << "step " << kind << " turned " << s.degrees;
    }
    // Nothing drawn on the kept child is left to reappear.
    KVRenderImage* again = fast.BeginTranslate(0, 0);
    fast.FinishTranslate();
    (void)again;
    EXPECT_EQ(MeanDifference(fast, full), 0);
}
