// Pictures as cameras and other programs leave them, each load checked
// against the independent reader: TIFF layouts beyond 8-bit RGB, extra
// samples of each kind, orientation tags, damaged metadata, misnamed files.

#include <gtest/gtest.h>

#include <tiffio.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "codec_pictures.h"
#include "imaging/image_file.h"
#include "support/temp_dir.h"

namespace {

using namespace kvtest;

// Ours is premultiplied, the reader's straight: both premultiplied alike,
// the mean difference over every channel, in levels.
double MeanDifference(const LImageBuffer& b, const ToolPicture& p) {
    double sum = 0;
    int n = 0;
    for (LImageConstIterator it(b); it.IsInRange(); it.Next(), n += 4) {
        const LPixelColour c = it.Get();
        const unsigned char* q = &p.rgba[static_cast<std::size_t>(n)];
        const unsigned a = q[3];
        sum += std::abs(int(c.red) - int(Premultiply(q[0], a))) +
               std::abs(int(c.green) - int(Premultiply(q[1], a))) +
               std::abs(int(c.blue) - int(Premultiply(q[2], a))) + std::abs(int(c.alpha) - int(a));
    }
    return n ? sum / n : 1e9;
}

void ExpectSeenAsTheReaderSeesIt(const std::string& path, const char* name) {
    const ToolPicture p = ToolRead(path);
    ASSERT_TRUE(p.ok) << name << ": the independent reader failed";
    LImageBuffer b;
    ReportRecorder r;
    EXPECT_GT(LImage::Load(r, b, path.c_str(), 3000), 0u)
        << name << ": " << (r.errors.empty() ? "" : r.errors[0]);
    ASSERT_TRUE(b.IsValid()) << name;
    ASSERT_EQ(b.width, p.width) << name;
    ASSERT_EQ(b.height, p.height) << name;
    EXPECT_LE(MeanDifference(b, p), 1.0) << name << " (" << p.mode << ")";
}

struct TiffCase {
    const char* name;
    std::uint16_t photometric, bits, samples;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    int extra = -1; // the kind of the extra sample; -1 for no tag
    std::uint32_t tile = 0; // square tiles of this side, or strips
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
};

// Sample s of pixel (x, y) from 0 to 1; an extra sample holds an alpha,
// whatever the file calls it. Floats reach a little beyond both ends, as
// light from real scenes does.
double SampleValue(const TiffCase& c, int x, int y, int s) {
    const double v = c.extra >= 0 && s == c.samples - 1 ? ToolAlpha(x, y) / 255.0
                                                        : ((x * 37 + y * 11 + s * 71) % 256) / 255.0;
    return c.format == SAMPLEFORMAT_IEEEFP ? v * 1.2 - 0.1 : v;
}

// With libtiff itself, in this machine's byte order.
bool WriteTiff(const std::string& path, const TiffCase& c) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif)
        return false;
    const int w = kToolWidth, h = kToolHeight;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, c.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, c.samples);
    TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, c.format);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, c.photometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, c.compression);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, c.orientation);
    if (c.extra >= 0) {
        const std::uint16_t kinds[1] = {static_cast<std::uint16_t>(c.extra)};
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, kinds);
    }
    const int bytes = c.bits / 8, perRow = w * c.samples * bytes;
    std::vector<unsigned char> all(static_cast<std::size_t>(perRow) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int s = 0; s < c.samples; ++s) {
                unsigned char* to = &all[y * perRow + (x * c.samples + s) * bytes];
                const double v = SampleValue(c, x, y, s);
                if (c.format == SAMPLEFORMAT_IEEEFP) {
                    const float f = static_cast<float>(v);
                    std::memcpy(to, &f, 4);
                } else if (c.bits == 16) {
                    const std::uint16_t u = static_cast<std::uint16_t>(std::lround(v * 65535));
                    std::memcpy(to, &u, 2);
                } else {
                    *to = static_cast<unsigned char>(std::lround(v * 255));
                }
            }
    bool ok = true;
    if (c.tile) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, c.tile);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, c.tile);
        const int pixel = c.samples * bytes;
        std::vector<unsigned char> tile(static_cast<std::size_t>(c.tile) * c.tile * pixel);
        for (int ty = 0; ty < h; ty += c.tile)
            for (int tx = 0; tx < w; tx += c.tile) {
                std::fill(tile.begin(), tile.end(), 0);
                for (int y = ty; y < h && y < ty + int(c.tile); ++y)
                    for (int x = tx; x < w && x < tx + int(c.tile); ++x)
                        std::memcpy(&tile[((y - ty) * c.tile + (x - tx)) * pixel],
                                    &all[y * perRow + x * pixel], pixel);
                ok = ok && TIFFWriteTile(tif, tile.data(), tx, ty, 0, 0) >= 0;
            }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 4);
        for (int y = 0; y < h; ++y)
            ok = ok && TIFFWriteScanline(tif, &all[y * perRow], y, 0) >= 0;
    }
    TIFFClose(tif);
    return ok;
}

