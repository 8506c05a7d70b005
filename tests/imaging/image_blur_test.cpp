#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "imaging/image_blur.h"
#include "picture_util.h"

using kvtest::Argb;
using kvtest::MakePicture;
using kvtest::PixelAt;

namespace {

// The box mean written out plainly: each output is the integer mean of the
// pixels within r along its line, as far as the line goes.
LImageBuffer Reference(const LImageBuffer& in, bool horizontal, long radius) {
    LImageBuffer out = MakePicture(in.width, in.height, in.format, [&](int x, int y) {
        const long length = horizontal ? in.width : in.height;
        const long r = std::min(radius, (length - 1) / 2);
        const long at = horizontal ? x : y;
        unsigned sums[4] = {0, 0, 0, 0};
        long n = 0;
        for (long k = std::max(0l, at - r); k <= std::min(length - 1, at + r); ++k, ++n) {
            const std::uint32_t p = horizontal ? PixelAt(in, int(k), y) : PixelAt(in, x, int(k));
            for (int c = 0; c < 4; ++c)
                sums[c] += (p >> (8 * c)) & 255;
        }
        std::uint32_t v = 0;
        for (int c = 0; c < 4; ++c)
            v |= (sums[c] / n) << (8 * c);
        return v;
    });
    return out;
}

LProcessResult Blur(LImageBuffer& b, bool horizontal, unsigned long radius) {
    LProcessInterfaceVoid process;
    const unsigned long lines = horizontal ? b.height : b.width;
    return LImageBoxBlur(process, b, horizontal, 0, lines, radius);
}

// Three passes along rows, then three along columns.
void BlurBothWays(LImageBuffer& b, unsigned long radius) {
    for (int pass = 0; pass < 6; ++pass)
        ASSERT_EQ(Blur(b, pass < 3, radius), LProcessResultOk);
}

TEST(BoxBlur, RadiusIsLimitedByTheLine) {
    // Radius 5 on a row of four pixels works as radius 1.
    LImageBuffer row = MakePicture(4, 1, 0, [](int x, int) {
        const unsigned v = 30 * x;
        return Argb(v, v, v, v);
    });
    ASSERT_EQ(Blur(row, true, 5), LProcessResultOk);
    std::vector<unsigned> values;
    for (int x = 0; x < 4; ++x)
        values.push_back(PixelAt(row, x, 0) & 255);
    EXPECT_EQ(values, (std::vector<unsigned>{15, 30, 60, 75}));

    // Radius 0 and lines too short to have a window change nothing.
    LImageBuffer two = MakePicture(2, 2, 0, [](int x, int) { return Argb(x * 200, 0, 0, 0); });
    ASSERT_EQ(Blur(two, true, 0), LProcessResultOk);
    ASSERT_EQ(Blur(two, true, 9), LProcessResultOk);
    EXPECT_EQ(PixelAt(two, 1, 0), Argb(200, 0, 0, 0));
}

TEST(BoxBlur, MatchesThePlainMeanInEveryLayoutAndStripe) {
    std::mt19937 random(11);
    for (pixelformat_t format : {LPixelFormatB8G8R8A8, LPixelFormatB8G8R8, LPixelFormatR8G8B8A8,
                                  LPixelFormatB5G6R5}) {
        for (int width : {1, 17, 40}) {
            const LImageBuffer src = MakePicture(width, 23, format, [&](int, int) {
                return kvtest::RandomPremultiplied(random);
            });
            for (bool horizontal : {true, false}) {
                for (unsigned long radius : {1ul, 3ul, 11ul, 1000ul}) {
                    LImageBuffer b, before;
                    LImage::New(b, width, 23, format);
                    LImage::New(before, width, 23, format);
                    LImageBufferCopy(b, src);
                    LImageBufferCopy(before, src);
                    // In three stripes, as the threads do it.
                    LProcessInterfaceVoid process;
                    const unsigned long lines = horizontal ? 23 : width;
                    const unsigned long third = lines / 3;
                    ASSERT_EQ(LImageBoxBlur(process, b, horizontal, 0, third, radius), 0);
                    ASSERT_EQ(LImageBoxBlur(process, b, horizontal, third, third, radius), 0);
                    ASSERT_EQ(LImageBoxBlur(process, b, horizontal, 2 * third, lines, radius), 0);
                    EXPECT_TRUE(kvtest::SamePictures(b, Reference(before, horizontal, long(radius))))
                        << "format " << format << " width " << width << " horizontal "
                        << horizontal << " radius " << radius;
                }
            }
        }
    }
}

// Wide pictures go through the 4-byte path in blocks of columns whose width
// depends on the radius; the generic path of a 3-byte copy must agree.
TEST(BoxBlur, BlocksOfColumnsAgreeWithTheGenericWalk) {
    std::mt19937 random(7);
    const LImageBuffer src = MakePicture(300, 900, 0, [&](int, int) {
        return Argb(255, random() % 256, random() % 256, random() % 256);
    });
    for (unsigned long radius : {2ul, 60ul, 400ul}) {
        LImageBuffer fast, generic;
        LImage::New(fast, 300, 900, 0);
        LImageBufferCopy(fast, src);
        LImage::New(generic, 300, 900, LPixelFormatB8G8R8);
        LImage::Copy(src, generic, 0, 0, 0, 0, 300, 900);
        LProcessInterfaceVoid process;
        for (LImageBuffer* b : {&fast, &generic}) {
            ASSERT_EQ(LImageBoxBlur(process, *b, false, 0, 101, radius), 0);
            ASSERT_EQ(LImageBoxBlur(process, *b, false, 101, 150, radius), 0);
            ASSERT_EQ(LImageBoxBlur(process, *b, false, 251, 49, radius), 0);
            ASSERT_EQ(LImageBoxBlur(process, *b, true, 0, 900, radius), 0);
        }
        EXPECT_TRUE(kvtest::SamePictures(fast, generic)) << radius;
    }
}

TEST(BoxBlur, OnePixelSpreadsToSixRPlusOne) {
    const unsigned long r = 1;
    LImageBuffer b = MakePicture(31, 31, 0, [](int x, int y) {
        return x == 15 && y == 15 ? Argb(255, 255, 255, 255) : 0u;
    });
    BlurBothWays(b, r);
    int across = 0, down = 0;
    for (int i = 0; i < 31; ++i) {
        across += PixelAt(b, i, 15) != 0;
        down += PixelAt(b, 15, i) != 0;
    }
    EXPECT_EQ(across, int(6 * r + 1));
    EXPECT_EQ(down, int(6 * r + 1));

    // With a wider box the integer means lose the faint tails, but nothing
    // ever reaches past 3r on either side.
    const unsigned long wide = 4;
    LImageBuffer c = MakePicture(61, 61, 0, [](int x, int y) {
        return x == 30 && y == 30 ? Argb(255, 255, 255, 255) : 0u;
    });
    BlurBothWays(c, wide);
    for (int y = 0; y < 61; ++y)
        for (int x = 0; x < 61; ++x) {
            if (std::abs(x - 30) > int(3 * wide) || std::abs(y - 30) > int(3 * wide)) {
                ASSERT_EQ(PixelAt(c, x, y), 0u) << x << "," << y;
            }
        }
    EXPECT_NE(PixelAt(c, 30, 30), 0u);
}

TEST(BoxBlur, NoDarkEdgeAndPremultipliedStaysSo) {
    const std::uint32_t colour = Argb(200, 150, 100, 50);
    LImageBuffer flat = MakePicture(37, 19, 0, [&](int, int) { return colour; }, true);
    BlurBothWays(flat, 7);
    for (int y = 0; y < 19; ++y)
        for (int x = 0; x < 37; ++x)
            ASSERT_EQ(PixelAt(flat, x, y), colour);

    std::mt19937 random(3);
    LImageBuffer noisy =
        MakePicture(50, 50, 0, [&](int, int) { return kvtest::RandomPremultiplied(random); });
    BlurBothWays(noisy, 5);
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 50; ++x) {
            const std::uint32_t p = PixelAt(noisy, x, y);
            const unsigned a = p >> 24;
            ASSERT_LE((p >> 16) & 255, a);
            ASSERT_LE((p >> 8) & 255, a);
            ASSERT_LE(p & 255, a);
        }
}

