#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "document/freehand.h"
#include "document/vectorize.h"
#include "imaging/picture_util.h"
#include "support/svg_oracle.h"
#include "support/temp_dir.h"

namespace {

using kvtest::Argb;

KVVectorizeImageSettings Settings(LImageBuffer picture, int detail) {
    KVVectorizeImageSettings s;
    s.input = std::move(picture);
    s.detail = detail;
    return s;
}

std::vector<KVSimplePathElementProperties> Paths(const KVVectorizeImageSettings& s) {
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
    // Each table as "below bound: value", the last value for the rest.
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
            ASSERT_EQ(KVPosterize(level, static_cast<unsigned char>(v)), want)
                << "level " << level << " value " << v;
        }
}

TEST(Vectorize, LargePlacementsAtHighDetailAskFirst) {
    struct Case {
        int width, height, detail;
        bool warns;
    } cases[] = {
        {1000, 1000, 20, false}, {1000, 1001, 0, true},  {1000, 1000, 51, true},
        {866, 866, 100, true},   {866, 866, 75, false},  {867, 867, 51, true},
        {500, 500, 100, false},  {501, 500, 76, true},   {501, 500, 75, false},
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

TEST(Vectorize, ACheckerBoardAtFullDetailGivesOnePathPerSquare) {
    constexpr int kSquare = 6, kColumns = 5, kRows = 4;
    auto settings = Settings(kvtest::MakePicture(kColumns * kSquare, kRows * kSquare, 0,
                                                 [](int x, int y) {
                                                     return (x / kSquare + y / kSquare) % 2 ? kLight
                                                                                            : kDark;
                                                 }),
                             100);
    kvtest::ErrorRecorder process;
    ASSERT_EQ(KVVectorizeImage(process, settings, 1), LProcessResultOk) << process.error;
    const auto paths = Paths(settings);
    ASSERT_EQ(paths.size(), size_t{kColumns * kRows});
    // Squares come column by column, each a closed rectangle.
    for (size_t i = 0; i < paths.size(); ++i) {
        const int column = static_cast<int>(i) / kRows, row = static_cast<int>(i) % kRows;
        const LPixelColour want = LPixelColour::FromPacked((column + row) % 2 ? kLight : kDark);
        EXPECT_EQ(paths[i].colour, LGuiColorAlpha(want.red, want.green, want.blue, 255)) << i;
        const LBoundingBox2T<float> box = paths[i].outline.GetBounds();
        EXPECT_EQ(box.x1, column * kSquare - 0.5f) << i;
        EXPECT_EQ(box.y2, (row + 1) * kSquare - 0.5f) << i;
        EXPECT_EQ(paths[i].path.GetCoords().GetCount(), 5u) << i;
    }
}

// Each pixel's region, found by filling 4-connected runs of equal colour.
std::vector<int> Regions(const LImageBuffer& b, int& count) {
    std::vector<int> region(static_cast<size_t>(b.width * b.height), -1);
    count = 0;
    for (int start = 0; start < b.width * b.height; ++start) {
        if (region[static_cast<size_t>(start)] >= 0)
            continue;
        std::vector<int> todo{start};
        region[static_cast<size_t>(start)] = count;
        while (!todo.empty()) {
            const int i = todo.back(), x = i % b.width, y = i / b.width;
            todo.pop_back();
            for (auto [nx, ny] : {std::pair{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}}) {
                const int j = ny * b.width + nx;
                if (nx >= 0 && ny >= 0 && nx < b.width && ny < b.height && region[j] < 0 &&
                    kvtest::PixelAt(b, nx, ny) == kvtest::PixelAt(b, x, y)) {
                    region[static_cast<size_t>(j)] = count;
                    todo.push_back(j);
                }
            }
        }
        ++count;
    }
    return region;
}

// Regions inside regions, an outline that touches itself at a corner, and
// pixels that meet only diagonally, painted by another renderer from the
// traced outlines, must give each pixel its region's colour.
TEST(Vectorize, TracedOutlinesFilledByAnotherRendererGiveEachPixelItsRegionsColour) {
    const LImageBuffer picture = kvtest::MakePicture(40, 30, 0, [](int x, int y) {
        if (x >= 6 && x < 22 && y >= 4 && y < 20) // a frame with a hole and a dot in it
            return x >= 10 && x < 18 && y >= 8 && y < 16 ? (x == 13 && y == 11 ? kRed : kLight)
                                                         : kGreen;
        if ((x == 27 && y == 6) || (x == 28 && y == 7) || (x == 29 && y == 6)) // diagonal pixels
            return kRed;
        // A ring that touches itself at one corner around a light pixel.
        if (x >= 26 && x < 31 && y >= 16 && y < 21 && !(x == 28 && y == 18) &&
            !(x == 29 && y == 19) && !(x == 29 && y == 20) && !(x == 30 && y >= 19))
            return kDark;
        return kLight;
    });
    int regions = 0;
    const std::vector<int> region = Regions(picture, regions);
    auto settings = Settings(kvtest::MakePicture(40, 30, 0, [&](int x, int y) {
                                 return kvtest::PixelAt(picture, x, y);
                             }),
                             100);
    LProcessInterfaceVoid process;
    ASSERT_EQ(KVVectorizeImage(process, settings, 1), LProcessResultOk);
    ASSERT_EQ(static_cast<int>(settings.output.GetCount()), regions);

    std::string body;
    for (const KVSimplePathElementProperties& p : Paths(settings)) {
        body += "<path fill=\"#";
        char hex[8];
        std::snprintf(hex, sizeof hex, "%02x%02x%02x", p.colour.Red8(), p.colour.Green8(),
                      p.colour.Blue8());
        body += std::string(hex) + "\" d=\"";
        const char* command = "M";
        for (const KVDrawCoord& c : p.path.GetCoords()) {
            body += command + std::to_string(c.x) + " " + std::to_string(c.y) + " ";
            command = "L";
        }
        body += "Z\"/>\n";
    }
    kvtest::TempDir dir;
    const std::string svg = dir.File("regions.svg"), png = dir.File("regions.png");
    ASSERT_TRUE(kvtest::WriteFile(svg, kvtest::SvgDocument(40, 30, body)));
    ASSERT_EQ(std::system(("rsvg-convert -o '" + png + "' '" + svg + "'").c_str()), 0);
    cairo_surface_t* theirs = cairo_image_surface_create_from_png(png.c_str());
    ASSERT_EQ(cairo_surface_status(theirs), CAIRO_STATUS_SUCCESS);
    const unsigned char* data = cairo_image_surface_get_data(theirs);
    const int stride = cairo_image_surface_get_stride(theirs);
    int wrong = 0;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const std::uint32_t got =
                *reinterpret_cast<const std::uint32_t*>(data + y * stride + 4 * x);
            bool inside = true;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = std::clamp(x + dx, 0, 39), ny = std::clamp(y + dy, 0, 29);
                    inside = inside && region[static_cast<size_t>(ny * 40 + nx)] ==
                                           region[static_cast<size_t>(y * 40 + x)];
                }
            if (inside && got != kvtest::PixelAt(picture, x, y))
                ++wrong;
            else if (got >> 24 != 0xFF) // no gaps between regions anywhere
                ++wrong;
        }
    cairo_surface_destroy(theirs);
    EXPECT_EQ(wrong, 0) << "see " << svg;
}

