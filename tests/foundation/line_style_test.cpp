#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "foundation/line_style.h"

namespace {

struct Pattern {
    std::vector<double> lengths;
    double phase;
    bool operator==(const Pattern& o) const { return lengths == o.lengths && phase == o.phase; }
};

std::ostream& operator<<(std::ostream& os, const Pattern& p) {
    os << "{";
    for (double v : p.lengths)
        os << v << " ";
    return os << "; " << p.phase << "}";
}

Pattern Resolve(LLineDashStyle dash, int cap, float w) {
    LLineStyle style(dash);
    style.startCap = cap;
    const LStrokeParameters s = LResolveStroke(&style, w, 1.0f);
    return {std::vector<double>(s.dashes, s.dashes + s.dashCount), s.phase};
}

LSizedArray<float> Entries(std::initializer_list<float> values) {
    LSizedArray<float> a;
    for (float v : values)
        a.Append(v);
    return a;
}

} // namespace

TEST(LineStyleDash, CapsShortenDashesByTheirEnds) {
    const float w = 2;
    EXPECT_EQ(Resolve(LLineDashDashDot, 0, w), (Pattern{{6, 2, 2, 2}, 0}));
    // Flat dots start one gap in.
    EXPECT_EQ(Resolve(LLineDashDot, 0, w), (Pattern{{2, 2}, 2}));
    EXPECT_EQ(Resolve(static_cast<LLineDashStyle>(6), 0, w), (Pattern{{}, 0}));
    for (int cap : {1, 2}) {
        SCOPED_TRACE(cap);
        EXPECT_EQ(Resolve(LLineDashDot, cap, w), (Pattern{{0, 4}, 0}));
        EXPECT_EQ(Resolve(LLineDashDashDot, cap, w), (Pattern{{4, 4, 0, 4}, -1}));
    }
    // dashCap 1 makes a dashed line round whatever the start cap says...
    LLineStyle style(LLineDashDash);
    style.dashCap = 1;
    LStrokeParameters s = LResolveStroke(&style, 2, 1);
    EXPECT_EQ(s.cap, LLineCapRound);
    EXPECT_EQ(s.dashes[0], 4);
    // ...but not a solid one.
    style.dash = LLineDashSolid;
    EXPECT_EQ(LResolveStroke(&style, 2, 1).cap, LLineCapFlat);
}

TEST(LineStyleDash, CustomDashesScaleUseTwentyEntriesAndMakeRoomForCaps) {
    LLineStyle style;
    style.SetCustomDash(Entries({}));
    EXPECT_EQ(style.dash, LLineDashSolid); // an empty array changes nothing
    style.SetCustomDash(Entries({3, 1, 0.5f, 0.5f}));
    EXPECT_EQ(style.dash, LLineDashCustom);
    LStrokeParameters s = LResolveStroke(&style, 2, 1);
    EXPECT_EQ(std::vector<double>(s.dashes, s.dashes + s.dashCount),
              (std::vector<double>{6, 2, 1, 1}));
    EXPECT_EQ(s.phase, 0);

    // Round caps: dashes lowered by w (never below 0), gaps raised by w.
    style.startCap = 2;
    s = LResolveStroke(&style, 2, 1);
    EXPECT_EQ(std::vector<double>(s.dashes, s.dashes + s.dashCount),
              (std::vector<double>{4, 4, 0, 3}));

    LSizedArray<float> many;
    for (int i = 0; i < 21; ++i)
        many.Append(static_cast<float>(i + 1));
    LLineStyle longer;
    longer.SetCustomDash(many);
    s = LResolveStroke(&longer, 1, 1);
    EXPECT_EQ(s.dashCount, 20u);
    EXPECT_EQ(s.dashes[19], 20);

    // Dropping the array keeps the style custom, now with nothing to dash.
    longer.SetCustomDash(Entries({}));
    EXPECT_EQ(longer.dash, LLineDashCustom);
    EXPECT_EQ(LResolveStroke(&longer, 1, 1).dashCount, 0u);
}

TEST(LineStyleDash, PatternsTheDrawingLibraryWouldRefuseStrokeSolid) {
    LLineStyle zeros;
    zeros.SetCustomDash(Entries({0, 0}));
    EXPECT_EQ(LResolveStroke(&zeros, 1, 1).dashCount, 0u);
    LLineStyle negative;
    negative.SetCustomDash(Entries({3, -1}));
    EXPECT_EQ(LResolveStroke(&negative, 1, 1).dashCount, 0u);
    LLineStyle nan;
    nan.SetCustomDash(Entries({NAN, 1}));
    EXPECT_EQ(LResolveStroke(&nan, 1, 1).dashCount, 0u);
    // A negative width dashes by its size.
    EXPECT_EQ(Resolve(LLineDashDash, 0, -2), (Pattern{{6, 2}, 0}));
}

TEST(LineStyleStroke, WidthZeroIsOneDevicePixelAndJoinsPickTheirLimit) {
    EXPECT_DOUBLE_EQ(LResolveStroke(nullptr, 0, 4).width, 0.25);
    EXPECT_DOUBLE_EQ(LResolveStroke(nullptr, 0, -2).width, 0.5);
    EXPECT_DOUBLE_EQ(LResolveStroke(nullptr, 3, 4).width, 3);
    // In a dash of width 0 the device pixel is w.
    LLineStyle dashed(LLineDashDash);
    EXPECT_DOUBLE_EQ(LResolveStroke(&dashed, 0, 2).dashes[0], 1.5);

    LLineStyle style;
    style.miterLimit = 3;
    EXPECT_EQ(LResolveStroke(&style, 1, 1).miterLimit, FLT_MAX); // join 0: no limit
    style.join = 3;
    EXPECT_EQ(LResolveStroke(&style, 1, 1).join, LLineJoinMiter);
    EXPECT_EQ(LResolveStroke(&style, 1, 1).miterLimit, 3);
}