TEST(BoxBlur, FloatMeanIsTheIntegerMeanForEveryWindowSum) {
    for (unsigned count : {1u, 2u, 3u, 7u, 201u, 4095u, 9999u, LImageBoxMean::kMaxWindow}) {
        const LImageBoxMean mean(count);
        for (unsigned sum = 0; sum <= 255 * count; ++sum)
            if (mean(sum) != sum / count)
                FAIL() << sum << " / " << count << " gave " << mean(sum);
    }
}

TEST(BoxBlur, StopsAndRefusesPicturesWithoutPixels) {
    LImageBuffer b = MakePicture(8, 8, 0, [](int, int) { return 0u; });
    kvtest::StoppedProcess stop;
    EXPECT_EQ(LImageBoxBlur(stop, b, true, 0, 8, 2), LProcessResultStopped);
    EXPECT_EQ(LImageBoxBlur(stop, b, false, 0, 8, 2), LProcessResultStopped);
    LImageBuffer grey = MakePicture(8, 8, LPixelFormatB5G6R5, [](int, int) { return 0u; });
    EXPECT_EQ(LImageBoxBlur(stop, grey, true, 0, 8, 2), LProcessResultStopped);

    kvtest::ErrorRecorder errors;
    LImageBuffer empty;
    EXPECT_EQ(LImageBoxBlur(errors, empty, true, 0, 1, 2), LProcessResultError);
    EXPECT_FALSE(errors.error.empty());
    LImageBuffer packed;
    LImage::New(packed, 8, 8, LPixelFormatPacked4);
    EXPECT_EQ(LImageBoxBlur(errors, packed, true, 0, 8, 2), LProcessResultError);
    // Lines past the picture are nothing to do.
    EXPECT_EQ(LImageBoxBlur(errors, b, true, 100, 8, 2), LProcessResultOk);
}

} // namespace
