#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "foundation/paint_surface.h"
#include "foundation/paint_test_util.h"

using kvtest::Coverage;
using kvtest::FindInk;

namespace {

const LGuiColorAlpha kRed(255, 0, 0, 255);
const LGuiColorAlpha kGreen(0, 255, 0, 255);
const LGuiColorAlpha kBlue(0, 0, 255, 255);

// The user box that covers device pixels x..x+w exactly, the half-pixel
// offset taken back.
void FillPixels(LPaintContext& c, const LGuiBrush& b, float x, float y, float w, float h) {
    LPaintSurface::FillRect(c, b, x - 0.5f, y - 0.5f, w, h);
}

void ExpectColour(LPixelColour p, int r, int g, int b, int a, int tolerance = 2) {
    EXPECT_NEAR(p.red, r, tolerance);
    EXPECT_NEAR(p.green, g, tolerance);
    EXPECT_NEAR(p.blue, b, tolerance);
    EXPECT_NEAR(p.alpha, a, tolerance);
}

bool OnlyOpaqueOrEmpty(LPaintSurfaceImage& s) {
    for (int y = 0; y < s.GetHeight(); ++y)
        for (int x = 0; x < s.GetWidth(); ++x) {
            const int a = s.GetPixel(x, y).alpha;
            if (a != 0 && a != 255)
                return false;
        }
    return true;
}

} // namespace

TEST(SurfacePixels, ARectangleOnIntegerCoordinatesCoversItsPixels) {
    // Without antialiasing: exactly the 4 by 4 pixels from (2, 2).
    LPaintSurfaceImage sharp(10, 10);
    ASSERT_TRUE(sharp.IsValid());
    sharp.context.antialias = false;
    LPaintSurface::FillRect(sharp.context, LGuiSolidBrush(kRed), 2, 2, 4, 4);
    const kvtest::InkBox ink = FindInk(sharp);
    EXPECT_EQ(ink.x1, 2);
    EXPECT_EQ(ink.y1, 2);
    EXPECT_EQ(ink.x2, 5);
    EXPECT_EQ(ink.y2, 5);
    EXPECT_DOUBLE_EQ(Coverage(sharp), 16);

    // With it: the corners sit on pixel centres, so the edge pixels are half
    // covered and the area is exact.
    LPaintSurfaceImage soft(10, 10);
    LPaintSurface::FillRect(soft.context, LGuiSolidBrush(kRed), 2, 2, 4, 4);
    EXPECT_EQ(soft.GetPixel(4, 4).alpha, 255);
    EXPECT_NEAR(soft.GetPixel(2, 4).alpha, 128, 1);
    EXPECT_NEAR(soft.GetPixel(6, 4).alpha, 128, 1);
    EXPECT_NEAR(soft.GetPixel(2, 2).alpha, 64, 1);
    EXPECT_EQ(soft.GetPixel(7, 4).alpha, 0);
    EXPECT_NEAR(Coverage(soft), 16, 0.05);
}

TEST(SurfacePixels, AOnePixelStrokeIsCentredOnPixelCentres) {
    LPaintSurfaceImage s(16, 10);
    const LGuiSolidBrush brush(kBlue);
    LPaintSurface::DrawLine(s.context, 2, 5, 12, 5, brush, 1);
    for (int x = 3; x <= 11; ++x)
        ASSERT_EQ(s.GetPixel(x, 5).alpha, 255) << x;
    EXPECT_EQ(s.GetPixel(6, 4).alpha, 0);
    EXPECT_EQ(s.GetPixel(6, 6).alpha, 0);
    // Flat caps end at the centres of the end pixels.
    EXPECT_NEAR(s.GetPixel(2, 5).alpha, 128, 1);
    EXPECT_NEAR(s.GetPixel(12, 5).alpha, 128, 1);

    // Width 0 is one device pixel, even under a scale.
    LPaintSurfaceImage scaled(16, 10);
    LPaintSurface::TransformScale(scaled.context, 2, 2);
    LPaintSurface::DrawLine(scaled.context, 1, 2.5f, 7, 2.5f, brush, 0);
    EXPECT_EQ(scaled.GetPixel(8, 5).alpha, 255);
    EXPECT_EQ(scaled.GetPixel(8, 4).alpha, 0);
    EXPECT_EQ(scaled.GetPixel(8, 6).alpha, 0);
}

