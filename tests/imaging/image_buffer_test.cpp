#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "imaging/image_buffer.h"
#include "imaging/image_iterator.h"
#include "imaging/pixel_types.h"
#include "picture_util.h"

using kvtest::Argb;
using kvtest::MakePicture;
using kvtest::PixelAt;

namespace {

// A one-pixel picture holding one raw 16-bit word.
LImageBuffer Word(pixelformat_t format, std::uint16_t v) {
    LImageBuffer b;
    LImage::New(b, 1, 1, format);
    std::memcpy(b.GetData(), &v, 2);
    return b;
}
std::uint16_t WordOf(const LImageBuffer& b) {
    std::uint16_t v;
    std::memcpy(&v, b.GetData(), 2);
    return v;
}

TEST(ImageBuffer, StridesAndSizesTooBigToAllocate) {
    LImageBuffer b;
    EXPECT_FALSE(b.IsValid());
    EXPECT_EQ(b.GetLastScanLine(), nullptr);
    const struct {
        pixelformat_t format;
        int width, stride;
    } cases[] = {{0, 5, 20}, {1, 3, 12}, {2, 3, 8}, {6, 10, 8}, {7, 5, 8}};
    for (const auto& c : cases) {
        LImage::New(b, c.width, 2, c.format);
        EXPECT_EQ(b.stride, c.stride) << "format " << c.format;
        EXPECT_EQ(b.GetLastScanLine(), b.GetData() + c.stride);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.GetData()) % 16, 0u);
    }
    // Sizes beyond 32 bits and negative sizes leave an invalid buffer.
    for (int w : {70000, -4, 0x7FFFFFFF}) {
        LImage::New(b, w, w == 70000 ? 70000 : 1, 0);
        EXPECT_FALSE(b.IsValid()) << w;
        EXPECT_EQ(b.CalculateBufferSize(), 0u);
    }
}

TEST(ImageIterator, SixteenBitReadsKeepTheirBleedAndCorrection) {
    // Each 5-bit channel of 3 expands to 0x18, raised to 0x19.
    EXPECT_EQ(PixelAt(Word(3, 0x8000), 0, 0), Argb(255, 0, 0, 0));
    EXPECT_EQ(PixelAt(Word(4, 0x0C63), 0, 0), Argb(255, 0x19, 0x19, 0x19));
    // Blue's top bits reach green; green's reach red; green 0x2C is raised.
    EXPECT_EQ(PixelAt(Word(2, 0x001F), 0, 0), Argb(255, 0, 3, 255));
    EXPECT_EQ(PixelAt(Word(2, 0x0160), 0, 0), Argb(255, 1, 0x2D, 0));
    EXPECT_EQ(PixelAt(Word(2, 0x0640), 0, 0), Argb(255, 6, 0xCA, 0)); // green 0xCB lowered
    EXPECT_EQ(PixelAt(Word(2, 0xFFFF), 0, 0), Argb(255, 255, 255, 255));
}

TEST(ImageIterator, WritesPerFormat) {
    auto write = [](pixelformat_t format, std::uint32_t colour) {
        LImageBuffer b;
        LImage::New(b, 1, 1, format);
        std::memset(b.GetData(), 0, 4);
        LImageIterator(b).SetPacked(colour);
        return b;
    };
    // The alpha bit goes into bit 7 of the word, mixed with green.
    EXPECT_EQ(WordOf(write(3, Argb(0x80, 0, 0, 0xFF))), 0x009F);
    EXPECT_EQ(WordOf(write(4, Argb(0xFF, 0xFF, 0, 0))), 0x7C80);
    EXPECT_EQ(WordOf(write(2, Argb(0, 0xFF, 0x84, 0x0F))), 0xFC21);

    const LImageBuffer rgba = write(5, Argb(4, 3, 2, 1));
    EXPECT_EQ(std::vector<unsigned char>(rgba.GetData(), rgba.GetData() + 4),
              (std::vector<unsigned char>{3, 2, 1, 4}));
    EXPECT_EQ(PixelAt(write(7, Argb(4, 3, 2, 1)), 0, 0), 1u); // grey: blue only, alpha 0
}

