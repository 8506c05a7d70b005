// The stamps of the freehand brushes: the numbers each brush is built from,
// where stamps fall along a curve, the stamp pictures that ship as files,
// and the shapes of the decorated line ends.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include "foundation/graphics_path.h"
#include "render/line_cap.h"
#include "render/stamp_files.h"
#include "render/stamps.h"
#include "support/process_log.h"
#include "target/draw_path.h"

namespace {

// The top-left corners of a stamp's specks.
std::vector<KVPoint> Specks(const LGraphicsPath& path) {
    std::vector<KVPoint> corners;
    for (const LGraphicsPathSegment& s : path.GetSegments())
        if (s.type == LPathSegmentMoveTo)
            corners.push_back(s.points[0]);
    return corners;
}

struct Placed {
    KVPoint at;
    unsigned long index;
    double t;
};

std::vector<Placed> Place(const LList<KVDrawCoordBezierSegment>& segments, float spacing) {
    std::vector<Placed> placed;
    LProcessInterfaceVoid v;
    EXPECT_EQ(PlaceStamps(v, KVSegments(segments.GetFirst()), spacing,
                          [&](KVPoint at, unsigned long index, double t) {
                              placed.push_back({at, index, t});
                          }),
              LProcessResultOk);
    return placed;
}

double Distance(KVPoint a, KVPoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

} // namespace

TEST(Stamps, EachBrushHasItsSpacingAndAlpha) {
    struct Case {
        KVBrushType type;
        float width;
        float spacing;
        int alpha;
        bool specks;
        const char* why;
    };
    const Case cases[] = {
        {KVBrushSpray, 30, 3.75f, 68, true, "(int)(30 * 0.8533 + 42.66)"},
        {KVBrushSpray, 300, 3.75f, 255, true, "past 255, cut"},
        {KVBrushPaintbrush, 10, 0.6666667f, 50, true, "built at 20: 25 over a scale of 0.5"},
        {KVBrushPaintbrush, 50, 0.6666667f, 19, true, "Round(18.665)"},
        {KVBrushPaintbrush, 200, 0.6666667f, 8, true, "above 100"},
        {KVBrushPencil, 50, 0.6666667f, 23, true, "19 times 1.25, cut"},
        {KVBrushCrayonSplotch, 50, 0.6666667f, 20, true, "the pencil's 23 times 0.9, cut"},
        {KVBrushCrayonSmear, 30, 1.0f, 8, true, "half a tenth of the width over 1.5"},
        {KVBrushRoundPen, 10, 0.5f, 255, false, "drawn, not stamped from specks"},
        {KVBrushCalligraphy, 10, 0.5f, 255, false, "drawn"},
        {KVBrushMarker, 10, 0.5f, 255, false, "a plain stroke"},
        {KVBrushCrayon, 20, 0.5f, 255, false, "only its two passes have stamps"},
        {KVBrushSpray, 0, 0.5f, 255, false, "no width, no specks"},
        {KVBrushSpray, 0.05f, 3.75f, 42, true, "too thin to jitter, and no division by zero"},
        {KVBrushSpray, 1e12f, 3.75f, 255, true, "wider than any int"},
        {KVBrushPaintbrush, 1e-6f, 0.6666667f, 255, true, "so small its alpha is cut"},
    };
    for (const Case& c : cases) {
        std::srand(3);
        LGraphicsPath path;
        float spacing = 0.5f;
        const LGuiColor blue(0, 0, 0xFF00);
        const LGuiColorAlpha stamp = GetStamp(path, spacing, blue, c.width, c.type);
        EXPECT_FLOAT_EQ(spacing, c.spacing) << c.why;
        EXPECT_EQ(stamp.alpha, c.alpha) << c.why;
        EXPECT_TRUE(static_cast<const LGuiColor&>(stamp) == blue) << c.why;
        EXPECT_EQ(!path.IsEmpty(), c.specks) << c.why;
    }
}

TEST(Stamps, SmallPaintbrushIsTheLargeOneHalved) {
    auto build = [](KVBrushType type, float width) {
        std::srand(17);
        auto path = std::make_unique<LGraphicsPath>();
        float spacing = 0.5f;
        GetStamp(*path, spacing, LGuiColor(), width, type);
        return path;
    };
    const auto large = build(KVBrushPaintbrush, 20), small = build(KVBrushPaintbrush, 10);
    const KVBox a = large->GetBounds(), b = small->GetBounds();
    EXPECT_FLOAT_EQ(b.x1, a.x1 * 0.5f);
    EXPECT_FLOAT_EQ(b.y2, a.y2 * 0.5f);
    EXPECT_EQ(Specks(*small).size(), Specks(*large).size());
    // Pencil and splotch lay the paintbrush's very specks.
    const auto pencil = build(KVBrushPencil, 20), splotch = build(KVBrushCrayonSplotch, 20);
    EXPECT_EQ(Specks(*pencil).size(), Specks(*large).size());
    EXPECT_FLOAT_EQ(splotch->GetBounds().x1, a.x1);
}

TEST(Stamps, SpraySpecksCrowdTheMiddle) {
    EXPECT_FLOAT_EQ([] { float x = 0; IncrementFloat(x, 4, 20); return x; }(), 1.0f);
    EXPECT_FLOAT_EQ([] { float x = -10; IncrementFloat(x, 4, 20); return x; }(), -6.0f);
    std::srand(5);
    LGraphicsPath path;
    float spacing = 0.5f;
    GetStamp(path, spacing, LGuiColor(), 60, KVBrushSpray);
    const std::vector<KVPoint> specks = Specks(path);
    ASSERT_FALSE(specks.empty());
    // The jitter only ever adds, so the specks sit around a centre of their own.
    double cx = 0, cy = 0;
    for (const KVPoint& p : specks) {
        EXPECT_LE(std::hypot(p.x, p.y), 30 + 6 * std::sqrt(2.0) + 2) << "the radius and a jitter";
        cx += p.x / specks.size();
        cy += p.y / specks.size();
    }
    int inner = 0, outer = 0;
    for (const KVPoint& p : specks)
        (std::hypot(p.x - cx, p.y - cy) < 15 ? inner : outer)++;
    // The rim's ring has three times the middle's area, and far fewer specks for it.
    EXPECT_GT(inner, 1.5 * outer / 3.0) << inner << " in the middle, " << outer << " around it";
}

TEST(Stamps, StampPictureIsTheSpecksInTheStampColour) {
    std::srand(8);
    LGraphicsPath path;
    float spacing = 0.5f;
    const LGuiColorAlpha stamp = GetStamp(path, spacing, LGuiColor(0xFF00, 0, 0), 30, KVBrushSpray);
    LImageBuffer picture;
    MakeStampPicture(picture, path, stamp, 30);
    ASSERT_TRUE(picture.IsValid());
    EXPECT_EQ(picture.width, 31); // Round(30 + 0.5)
    int lit = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            const unsigned char* p = picture.GetPictureRow(y) + 4 * x;
            if (p[3] == 0)
                continue;
            ++lit;
            // Hard specks of the stamp's alpha, where one speck lies; red, premultiplied.
            EXPECT_GE(p[3], stamp.alpha);
            EXPECT_EQ(p[2], p[3]);
            EXPECT_EQ(p[0] + p[1], 0);
        }
    EXPECT_GT(lit, 20);

