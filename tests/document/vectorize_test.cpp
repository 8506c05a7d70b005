#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdio>
#include <string>
#include <vector>

#include "document/freehand.h"
#include "document/vectorize.h"
#include "imaging/picture_util.h"
#include "support/process_log.h"
#include "support/svg_oracle.h"

namespace {

using Picture = std::function<std::uint32_t(int, int)>;

// The regions of a picture of w x h, vectorised on one thread.
std::vector<KVSimplePathElementProperties> Vectorize(int w, int h, const Picture& colour,
                                                     int detail) {
    KVVectorizeImageSettings s;
    s.input = kvtest::MakePicture(w, h, 0, colour);
    s.detail = detail;
    LProcessInterfaceVoid process;
    EXPECT_EQ(KVVectorizeImage(process, s, 1), LProcessResultOk);
    std::vector<KVSimplePathElementProperties> out;
    for (KVElement& e : s.output)
        out.push_back(static_cast<KVSimplePathElement&>(e).GetProperties());
    return out;
}

TEST(Vectorize, DetailChoosesTheSmoothingAndTheColourLevels) {
    struct Case {
        int detail;
        float noise;
        unsigned long radius, passes;
        int level;
    } cases[] = {
        {0, 1.0f, 5, 3, 0},    {-7, 1.0f, 5, 3, 0},  {20, 0.82f, 4, 3, 0}, {21, 0.811f, 4, 3, 1},
        {31, 0.721f, 3, 2, 1}, {60, 0.46f, 2, 2, 2}, {61, 0.451f, 2, 1, 3}, {81, 0.271f, 1, 1, 4},
        {91, 0.181f, 0, 3, 5}, {100, 0.1f, 0, 3, 5}, {180, 0.1f, 0, 3, 5},
    };
    for (const Case& c : cases) {
        const KVVectorizeStages s = KVGetVectorizeStages(c.detail);
        EXPECT_NEAR(s.noise, c.noise, 1e-5) << c.detail;
        EXPECT_EQ(s.blurRadius, c.radius) << c.detail;
        EXPECT_EQ(s.blurPasses, c.passes) << c.detail;
        EXPECT_EQ(s.posterizeLevel, c.level) << c.detail;
    }
}

TEST(Vectorize, TheSixPosterizeTablesAreExact) {
    // Each table as "below bound: value"; the masked tables have none.
    const std::vector<std::vector<std::pair<int, int>>> steps = {
        {},
        {{52, 0}, {103, 51}, {154, 102}, {205, 153}, {256, 204}},
        {{43, 0}, {86, 42}, {128, 75}, {171, 127}, {213, 170}, {256, 212}},
        {},
        {{26, 0}, {52, 25}, {77, 51}, {103, 76}, {128, 102}, {154, 127}, {179, 153}, {205, 178},
         {230, 204}, {256, 229}},
        {},
    };
    const int masks[] = {0xC0, 0, 0, 0xE0, 0, 0xF0};
    for (int level = 0; level < 6; ++level)
        for (int v = 0; v < 256; ++v) {
            int want = v & masks[level];
            for (auto [below, value] : steps[static_cast<size_t>(level)])
                if (v < below) {
                    want = value;
                    break;
                }
            ASSERT_EQ(KVPosterize(level, static_cast<unsigned char>(v)), want) << level << " " << v;
        }
}

TEST(Vectorize, LargePlacementsAtHighDetailAskFirst) {
    struct Case {
        int width, height, detail;
        bool warns;
    } cases[] = {
        {1000, 1000, 20, false}, {1000, 1001, 0, true}, {1000, 1000, 51, true},
        {866, 866, 100, true},   {866, 866, 75, false}, {867, 867, 51, true},
        {500, 500, 100, false},  {501, 500, 76, true},  {501, 500, 75, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KVVectorizeNeedsWarning(c.width, c.height, c.detail), c.warns)
            << c.width << "x" << c.height << " at " << c.detail;
}

// Flat colours stay themselves through every step at full detail: the
// smoothing weighs unlike pixels at nothing and the finest table keeps the
// high half of each byte, so the regions are those of the picture.
constexpr std::uint32_t kDark = 0xFF383868, kLight = 0xFFC8B898, kRed = 0xFFC83828,
                        kGreen = 0xFF38A848;

TEST(Vectorize, ACheckerBoardAtFullDetailGivesOnePathPerSquareColumnByColumn) {
    const auto paths =
        Vectorize(30, 24, [](int x, int y) { return (x / 6 + y / 6) % 2 ? kLight : kDark; }, 100);
    ASSERT_EQ(paths.size(), 20u);
    for (size_t i = 0; i < paths.size(); ++i) {
        const LPixelColour c = LPixelColour::FromPacked((i / 4 + i % 4) % 2 ? kLight : kDark);
        EXPECT_EQ(paths[i].colour, LGuiColorAlpha(c.red, c.green, c.blue, 255)) << i;
        EXPECT_EQ(paths[i].outline.GetBounds().x1, static_cast<float>(i / 4 * 6) - 0.5f) << i;
        EXPECT_EQ(paths[i].path.GetCoords().GetCount(), 5u) << i; // a closed rectangle
    }
}

// Regions inside regions, an outline that touches itself at a corner and
// pixels that meet only diagonally: the outlines painted in their order by
// another renderer give each pixel away from a boundary its region's colour
// and leave no gap anywhere.
TEST(Vectorize, OutlinesFilledByAnotherRendererGiveEachPixelItsRegionsColour) {
    constexpr int W = 40, H = 30;
    const Picture scene = [](int x, int y) {
        if (x >= 6 && x < 22 && y >= 4 && y < 20) // a frame round a hole with a dot in it
            return x >= 10 && x < 18 && y >= 8 && y < 16 ? (x == 13 && y == 11 ? kRed : kLight)
                                                         : kGreen;
        if ((x == 27 || x == 29) && y == 6) // three pixels touching at corners
            return kRed;
        if (x == 28 && y == 7)
            return kRed;
        const bool ring = x >= 26 && x < 31 && y >= 16 && y < 21; // closes on itself at 29, 19
        return ring && !(x == 28 && y == 18) && !(x == 29 && y >= 19) && !(x == 30 && y >= 19)
                   ? kDark
                   : kLight;
    };
    const auto paths = Vectorize(W, H, scene, 100);
    EXPECT_EQ(paths.size(), 9u); // light, frame, hole, dot, three reds, ring, its inside

    std::string body;
    for (const KVSimplePathElementProperties& p : paths) {
        char fill[40];
        std::snprintf(fill, sizeof fill, "<path fill=\"#%02x%02x%02x\" d=\"M", p.colour.Red8(),
                      p.colour.Green8(), p.colour.Blue8());
        body += fill;
        for (const KVDrawCoord& c : p.path.GetCoords())
            body += std::to_string(c.x) + " " + std::to_string(c.y) + " ";
        body += "Z\"/>\n";
    }
    kvtest::TempDir dir;
    const std::string svg = dir.File("regions.svg"), png = dir.File("regions.png");
    ASSERT_TRUE(kvtest::WriteFile(svg, kvtest::SvgDocument(W, H, body)));
    ASSERT_EQ(std::system(("rsvg-convert -o '" + png + "' '" + svg + "'").c_str()), 0);
    cairo_surface_t* theirs = cairo_image_surface_create_from_png(png.c_str());
    ASSERT_EQ(cairo_surface_status(theirs), CAIRO_STATUS_SUCCESS);
    const auto* data = reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(theirs));
    const int stride = cairo_image_surface_get_stride(theirs) / 4;
    int wrong = 0;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const std::uint32_t got = data[y * stride + x], want = scene(x, y);
            bool boundary = false;
            for (auto [nx, ny] : {std::pair{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}})
                boundary = boundary || (nx >= 0 && ny >= 0 && nx < W && ny < H && scene(nx, ny) != want);
            wrong += (!boundary && got != want) || got >> 24 != 0xFF;
        }
    cairo_surface_destroy(theirs);
    EXPECT_EQ(wrong, 0);
}

