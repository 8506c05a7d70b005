// The platform readers and writers checked against an independent reader and
// writer (Pillow): our files read there with our pixels, theirs read here
// with theirs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <jpeglib.h>
#include <memory>
#include <string>

#include "codec_pictures.h"
#include "imaging/image_file.h"
#include "imaging/image_platform.h"
#include "support/temp_dir.h"

namespace {

using namespace kvtest;

// A premultiplied picture with every alpha from 0 to 255 and colours that
// reach their alpha, so that un-premultiplying is exercised at its edges.
LImageBuffer AlphaPicture() {
    LImageBuffer b;
    LImage::New(b, 64, 40, LPixelFormatB8G8R8A8);
    for (int y = 0; y < b.height; ++y) {
        unsigned char* p = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, p += 4) {
            const unsigned a = (x * 4 + y * 7) % 256;
            p[0] = static_cast<unsigned char>(a * ((x + y) % 5) / 4);
            p[1] = static_cast<unsigned char>(a * (y % 3) / 2);
            p[2] = static_cast<unsigned char>(a);
            p[3] = static_cast<unsigned char>(a);
        }
    }
    return b;
}

LImageBuffer OpaquePicture(int width = 61, int height = 43) {
    LImageBuffer b;
    LImage::New(b, width, height, LPixelFormatB8G8R8A8);
    for (int y = 0; y < b.height; ++y) {
        unsigned char* p = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, p += 4) {
            // Smooth enough for JPEG to keep well, with some detail.
            p[0] = static_cast<unsigned char>(128 + 100 * std::sin(x * 0.11 + y * 0.05));
            p[1] = static_cast<unsigned char>(x * 255 / (b.width - 1));
            p[2] = static_cast<unsigned char>(y * 255 / (b.height - 1));
            p[3] = 255;
        }
    }
    return b;
}

double Psnr(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    double sum = 0;
    std::size_t n = 0;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        if (i % 4 == 3)
            continue;
        const double d = double(a[i]) - double(b[i]);
        sum += d * d;
        ++n;
    }
    if (sum == 0)
        return 99;
    return 10 * std::log10(255.0 * 255.0 / (sum / n));
}

class Pillow : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        made = new TempDir;
        madeOk = ToolMake(made->Path());
    }
    static void TearDownTestSuite() {
        delete made;
        made = nullptr;
    }
    void SetUp() override {
        ASSERT_TRUE(madeOk) << "the independent reader could not be run: " << ToolCommand();
    }
    static std::string Made(const char* name) { return made->File(name); }

    // Saves through the file path and reads the file back with Pillow.
    ToolPicture SaveAndRead(const LImageBuffer& b, const char* name,
                            const LImageEncodeSettings& settings = LImageEncodeSettings()) {
        const std::string path = out.File(name);
        EXPECT_TRUE(LImage::Save(b, path.c_str(), settings, 3000)) << name;
        return ToolRead(path);
    }

    // Loads one of Pillow's files and checks each pixel against `expected`
    // (premultiplied packed colour) within a tolerance per channel.
    template <class F>
    void ExpectLoads(const char* name, unsigned bits, F expected, int tolerance = 0) {
        LImageBuffer b;
        ReportRecorder r;
        EXPECT_EQ(LImage::Load(r, b, Made(name).c_str(), 3000), bits) << name;
        ASSERT_TRUE(b.IsValid()) << name << ": " << (r.errors.empty() ? "" : r.errors[0]);
        ASSERT_EQ(b.width, kToolWidth) << name;
        ASSERT_EQ(b.height, kToolHeight) << name;
        EXPECT_EQ(b.format, LPixelFormatB8G8R8A8);
        int wrong = 0;
        for (int y = 0; y < kToolHeight; ++y)
            for (int x = 0; x < kToolWidth; ++x) {
                const std::uint32_t got = PixelAt(b, x, y), want = expected(x, y);
                for (int shift = 0; shift < 32; shift += 8) {
                    const int d = int((got >> shift) & 255) - int((want >> shift) & 255);
                    if (std::abs(d) > tolerance && wrong++ < 5)
                        ADD_FAILURE() << name << " at " << x << "," << y << ": got " << std::hex
                                      << got << ", wanted " << want;
                }
            }
    }

    static TempDir* made;
    static bool madeOk;
    TempDir out;
};