TEST(SurfacePixels, ALinearGradientRunsFromEndToEndAndStopsWhenNotExtended) {
    LPaintSurfaceImage s(100, 4);
    const LGuiBrushGradientLinear brush({0, 0}, {99, 0}, kRed, kBlue);
    FillPixels(s.context, brush, 0, 0, 100, 4);
    ExpectColour(s.GetPixel(0, 1), 255, 0, 0, 255);
    ExpectColour(s.GetPixel(99, 1), 0, 0, 255, 255);
    ExpectColour(s.GetPixel(33, 1), 170, 0, 85, 255);

    LPaintSurfaceImage clipped(100, 4);
    const LGuiBrushGradientLinear inner({20, 0}, {80, 0}, kRed, kBlue, false);
    FillPixels(clipped.context, inner, 0, 0, 100, 4);
    EXPECT_EQ(clipped.GetPixel(10, 1).alpha, 0);
    ExpectColour(clipped.GetPixel(50, 1), 128, 0, 128, 255);
}

TEST(SurfacePixels, ARadialGradientRunsFromTheRimToTheCentreStretchedInY) {
    LPaintSurfaceImage s(101, 101);
    // Green at the centre, red on the rim of an ellipse of 40 by 20.
    const LGuiBrushGradientRadial brush({50, 50}, {0, 0}, 40, 20, kGreen, kRed);
    FillPixels(s.context, brush, 0, 0, 101, 101);
    ExpectColour(s.GetPixel(50, 50), 0, 255, 0, 255);
    ExpectColour(s.GetPixel(90, 50), 255, 0, 0, 255);
    ExpectColour(s.GetPixel(50, 70), 255, 0, 0, 255);
    ExpectColour(s.GetPixel(70, 50), 128, 128, 0, 255, 3);
    ExpectColour(s.GetPixel(50, 60), 128, 128, 0, 255, 3);
    ExpectColour(s.GetPixel(100, 100), 255, 0, 0, 255); // extended past the rim

    // A radius of nothing paints nothing.
    LPaintSurfaceImage none(10, 10);
    const LGuiBrushGradientRadial flat({5, 5}, {0, 0}, 0, 20, kGreen, kRed);
    FillPixels(none.context, flat, 0, 0, 10, 10);
    EXPECT_FALSE(FindInk(none).any);
    EXPECT_EQ(cairo_status(none.context.context), CAIRO_STATUS_SUCCESS);
}

