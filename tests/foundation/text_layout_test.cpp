#include <gtest/gtest.h>

#include <cairo-pdf.h>

#include <cmath>
#include <thread>

#include "foundation/paint_surface.h"
#include "foundation/paint_test_util.h"
#include "foundation/text_layout.h"
#include "support/library_caches.h"

using kvtest::FindInk;

namespace {

const LBoundingBox2T<float> kNoBox;

LDrawTextFormat Format(LAlignmentX x = LAlignmentXLeft, LAlignmentY y = LAlignmentYTop,
                       int lineBreak = 0, int trimming = 0) {
    LDrawTextFormat f;
    f.alignX = x;
    f.alignY = y;
    f.lineBreak = lineBreak;
    f.trimming = trimming;
    return f;
}

struct Size {
    float width = 0, height = 0;
};

Size Measure(LPaintContext& c, const char* text, float size,
             const LBoundingBox2T<float>& box = kNoBox, const LDrawTextFormat& f = Format()) {
    LPaintSurface::SetFont(c, LGuiFont("DejaVu Sans", size));
    Size s;
    LPaintSurface::MeasureText(c, s.width, s.height, text, box, f);
    return s;
}

kvtest::InkBox DrawIn(const LBoundingBox2T<float>& box, const char* text, const LDrawTextFormat& f,
                      float size = 16, int w = 200, int h = 60) {
    LPaintSurfaceImage s(w, h);
    LPaintSurface::SetFont(s.context, LGuiFont("DejaVu Sans", size));
    LPaintSurface::DrawText(s.context, text, box, f);
    return FindInk(s, 40);
}

} // namespace

TEST(TextMeasure, ASampleIsPositiveStableAndTheSameOnEverySurface) {
    LPaintSurfaceImage raster(1, 1);
    const Size a = Measure(raster.context, "Korvane sample", 20);
    const Size b = Measure(raster.context, "Korvane sample", 20);
    EXPECT_GT(a.width, 50);
    EXPECT_GT(a.height, 15);
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);

    // Unhinted and unrounded: a vector file measures exactly alike, and twice
    // the size is twice the width.
    cairo_surface_t* pdf = cairo_pdf_surface_create_for_stream(nullptr, nullptr, 100, 100);
    {
        LPaintSurfaceCairo vector(pdf, 100, 100);
        const Size v = Measure(vector.context, "Korvane sample", 20);
        EXPECT_EQ(v.width, a.width);
        EXPECT_EQ(v.height, a.height);
    }
    cairo_surface_destroy(pdf);
    const Size twice = Measure(raster.context, "Korvane sample", 40);
    EXPECT_NEAR(twice.width / a.width, 2.0, 0.01);

    float w = 1, h = 1;
    EXPECT_FALSE(LPaintSurface::MeasureText(raster.context, w, h, "", kNoBox, Format()));
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, 0);
    // A face that does not exist falls back to another; no size is no text.
    LPaintSurface::SetFont(raster.context, LGuiFont("No Such Face Anywhere", 12));
    EXPECT_TRUE(LPaintSurface::MeasureText(raster.context, w, h, "abc", kNoBox, Format()));
    EXPECT_GT(w, 0);
    EXPECT_EQ(Measure(raster.context, "abc", 0).width, 0);
    EXPECT_EQ(Measure(raster.context, "abc", NAN).width, 0);
    EXPECT_GT(Measure(raster.context, "abc", 1e9f).width, 0);
    // Broken UTF-8 is shown, not refused.
    EXPECT_GT(Measure(raster.context, "ab\xff\xfe" "cd", 12).width, 0);
}

TEST(TextMeasure, SmallTextIsLaidOutTenTimesLargerAtATenth) {
    LPaintSurfaceImage s(1, 1);
    LPaintSurface::SetFont(s.context, LGuiFont("DejaVu Sans", 4));
    LPaintSurfaceTextLayoutManager small(s.context, "tiny text", Format());
    ASSERT_TRUE(small.Create(0));

    LPaintSurface::SetFont(s.context, LGuiFont("DejaVu Sans", 40));
    LPaintSurfaceTextLayoutManager large(s.context, "tiny text", Format());
    ASSERT_TRUE(large.Create(0));
    float sw, sh, lw, lh;
    small.Measure(sw, sh);
    large.Measure(lw, lh);
    EXPECT_FLOAT_EQ(sw, lw * 0.1f);
    EXPECT_FLOAT_EQ(sh, lh * 0.1f);
}