TempDir* Pillow::made = nullptr;
bool Pillow::madeOk = false;

std::uint32_t Opaque(const Rgb& c) { return Argb(255, c.r, c.g, c.b); }
std::uint32_t GreyPixel(unsigned g) { return Argb(255, g, g, g); }
std::uint32_t Premultiplied(const Rgb& c, unsigned a) {
    return Argb(a, Premultiply(c.r, a), Premultiply(c.g, a), Premultiply(c.b, a));
}
// The colour of the CMYK pictures, as the inks would print it.
std::uint32_t Inks(int x, int y) {
    const Cmyk c = ToolCmyk(x, y);
    auto ink = [&](unsigned v) { return (255 - v) * (255 - c.k) / 255; };
    return Argb(255, ink(c.c), ink(c.m), ink(c.y));
}

TEST_F(Pillow, OurLosslessFilesReadBackWithTheSamePixels) {
    const LImageBuffer alpha = AlphaPicture();
    const LImageBuffer opaque = OpaquePicture();
    LImageEncodeSettings lossless;
    lossless.jpeg2000Quality = 100;
    for (const char* name : {"a.png", "a.tif", "a.jp2"}) {
        for (const LImageBuffer* b : {&alpha, &opaque}) {
            const ToolPicture p = SaveAndRead(*b, name, lossless);
            ASSERT_TRUE(p.ok) << name;
            EXPECT_EQ(p.width, b->width);
            EXPECT_EQ(p.height, b->height);
            // Opaque pictures are written without alpha.
            EXPECT_EQ(p.mode, b == &opaque ? "RGB" : "RGBA") << name;
            EXPECT_TRUE(p.rgba == StraightRgba(*b)) << name;

            LImageBuffer back;
            EXPECT_EQ(LImage::Load(back, out.File(name).c_str(), 3000), b == &opaque ? 24u : 32u);
            EXPECT_TRUE(SamePictures(back, *b)) << name << ": premultiplied bytes come back";
        }
    }
    // Settings that turn lossy JPEG 2000 off force it lossless.
    LImageEncodeSettings off;
    off.jpeg2000Lossy = 0;
    off.jpeg2000Quality = 10;
    EXPECT_TRUE(SaveAndRead(alpha, "off.jp2", off).rgba == StraightRgba(alpha));
}

TEST_F(Pillow, AHalfTransparentRedPixelIsNotDarkened) {
    LImageBuffer b;
    LImage::New(b, 1, 1, LPixelFormatB8G8R8A8);
    // Half of 255 is either; premultiplied, red equals alpha.
    for (unsigned char half : {127, 128}) {
        b.Clear(LPixelColour(half, 0, 0, half));
        const ToolPicture p = SaveAndRead(b, "red.png");
        ASSERT_TRUE(p.ok);
        EXPECT_EQ(p.rgba[0], 255) << int(half);
        EXPECT_EQ(p.rgba[1], 0);
        EXPECT_EQ(p.rgba[2], 0);
        EXPECT_EQ(p.rgba[3], half);
    }
}

TEST_F(Pillow, JpegAtQuality100IsCloseAndLowerQualitiesAreSmaller) {
    const LImageBuffer b = OpaquePicture(200, 120);
    const ToolPicture p = SaveAndRead(b, "q100.jpg");
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.mode, "RGB");
    EXPECT_GE(Psnr(p.rgba, StraightRgba(b)), 40.0);

    LImageEncodeSettings low;
    low.jpegQuality = 30;
    const ToolPicture q = SaveAndRead(b, "q30.jpg", low);
    ASSERT_TRUE(q.ok);
    EXPECT_GE(Psnr(q.rgba, StraightRgba(b)), 25.0);
    EXPECT_LT(ReadBytes(out.File("q30.jpg")).size(), ReadBytes(out.File("q100.jpg")).size());
    // Out-of-range qualities are held to the scale, not refused.
    low.jpegQuality = 500;
    EXPECT_TRUE(SaveAndRead(b, "q500.jpg", low).ok);
}