TEST(ImageIterator, PackedFormatHasASizeButNoPixels) {
    LImageBuffer b;
    LImage::New(b, 8, 2, LPixelFormatPacked4);
    ASSERT_TRUE(b.IsValid());
    std::memset(b.GetData(), 0x5A, b.CalculateBufferSize());
    LImageIterator it(b);
    EXPECT_FALSE(it.IsInRange());
    it.SetPacked(0xFFFFFFFF);
    EXPECT_EQ(it.GetPacked(), 0u);
    b.Clear(LPixelColour(1, 2, 3, 4));
    EXPECT_EQ(b.GetData()[0], 0x5A);

    LImageBuffer invalid;
    LImageConstIterator none(invalid);
    EXPECT_FALSE(none.IsInRange());
    LPixelColour out[4];
    EXPECT_EQ(none.Get(out, 4), 0);
}

// The picture  0 1 2
//              3 4 5   walked in each order, stored both ways.
TEST(ImageIterator, EightScanOrdersOverBothOrientations) {
    const std::vector<std::vector<int>> expected = {
        {0, 1, 2, 3, 4, 5}, {2, 5, 1, 4, 0, 3}, {5, 4, 3, 2, 1, 0}, {3, 0, 4, 1, 5, 2},
        {0, 3, 1, 4, 2, 5}, {3, 4, 5, 0, 1, 2}, {5, 2, 4, 1, 3, 0}, {2, 1, 0, 5, 4, 3},
    };
    for (bool bottomUp : {false, true}) {
        const LImageBuffer b = MakePicture(
            3, 2, LPixelFormatI8, [](int x, int y) { return std::uint32_t(x + 3 * y); }, bottomUp);
        // The memory really is upside down for the bottom-up one.
        EXPECT_EQ(b.GetData()[0], bottomUp ? 3 : 0);
        for (int order = 0; order < 8; ++order) {
            std::vector<int> walk;
            for (LImageConstIterator it(b, order); it.IsInRange(); it.Next())
                walk.push_back(static_cast<int>(it.GetPacked()));
            EXPECT_EQ(walk, expected[order]) << "order " << order << " bottomUp " << bottomUp;
        }
        // A rectangle is clipped to the picture.
        std::vector<int> part;
        for (LImageConstIterator it(b, 1, -1, 5, 5, 4); it.IsInRange(); it.Next())
            part.push_back(static_cast<int>(it.GetPacked()));
        EXPECT_EQ(part, (std::vector<int>{1, 4, 2, 5}));
    }
    const LImageBuffer b = MakePicture(3, 2, LPixelFormatI8, [](int, int) { return 0u; });
    EXPECT_FALSE(LImageConstIterator(b, 9).IsInRange());
    EXPECT_FALSE(LImageConstIterator(b, 3, 0, 2, 2, 0).IsInRange());

    // Scanlines start at the top of the picture however it is stored.
    const LImageBuffer up = MakePicture(
        2, 3, LPixelFormatI8, [](int x, int y) { return std::uint32_t(10 * y + x); }, true);
    std::vector<int> firsts;
    for (LImageScanlineConstIterator it(up, 1); it.IsInRange(); it.Next())
        firsts.push_back(*it.Get());
    EXPECT_EQ(firsts, (std::vector<int>{1, 11, 21}));
}

TEST(ConvertPixels, RulesBetweenLayouts) {
    LPFR8G8B8A8 rgba;
    LPixelSet(rgba, LPFB8G8R8A8{1, 2, 3, 4});
    EXPECT_EQ(rgba.red, 3);
    EXPECT_EQ(rgba.alpha, 4);
    // 16-bit to 8-bit: the same bleed as the iterators, no correction.
    LPFB8G8R8A8 bgra{};
    LPixelSet(bgra, LPFB5G6R5{0x0160});
    EXPECT_EQ(bgra.red, 1);
    EXPECT_EQ(bgra.green, 0x2C);
    LPixelSet(bgra, LPFB5G5R5A1{0x0C63});
    EXPECT_EQ(bgra.red, 0x18);
    EXPECT_EQ(bgra.alpha, 0);

    LPFB5G6R5 w565;
    LPixelSet(w565, LPFB8G8R8A8{0x0F, 0x84, 0xFF, 0});
    EXPECT_EQ(w565.v, 0xFC21);
    // Green's low bit is its top bit, or blue's.
    LPixelSet(w565, LPFB5G5R5A1{0x02A1});
    EXPECT_EQ(w565.v, 0x0561);
    LPFB5G5R5A1 a1;
    LPixelSet(a1, LPFB8G8R8A8{0xFF, 0, 0, 0x80});
    EXPECT_EQ(a1.v, 0x801F);
    LPixelSet(a1, LPFB8G8R8{0, 0, 0});
    EXPECT_EQ(a1.v, 0x8000);
    LPFB5G5R5X1 x1{0x8000};
    LPixelSet(x1, LPFB8G8R8A8{0, 0, 0xFF, 0});
    EXPECT_EQ(x1.v, 0xFC00); // the bit that was there stays
}