    LImageBuffer grey;
    LImage::New(grey, 3, 1, LPixelFormatB8G8R8A8);
    const unsigned char pixels[12] = {0, 0, 0, 0, 10, 10, 10, 128, 200, 200, 200, 255};
    std::copy(pixels, pixels + 12, grey.GetPictureRow(0));
    SetStampColor(grey, LGuiColor(0, 0xFF00, 0));
    const unsigned char* p = grey.GetPictureRow(0);
    EXPECT_EQ(std::vector<int>(p, p + 12),
              (std::vector<int>{0, 0, 0, 0, 0, 128, 0, 128, 0, 255, 0, 255}));
}

TEST(StampPlaces, StampsFollowTheCurveAtTheirSpacing) {
    struct Case {
        const char* what;
        std::vector<KVDrawCoordBezierSegment> segments;
        float spacing;
        unsigned long count; // 0: not counted
    };
    // Curves of an even pace: the parameter step, found at the ends, then
    // holds everywhere, and a stamp lies within 5 % and one step (a
    // fifteenth of the spacing) of its place.
    const Case cases[] = {
        // Steps of 100 / 512: the first stamp past 0.95 spacings is 19 steps,
        // 3.71 pixels, on, and every one after it the same 19 steps.
        {"a straight line", {{{0, 0}, {100 / 3.0f, 0}, {200 / 3.0f, 0}, {100, 0}}}, 3.75f, 27},
        {"an arc", {{{0, 0}, {0, 55}, {45, 100}, {100, 100}}}, 2.0f, 0},
        {"two joined segments",
         {{{10, 10}, {20, 10}, {30, 10}, {40, 10}}, {{40, 10}, {40, 20}, {40, 30}, {40, 40}}},
         0.6666667f, 0},
        {"a fine spacing", {{{0, 0}, {10, 0}, {20, 5}, {30, 5}}}, 0.0666667f, 0},
    };
    const double low = 0.95 - 1 / 15.0, high = 1.05 + 1 / 15.0;
    for (const Case& c : cases) {
        LList<KVDrawCoordBezierSegment> list;
        for (const KVDrawCoordBezierSegment& s : c.segments)
            list.PushBack(new KVDrawCoordBezierSegment(s.start, s.control1, s.control2, s.end));
        const std::vector<Placed> placed = Place(list, c.spacing);
        ASSERT_GT(placed.size(), 1u) << c.what;
        EXPECT_FLOAT_EQ(placed[0].at.x, c.segments[0].start.x) << c.what << ": first at the start";
        EXPECT_FLOAT_EQ(placed[0].at.y, c.segments[0].start.y) << c.what;
        for (size_t i = 1; i < placed.size(); ++i) {
            const double d = Distance(placed[i].at, placed[i - 1].at);
            EXPECT_GE(d, low * c.spacing) << c.what << ", stamp " << i;
            EXPECT_LE(d, high * c.spacing) << c.what << ", stamp " << i;
            EXPECT_GE(placed[i].index, placed[i - 1].index) << c.what;
            EXPECT_LE(placed[i].t, 1.0) << c.what;
        }
        EXPECT_EQ(placed.back().index, c.segments.size() - 1) << c.what;
        if (c.count) {
            EXPECT_EQ(placed.size(), c.count) << c.what;
        }
        // The last stamp is less than a spacing from the end.
        EXPECT_LT(Distance(placed.back().at, c.segments.back().end), high * c.spacing) << c.what;
    }
}

