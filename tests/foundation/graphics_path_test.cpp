#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "foundation/graphics_path.h"
#include "foundation/line_style.h"

namespace {

using P = LPointTemplate<float>;

struct Seg {
    LPathSegmentType type;
    std::vector<P> points;
};

std::vector<Seg> Segments(const LGraphicsPath& path) {
    std::vector<Seg> out;
    for (LGraphicsPathConstIterator it(path); it; ++it)
        out.push_back({it.GetSegmentType(),
                       std::vector<P>(it.GetPoints(), it.GetPoints() + it.GetPointCount())});
    return out;
}

std::vector<LPathSegmentType> Types(const LGraphicsPath& path) {
    std::vector<LPathSegmentType> out;
    for (const Seg& s : Segments(path))
        out.push_back(s.type);
    return out;
}

P Cubic(P p0, P c1, P c2, P p3, double t) {
    const double u = 1 - t;
    return P(static_cast<float>(u * u * u * p0.x + 3 * u * u * t * c1.x + 3 * u * t * t * c2.x +
                                t * t * t * p3.x),
             static_cast<float>(u * u * u * p0.y + 3 * u * u * t * c1.y + 3 * u * t * t * c2.y +
                                t * t * t * p3.y));
}

double Angle(P p, P centre) { return std::atan2(p.y - centre.y, p.x - centre.x) * 180 / M_PI; }

} // namespace

TEST(PathBuilding, FiguresBeginEndAndCloseAsTheCallsSay) {
    LGraphicsPath path;
    // A line on an empty path only begins a figure.
    path.LineTo({1, 2});
    EXPECT_EQ(Types(path), (std::vector<LPathSegmentType>{LPathSegmentMoveTo}));
    EXPECT_TRUE(path.IsFigureOpen());
    path.LineTo({5, 2});
    P last;
    ASSERT_TRUE(path.GetLastPoint(last));
    EXPECT_EQ(last, P(5, 2));

    path.CloseFigure();
    path.CloseFigure(); // no figure is open any more: nothing
    EXPECT_FALSE(path.GetLastPoint(last));
    path.EndFigure(true);
    EXPECT_EQ(Types(path), (std::vector<LPathSegmentType>{LPathSegmentMoveTo, LPathSegmentLineTo,
                                                          LPathSegmentClose}));

    // An ellipse ends an open figure without closing it.
    path.BeginFigure({0, 0});
    path.LineTo({3, 3});
    path.AddEllipse(50, 40, 20, 10);
    const std::vector<Seg> s = Segments(path);
    ASSERT_EQ(s.size(), 8u);
    EXPECT_EQ(s[4].type, LPathSegmentLineTo);
    EXPECT_EQ(s[5].type, LPathSegmentMoveTo);
    EXPECT_EQ(s[5].points[0], P(50, 30)); // the top point
    ASSERT_EQ(s[6].type, LPathSegmentBeziers);
    ASSERT_EQ(s[6].points.size(), 12u);
    // Clockwise on screen: the top, then the right, bottom and left points.
    EXPECT_EQ(s[6].points[0], P(50 + 0.5522848f * 20, 30));
    EXPECT_EQ(s[6].points[2], P(70, 40));
    EXPECT_EQ(s[6].points[5], P(50, 50));
    EXPECT_EQ(s[6].points[8], P(30, 40));
    EXPECT_EQ(s[6].points[11], P(50, 30));
    EXPECT_EQ(s[7].type, LPathSegmentClose);
    EXPECT_FALSE(path.IsFigureOpen());

    path.Reset();
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_FALSE(path.GetLastPoint(last));
}