// Every pair converts a run of any length without touching what follows;
// a round trip through a wider layout keeps the narrow one.
template <class From, class To> void RoundTrip() {
    std::vector<From> from(11);
    for (size_t i = 0; i < from.size(); ++i)
        std::memset(&from[i], static_cast<int>(0x11 * i + 3), sizeof(From));
    std::vector<To> to(12);
    std::memset(to.data(), 0xEE, sizeof(To) * to.size());
    ConvertPixels(to.data(), from.data(), 11);
    const To sentinel = to[11];
    EXPECT_EQ(std::memcmp(&sentinel, "\xEE\xEE\xEE\xEE", sizeof(To)), 0);
    std::vector<From> back(11);
    std::memset(back.data(), 0, sizeof(From) * back.size());
    ConvertPixels(back.data(), to.data(), 11);
    if constexpr (sizeof(To) >= 3 && sizeof(From) >= 3) {
        for (size_t i = 0; i < 11; ++i)
            EXPECT_EQ(std::memcmp(&from[i], &back[i], 3), 0);
    }
}
template <class From> void FromEach() {
    RoundTrip<From, LPFB8G8R8A8>();
    RoundTrip<From, LPFB8G8R8>();
    RoundTrip<From, LPFB5G6R5>();
    RoundTrip<From, LPFB5G5R5A1>();
    RoundTrip<From, LPFB5G5R5X1>();
    RoundTrip<From, LPFR8G8B8A8>();
}
TEST(ConvertPixels, EveryPairAndRunLength) {
    FromEach<LPFB8G8R8A8>();
    FromEach<LPFB8G8R8>();
    FromEach<LPFB5G6R5>();
    FromEach<LPFB5G5R5A1>();
    FromEach<LPFB5G5R5X1>();
    FromEach<LPFR8G8B8A8>();
}

TEST(ImageBufferCopy, KeepsThePictureUpright) {
    auto mark = [](int x, int y) { return Argb(255, x, y, 7); };
    const LImageBuffer up = MakePicture(5, 4, 0, mark, true);
    LImageBuffer down;
    LImage::New(down, 5, 4, 0);
    LImageBufferCopy(down, up);
    EXPECT_TRUE(kvtest::SamePictures(down, up));
    EXPECT_EQ(std::memcmp(down.GetData(), up.GetLastScanLine(), 20), 0);

    // Wider stride on the other side: line by line.
    LImageFormat wide = up.GetFormat();
    wide.stride = 32;
    wide.bottomUp = false;
    LImageBuffer padded(wide);
    LImageBufferCopy(padded, up);
    EXPECT_TRUE(kvtest::SamePictures(padded, up));
    // Different shapes: nothing happens.
    LImageBuffer other = MakePicture(4, 4, 0, [](int, int) { return 0u; });
    LImageBufferCopy(other, up);
    EXPECT_EQ(PixelAt(other, 1, 1), 0u);
}

TEST(ImageBuffer, ClearConvertsOnceAndStops) {
    LImageBuffer b = MakePicture(3, 3, LPixelFormatB5G6R5, [](int, int) { return 0u; }, true);
    EXPECT_EQ(b.Clear(LPixelColour(0xFF, 0x84, 0x0F, 0)), LProcessResultOk);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(reinterpret_cast<std::uint16_t*>(b.GetPictureRow(y))[x], 0xFC21);

    kvtest::ProcessLog stop(0);
    EXPECT_EQ(b.Clear(stop, LPixelColour(0, 0, 0, 0)), LProcessResultStopped);
}

TEST(CopyAlphaComposite, PremultipliedOverWithTheShiftByEight) {
    auto over = [](std::uint32_t s, std::uint32_t d) {
        const LImageBuffer src = MakePicture(1, 1, 0, [&](int, int) { return s; });
        LImageBuffer dst = MakePicture(1, 1, 0, [&](int, int) { return d; });
        LImage::CopyAlphaComposite(src, dst, 0, 0, 0, 0, 1, 1);
        return PixelAt(dst, 0, 0);
    };
    EXPECT_EQ(over(Argb(128, 100, 50, 0), Argb(255, 200, 200, 200)), Argb(255, 200, 150, 100));
    EXPECT_EQ(over(Argb(100, 0, 0, 0), Argb(100, 0, 0, 0)), Argb(161, 0, 0, 0));
    // An opaque source over a lit destination keeps the >> 8 remainder of 1,
    // and the sum is held at 255.
    EXPECT_EQ(over(Argb(255, 255, 0, 0), Argb(255, 255, 255, 255)), Argb(255, 255, 1, 1));
    EXPECT_EQ(over(Argb(255, 10, 20, 30), Argb(0, 0, 0, 0)), Argb(255, 10, 20, 30));
}

