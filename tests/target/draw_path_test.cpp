#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "target/draw_path.h"

namespace {

KVDrawPath MakePath(std::initializer_list<std::pair<float, float>> points) {
    KVDrawPath path(100, 100, nullptr);
    for (auto [x, y] : points)
        path.AddCoord(new KVDrawCoord(x, y));
    return path;
}

TEST(DrawPath, ConvertPathScalesAllSixValues) {
    KVDrawPath path = MakePath({{10, 20}});
    KVDrawCoord* c = path.GetCoords().GetFirst();
    c->beforeX = 4;
    c->afterY = 8;
    path.ConvertPath(200, 50);
    EXPECT_EQ(std::vector<float>({c->x, c->y, c->beforeX, c->afterY}),
              std::vector<float>({20, 10, 8, 4}));
    EXPECT_EQ(path.GetHeight(), 50u);
}

TEST(DrawPath, DeletingACoordKeepsPressureAligned) {
    KVDrawPath path = MakePath({{0, 0}, {1, 1}, {2, 2}});
    const long levels[] = {100, 200, 300};
    path.SetPressureLevels(levels, 3, 1024);
    path.DeleteCoord(1);
    EXPECT_EQ(path.GetCoords().GetCount(), 2u);
    ASSERT_EQ(path.GetPressure()->count, 2u);
    EXPECT_EQ(path.GetPressure()->levels[1], 300);
    path.DeleteCoord(9); // beyond the end: nothing
    EXPECT_EQ(path.GetCoords().GetCount(), 2u);
}

TEST(DrawPath, CopiesAreDeep) {
    KVDrawPath a = MakePath({{1, 2}, {3, 4}});
    KVDrawPath b(a);
    b.GetCoords().GetFirst()->x = 99;
    EXPECT_FLOAT_EQ(a.GetCoords().GetFirst()->x, 1);
    KVDrawPath c(1, 1, nullptr);
    c = a;
    EXPECT_EQ(c.GetCoords().GetCount(), 2u);
}

TEST(DrawPath, BeziersJoinNeighbours) {
    KVDrawPath path = MakePath({{0, 0}, {10, 0}, {10, 10}});
    path.GetCoords().GetFirst()->afterX = 5;
    LList<KVDrawCoordBezierSegment> segments;
    GetBeziers(path, segments);
    ASSERT_EQ(segments.GetCount(), 2u);
    const KVDrawCoordBezierSegment* s = segments.GetFirst();
    EXPECT_EQ(s->start, LPointTemplate<float>(0, 0));
    EXPECT_EQ(s->control1, LPointTemplate<float>(5, 0));
    EXPECT_EQ(s->end, LPointTemplate<float>(10, 0));
    EXPECT_EQ(segments.GetLast()->end, LPointTemplate<float>(10, 10));

    KVDrawPath single = MakePath({{1, 1}});
    GetBeziers(single, segments);
    EXPECT_TRUE(segments.IsEmpty());
}

} // namespace

// ---------------------------------------------------------------- smoothing

namespace {

using Points = std::vector<std::pair<float, float>>;

Points PointsOf(const KVDrawPath& path) {
    Points out;
    for (const KVDrawCoord& c : path.GetCoords())
        out.push_back({c.x, c.y});
    return out;
}

std::vector<long> LevelsOf(const KVDrawPath& path) {
    const KVPressure* p = path.GetPressure();
    if (!p)
        return {};
    return std::vector<long>(p->levels.begin(), p->levels.end());
}

KVDrawPath PathOf(const Points& pts, const std::vector<long>& levels = {}) {
    KVDrawPath path(500, 500, nullptr);
    for (auto [x, y] : pts)
        path.AddCoord(new KVDrawCoord(x, y));
    if (!levels.empty())
        path.SetPressureLevels(levels.data(), levels.size(), 1024);
    return path;
}

bool Straight(const KVDrawCoord& c) {
    return c.beforeX == c.x && c.beforeY == c.y && c.afterX == c.x && c.afterY == c.y;
}

} // namespace

TEST(PathFilter, ThinsByDistanceAndSlope) {
    struct Case {
        const char* what;
        float curviness;
        Points in;
        Points kept;
    } cases[] = {
        {"near points go, a turn of more than 60 degrees stays", 1.0f,
         {{0, 0}, {1, 0}, {2, 0}, {10, 0}, {10, 1}, {30, 40}},
         {{0, 0}, {10, 0}, {10, 1}, {30, 40}}},
        {"a straight run thins to its ends", 1.0f,
         {{0, 0}, {10, 0}, {20, 0}, {30, 0}, {40, 0}, {60, 0}},
         {{0, 0}, {40, 0}, {60, 0}}},
        {"points 50 or more apart stay", 1.0f,
         {{0, 0}, {60, 0}, {120, 0}, {180, 0}, {240, 0}},
         {{0, 0}, {60, 0}, {120, 0}, {180, 0}, {240, 0}}},
        {"a vertical run divides by no zero", 1.0f,
         {{5, 0}, {5, 10}, {5, 20}, {5, 30}, {5, 40}},
         {{5, 0}, {5, 30}, {5, 40}}},
        {"a U-turn along one line does not turn the slope", 1.0f,
         {{0, 0}, {20, 0}, {10, 0}, {30, 0}, {40, 0}, {45, 0}},
         {{0, 0}, {40, 0}, {45, 0}}},
        {"the first and last two stay however close", 1.0f,
         {{0, 0}, {0.1f, 0}, {0.2f, 0}, {0.3f, 0}, {0.4f, 0}},
         {{0, 0}, {0.3f, 0}, {0.4f, 0}}},
        {"a point closer than 3 goes however sharp its turn", 1.0f,
         {{0, 0}, {2.5f, 0}, {2.5f, 60}, {2.5f, 120}, {2.5f, 180}},
         {{0, 0}, {2.5f, 60}, {2.5f, 120}, {2.5f, 180}}},
        {"a turn of under 60 degrees goes", 1.0f,
         {{0, 0}, {10, 0}, {20, 14}, {30, 28}, {40, 42}},
         {{0, 0}, {30, 28}, {40, 42}}},
        {"three points are never thinned", 1.0f, {{0, 0}, {0.1f, 0}, {0.2f, 0}},
         {{0, 0}, {0.1f, 0}, {0.2f, 0}}},
        {"curviness 0 keeps every point", 0.0f,
         {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}},
         {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}}},
        {"at half the curviness, points 25 apart stay", 0.5f,
         {{0, 0}, {1, 0}, {2, 0}, {30, 0}, {40, 1}, {90, 0}},
         {{0, 0}, {30, 0}, {40, 1}, {90, 0}}},
    };
    for (const Case& c : cases) {
        KVDrawPath path = PathOf(c.in);
        FilterPathByDistanceSlope(path, c.curviness);
        EXPECT_EQ(PointsOf(path), c.kept) << c.what;
    }
}