TEST(GradientStops, TheTableHoldsNineteenAndTheStopFunctionInterpolates) {
    std::vector<LGuiColorAlpha> colours;
    std::vector<float> positions;
    for (int i = 0; i < 25; ++i) {
        colours.push_back(LGuiColorAlpha(static_cast<unsigned char>(i), 0, 0, 255));
        positions.push_back(i / 24.0f);
    }
    LGuiBrushGradientLinear brush({0, 0}, {1, 0}, kRed, kBlue);
    brush.ChangeColor(colours.data(), positions.data(), 25);
    EXPECT_EQ(brush.stopCount, 19u);
    EXPECT_EQ(brush.stops[17].Red8(), 17);
    EXPECT_EQ(brush.stops[18].Red8(), 24);
    EXPECT_FLOAT_EQ(brush.positions[18], 1.0f);

    LGuiBrushGradientLinear two({0, 0}, {1, 0}, LGuiColorAlpha(0, 0, 0, 255),
                                LGuiColorAlpha(255, 255, 255, 255));
    EXPECT_NEAR(two.GetColourAt(0.25f).red, 0.25f, 1e-6);
    EXPECT_NEAR(two.GetColourAt(-1).red, 0, 1e-6);
    EXPECT_NEAR(two.GetColourAt(2).red, 1, 1e-6);
    EXPECT_EQ(two.stops[2], LGuiColorAlpha(0, 0, 0, 255)); // unused stops: black, opaque

    // Stops closer than the float epsilon give the first one's colour.
    const float tight = std::nextafter(0.5f, 1.0f);
    const LGuiColorAlpha c4[4] = {kRed, kGreen, kBlue, kRed};
    const float p4[4] = {0, 0.5f, tight, 1};
    two.ChangeColor(c4, p4, 4);
    EXPECT_NEAR(two.GetColourAt(tight).green, 1, 1e-6);
    EXPECT_NEAR(two.GetColourAt(0.75f).blue, 0.5, 1e-5);

    // A table out of order is drawn as the stop function reads it.
    const LGuiColorAlpha c3[3] = {kRed, kBlue, kGreen};
    const float p3[3] = {0, 1, 0.5f};
    LGuiBrushGradientLinear odd({0, 0}, {99, 0}, kRed, kBlue);
    odd.ChangeColor(c3, p3, 3);
    LPaintSurfaceImage s(100, 1);
    FillPixels(s.context, odd, 0, 0, 100, 1);
    ExpectColour(s.GetPixel(50, 0), 128, 0, 128, 255, 3);
    EXPECT_EQ(s.GetPixel(50, 0).green, 0);

    // No stops: nothing.
    odd.ChangeColor(nullptr, nullptr, 3);
    EXPECT_EQ(odd.stopCount, 0u);
    LPaintSurfaceImage empty(10, 1);
    FillPixels(empty.context, odd, 0, 0, 10, 1);
    EXPECT_FALSE(FindInk(empty).any);
}

TEST(SurfaceState, ClipAndTransformStacksNestAndPop) {
    LPaintSurfaceImage s(20, 20);
    LPaintContext& c = s.context;
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::ClipIntersect(c, LBoundingBox2T<float>(-0.5f, -0.5f, 9.5f, 19.5f));
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::ClipIntersect(c, LBoundingBox2T<float>(-0.5f, -0.5f, 19.5f, 9.5f));
    FillPixels(c, LGuiSolidBrush(kRed), 0, 0, 20, 20);
    EXPECT_EQ(c.clipCount, 2u);
    EXPECT_TRUE(LPaintSurface::ClipStackPop(c));
    FillPixels(c, LGuiSolidBrush(kGreen), 0, 10, 20, 10);
    EXPECT_TRUE(LPaintSurface::ClipStackPop(c));
    EXPECT_FALSE(LPaintSurface::ClipStackPop(c));
    FillPixels(c, LGuiSolidBrush(kBlue), 19, 0, 1, 20);
    ExpectColour(s.GetPixel(5, 5), 255, 0, 0, 255, 0);
    EXPECT_EQ(s.GetPixel(15, 5).red, 0);
    ExpectColour(s.GetPixel(5, 15), 0, 255, 0, 255, 0);
    EXPECT_EQ(s.GetPixel(15, 15).green, 0);
    ExpectColour(s.GetPixel(19, 15), 0, 0, 255, 255, 0);

    // The transform stack: each pop goes back to what its push stored.
    cairo_matrix_t m;
    EXPECT_TRUE(LPaintSurface::TransformStackPush(c));
    LPaintSurface::TransformTranslate(c, 10, 0);
    EXPECT_TRUE(LPaintSurface::TransformStackPush(c));
    LPaintSurface::TransformScale(c, 2, 3);
    LPaintSurface::TransformRotate(c, 90);
    float sx, sy;
    LPaintSurface::GetScale(c, sx, sy);
    EXPECT_NEAR(sx, 3, 1e-5);
    EXPECT_NEAR(sy, 2, 1e-5);
    EXPECT_TRUE(LPaintSurface::TransformStackPop(c));
    cairo_get_matrix(c.context, &m);
    EXPECT_DOUBLE_EQ(m.x0, 10.5);
    EXPECT_DOUBLE_EQ(m.xx, 1);
    EXPECT_TRUE(LPaintSurface::TransformStackPop(c));
    cairo_get_matrix(c.context, &m);
    EXPECT_DOUBLE_EQ(m.x0, 0.5);
    EXPECT_FALSE(LPaintSurface::TransformStackPop(c));

    // A clip pop takes the transform of its push back as well.
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::TransformTranslate(c, 3, 3);
    LPaintSurface::ClipStackPop(c);
    cairo_get_matrix(c.context, &m);
    EXPECT_DOUBLE_EQ(m.y0, 0.5);

    // A matrix goes in as its 2D part.
    LMatrix<float> shift;
    shift.Translate(4, 5, false);
    LPaintSurface::Transform(c, shift);
    cairo_get_matrix(c.context, &m);
    EXPECT_DOUBLE_EQ(m.x0, 4.5);
    EXPECT_DOUBLE_EQ(m.y0, 5.5);
    LPaintSurface::TransformReset(c);
    cairo_get_matrix(c.context, &m);
    EXPECT_DOUBLE_EQ(m.x0, 0.5);
}