TEST(StampPlaces, ASegmentOfNoLengthLaysOneStampAndThenNothing) {
    LList<KVDrawCoordBezierSegment> dot;
    dot.PushBack(new KVDrawCoordBezierSegment({7, 9}, {7, 9}, {7, 9}, {7, 9}));
    std::vector<Placed> placed = Place(dot, 0.5f);
    ASSERT_EQ(placed.size(), 1u);
    EXPECT_FLOAT_EQ(placed[0].at.x, 7);

    // Behind a line, a standstill away from its last stamp adds that one stamp.
    LList<KVDrawCoordBezierSegment> line;
    line.PushBack(new KVDrawCoordBezierSegment({0, 0}, {0, 0}, {10, 0}, {10, 0}));
    line.PushBack(new KVDrawCoordBezierSegment({20, 0}, {20, 0}, {20, 0}, {20, 0}));
    placed = Place(line, 1.0f);
    ASSERT_GT(placed.size(), 2u);
    EXPECT_FLOAT_EQ(placed.back().at.x, 20);
    EXPECT_GT(placed[placed.size() - 2].at.x, 9);
}

TEST(StampPlaces, ACurveThatRunsOffToNoNumberIsLeftOut) {
    LList<KVDrawCoordBezierSegment> segments;
    const float inf = std::numeric_limits<float>::infinity();
    segments.PushBack(new KVDrawCoordBezierSegment({0, 0}, {inf, 0}, {10, 0}, {10, 0}));
    segments.PushBack(new KVDrawCoordBezierSegment({10, 0}, {10, 0}, {20, 0}, {20, 0}));
    const std::vector<Placed> placed = Place(segments, 1.0f);
    ASSERT_FALSE(placed.empty());
    for (const Placed& p : placed) {
        EXPECT_EQ(p.index, 1u);
        EXPECT_TRUE(std::isfinite(p.at.x));
    }
}

TEST(StampPlaces, AStopLaysNothing) {
    LList<KVDrawCoordBezierSegment> line;
    line.PushBack(new KVDrawCoordBezierSegment({0, 0}, {0, 0}, {10, 0}, {10, 0}));
    kvtest::ProcessLog stop(0);
    int count = 0;
    EXPECT_EQ(PlaceStamps(stop, KVSegments(line.GetFirst()), 1.0f,
                          [&](KVPoint, unsigned long, double) { ++count; }),
              LProcessResultStopped);
    EXPECT_EQ(count, 0);
}

