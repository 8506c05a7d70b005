#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "imaging/image_buffer.h"
#include "imaging/image_process.h"
#include "picture_util.h"

using kvtest::Argb;
using kvtest::MakePicture;
using kvtest::PixelAt;

namespace {

LImageBuffer Grid(int w, int h, pixelformat_t format = 0, bool bottomUp = false) {
    return MakePicture(
        w, h, format, [](int x, int y) { return Argb(255, 40 * x, 40 * y, 8); }, bottomUp);
}

// Red fields of a 16-bit 5-6-5 picture, row by row.
std::vector<int> Reds565(const LImageBuffer& b) {
    std::vector<int> reds;
    for (int y = 0; y < b.height; ++y)
        for (int x = 0; x < b.width; ++x)
            reds.push_back(LImageRow<LPFB5G6R5>(b, y)[x].v >> 11);
    return reds;
}
LImageBuffer Red565(int w, int h, const std::function<int(int, int)>& red) {
    LImageBuffer b;
    LImage::New(b, w, h, LPixelFormatB5G6R5);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            LImageRow<LPFB5G6R5>(b, y)[x].v = static_cast<std::uint16_t>(red(x, y) << 11);
    return b;
}

TEST(Resize, KeepAspectAndItsLongPictureCase) {
    LProcessInterfaceVoid process;
    LImageBuffer out;
    ASSERT_EQ(LImage::Resize(process, Grid(100, 50), out, 10, 10, true, LImage::ResizeFilterNearest),
              LProcessResultOk);
    EXPECT_EQ(out.width, 10);
    EXPECT_EQ(out.height, 5);

    // The height rounds to 0 and is mended to 1; the width is then the
    // source's proportion, 1000, and stays so.
    ASSERT_EQ(LImage::Resize(process, Grid(1000, 1), out, 10, 10, true, LImage::ResizeFilterNearest),
              LProcessResultOk);
    EXPECT_EQ(out.width, 1000);
    EXPECT_EQ(out.height, 1);

    // Nothing to make: the target goes, and that is no error.
    EXPECT_EQ(LImage::Resize(process, Grid(4, 4), out, 0, 5, false, LImage::ResizeFilterNearest),
              LProcessResultOk);
    EXPECT_FALSE(out.IsValid());
}

TEST(Resize, NearestNeighbourTakesThePixelUnderEachCentre) {
    LProcessInterfaceVoid process;
    const LImageBuffer src = Grid(4, 4);
    LImageBuffer out;
    ASSERT_EQ(LImage::Resize(process, src, out, 2, 2, false, LImage::ResizeFilterNearest), 0);
    EXPECT_EQ(PixelAt(out, 0, 0), PixelAt(src, 1, 1));
    EXPECT_EQ(PixelAt(out, 1, 1), PixelAt(src, 3, 3));

    // From a rectangle, which is cut to the picture.
    ASSERT_EQ(LImage::Resize(process, src, out, 2, 2, false, LImage::ResizeFilterNearest, 2, 1,
                             50, 2),
              0);
    EXPECT_EQ(PixelAt(out, 0, 0), PixelAt(src, 2, 1));
    EXPECT_EQ(PixelAt(out, 1, 1), PixelAt(src, 3, 2));

    // Source and target may be the same picture.
    LImageBuffer same = Grid(4, 4);
    ASSERT_EQ(LImage::Resize(process, same, same, 2, 2, false, LImage::ResizeFilterNearest), 0);
    EXPECT_EQ(PixelAt(same, 0, 0), PixelAt(src, 1, 1));
}

TEST(Resize, FailuresAndStops) {
    kvtest::ProcessLog process;
    LImageBuffer empty, out;
    EXPECT_EQ(LImage::Resize(process, empty, out, 5, 5, false, LImage::ResizeFilterNearest),
              LProcessResultError);
    EXPECT_FALSE(process.errors.empty());
    // Formats outside the processed five.
    EXPECT_EQ(LImage::Resize(process, Grid(4, 4, LPixelFormatI8), out, 2, 2, false,
                             LImage::ResizeFilterNearest),
              LProcessResultError);
    // Too big to allocate.
    EXPECT_EQ(LImage::Resize(process, Grid(4, 4), out, 100000, 100000, false,
                             LImage::ResizeFilterNearest),
              LProcessResultError);
    // An unknown filter leaves the target as allocated.
    EXPECT_EQ(LImage::Resize(process, Grid(4, 4), out, 3, 3, false, LImage::ResizeFilter(7)),
              LProcessResultOk);
    EXPECT_EQ(out.width, 3);
    kvtest::ProcessLog stop(0);
    EXPECT_EQ(LImage::Resize(stop, Grid(4, 4), out, 3, 3, false, LImage::ResizeFilterNearest),
              LProcessResultStopped);
}

TEST(ScaleBi, RowsUpAndDownOnSixteenBits) {
    LProcessInterfaceVoid process;
    LImgProScaleBi scale;
    LImageBuffer out;

    // Up, 2 to 5: the skipped pixel is mixed at weight 127, the rest is the
    // last input.
    LImage::New(out, 5, 5, LPixelFormatB5G6R5);
    ASSERT_EQ(LApplyImageProcess(out, Red565(2, 2, [](int x, int) { return 31 * x; }), scale,
                                 process),
              0);
    EXPECT_EQ(Reds565(out), (std::vector<int>{0, 15, 31, 31, 31, 0, 15, 31, 31, 31, 0, 15, 31,
                                              31, 31, 0, 15, 31, 31, 31, 0, 15, 31, 31, 31}));

    // Down, 5 to 2: the last pixel mixes the last two inputs at weight 85.
    LImage::New(out, 2, 2, LPixelFormatB5G6R5);
    ASSERT_EQ(LApplyImageProcess(out, Red565(5, 5, [](int x, int) { return 4 * x; }), scale,
                                 process),
              0);
    EXPECT_EQ(Reds565(out), (std::vector<int>{0, 13, 0, 13}));

    // Resize with the smooth filter on a 16-bit picture is this scale.
    LImageBuffer viaResize;
    ASSERT_EQ(LImage::Resize(process, Red565(5, 5, [](int x, int) { return 4 * x; }), viaResize,
                             2, 2, false, LImage::ResizeFilterSmooth),
              0);
    EXPECT_EQ(Reds565(viaResize), (std::vector<int>{0, 13, 0, 13}));
}

TEST(ScaleBi, OneBitAlphaLongRunsAndTooSmallPictures) {
    LProcessInterfaceVoid process;
    LImgProScaleBi scale;
    // The alpha bit follows the nearer end: weight 127 keeps the left one.
    LImageBuffer src;
    LImage::New(src, 2, 2, LPixelFormatB5G5R5A1);
    for (int y = 0; y < 2; ++y) {
        LImageRow<LPFB5G5R5A1>(src, y)[0].v = 0x0000;
        LImageRow<LPFB5G5R5A1>(src, y)[1].v = 0x8000;
    }
    LImageBuffer out;
    LImage::New(out, 5, 2, LPixelFormatB5G5R5A1);
    ASSERT_EQ(LApplyImageProcess(out, src, scale, process), 0);
    std::vector<int> alpha;
    for (int x = 0; x < 5; ++x)
        alpha.push_back(LImageRow<LPFB5G5R5A1>(out, 0)[x].v >> 15);
    EXPECT_EQ(alpha, (std::vector<int>{0, 0, 1, 1, 1}));

    // Runs longer than the weight table.
    LImage::New(out, 600, 600, LPixelFormatB5G6R5);
    ASSERT_EQ(LApplyImageProcess(out, Red565(2, 2, [](int x, int y) { return 31 * x * y; }),
                                 scale, process),
              0);
    EXPECT_EQ(LImageRow<LPFB5G6R5>(out, 0)[0].v >> 11, 0);
    EXPECT_EQ(LImageRow<LPFB5G6R5>(out, 599)[599].v >> 11, 31);

    kvtest::ProcessLog errors;
    LImage::New(out, 4, 4, LPixelFormatB5G6R5);
    EXPECT_EQ(LApplyImageProcess(out, Red565(1, 5, [](int, int) { return 0; }), scale, errors),
              LProcessResultError);
    EXPECT_FALSE(errors.errors.empty());
}

TEST(Resize, SmoothScalingOfTheWorkingFormatHasNoDarkEdge) {
    LProcessInterfaceVoid process;
    const std::uint32_t colour = Argb(128, 64, 32, 16);
    const LImageBuffer flat = MakePicture(40, 30, 0, [&](int, int) { return colour; });
    for (int size : {7, 100}) {
        LImageBuffer out;
        ASSERT_EQ(LImage::Resize(process, flat, out, size, size, false,
                                 LImage::ResizeFilterSmooth),
                  0);
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                ASSERT_EQ(PixelAt(out, x, y), colour) << size << ": " << x << "," << y;
    }
    // A hard edge comes out mixed, and the average holds.
    const LImageBuffer edge = MakePicture(8, 8, 0, [](int x, int) {
        return x < 4 ? Argb(255, 0, 0, 0) : Argb(255, 255, 255, 255);
    });
    LImageBuffer out;
    ASSERT_EQ(LImage::Resize(process, edge, out, 3, 3, false, LImage::ResizeFilterSmooth), 0);
    const unsigned middle = PixelAt(out, 1, 1) & 255;
    EXPECT_GT(middle, 60u);
    EXPECT_LT(middle, 200u);
}

TEST(Rotate, QuarterTurnsAreExactAndClockwise) {
    LProcessInterfaceVoid process;
    for (pixelformat_t format : {0, 2}) {
        for (bool bottomUp : {false, true}) {
            const LImageBuffer src = Grid(4, 3, format, bottomUp);
            const struct {
                double turns;
                int quarters;
            } cases[] = {{0, 0}, {0.25, 1}, {0.5, 2}, {0.75, 3}, {-0.75, 1}};
            for (const auto& c : cases) {
                LImageBuffer out;
                ASSERT_EQ(LImage::Rotate(process, src, out, c.turns), 0);
                ASSERT_EQ(out.format, format);
                ASSERT_EQ(out.width, c.quarters & 1 ? 3 : 4);
                for (int y = 0; y < 3; ++y)
                    for (int x = 0; x < 4; ++x) {
                        const int tx[] = {x, 2 - y, 3 - x, y};
                        const int ty[] = {y, x, 2 - y, 3 - x};
                        EXPECT_EQ(PixelAt(out, tx[c.quarters], ty[c.quarters]),
                                  PixelAt(src, x, y))
                            << "turns " << c.turns << " format " << format;
                    }
            }
        }
    }
    kvtest::ProcessLog stop(0);
    LImageBuffer out;
    EXPECT_EQ(LImage::Rotate(stop, Grid(4, 3), out, 0.25), LProcessResultStopped);
}

TEST(Rotate, AnyAngleFitsTheTurnedPictureAndTurnsClockwise) {
    LProcessInterfaceVoid process;
    LImageBuffer out;
    ASSERT_EQ(LImage::Rotate(process, Grid(100, 50), out, 2.1), 0);
    EXPECT_EQ(out.width, 111);
    EXPECT_EQ(out.height, 100);

    // An opaque square turned by an eighth: its centre stays, its corners
    // are cut off and left transparent.
    const LImageBuffer white =
        MakePicture(40, 40, 0, [](int, int) { return Argb(255, 255, 255, 255); });
    ASSERT_EQ(LImage::Rotate(process, white, out, 0.125), 0);
    EXPECT_EQ(out.width, 57);
    EXPECT_EQ(PixelAt(out, 28, 28), Argb(255, 255, 255, 255));
    EXPECT_EQ(PixelAt(out, 1, 1), 0u);
    EXPECT_EQ(PixelAt(out, 55, 55), 0u);

    // Just past a quarter turn the mark in the top left corner goes where
    // the exact quarter turn puts it: top right, so clockwise on screen.
    const LImageBuffer marked = MakePicture(40, 20, 0, [](int x, int y) {
        return x < 6 && y < 6 ? Argb(255, 255, 0, 0) : Argb(255, 0, 0, 255);
    });
    for (double turns : {0.25, 0.2501}) {
        ASSERT_EQ(LImage::Rotate(process, marked, out, turns), 0);
        long sumX = 0, sumY = 0, count = 0;
        for (int y = 0; y < out.height; ++y)
            for (int x = 0; x < out.width; ++x)
                if (((PixelAt(out, x, y) >> 16) & 255) > 128) {
                    sumX += x;
                    sumY += y;
                    ++count;
                }
        ASSERT_GT(count, 20);
        EXPECT_GT(sumX / count, out.width * 3 / 4) << turns;
        EXPECT_LT(sumY / count, out.height / 4) << turns;
    }

    // Any angle needs the working format; the target is still made.
    kvtest::ProcessLog errors;
    EXPECT_EQ(LImage::Rotate(errors, Grid(100, 50, 2), out, 0.1), LProcessResultError);
    EXPECT_FALSE(errors.errors.empty());
    EXPECT_EQ(out.format, 0);
    EXPECT_EQ(out.width, 111);
}

TEST(Flip, InPlaceAndToATargetInEveryDirection) {
    LProcessInterfaceVoid process;
    for (pixelformat_t format : {0, 3}) {
        for (int height : {3, 4}) {
            const LImageBuffer src = Grid(5, height, format, height == 4);
            for (int direction = 0; direction < 4; ++direction) {
                LImgProFlip flip;
                flip.direction = direction;
                LImageBuffer target;
                ASSERT_EQ(LApplyImageProcess(target, src, flip, process), 0);
                LImageBuffer inPlace = Grid(5, height, format, height == 4);
                ASSERT_EQ(LApplyImageProcess(inPlace, inPlace, flip, process), 0);
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < 5; ++x) {
                        const int sx = direction & 1 ? 4 - x : x;
                        const int sy = direction & 2 ? height - 1 - y : y;
                        EXPECT_EQ(PixelAt(target, x, y), PixelAt(src, sx, sy));
                        EXPECT_EQ(PixelAt(inPlace, x, y), PixelAt(src, sx, sy));
                    }
            }
        }
    }
    kvtest::ProcessLog errors;
    LImgProFlip flip;
    flip.direction = 5;
    LImageBuffer picture = Grid(3, 3);
    EXPECT_EQ(LApplyImageProcess(picture, picture, flip, errors), LProcessResultError);
    flip.direction = 1;
    LImageBuffer grey = Grid(3, 3, LPixelFormatI8);
    EXPECT_EQ(LApplyImageProcess(grey, grey, flip, errors), LProcessResultError);
    kvtest::ProcessLog stop(0);
    EXPECT_EQ(LApplyImageProcess(picture, picture, flip, stop), LProcessResultStopped);
}

