#include <gtest/gtest.h>

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