TEST(PathBuilding, LinesRectanglesAndCurvesTakeTheirSegmentForms) {
    LGraphicsPath path;
    path.AddLine(0, 0, 10, 0); // no figure: a move and a line
    path.AddLine(10, 5, 20, 5); // open figure: one two-point polyline
    EXPECT_EQ(Types(path), (std::vector<LPathSegmentType>{LPathSegmentMoveTo, LPathSegmentLineTo,
                                                          LPathSegmentLines}));
    EXPECT_EQ(Segments(path)[2].points.size(), 2u);

    const P pts[4] = {{0, 0}, {1, 1}, {2, 0}, {3, 1}};
    LGraphicsPath lines;
    lines.AddLines(pts, 1);       // too few: nothing
    lines.AddLines(nullptr, 4);   // nothing either
    EXPECT_TRUE(lines.IsEmpty());
    lines.AddLines(pts, 4);
    lines.AddLines(pts, 4);
    const std::vector<Seg> ls = Segments(lines);
    ASSERT_EQ(ls.size(), 3u);
    EXPECT_EQ(ls[0].type, LPathSegmentMoveTo);
    EXPECT_EQ(ls[1].points.size(), 3u); // the rest after the first point
    EXPECT_EQ(ls[2].points.size(), 4u); // all four continue the open figure

    LGraphicsPath rect;
    rect.AddRectangle(1, 2, 10, 20);
    const std::vector<Seg> rs = Segments(rect);
    ASSERT_EQ(rs.size(), 3u);
    EXPECT_EQ(rs[0].points[0], P(1, 2));
    EXPECT_EQ(rs[1].points, (std::vector<P>{{11, 2}, {11, 22}, {1, 22}}));
    EXPECT_EQ(rs[2].type, LPathSegmentClose);

}

TEST(PathArc, HundredDegreesGiveCurvesOf45_45And10OnTheCircle) {
    LGraphicsPath path;
    const double r = 100;
    const P centre(100, 100);
    path.AddArc(0, 0, 200, 200, 0, 100);
    const std::vector<Seg> s = Segments(path);
    ASSERT_EQ(s.size(), 4u);
    EXPECT_EQ(s[0].type, LPathSegmentMoveTo);
    const double ends[3] = {45, 90, 100};
    const double spans[3] = {45, 45, 10};
    P start = s[0].points[0];
    EXPECT_NEAR(start.x, 200, 1e-4);
    EXPECT_NEAR(start.y, 100, 1e-4);
    for (int i = 0; i < 3; ++i) {
        const Seg& c = s[i + 1];
        ASSERT_EQ(c.type, LPathSegmentBezierTo);
        const P end = c.points[2];
        EXPECT_NEAR(Angle(end, centre), ends[i], 1e-3);
        EXPECT_NEAR(std::hypot(end.x - centre.x, end.y - centre.y), r, 3e-4 * r);
        // The curve stays on the circle all the way, and it sweeps the span.
        EXPECT_NEAR(Angle(Cubic(start, c.points[0], c.points[1], end, 0.5), centre),
                    ends[i] - spans[i] / 2, 1e-2);
        for (double t = 0; t <= 1.0; t += 0.125) {
            const P q = Cubic(start, c.points[0], c.points[1], end, t);
            EXPECT_NEAR(std::hypot(q.x - centre.x, q.y - centre.y), r, 3e-4 * r);
        }
        start = end;
    }
}

TEST(PathArc, AnglesAreLimitedAndEllipsesFollowThePolarAngle) {
    LGraphicsPath none;
    none.AddArc(0, 0, 10, 10, 0, 0);
    none.AddArc(0, 0, 10, 10, 0, NAN);
    EXPECT_TRUE(none.IsEmpty());

    // A sweep beyond a turn is one turn: eight curves, ending where it began.
    LGraphicsPath full;
    full.AddArc(0, 0, 10, 10, 30, 720);
    EXPECT_EQ(full.GetSegmentCount(), 9u);

    // Negative sweeps run the other way; a negative start counts from 360.
    LGraphicsPath back;
    back.AddArc(-50, -50, 100, 100, -90, -60);
    const std::vector<Seg> b = Segments(back);
    ASSERT_EQ(b.size(), 3u);
    EXPECT_NEAR(Angle(b[0].points[0], {0, 0}), -90, 1e-3);
    EXPECT_NEAR(Angle(b[2].points[2], {0, 0}), -150, 1e-3);

    // On an ellipse the end points lie at the polar angle asked for.
    LGraphicsPath oval;
    oval.AddArc(0, 0, 200, 100, 30, 60);
    const std::vector<Seg> o = Segments(oval);
    const P first = o[0].points[0], end = o.back().points[2];
    EXPECT_NEAR(Angle(first, {100, 50}), 30, 1e-3);
    EXPECT_NEAR(Angle(end, {100, 50}), 90, 1e-3);
    for (P p : {first, end})
        EXPECT_NEAR(std::pow((p.x - 100) / 100, 2) + std::pow((p.y - 50) / 50, 2), 1.0, 1e-5);

    // The rotation turns the axes.
    LGraphicsPath turned;
    LGraphicsPathAddArcWithAngle(turned, -50, -50, 100, 100, 0, 90, 90);
    EXPECT_NEAR(Angle(Segments(turned)[0].points[0], {0, 0}), 90, 1e-3);

    // A flat box gives a flat arc, never NaN.
    LGraphicsPath flat;
    flat.AddArc(0, 0, 100, 0, 0, 180);
    for (const Seg& s : Segments(flat))
        for (P p : s.points) {
            EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y));
            EXPECT_FLOAT_EQ(p.y, 0);
        }
}