// Counts of a noisy picture on one thread, where the result is the same on
// every run: a change to any step shows here.
TEST(Vectorize, ANoisyPictureGivesItsKnownNumberOfRegionsAtEachDetail) {
    const Picture noisy = [](int x, int y) {
        const unsigned grain = (x * 7919u + y * 104729u) % 23u;
        return kvtest::Argb(255, 40 + 3 * x + grain, 90 + 2 * y + grain, 200 - x - y + grain);
    };
    for (auto [detail, count] : {std::pair{20, 9u}, {50, 23u}, {80, 43u}, {100, 2712u}})
        EXPECT_EQ(Vectorize(64, 48, noisy, detail).size(), count) << detail;
}

TEST(Vectorize, ThinPicturesGiveOneRegionAndBadPicturesOrStopsNone) {
    for (auto [w, h] : {std::pair{1, 1}, {1, 9}, {9, 1}})
        EXPECT_EQ(Vectorize(w, h, [](int, int) { return kRed; }, 50).size(), 1u) << w << "x" << h;
    kvtest::ProcessLog errors;
    KVVectorizeImageSettings s;
    EXPECT_EQ(KVVectorizeImage(errors, s), LProcessResultError);
    EXPECT_FALSE(errors.LastError().empty());
    s.input = kvtest::MakePicture(20, 20, 0, [](int x, int) { return x < 9 ? kRed : kDark; });
    kvtest::ProcessLog stop(0);
    EXPECT_EQ(KVVectorizeImage(stop, s), LProcessResultStopped);
    EXPECT_TRUE(s.output.IsEmpty());
}

} // namespace