TEST(SurfaceState, ASingularTransformDrawsNothingUntilUndoneAndNeverBreaksTheContext) {
    LPaintSurfaceImage s(10, 10);
    LPaintContext& c = s.context;
    const LGuiSolidBrush brush(kRed);
    LPaintSurface::TransformScale(c, 0, 1);
    EXPECT_TRUE(c.singular);
    EXPECT_FALSE(LPaintSurface::TransformStackPush(c)); // not pushed
    FillPixels(c, brush, 0, 0, 10, 10);
    LPaintSurface::DrawLine(c, 0, 0, 9, 9, brush, 1);
    EXPECT_FALSE(FindInk(s).any);
    LPaintSurface::TransformReset(c);
    FillPixels(c, brush, 0, 0, 1, 1);
    EXPECT_EQ(s.GetPixel(0, 0).alpha, 255);

    // Inside a clip push, the pop undoes it too.
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::TransformRotate(c, NAN);
    LMatrix<float> collapse;
    collapse.Scale(0, 0, false);
    LPaintSurface::Transform(c, collapse);
    EXPECT_TRUE(c.singular);
    LPaintSurface::ClipStackPop(c);
    EXPECT_FALSE(c.singular);
    FillPixels(c, brush, 5, 5, 1, 1);
    EXPECT_EQ(s.GetPixel(5, 5).alpha, 255);
    EXPECT_EQ(cairo_status(c.context), CAIRO_STATUS_SUCCESS);
}