class Overlay : public ::testing::Test {
protected:
    LImageBuffer base = MakePicture(10, 10, 0, [](int, int) { return Argb(255, 100, 100, 100); });
    LImageBuffer mark = MakePicture(3, 2, 0, [](int, int) { return Argb(255, 200, 0, 0); });
    LProcessInterfaceVoid process;

    // Where the mark landed, as (left, top, right, bottom) of the changed pixels.
    std::vector<int> Placed(const LImageBuffer& b) {
        std::vector<int> box = {99, 99, -1, -1};
        for (int y = 0; y < b.height; ++y)
            for (int x = 0; x < b.width; ++x)
                if (PixelAt(b, x, y) != Argb(255, 100, 100, 100))
                    box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x),
                           std::max(box[3], y)};
        return box;
    }
    LProcessResult Apply(LImgProOverlay& overlay) {
        return LApplyImageProcess(base, base, overlay, process);
    }
};

TEST_F(Overlay, AlignmentsAndMargins) {
    LImgProOverlay bottomRight(mark);
    LImageBuffer target;
    ASSERT_EQ(LApplyImageProcess(target, base, bottomRight, process), 0);
    EXPECT_EQ(Placed(target), (std::vector<int>{7, 8, 9, 9}));

    LImgProOverlaySettings settings;
    settings.horizontalAlign = 0;
    settings.verticalAlign = 0;
    settings.marginXPercent = 10;
    settings.marginYPercent = 20;
    LImgProOverlay topLeft(mark, settings);
    ASSERT_EQ(LApplyImageProcess(target, base, topLeft, process), 0);
    EXPECT_EQ(Placed(target), (std::vector<int>{1, 2, 3, 3}));

    // Alignments past the last count as the last.
    settings.horizontalAlign = 9;
    settings.verticalAlign = 3;
    settings.marginXPercent = 0;
    settings.marginYPercent = 0;
    LImgProOverlay clamped(mark, settings);
    ASSERT_EQ(Apply(clamped), 0);
    EXPECT_EQ(Placed(base), (std::vector<int>{7, 8, 9, 9}));
}