TEST_F(Pillow, Jpeg2000QualitiesBelow100AreCompressionRatios) {
    const LImageBuffer b = OpaquePicture(160, 160);
    LImageEncodeSettings settings; // lossy, 90
    const ToolPicture p = SaveAndRead(b, "q90.jp2", settings);
    ASSERT_TRUE(p.ok);
    EXPECT_GE(Psnr(p.rgba, StraightRgba(b)), 30.0);
    const std::size_t raw = 160u * 160u * 3u;
    EXPECT_LE(ReadBytes(out.File("q90.jp2")).size(), raw / 4 + 512);
    settings.jpeg2000Quality = 50;
    SaveAndRead(b, "q50.jp2", settings);
    EXPECT_LE(ReadBytes(out.File("q50.jp2")).size(), raw / 64 + 512);
}

TEST_F(Pillow, PicturesOfOtherFormatsAreSavedAsTheyLook) {
    // A 24-bit picture and a grey one go out through the pixel iterators.
    LImageBuffer rgb;
    LImage::New(rgb, 9, 4, LPixelFormatB8G8R8);
    LImageBuffer grey;
    LImage::New(grey, 9, 4, LPixelFormatI8);
    LImageIterator i(rgb), j(grey);
    for (int n = 0; i.IsInRange(); i.Next(), j.Next(), ++n) {
        i.SetPacked(0xFF000000u | unsigned(n * 0x050709));
        j.SetPacked(unsigned(n * 7));
    }
    const ToolPicture p = SaveAndRead(rgb, "rgb24.png");
    ASSERT_TRUE(p.ok);
    EXPECT_TRUE(p.rgba == StraightRgba(rgb));
    const ToolPicture q = SaveAndRead(grey, "grey.tif");
    ASSERT_TRUE(q.ok);
    EXPECT_EQ(q.mode, "RGB");
    for (int n = 0; n < 36; ++n)
        EXPECT_EQ(q.rgba[n * 4 + 1], n * 7) << n;
}

TEST_F(Pillow, PngFromPillowAndByHand) {
    ExpectLoads("rgb.png", 24, [](int x, int y) { return Opaque(ToolColour(x, y)); });
    ExpectLoads("rgba.png", 32,
                [](int x, int y) { return Premultiplied(ToolColour(x, y), ToolAlpha(x, y)); });
    ExpectLoads("grey.png", 8, [](int x, int y) { return GreyPixel(ToolGrey(x, y)); });
    ExpectLoads("grey16.png", 16, [](int x, int y) { return GreyPixel(ToolGrey(x, y)); });
    ExpectLoads("palette.png", 8,
                [](int x, int y) { return Opaque(ToolPaletteEntry(ToolGrey(x, y))); });
    ExpectLoads("palette_alpha.png", 8, [](int x, int y) {
        const unsigned i = ToolGrey(x, y);
        return Premultiplied(ToolPaletteEntry(i), ToolPaletteAlpha(i));
    });
    ExpectLoads("rgba16_interlaced.png", 64,
                [](int x, int y) { return Premultiplied(ToolColour(x, y), ToolAlpha(x, y)); });
    ExpectLoads("grey1.png", 1,
                [](int x, int y) { return GreyPixel(ToolGrey(x, y) >= 128 ? 255 : 0); });
}

TEST_F(Pillow, TiffFromPillow) {
    ExpectLoads("rgb.tif", 24, [](int x, int y) { return Opaque(ToolColour(x, y)); });
    ExpectLoads("rgba.tif", 32,
                [](int x, int y) { return Premultiplied(ToolColour(x, y), ToolAlpha(x, y)); });
    ExpectLoads("grey.tif", 8, [](int x, int y) { return GreyPixel(ToolGrey(x, y)); });
    ExpectLoads("grey16.tif", 16, [](int x, int y) { return GreyPixel(ToolGrey(x, y)); });
    ExpectLoads("palette.tif", 8,
                [](int x, int y) { return Opaque(ToolPaletteEntry(ToolGrey(x, y))); });
    ExpectLoads("cmyk.tif", 32, Inks, 1);
    // Only the first page counts.
    ExpectLoads("two_pages.tif", 24, [](int x, int y) { return Opaque(ToolColour(x, y)); });
}