TEST(SurfaceState, AntialiasingAlphaAndClearingFollowTheContext) {
    LGraphicsPath triangle;
    const LPointTemplate<float> pts[3] = {{1, 1}, {18, 4}, {6, 17}};
    triangle.AddLines(pts, 3);
    triangle.CloseFigure();
    const LGuiSolidBrush brush(kRed);

    LPaintSurfaceImage sharp(20, 20);
    sharp.context.antialias = false;
    LPaintSurface::FillPath(sharp.context, brush, triangle);
    LPaintSurface::FillEllipse(sharp.context, 2, 2, 9, 7, brush);
    EXPECT_TRUE(OnlyOpaqueOrEmpty(sharp));
    EXPECT_EQ(cairo_get_antialias(sharp.context.context), CAIRO_ANTIALIAS_DEFAULT);
    // The ellipse outline is antialiased whatever the context says.
    LPaintSurfaceImage outline(20, 20);
    outline.context.antialias = false;
    LPaintSurface::DrawEllipse(outline.context, 2, 2, 15, 11, brush, 1.5f);
    EXPECT_FALSE(OnlyOpaqueOrEmpty(outline));
    LPaintSurfaceImage soft(20, 20);
    LPaintSurface::FillPath(soft.context, brush, triangle);
    EXPECT_FALSE(OnlyOpaqueOrEmpty(soft));

    LPaintSurfaceImage half(4, 4);
    half.context.alpha = 0.5f;
    FillPixels(half.context, brush, 0, 0, 4, 4);
    EXPECT_NEAR(half.GetPixel(1, 1).alpha, 128, 1);
    EXPECT_NEAR(half.GetPixel(1, 1).red, 128, 1); // premultiplied

    // Clearing covers the whole picture, whatever the transform.
    LPaintSurfaceImage s(8, 8);
    FillPixels(s.context, brush, 0, 0, 8, 8);
    LPaintSurface::TransformScale(s.context, 0.25f, 0.25f);
    LPaintSurface::TransformTranslate(s.context, 3, 3);
    LPaintSurface::Clear(s.context);
    EXPECT_FALSE(FindInk(s).any);
    LPaintSurface::Clear(s.context, LGuiColorAlpha(0, 0, 255, 128));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            ASSERT_EQ(s.GetPixel(x, y), LPixelColour(0, 0, 128, 128));
}

TEST(SurfaceImages, PixelsLandOnPixelsAndBrokenDescriptionsDrawNothing) {
    // Two rows, bottom-up in memory: the top row is stored second.
    std::vector<std::uint32_t> rows = {0xFF0000FFu, 0xFF00FF00u, 0xFFFF0000u, 0x80800000u};
    LPaintPixels image;
    image.data = reinterpret_cast<const unsigned char*>(rows.data()) + 8;
    image.width = 2;
    image.height = 2;
    image.stride = -8;
    LPaintSurfaceImage s(10, 10);
    LPaintSurface::DrawImage(s.context, image, 5, 5, 2, 2, 1.0f, LPaintInterpolationLinear);
    EXPECT_EQ(s.GetPixel(5, 5).GetPacked(), 0xFFFF0000u);
    EXPECT_EQ(s.GetPixel(6, 5).GetPacked(), 0x80800000u);
    EXPECT_EQ(s.GetPixel(5, 6).GetPacked(), 0xFF0000FFu);
    EXPECT_EQ(s.GetPixel(6, 6).GetPacked(), 0xFF00FF00u);
    EXPECT_EQ(s.GetPixel(4, 5).alpha, 0);
    EXPECT_EQ(s.GetPixel(7, 6).alpha, 0);
    EXPECT_EQ(s.GetPixel(5, 7).alpha, 0);

    // Scaled up without interpolation, at half opacity.
    LPaintSurfaceImage big(10, 10);
    LPaintSurface::DrawImage(big.context, image, 0, 0, 4, 4, 0.5f, LPaintInterpolationNearest);
    EXPECT_NEAR(big.GetPixel(1, 1).red, 128, 1);
    EXPECT_NEAR(big.GetPixel(1, 1).alpha, 128, 1);
    EXPECT_NEAR(big.GetPixel(2, 3).green, 128, 1);
    EXPECT_EQ(big.GetPixel(4, 1).alpha, 0);

    LPaintSurfaceImage none(10, 10);
    LPaintPixels bad = image;
    bad.stride = 4; // shorter than a row
    LPaintSurface::DrawImage(none.context, bad, 0, 0, 2, 2, 1, 1);
    LPaintSurface::DrawImage(none.context, image, 0, 0, 0, 2, 1, 1);
    LPaintSurface::DrawImage(none.context, image, NAN, 0, 2, 2, 1, 1);
    EXPECT_FALSE(FindInk(none).any);
    EXPECT_EQ(cairo_status(none.context.context), CAIRO_STATUS_SUCCESS);
}