TEST(CopyAlphaComposite, ClipsAtEveryEdgeAndAcrossFormats) {
    const auto source = [](int x, int y) { return Argb(255, 10 * x + 1, 10 * y + 1, 9); };
    const LImageBuffer src = MakePicture(3, 3, 0, source);
    const struct {
        int dstX, dstY, srcX, srcY, width, height;
    } placements[] = {{-1, -1, 0, 0, 3, 3},   {3, 3, 0, 0, 3, 3},     {2, 0, 0, 0, 1000, 2},
                      {0, 2, -2, 1, 3, 3},    {-5, 0, 0, 0, 3, 3},    {1, 1, 0, 0, 0x7FFFFFFF, 0x7FFFFFFF},
                      {0, 0, 0, 0, -1, 3}};
    for (const auto& p : placements) {
        LImageBuffer dst = MakePicture(4, 4, 0, [](int, int) { return 0u; });
        LImage::CopyAlphaComposite(src, dst, p.dstX, p.dstY, p.srcX, p.srcY, p.width, p.height);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) {
                const int sx = x - p.dstX + p.srcX, sy = y - p.dstY + p.srcY;
                const bool inside = x >= p.dstX && y >= p.dstY && x - p.dstX < p.width &&
                                    y - p.dstY < p.height && sx >= 0 && sy >= 0 && sx < 3 &&
                                    sy < 3 && sx >= p.srcX && sy >= p.srcY;
                EXPECT_EQ(PixelAt(dst, x, y), inside ? source(sx, sy) : 0u)
                    << x << "," << y << " placement " << p.dstX << "," << p.dstY;
            }
    }

    // Format 0 over format 0 has a path of its own; any other pair of
    // formats must give the same. Opaque and empty pixels are mixed in.
    std::mt19937 random(5);
    const int w = 37, h = 9;
    std::vector<std::uint32_t> s(w * h), d(w * h);
    for (auto* v : {&s, &d})
        for (size_t i = 0; i < v->size(); ++i)
            (*v)[i] = i % 7 == 0   ? Argb(255, random() % 256, random() % 256, random() % 256)
                      : i % 5 == 0 ? 0u
                                   : kvtest::RandomPremultiplied(random);
    auto at = [w](const std::vector<std::uint32_t>& v) {
        return [&v, w](int x, int y) { return v[static_cast<size_t>(w * y + x)]; };
    };
    LImageBuffer fast = MakePicture(w, h, 0, at(d));
    LImage::CopyAlphaComposite(MakePicture(w, h, 0, at(s)), fast, 0, 0, 0, 0, w, h);
    LImageBuffer slow = MakePicture(w, h, LPixelFormatR8G8B8A8, at(d), true);
    LImage::CopyAlphaComposite(MakePicture(w, h, LPixelFormatR8G8B8A8, at(s)), slow, 0, 0, 0, 0,
                               w, h);
    EXPECT_TRUE(kvtest::SamePictures(fast, slow));
}

TEST(ImageCopy, ConvertsAndClips) {
    const LImageBuffer src = MakePicture(4, 2, 0, [](int x, int) { return Argb(255, 255, 0, x); });
    LImageBuffer dst = MakePicture(3, 3, LPixelFormatB5G6R5, [](int, int) { return 0u; });
    LImage::Copy(src, dst, 1, 1, 0, 0, 4, 4);
    EXPECT_EQ(PixelAt(dst, 0, 0), Argb(255, 0, 0, 0));
    EXPECT_EQ(PixelAt(dst, 1, 1), Argb(255, 255, 0, 0));
    EXPECT_EQ(PixelAt(dst, 2, 2), Argb(255, 255, 0, 0));

    // Within one picture, overlapping rows are read before they are written.
    LImageBuffer same = MakePicture(2, 4, 7, [](int, int y) { return std::uint32_t(y); });
    LImage::Copy(same, same, 0, 1, 0, 0, 2, 3);
    for (int y = 0; y < 4; ++y)
        EXPECT_EQ(PixelAt(same, 1, y), std::uint32_t(y ? y - 1 : 0));
}

} // namespace