TEST(TextMeasure, LinesCountByBreaksAndATrailingBreakAddsNone) {
    LPaintSurfaceImage s(1, 1);
    const Size one = Measure(s.context, "test", 16);
    EXPECT_EQ(Measure(s.context, "test\n", 16).height, one.height);
    EXPECT_EQ(Measure(s.context, "test\r\n", 16).height, one.height);
    EXPECT_FLOAT_EQ(Measure(s.context, "a\nb\nc", 16).height, 3 * one.height);
    EXPECT_FLOAT_EQ(Measure(s.context, "a\n\n", 16).height, 2 * one.height);
    // The widest line is the width.
    EXPECT_EQ(Measure(s.context, "mmmmmm\nm", 16).width, Measure(s.context, "mmmmmm", 16).width);

    // Breaking at the box's width.
    const LBoundingBox2T<float> narrow(0, 0, 60, 0);
    const Size wrapped = Measure(s.context, "several words to wrap here", 16, narrow,
                                 Format(LAlignmentXLeft, LAlignmentYTop, 1));
    EXPECT_GE(wrapped.height, 3 * one.height);
    EXPECT_LE(wrapped.width, 60.5f);
    // Without the break flag one line stays one line.
    EXPECT_EQ(Measure(s.context, "several words to wrap here", 16, narrow).height, one.height);

    // What the render targets ask for: the height of one line of "test\n".
    float height = 0;
    ASSERT_TRUE(LPaintMeasureTextHeight(height, LBoundingBox2T<float>(0, 0, 300, 100), "test\n",
                                        "DejaVu Sans", 16, false, false, false, LAlignmentXLeft));
    EXPECT_EQ(height, one.height);
    LPaintSurfaceTextLayoutManager layout(s.context, "test", Format());
    ASSERT_TRUE(layout.Create(0));
    EXPECT_EQ(layout.GetLineHeight(), one.height);
}

TEST(TextDraw, AlignmentPlacesTheInkInTheBox) {
    const LBoundingBox2T<float> box(20, 10, 180, 50);
    const kvtest::InkBox left = DrawIn(box, "Align", Format(LAlignmentXLeft));
    const kvtest::InkBox centre = DrawIn(box, "Align", Format(LAlignmentXCentre));
    const kvtest::InkBox right = DrawIn(box, "Align", Format(LAlignmentXRight));
    ASSERT_TRUE(left.any && centre.any && right.any);
    EXPECT_NEAR(left.x1, 21, 2);
    EXPECT_NEAR(centre.CentreX(), 100, 2);
    EXPECT_NEAR(right.x2, 179, 2);
    EXPECT_NEAR(left.x2 - left.x1, right.x2 - right.x1, 1);
    EXPECT_GE(left.y1, 10);

    const kvtest::InkBox middle =
        DrawIn(box, "Align", Format(LAlignmentXLeft, LAlignmentYMiddle));
    const kvtest::InkBox bottom =
        DrawIn(box, "Align", Format(LAlignmentXLeft, LAlignmentYBottom));
    EXPECT_GT(middle.y1, left.y1);
    EXPECT_GT(bottom.y1, middle.y1);
    EXPECT_LE(bottom.y2, 50);

    // Ink that hangs left of the origin is moved in: an italic at the
    // start of a box never loses its foot.
    LPaintSurfaceImage s(100, 40);
    LPaintSurface::SetFont(s.context, LGuiFont("DejaVu Sans", 24, false, true));
    LPaintSurface::DrawText(s.context, "j", LBoundingBox2T<float>(10, 5, 90, 35), Format());
    EXPECT_GE(FindInk(s).x1, 10);
}

