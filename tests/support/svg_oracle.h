#pragma once
// Pictures checked against an independent renderer: the same scene written
// by hand as SVG and rendered by rsvg-convert at the same size must agree. A
// failed comparison leaves both pictures and the SVG in a folder named in
// the message; setting KV_PAINT_ORACLE_OUTPUT to a folder keeps every set
// there.

#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/temp_dir.h"

namespace kvtest {

// The half-pixel group puts integer coordinates on pixel centres, as our
// surfaces do.
inline std::string SvgDocument(int w, int h, const std::string& body) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(w) +
           "\" height=\"" + std::to_string(h) + "\">\n<g transform=\"translate(0.5,0.5)\">\n" +
           body + "\n</g>\n</svg>\n";
}

struct PictureDifference {
    double mean = 0;       // per pixel, channels summed, edges allowed a pixel
    double strictMean = 0; // the same, pixel for pixel
};

inline int PixelDistance(const unsigned char* a, const unsigned char* b) {
    int d = 0;
    for (int i = 0; i < 4; ++i)
        d += std::abs(a[i] - b[i]);
    return d;
}

inline PictureDifference ComparePictures(cairo_surface_t* ours, cairo_surface_t* theirs) {
    const int w = cairo_image_surface_get_width(ours), h = cairo_image_surface_get_height(ours);
    const unsigned char* a = cairo_image_surface_get_data(ours);
    const unsigned char* b = cairo_image_surface_get_data(theirs);
    const int sa = cairo_image_surface_get_stride(ours), sb = cairo_image_surface_get_stride(theirs);
    double sum = 0, strict = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const unsigned char* pa = a + y * sa + x * 4;
            const int direct = PixelDistance(pa, b + y * sb + x * 4);
            int best = direct;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = x + dx, ny = y + dy;
                    if (nx >= 0 && ny >= 0 && nx < w && ny < h)
                        best = std::min(best, PixelDistance(pa, b + ny * sb + nx * 4));
                }
            sum += best;
            strict += direct;
        }
    return {sum / (w * h), strict / (w * h)};
}

// Compares our picture (an image surface, ARGB32) with rsvg-convert's
// rendering of the SVG body at the same size.
inline void CheckAgainstSvg(const std::string& name, cairo_surface_t* ours,
                            const std::string& svgBody, double allowedMean = 1.0) {
    ASSERT_EQ(cairo_surface_status(ours), CAIRO_STATUS_SUCCESS);
    cairo_surface_flush(ours);
    const int w = cairo_image_surface_get_width(ours), h = cairo_image_surface_get_height(ours);
    TempDir dir;
    ASSERT_FALSE(dir.Path().empty());
    const std::string svgPath = dir.File(name + ".svg");
    const std::string theirsPath = dir.File(name + "-rsvg.png");
    const std::string oursPath = dir.File(name + "-ours.png");
    ASSERT_TRUE(WriteFile(svgPath, SvgDocument(w, h, svgBody)));
    ASSERT_EQ(cairo_surface_write_to_png(ours, oursPath.c_str()), CAIRO_STATUS_SUCCESS);

    const std::string command = "rsvg-convert -w " + std::to_string(w) + " -h " +
                                std::to_string(h) + " -o '" + theirsPath + "' '" + svgPath + "'";
    ASSERT_EQ(std::system(command.c_str()), 0)
        << "rsvg-convert failed or is missing (Debian package librsvg2-bin): " << command;

    cairo_surface_t* theirs = cairo_image_surface_create_from_png(theirsPath.c_str());
    ASSERT_EQ(cairo_surface_status(theirs), CAIRO_STATUS_SUCCESS);
    ASSERT_EQ(cairo_image_surface_get_width(theirs), w);
    ASSERT_EQ(cairo_image_surface_get_height(theirs), h);
    const PictureDifference d = ComparePictures(ours, theirs);
    cairo_surface_destroy(theirs);

    std::string kept;
    auto keep = [&](const std::string& folder) {
        std::error_code ec;
        std::filesystem::create_directories(folder, ec);
        for (const std::string& f : {svgPath, oursPath, theirsPath})
            std::filesystem::copy_file(f, folder + "/" + std::filesystem::path(f).filename().string(),
                                       std::filesystem::copy_options::overwrite_existing, ec);
        return folder;
    };
    if (const char* out = std::getenv("KV_PAINT_ORACLE_OUTPUT"))
        kept = keep(out);
    if (d.mean > allowedMean && kept.empty()) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / ("kv-oracle-" + name + "-XXXXXX")).string();
        if (mkdtemp(pattern.data()))
            kept = keep(pattern);
    }
    EXPECT_LE(d.mean, allowedMean) << name << ": mean difference " << d.mean << " (pixel for pixel "
                                   << d.strictMean << "); pictures in " << kept;
}

} // namespace kvtest