TEST(PathArithmetic, AddPathConnectsOrStartsAfreshAndKeepsText) {
    LGraphicsPath a;
    a.BeginFigure({0, 0});
    a.LineTo({10, 0});
    LGraphicsPath b;
    b.BeginFigure({10, 0});
    b.LineTo({10, 10});
    b.AddString("label", LFontAttributes("Sans", 12, LFontBold), LDrawTextFormat(), {3, 4});
    b.CloseFigure();

    LGraphicsPath joined;
    joined.Copy(a);
    joined.AddPath(b, true);
    EXPECT_EQ(Types(joined),
              (std::vector<LPathSegmentType>{LPathSegmentMoveTo, LPathSegmentLineTo,
                                             LPathSegmentLineTo, LPathSegmentText,
                                             LPathSegmentClose}));
    EXPECT_FALSE(joined.IsFigureOpen());
    LGraphicsPathConstIterator it(joined);
    for (int i = 0; i < 3; ++i)
        ++it;
    EXPECT_STREQ(it.GetText(), "label");
    EXPECT_EQ(it.GetFontAttributes().flags, static_cast<unsigned>(LFontBold));

    LGraphicsPath apart(a);
    apart.AddPath(b, false);
    EXPECT_EQ(Types(apart).size(), 6u);
    EXPECT_EQ(Types(apart)[2], LPathSegmentMoveTo);

    // Connecting onto an empty path keeps the first move.
    LGraphicsPath empty;
    empty.AddPath(b, true);
    EXPECT_EQ(Types(empty)[0], LPathSegmentMoveTo);

    // Copies are deep.
    LGraphicsPath copy = joined;
    joined.Translate(100, 0);
    EXPECT_EQ(Segments(copy)[1].points[0], P(10, 0));
}

TEST(PathArithmetic, QuadraticCurvesAreRaisedToCubics) {
    LGraphicsPath path;
    LGraphicsPathAddQuadraticBezier(path, {0, 0}, {30, 60}, {90, 0});
    const std::vector<Seg> s = Segments(path);
    ASSERT_EQ(s.size(), 2u);
    EXPECT_EQ(s[1].points, (std::vector<P>{{20, 40}, {50, 40}, {90, 0}}));

    LGraphicsPath empty;
    LGraphicsPathQuadraticBezierTo(empty, {1, 1}, {2, 2});
    EXPECT_TRUE(empty.IsEmpty());

    // From the last point, which the open figure first draws a line to.
    LGraphicsPath from;
    from.BeginFigure({90, 0});
    LGraphicsPathQuadraticBezierTo(from, {120, 60}, {180, 0});
    const std::vector<Seg> f = Segments(from);
    ASSERT_EQ(f.size(), 3u);
    EXPECT_EQ(f[1].type, LPathSegmentLineTo);
    EXPECT_EQ(f[2].points, (std::vector<P>{{110, 40}, {140, 40}, {180, 0}}));
}

TEST(PathArithmetic, TransformsMoveEveryPointAndTextAnchorsOnly) {
    LDrawTextFormat format;
    format.alignX = LAlignmentXRight;
    LGraphicsPath path;
    path.AddLine(10, 0, 20, 0);
    path.AddString("t", LFontAttributes("Sans", 9, 0), format, {10, 0});
    path.Rotate(90);
    std::vector<Seg> s = Segments(path);
    EXPECT_NEAR(s[0].points[0].x, 0, 1e-5);
    EXPECT_NEAR(s[0].points[0].y, 10, 1e-5);
    EXPECT_NEAR(s[2].points[0].x, 0, 1e-5);
    EXPECT_NEAR(s[2].points[0].y, 10, 1e-5);
    LGraphicsPathConstIterator it(path);
    ++it;
    ++it;
    EXPECT_EQ(it.GetTextFormat().alignX, LAlignmentXRight);
    EXPECT_FLOAT_EQ(it.GetFontAttributes().size, 9);

    path.Reset();
    path.AddLine(1, 2, 3, 4);
    path.Scale(2, 3);
    path.Translate(1, 1);
    EXPECT_EQ(Segments(path)[1].points[0], P(7, 13));

    LMatrix<float> m;
    m.Scale(2, 2, false);
    m.Translate(5, 0, false); // after the scale
    path.Transform(m);
    EXPECT_EQ(Segments(path)[0].points[0], P(11, 14));
}