TEST(SurfaceTargets, ABottomUpBufferOfSomeoneElseIsDrawnTopDown) {
    // A picture stored bottom-up: the surface is given its top row, which is
    // the last in memory, and a negative stride.
    const int w = 4, h = 4, stride = w * 4;
    std::vector<unsigned char> memory(static_cast<size_t>(stride * h), 0);
    cairo_surface_t* target = cairo_image_surface_create_for_data(
        memory.data() + (h - 1) * stride, CAIRO_FORMAT_ARGB32, w, h, -stride);
    ASSERT_EQ(cairo_surface_status(target), CAIRO_STATUS_SUCCESS);
    {
        LPaintSurfaceCairo surface(target, w, h);
        ASSERT_TRUE(surface.IsValid());
        LPaintSurface::FillRect(surface.context, LGuiSolidBrush(kRed), -0.5f, -0.5f, 4, 1);
        surface.Flush();
        // The top row is the last one in memory.
        EXPECT_EQ(memory[(h - 1) * stride + 2], 255);
        EXPECT_EQ(memory[(h - 1) * stride + 3], 255);
        EXPECT_EQ(memory[2], 0);
    }
    cairo_surface_destroy(target);

    // A context made elsewhere is borrowed: its owner gets it back as it was.
    cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 4, 4);
    cairo_t* cr = cairo_create(image);
    {
        LPaintSurfaceCairo borrowed(cr, 4, 4);
        LPaintSurface::TransformScale(borrowed.context, 3, 3);
        LPaintSurface::FillRect(borrowed.context, LGuiSolidBrush(kGreen), -0.5f, -0.5f, 1, 1);
    }
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    EXPECT_EQ(m.xx, 1);
    EXPECT_EQ(m.x0, 0);
    cairo_surface_flush(image);
    EXPECT_EQ(cairo_image_surface_get_data(image)[1], 255);
    cairo_destroy(cr);
    cairo_surface_destroy(image);

    // No surface at all: every operation is a no-op.
    LPaintSurfaceImage nothing(0, 0);
    LPaintSurfaceImage tooBig(1 << 20, 1 << 20);
    EXPECT_FALSE(nothing.IsValid());
    EXPECT_FALSE(tooBig.IsValid());
    LGraphicsPath path;
    path.AddRectangle(0, 0, 1, 1);
    LPaintSurface::FillPath(nothing.context, LGuiSolidBrush(kRed), path);
    LPaintSurface::DrawPath(nothing.context, LGuiSolidBrush(kRed), path, 1);
    LPaintSurface::Clear(nothing.context);
    LPaintSurface::TransformScale(nothing.context, 2, 2);
    EXPECT_FALSE(LPaintSurface::TransformStackPush(nothing.context));
    LPaintSurface::DrawText(nothing.context, "x", LBoundingBox2T<float>(0, 0, 9, 9),
                            LDrawTextFormat());
    EXPECT_EQ(nothing.GetPixel(0, 0).alpha, 0);
}

TEST(SurfaceStrokes, AGradientStrokeLeavesTheContextAsItWas) {
    // A stroke with a gradient.
    LPaintSurfaceImage g(40, 6);
    LGraphicsPath path;
    path.AddLine(0, 2, 39, 2);
    LPaintSurface::DrawPath(g.context, LGuiBrushGradientLinear({0, 0}, {39, 0}, kRed, kBlue), path,
                            3);
    ExpectColour(g.GetPixel(1, 2), 248, 0, 7, 255, 3);
    ExpectColour(g.GetPixel(38, 2), 7, 0, 248, 255, 3);
    // The stroke leaves the context's state as it found it.
    EXPECT_DOUBLE_EQ(cairo_get_line_width(g.context.context), 2.0);
    EXPECT_EQ(cairo_get_dash_count(g.context.context), 0);
}