TEST_F(Overlay, AlphaMixAndClipping) {
    LImgProOverlaySettings settings;
    settings.alpha = 0;
    LImgProOverlay invisible(mark, settings);
    ASSERT_EQ(Apply(invisible), 0);
    EXPECT_EQ(Placed(base), (std::vector<int>{99, 99, -1, -1}));

    settings.alpha = 128;
    LImgProOverlay half(mark, settings);
    ASSERT_EQ(Apply(half), 0);
    EXPECT_EQ(PixelAt(base, 9, 9), Argb(255, 150, 49, 49));

    // An overlay without alpha mixes by the setting alone; the base keeps
    // its own alpha.
    LImageBuffer translucent = MakePicture(4, 4, 0, [](int, int) { return Argb(90, 90, 90, 90); });
    const LImageBuffer opaque =
        MakePicture(2, 2, LPixelFormatB8G8R8, [](int, int) { return Argb(255, 0, 255, 0); });
    settings.alpha = 51;
    LImgProOverlay rgb(opaque, settings);
    ASSERT_EQ(LApplyImageProcess(translucent, translucent, rgb, process), 0);
    EXPECT_EQ(PixelAt(translucent, 3, 3), Argb(90, 72, 123, 72));

    // Placed at -5, the first five columns of the overlay are cut off.
    const LImageBuffer wide = MakePicture(8, 1, 0, [](int x, int) { return Argb(255, 10 * x, 0, 0); });
    LImgProOverlaySettings at;
    at.overrideAlign = true;
    LImgProOverlay shifted(wide, at);
    shifted.x = -5;
    shifted.y = 9;
    ASSERT_EQ(Apply(shifted), 0);
    EXPECT_EQ(PixelAt(base, 0, 9), Argb(255, 50, 0, 0));
    EXPECT_EQ(PixelAt(base, 2, 9), Argb(255, 70, 0, 0));
    EXPECT_EQ(PixelAt(base, 3, 9), Argb(255, 100, 100, 100));

    // Entirely outside, and an empty overlay.
    shifted.x = 50;
    EXPECT_EQ(Apply(shifted), 0);
    LImageBuffer none;
    kvtest::ProcessLog errors;
    LImgProOverlay missing(none);
    EXPECT_EQ(LApplyImageProcess(base, base, missing, errors), LProcessResultError);
    EXPECT_FALSE(errors.errors.empty());
}

} // namespace