TEST(PathFilter, PressureLevelsStayWithTheirPoints) {
    KVDrawPath path = PathOf({{0, 0}, {1, 0}, {2, 0}, {10, 0}, {10, 1}, {30, 40}},
                             {100, 200, 300, 400, 500, 600});
    FilterPathByDistanceSlope(path, 1.0f);
    EXPECT_EQ(LevelsOf(path), (std::vector<long>{100, 400, 500, 600}));
    EXPECT_EQ(path.GetPressure()->count, path.GetCoords().GetCount());
    EXPECT_EQ(path.GetPressure()->maximum, 1024u);

    // A device that sent fewer levels than points: the levels it sent, no
    // read beyond them.
    KVDrawPath shortLevels = PathOf({{0, 0}, {60, 0}, {120, 0}, {180, 0}, {240, 0}}, {7, 8});
    FilterPathByDistanceSlope(shortLevels, 1.0f);
    EXPECT_EQ(LevelsOf(shortLevels), (std::vector<long>{7, 8}));
}

TEST(PathFit, CurvesEveryStretchButTheLast) {
    struct Case {
        const char* what;
        Points in;
        float curviness;
        bool filter;
        size_t points;
        size_t curved;
    } cases[] = {
        {"two points make no curve", {{0, 0}, {50, 50}}, 1.0f, true, 2, 0},
        {"curviness 0 keeps a polyline and every point", {{0, 0}, {1, 5}, {2, 0}, {3, 5}, {4, 0}},
         0.0f, true, 5, 0},
        {"n points give n - 2 curves", {{0, 0}, {10, 20}, {20, 0}, {30, 20}, {40, 0}, {50, 20}},
         0.5f, false, 6, 4},
    };
    for (const Case& c : cases) {
        KVDrawPath path = PathOf(c.in);
        const bool polyline = c.curviness == 0.0f || c.in.size() < 3;
        // Controls from an earlier fit must not survive a polyline.
        if (polyline)
            for (KVDrawCoord& coord : path.GetCoords())
                coord.afterX += 3;
        InterpolateDrawPath(path, c.curviness, c.filter);
        ASSERT_EQ(path.GetCoords().GetCount(), c.points) << c.what;
        LList<KVDrawCoordBezierSegment> segments;
        GetBeziers(path, segments);
        size_t curved = 0;
        for (const KVDrawCoordBezierSegment& s : segments)
            if (!(s.control1 == s.start && s.control2 == s.end))
                ++curved;
        EXPECT_EQ(curved, c.curved) << c.what;
        if (c.curved > 0) {
            const KVDrawCoordBezierSegment* last = segments.GetLast();
            EXPECT_EQ(last->control2, last->end) << c.what;
        }
        if (polyline) {
            for (const KVDrawCoord& coord : path.GetCoords())
                EXPECT_TRUE(Straight(coord)) << c.what;
        }
    }
}

TEST(PathFit, ThreePointsGiveTheCatmullRomHermiteCurve) {
    KVDrawPath path = PathOf({{0, 0}, {10, 0}, {20, 10}});
    LList<KVDrawCoordEquationCoeff> coefficients;
    InterpolatePointsCR(path, coefficients);
    ASSERT_EQ(coefficients.GetCount(), 1u);
    // From rest at P0 to P1 with the tangent (P2 - P0) / 2 = (10, 5).
    const KVDrawCoordEquationCoeff& e = *coefficients.GetFirst();
    EXPECT_EQ(std::vector<double>(e.x, e.x + 4), (std::vector<double>{0, 0, 20, -10}));
    EXPECT_EQ(std::vector<double>(e.y, e.y + 4), (std::vector<double>{0, 0, -5, 5}));

    ComputeBezier(path, coefficients);
    const KVDrawCoord* p0 = path.GetCoords().GetFirst();
    const KVDrawCoord* p1 = p0->GetNext();
    EXPECT_EQ(std::make_pair(p0->afterX, p0->afterY), std::make_pair(0.0f, 0.0f));
    EXPECT_FLOAT_EQ(p1->beforeX, 10.0f - 10.0f / 3);
    EXPECT_FLOAT_EQ(p1->beforeY, -5.0f / 3);
    EXPECT_TRUE(Straight(*p1->GetNext()));
    EXPECT_EQ(std::make_pair(p1->afterX, p1->afterY), std::make_pair(10.0f, 0.0f));
}