TEST_F(Pillow, JpegFromPillowIncludingInvertedCmyk) {
    // Pillow decodes with the same library: its pixels are the reference.
    for (const char* name : {"rgb.jpg", "grey.jpg"}) {
        const ToolPicture p = ToolRead(Made(name));
        ASSERT_TRUE(p.ok);
        LImageBuffer b;
        EXPECT_EQ(LImage::Load(b, Made(name).c_str(), 3000), std::string(name) == "rgb.jpg" ? 24u : 8u);
        EXPECT_GE(Psnr(p.rgba, StraightRgba(b)), 45.0) << name;
    }
    // Pillow stores CMYK inverted, with the marker that says so.
    ExpectLoads("cmyk.jpg", 32, Inks, 8);
}

// A CMYK JPEG without the inverting marker, written with libjpeg directly.
TEST_F(Pillow, JpegWithPlainCmyk) {
    const int w = kToolWidth, h = kToolHeight;
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_compress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &memory, &size);
    cinfo.image_width = w;
    cinfo.image_height = h;
    cinfo.input_components = 4;
    cinfo.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&cinfo);
    jpeg_set_colorspace(&cinfo, JCS_CMYK);
    cinfo.write_Adobe_marker = FALSE;
    jpeg_set_quality(&cinfo, 100, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    std::vector<unsigned char> row(w * 4);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const Cmyk c = ToolCmyk(x, y);
            std::copy_n(&c.c, 4, &row[x * 4]); // unsigned to bytes
        }
        JSAMPROW p = row.data();
        jpeg_write_scanlines(&cinfo, &p, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    LImageBuffer b;
    EXPECT_EQ(LImage::Load(b, memory, size, LImage::EncodingJPEG), 32u);
    std::free(memory);
    ASSERT_TRUE(b.IsValid());
    for (int y = 0; y < h; y += 5)
        for (int x = 0; x < w; x += 5)
            for (int shift : {0, 8, 16})
                EXPECT_NEAR(int(PixelAt(b, x, y) >> shift & 255), int(Inks(x, y) >> shift & 255), 8)
                    << x << "," << y;
}

TEST_F(Pillow, Jpeg2000FromPillow) {
    ExpectLoads("rgb.jp2", 24, [](int x, int y) { return Opaque(ToolColour(x, y)); });
    ExpectLoads("rgba.jp2", 32,
                [](int x, int y) { return Premultiplied(ToolColour(x, y), ToolAlpha(x, y)); });
    ExpectLoads("grey.jp2", 8, [](int x, int y) { return GreyPixel(ToolGrey(x, y)); });
    // A bare code stream, without the file format around it, loads too.
    const std::vector<unsigned char> bytes = ReadBytes(Made("codestream.j2k"));
    LInputStreamBuffer in(bytes.data(), bytes.size());
    LImageBuffer b;
    LProcessInterfaceVoid process;
    LProcessImageLoad<LInputStreamBuffer> load(in, LImageCodecJPEG2000, b);
    ASSERT_EQ(Process(process, load), LProcessResultOk);
    EXPECT_EQ(load.bitsPerPixel, 24u);
    EXPECT_EQ(PixelAt(b, 5, 7), Opaque(ToolColour(5, 7)));
}

TEST_F(Pillow, CameraRawThroughAnOwnDng) {
    LImageBuffer b;
    ReportRecorder r;
    EXPECT_EQ(LImage::Load(r, b, Made("linear.dng").c_str(), 3000), 48u);
    ASSERT_TRUE(b.IsValid()) << (r.errors.empty() ? "" : r.errors[0]);
    EXPECT_EQ(b.width, 32);
    EXPECT_EQ(b.height, 24);
    EXPECT_EQ(r.statuses.at(1), "1 Decoding RAW image");
    // Red grows along each row and green down each column, as in the file.
    const auto at = [&](int x, int y) { return LPixelColour::FromPacked(PixelAt(b, x, y)); };
    EXPECT_LT(at(0, 0).red, at(15, 0).red);
    EXPECT_LT(at(0, 0).green, at(0, 12).green);
    EXPECT_GT(at(0, 0).blue, at(0, 0).red);
    for (LImageConstIterator it(b); it.IsInRange(); it.Next())
        ASSERT_EQ(it.GetPacked() >> 24, 255u);
    // The same bytes under another raw name go the same way.
    std::vector<unsigned char> bytes = ReadBytes(Made("linear.dng"));
    ASSERT_TRUE(WriteBytes(out.File("renamed.NEF"), bytes));
    LImageBuffer c;
    EXPECT_EQ(LImage::Load(c, out.File("renamed.NEF").c_str(), 3000), 48u);
    EXPECT_TRUE(SamePictures(b, c));
}