TEST(PicturesFromTheWild, TiffLayoutsAndExtraSamplesAsTheyAreMeant) {
    std::vector<TiffCase> cases = {
        {"grey-straight-alpha", PHOTOMETRIC_MINISBLACK, 8, 2, SAMPLEFORMAT_UINT,
         EXTRASAMPLE_UNASSALPHA},
        {"rgb-unspecified-extra", PHOTOMETRIC_RGB, 8, 4, SAMPLEFORMAT_UINT,
         EXTRASAMPLE_UNSPECIFIED},
        {"tiled-uncompressed", PHOTOMETRIC_RGB, 8, 3, SAMPLEFORMAT_UINT, -1, 16},
        {"tiled-deflate-alpha", PHOTOMETRIC_RGB, 8, 4, SAMPLEFORMAT_UINT, EXTRASAMPLE_UNASSALPHA,
         16, COMPRESSION_ADOBE_DEFLATE},
        {"rgb16", PHOTOMETRIC_RGB, 16, 3, SAMPLEFORMAT_UINT, -1, 0, COMPRESSION_LZW},
        {"float", PHOTOMETRIC_MINISBLACK, 32, 1, SAMPLEFORMAT_IEEEFP},
        {"cmyk16", PHOTOMETRIC_SEPARATED, 16, 4},
    };
    static const char* const orientations[] = {"", "o1", "o2", "o3", "o4", "o5", "o6", "o7", "o8"};
    for (std::uint16_t n = 1; n <= 8; ++n)
        cases.push_back({orientations[n], PHOTOMETRIC_RGB, 8, 3, SAMPLEFORMAT_UINT, -1, 0,
                         COMPRESSION_NONE, n});
    TempDir dir;
    for (const TiffCase& c : cases) {
        const std::string path = dir.File(std::string(c.name) + ".tif");
        ASSERT_TRUE(WriteTiff(path, c)) << c.name;
        ExpectSeenAsTheReaderSeesIt(path, c.name);
    }
}

// Made by the independent writer: the orientation of an Exif block in JPEG
// and PNG, a block cut short, and a PNG that calls itself a JPEG.
TEST(PicturesFromTheWild, PhotosOpenUprightAndMetadataNeverCostsThePicture) {
    TempDir dir;
    ASSERT_TRUE(ToolMake(dir.Path()));
    for (int n = 1; n <= 8; ++n) {
        const std::string name = "orientation" + std::to_string(n) + ".jpg";
        ExpectSeenAsTheReaderSeesIt(dir.File(name), name.c_str());
    }
    ExpectSeenAsTheReaderSeesIt(dir.File("orientation6.png"), "orientation6.png");
    ExpectSeenAsTheReaderSeesIt(dir.File("cut_exif.jpg"), "cut_exif.jpg");
    ASSERT_TRUE(WriteBytes(dir.File("png_named.jpg"), ReadBytes(dir.File("rgba.png"))));
    ExpectSeenAsTheReaderSeesIt(dir.File("png_named.jpg"), "png_named.jpg");
}

} // namespace