TEST(TextDraw, TruncationRowsColoursAndBackground) {
    LPaintSurfaceImage s(1, 1);
    // Trimmed text stays on its line and inside the width.
    const LBoundingBox2T<float> narrow(0, 0, 80, 0);
    const Size cut = Measure(s.context, "a rather long line that cannot fit", 16, narrow,
                             Format(LAlignmentXLeft, LAlignmentYTop, 0, 2));
    EXPECT_LE(cut.width, 80.5f);
    EXPECT_EQ(cut.height, Measure(s.context, "a", 16).height);
    const kvtest::InkBox drawn = DrawIn(LBoundingBox2T<float>(10, 5, 90, 40),
                                        "a rather long line that cannot fit",
                                        Format(LAlignmentXLeft, LAlignmentYTop, 1, 3));
    EXPECT_LE(drawn.x2, 90);
    EXPECT_LE(drawn.y2, 40);

    // Rows stop before the one that would pass the bottom of the box.
    const float line = Measure(s.context, "x", 16).height;
    LPaintSurfaceImage rows(100, 100);
    LPaintSurface::SetFont(rows.context, LGuiFont("DejaVu Sans", 16));
    LPaintSurface::DrawText(rows.context, "one\ntwo\nthree\nfour",
                            LBoundingBox2T<float>(0, 0, 100, 2.5f * line), Format());
    const kvtest::InkBox two = FindInk(rows);
    EXPECT_LT(two.y2, 2 * line + 1);
    EXPECT_GT(two.y2, line);

    // A brush in place of the text colour; a background when asked for.
    LPaintSurfaceImage colour(60, 30);
    LPaintSurface::SetFont(colour.context, LGuiFont("DejaVu Sans", 20));
    const LGuiSolidBrush red(LGuiColorAlpha(255, 0, 0, 255));
    LPaintSurface::DrawText(colour.context, "II", LBoundingBox2T<float>(0, 0, 60, 30), Format(),
                            &red);
    const kvtest::InkBox redInk = FindInk(colour, 200);
    ASSERT_TRUE(redInk.any);
    const LPixelColour p = colour.GetPixel(redInk.x1, redInk.y2 - 2);
    EXPECT_GT(p.red, 200);
    EXPECT_EQ(p.green, 0);

    LPaintSurfaceImage back(60, 30);
    LPaintSurface::SetFont(back.context, LGuiFont("DejaVu Sans", 14));
    back.context.backgroundColour = LGuiColorAlpha(0, 255, 0, 255);
    LPaintSurface::DrawText(back.context, "ab", LBoundingBox2T<float>(5, 5, 55, 25), Format(),
                            nullptr, false);
    // Above the glyphs, inside the background's box.
    EXPECT_EQ(back.GetPixel(7, 6).green, 255);
    EXPECT_EQ(back.GetPixel(7, 6).alpha, 255);
    // The background is the text's size, not the box's.
    EXPECT_EQ(back.GetPixel(50, 20).alpha, 0);
}

TEST(TextDraw, PathStringsAndLayoutsOnAnotherThread) {
    LPaintSurfaceImage s(100, 40);
    LGraphicsPath path;
    path.AddString("Ab", LFontAttributes("DejaVu Sans", 16, 0), Format(), {50, 10});
    path.AddString("", LFontAttributes("DejaVu Sans", 16, 0), Format(), {0, 0});
    const LGuiSolidBrush brush(LGuiColorAlpha(0, 0, 0, 255));
    LPaintSurface::_DrawPathStrings(s.context, &brush, path);
    const kvtest::InkBox ink = FindInk(s);
    ASSERT_TRUE(ink.any);
    EXPECT_GE(ink.x1, 50);
    EXPECT_GE(ink.y1, 10);
    EXPECT_LT(ink.y2, 10 + 20);

    // Each thread lays out with its own font map and measures the same.
    LPaintSurfaceImage main(1, 1);
    const Size here = Measure(main.context, "threads", 18);
    Size there;
    std::thread worker([&there] {
        {
            LPaintSurfaceImage own(1, 1);
            there = Measure(own.context, "threads", 18);
        }
        kvtest::ReleaseThreadFontMap();
    });
    worker.join();
    EXPECT_EQ(there.width, here.width);
    EXPECT_EQ(there.height, here.height);
}
