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

// Three passes along rows, then three along columns.
void BlurBothWays(LImageBuffer& b, unsigned long radius) {
    LProcessInterfaceVoid process;
    for (int pass = 0; pass < 6; ++pass)
        ASSERT_EQ(LImageBoxBlur(process, b, pass < 3, 0, pass < 3 ? b.height : b.width, radius), 0);
}

TEST(BoxBlur, MatchesThePlainMeanInEveryLayoutAndStripe) {
    std::mt19937 random(11);
    for (pixelformat_t format : {LPixelFormatB8G8R8A8, LPixelFormatB8G8R8, LPixelFormatR8G8B8A8,
                                  LPixelFormatB5G6R5}) {
        for (int width : {1, 40}) {
            const LImageBuffer src = MakePicture(width, 23, format, [&](int, int) {
                return kvtest::RandomPremultiplied(random);
            });
            for (bool horizontal : {true, false}) {
                for (unsigned long radius : {1ul, 11ul, 1000ul}) {
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
    for (unsigned count : {1u, 3u, 201u, 9999u, LImageBoxMean::kMaxWindow}) {
        const LImageBoxMean mean(count);
        for (unsigned sum = 0; sum <= 255 * count; ++sum)
            if (mean(sum) != sum / count)
                FAIL() << sum << " / " << count << " gave " << mean(sum);
    }
}

TEST(BoxBlur, StopsAndRefusesPicturesWithoutPixels) {
    LImageBuffer b = MakePicture(8, 8, 0, [](int, int) { return 0u; });
    kvtest::ProcessLog stop(0);
    EXPECT_EQ(LImageBoxBlur(stop, b, true, 0, 8, 2), LProcessResultStopped);
    EXPECT_EQ(LImageBoxBlur(stop, b, false, 0, 8, 2), LProcessResultStopped);

    kvtest::ProcessLog errors;
    LImageBuffer empty;
    EXPECT_EQ(LImageBoxBlur(errors, empty, true, 0, 1, 2), LProcessResultError);
    EXPECT_FALSE(errors.errors.empty());
    LImageBuffer packed;
    LImage::New(packed, 8, 8, LPixelFormatPacked4);
    EXPECT_EQ(LImageBoxBlur(errors, packed, true, 0, 8, 2), LProcessResultError);
    // Lines past the picture, and radius 0, are nothing to do.
    EXPECT_EQ(LImageBoxBlur(errors, b, true, 100, 8, 2), LProcessResultOk);
    EXPECT_EQ(LImageBoxBlur(errors, b, true, 0, 8, 0), LProcessResultOk);
}

} // namespace