TEST(StampFiles, EachBrushHasItsPictureAndSpacing) {
    struct Case {
        KVBrushType type;
        float width;
        float spacing;
        int side; // 0: no picture
    };
    const Case cases[] = {
        {KVBrushSpray, 30, 10, 30},           {KVBrushCrayonSmear, 100, 2, 100},
        {KVBrushCrayonSplotch, 90, 2, 90},    {KVBrushCrayonSplotch, 9, 0.6f, 9},
        {KVBrushPencil, 50, 0.5f, 50},        {KVBrushPaintbrush, 100, 0.5f, 100},
        {KVBrushPaintbrush, 10, 0.15f, 10},   {KVBrushPaintbrush, 4, 0.04f, 4},
        {KVBrushPaintbrush, 0.5f, 0.005f, 1}, {KVBrushRoundPen, 30, 0.5f, 0},
        {KVBrushMarker, 30, 0.5f, 0},
    };
    for (const Case& c : cases) {
        LImageBuffer image;
        float spacing = -1;
        LoadStampImage(c.type, image, spacing, c.width, LGuiColor(0, 0, 0xFF00));
        EXPECT_FLOAT_EQ(spacing, c.spacing) << "type " << c.type << " width " << c.width;
        if (c.side == 0) {
            EXPECT_FALSE(image.IsValid()) << "type " << c.type;
            continue;
        }
        ASSERT_TRUE(image.IsValid()) << "type " << c.type;
        EXPECT_EQ(image.width, c.side);
        EXPECT_EQ(image.height, c.side);
        // Coloured, and shaped by its alpha.
        int lit = 0;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const unsigned char* p = image.GetPictureRow(y) + 4 * x;
                if (p[3] == 0)
                    continue;
                ++lit;
                EXPECT_EQ(p[0], p[3]) << "type " << c.type;
                EXPECT_EQ(p[1] + p[2], 0) << "type " << c.type;
            }
        EXPECT_GT(lit, 0) << "type " << c.type;
    }
}

TEST(Stamps, AngleAtTheMiddleCorner) {
    EXPECT_NEAR(GetAngle({10, 0}, {0, 0}, {0, 10}), M_PI / 2, 1e-9);
    EXPECT_NEAR(GetAngle({0, 0}, {1, 0}, {0.5f, std::sqrt(3.0f) / 2}), M_PI / 3, 1e-6);
    EXPECT_NEAR(GetAngle({-5, 0}, {0, 0}, {5, 0}), M_PI, 1e-6);
}

TEST(LineCaps, ShapedCapsReachPastTheEndAndTurnWithTheLine) {
    struct Case {
        KVLineCapStyle style;
        KVPoint towards;
        KVBox expected; // the shape's box around (50, 50) at width 4
    };
    const float d = 4 * std::sqrt(2.0f);
    const Case cases[] = {
        // The diamond points away from the line.
        {KVLineCapDiamond, {100, 50}, KVBox(46, 46, 50, 54)},
        {KVLineCapDiamond, {50, 100}, KVBox(46, 46, 54, 50)},
        {KVLineCapDiamond, {0, 50}, KVBox(50, 46, 54, 54)},
        {KVLineCapCircle, {100, 80}, KVBox(46, 46, 54, 54)},
        {KVLineCapSquare, {100, 50}, KVBox(46, 46, 54, 54)},
        {KVLineCapSquare, {100, 100}, KVBox(50 - d, 50 - d, 50 + d, 50 + d)},
        {KVLineCapSquare45, {100, 50}, KVBox(50 - d, 50 - d, 50 + d, 50 + d)},
        {KVLineCapSquare45, {100, 100}, KVBox(46, 46, 54, 54)},
    };
    for (const Case& c : cases) {
        std::unique_ptr<LGraphicsPath> cap(GetLineCap(c.style, 4, {50, 50}, c.towards));
        ASSERT_TRUE(cap) << "style " << c.style;
        const KVBox box = cap->GetBounds();
        // A circle's box holds its bezier controls, which lie on it at the extremes.
        EXPECT_NEAR(box.x1, c.expected.x1, 1e-3) << "style " << c.style;
        EXPECT_NEAR(box.y1, c.expected.y1, 1e-3) << "style " << c.style;
        EXPECT_NEAR(box.x2, c.expected.x2, 1e-3) << "style " << c.style;
        EXPECT_NEAR(box.y2, c.expected.y2, 1e-3) << "style " << c.style;
    }
    for (int style : {0, 1, 2, 3, 8, -1})
        EXPECT_EQ(GetLineCap(static_cast<KVLineCapStyle>(style), 4, {50, 50}, {100, 50}), nullptr)
            << "style " << style;
}