// A noisy picture with soft shapes, the same on every run.
LImageBuffer Photo(int w, int h, unsigned seed) {
    std::mt19937 random(seed);
    return kvtest::MakePicture(w, h, 0, [&](int x, int y) {
        const double fx = static_cast<double>(x) / w, fy = static_cast<double>(y) / h;
        const double blob = std::exp(-((fx - 0.4) * (fx - 0.4) + (fy - 0.5) * (fy - 0.5)) * 12);
        const int noise = static_cast<int>(random() % 21) - 10;
        auto c = [&](double v) { return static_cast<unsigned>(std::clamp(v + noise, 0.0, 255.0)); };
        return Argb(255, c(60 + 180 * blob), c(90 + 120 * fy), c(200 - 150 * fx * blob));
    });
}

TEST(Vectorize, OneThreadGivesTheSameRegionsEveryTime) {
    struct Case {
        int detail;
        unsigned long paths;
    } cases[] = {{20, 24}, {50, 30}, {80, 81}};
    for (const Case& c : cases) {
        std::string first;
        for (int run = 0; run < 2; ++run) {
            auto settings = Settings(Photo(64, 48, 3), c.detail);
            LProcessInterfaceVoid process;
            ASSERT_EQ(KVVectorizeImage(process, settings, 1), LProcessResultOk);
            EXPECT_EQ(settings.output.GetCount(), c.paths) << c.detail;
            std::string all;
            for (const KVSimplePathElementProperties& p : Paths(settings))
                all += std::to_string(p.colour.Red8()) + "," +
                       std::to_string(p.path.GetCoords().GetCount()) + ";";
            if (run == 0)
                first = all;
            else
                EXPECT_EQ(all, first) << c.detail;
        }
    }
}

TEST(Vectorize, BadPicturesAndStopsLeaveNoRegions) {
    kvtest::ErrorRecorder errors;
    KVVectorizeImageSettings empty;
    EXPECT_EQ(KVVectorizeImage(errors, empty), LProcessResultError);
    EXPECT_FALSE(errors.error.empty());

    auto settings = Settings(Photo(20, 20, 1), 50);
    kvtest::StoppedProcess stop;
    EXPECT_EQ(KVVectorizeImage(stop, settings), LProcessResultStopped);
    EXPECT_TRUE(settings.output.IsEmpty());
}

} // namespace