TEST(PathQueries, BoundsHoldEveryStoredPointAndStrokesWidenThem) {
    LGraphicsPath empty;
    EXPECT_EQ(empty.GetBounds(), LBoundingBox2T<float>(0, 0, 0, 0));
    EXPECT_EQ(empty.GetBounds(4, nullptr), LBoundingBox2T<float>(0, 0, 0, 0));

    LGraphicsPath curve;
    curve.AddBezier({0, 0}, {50, -100}, {100, 100}, {150, 0});
    EXPECT_EQ(curve.GetBounds(), LBoundingBox2T<float>(0, -100, 150, 100));
    EXPECT_EQ(curve.GetBounds(0, nullptr), curve.GetBounds());

    LGraphicsPath line;
    line.AddLine(0, 0, 100, 0);
    LBoundingBox2T<float> b = line.GetBounds(10, nullptr);
    EXPECT_NEAR(b.x1, 0, 0.01);
    EXPECT_NEAR(b.x2, 100, 0.01);
    EXPECT_NEAR(b.y1, -5, 0.01);
    EXPECT_NEAR(b.y2, 5, 0.01);
    LLineStyle square;
    square.startCap = 1;
    b = line.GetBounds(10, &square);
    EXPECT_NEAR(b.x1, -5, 0.01);
    EXPECT_NEAR(b.x2, 105, 0.01);
}

TEST(PathQueries, HitTestUsesNonZeroWinding) {
    LGraphicsPath path;
    path.AddRectangle(0, 0, 100, 100);
    // The same direction inside: winding 2, still inside.
    path.AddRectangle(25, 25, 50, 50);
    EXPECT_TRUE(path.IsPointInside(50, 50));
    EXPECT_TRUE(path.IsPointInside(10, 10));
    EXPECT_FALSE(path.IsPointInside(150, 50));

    // The opposite direction cuts a hole.
    LGraphicsPath hole;
    hole.AddRectangle(0, 0, 100, 100);
    const P back[4] = {{25, 25}, {25, 75}, {75, 75}, {75, 25}};
    hole.AddLines(back, 4);
    hole.CloseFigure();
    EXPECT_FALSE(hole.IsPointInside(50, 50));
    EXPECT_TRUE(hole.IsPointInside(10, 50));
    EXPECT_FALSE(LGraphicsPath().IsPointInside(0, 0));
}

TEST(Matrix, RowVectorsPrePostAndRotations) {
    // Post: scale then translate. Pre: translate in the local frame first.
    LMatrix<double> m;
    m.Scale(2, 2, false);
    m.Translate(10, 0, false);
    m.Translate(1, 0, true);
    double x = 1, y = 1;
    m.TransformPoint(x, y);
    EXPECT_DOUBLE_EQ(x, 14);
    EXPECT_DOUBLE_EQ(y, 2);

    // A rotation about z turns each row (a, b) into (c*a - s*b, s*a + c*b);
    // in front of the matrix it leaves the translation alone.
    LMatrix<double> r, pre;
    r.m[12] = pre.m[12] = 1;
    r.Rotate(M_PI / 2, 2, false);
    pre.PreRotateAboutZ(M_PI / 2);
    EXPECT_NEAR(r.m[12], 0, 1e-12);
    EXPECT_NEAR(r.m[13], 1, 1e-12);
    EXPECT_DOUBLE_EQ(pre.m[12], 1);

    LMatrix<double> s;
    s.Scale(3, 4, false);
    s.RotateAboutZ(0.7);
    double sx, sy;
    s.GetScale(sx, sy);
    EXPECT_NEAR(sx, 3, 1e-12);
    EXPECT_NEAR(sy, 4, 1e-12);
    const double c = std::cos(0.7), n = std::sin(0.7);
    EXPECT_DOUBLE_EQ(s.Normalize(), 9 * c * c + 16 * n * n);
}