// Cut and damaged copies of every kind of file fail with the message, never
// with a crash or a half-grey picture.
TEST_F(Pillow, DamagedFilesFailCleanly) {
    struct Source {
        const char* name;
        const char* ext;
    } sources[] = {{"rgba.png", ".png"},         {"rgba16_interlaced.png", ".png"},
                   {"rgb.jpg", ".jpg"},          {"cmyk.jpg", ".jpg"},
                   {"rgb.tif", ".tif"},          {"rgba.tif", ".tif"},
                   {"rgba.jp2", ".jp2"},         {"codestream.j2k", ".jp2"},
                   {"linear.dng", ".dng"}};
    int n = 0;
    for (const Source& s : sources) {
        const std::vector<unsigned char> whole = ReadBytes(Made(s.name));
        ASSERT_GT(whole.size(), 100u) << s.name;
        // Cut: right after the header, in the middle, a few bytes short.
        for (std::size_t keep : {std::size_t(0), std::size_t(8), std::size_t(40), whole.size() / 2,
                                 whole.size() - 40}) {
            const std::string path = out.File("cut" + std::to_string(n++) + s.ext);
            ASSERT_TRUE(WriteBytes(path, std::vector<unsigned char>(whole.begin(), whole.begin() + keep)));
            LImageBuffer b;
            ReportRecorder r;
            EXPECT_EQ(LImage::Load(r, b, path.c_str(), 3000), 0u) << s.name << " cut at " << keep;
            EXPECT_EQ(r.errors, std::vector<std::string>{"The image could not be loaded."})
                << s.name << " cut at " << keep;
        }
        // Damaged: runs of bytes overwritten all through the file. These may
        // load or fail; they must do either cleanly.
        for (int seed = 1; seed <= 12; ++seed) {
            std::vector<unsigned char> bytes = whole;
            unsigned state = seed * 2654435761u;
            for (int k = 0; k < 6; ++k) {
                state = state * 1103515245u + 12345u;
                const std::size_t at = 8 + state % (bytes.size() - 16);
                for (std::size_t i = at; i < at + 4 && i < bytes.size(); ++i)
                    bytes[i] = static_cast<unsigned char>(state >> (8 * (i - at)));
            }
            const std::string path = out.File("bad" + std::to_string(n++) + s.ext);
            ASSERT_TRUE(WriteBytes(path, bytes));
            LImageBuffer b;
            ReportRecorder r;
            const unsigned bits = LImage::Load(r, b, path.c_str(), 3000);
            if (bits == 0)
                EXPECT_EQ(r.errors, std::vector<std::string>{"The image could not be loaded."});
            else
                EXPECT_TRUE(b.IsValid());
        }
    }
}

TEST_F(Pillow, PicturesBeyondTheDecodeLimitAreRefusedUnread) {
    const unsigned long long old = LImageGetDecodePixelLimit();
    LImageSetDecodePixelLimit(100);
    for (const char* name : {"rgb.png", "rgb.jpg", "rgb.tif", "rgb.jp2", "linear.dng"}) {
        LImageBuffer b;
        ReportRecorder r;
        EXPECT_EQ(LImage::Load(r, b, Made(name).c_str(), 3000), 0u) << name;
        EXPECT_EQ(r.errors, std::vector<std::string>{"The image could not be loaded."});
    }
    LImageSetDecodePixelLimit(old);
    LImageBuffer b;
    EXPECT_EQ(LImage::Load(b, Made("rgb.png").c_str(), 3000), 24u);
}

TEST_F(Pillow, StoppingALoadGivesOneAndNoMessage) {
    for (const char* name : {"rgba.png", "rgb.jpg", "rgb.tif", "rgb.jp2", "linear.dng"}) {
        struct Stopped : ReportRecorder {
            bool IsToStop() override { return true; }
        } stop;
        LImageBuffer b;
        LProcessImageLoadFile load(Made(name).c_str(), 3000, nullptr, b);
        EXPECT_EQ(Process(stop, load), LProcessResultStopped) << name;
        EXPECT_TRUE(stop.errors.empty()) << name;
        EXPECT_EQ(load.bitsPerPixel, 0u);
    }
}

} // namespace
