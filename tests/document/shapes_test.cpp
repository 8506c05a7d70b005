#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "document/cache_path.h"
#include "document/draw_path.h"
#include "document/project.h"
#include "document/shapes.h"
#include "document/widget.h"
#include "support/recording_target.h"

using kvtest::RecordingTarget;

namespace {

KVRectangleElementProperties Rect(float x1, float y1, float x2, float y2) {
    KVRectangleElementProperties p;
    p.SetRectangle({x1, y1, x2, y2});
    return p;
}

template <class P> void AddAllEffects(P& p) {
    p.SetShadow(KVDropShadow());
    p.SetBevelEmboss(KVBevelEmboss());
    p.SetInnerGlow(KVGlow());
    KVGlow outer;
    outer.strength = 4.0f;
    p.SetOuterGlow(outer);
}

struct ProgressLog : LProcessInterfaceVoid {
    void SetProgress(double f) override { values.push_back(f); }
    std::vector<double> values;
};

TEST(ShapeDrive, PlainRectangleDrawsItsOutlineOnly) {
    KVRectangleElement e(Rect(10, 10, 20, 20));
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.Render(v, t), LProcessResultOk);
    EXPECT_EQ(t.Calls(), (std::vector<std::string>{"t0 DrawRect"}));
}

TEST(ShapeDrive, RotatedRectangleWithEveryEffectFollowsTheFixedOrder) {
    KVRectangleElementProperties p = Rect(0, 0, 40, 20);
    AddAllEffects(p);
    p.SetFill(LGuiColorAlpha(1, 2, 3, 255));
    p.SetRotationDegrees(30);
    KVRectangleElement e(p);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.Render(v, t), LProcessResultOk);
    EXPECT_EQ(t.Calls(), (std::vector<std::string>{
                             "t0 BeginRotate 30 (20,10) -> t1",
                             "t1 DrawRectShadow",
                             "t1 BeginOuterGlow 4 -> t2",
                             "t2 BeginInnerGlow 10 -> t3",
                             "t3 FillRect",
                             "t3 FillRectBevelEmboss",
                             "t2 FinishInnerGlow",
                             "t1 FinishOuterGlow",
                             "t0 FinishRotate",
                         }));
}

TEST(ShapeDrive, TagsOnlyForTargetsThatKeepMetadata) {
    KVEllipseElementProperties p;
    p.SetBounds({0, 0, 10, 10});
    KVDropShadow s;
    s.softness = 7;
    s.size = 2;
    p.SetShadow(s);
    KVGlow g;
    g.colour = LGuiColorAlpha(255, 128, 0, 255);
    g.strength = 2.5f;
    p.SetInnerGlow(g);
    KVEllipseElement e(p);
    LProcessInterfaceVoid v;

    RecordingTarget plain;
    e.Render(v, plain);
    for (const std::string& c : plain.Calls())
        EXPECT_EQ(c.find("Tag"), std::string::npos) << c;

    RecordingTarget svg;
    svg.metadata = true;
    e.Render(v, svg);
    EXPECT_EQ(svg.Calls(), (std::vector<std::string>{
                               "t0 DrawEllipseShadow",
                               "t0 BeginInnerGlow 2.5 -> t1",
                               "t1 DrawEllipse",
                               "t1 Tag tolmar:shadow=7,5,5,2",
                               "t1 Tag tolmar:innerglow=2.500,rgb(255,128,0)",
                               "t0 FinishInnerGlow",
                           }));
}

TEST(ShapeDrive, ProgressWeightsGiveAbsentEffectsNoShare) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.SetShadow(KVDropShadow());
    p.SetBevelEmboss(KVBevelEmboss());
    KVRectangleElement e(p);
    RecordingTarget t;
    t.reportProgress = true;
    ProgressLog log;
    e.Render(log, t);
    // shadow 5, body 1, bevel 3 of 9: the slices end at 5/9, 6/9 and 9/9.
    ASSERT_EQ(log.values.size(), 3u);
    EXPECT_DOUBLE_EQ(log.values[0], 5.0 / 9.0);
    EXPECT_DOUBLE_EQ(log.values[1], 6.0 / 9.0);
    EXPECT_DOUBLE_EQ(log.values[2], 1.0);
}

TEST(ShapeDrive, AFailingStepEndsTheRender) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    AddAllEffects(p);
    p.SetRotationDegrees(45);
    KVRectangleElement e(p);
    RecordingTarget t;
    t.drawResult = LProcessResultStopped;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.Render(v, t), LProcessResultStopped);
    // The shadow failed: no glow is opened, nothing is finished.
    EXPECT_EQ(t.Calls(), (std::vector<std::string>{"t0 BeginRotate 45 (5,5) -> t1",
                                                   "t1 DrawRectShadow"}));
}

TEST(ShapeDrive, GradientGoesFirstInTheBodyAndFillFirstInTheBevel) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.SetGradient(KVGradient());
    p.SetBevelEmboss(KVBevelEmboss());
    KVRectangleElement e(p);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    e.Render(v, t);
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"FillRectGradient",
                                                      "FillRectBevelEmbossGradient"}));
}

TEST(ShapeDrive, TrianglesAndPolygonsUseTheirOwnOperations) {
    KVTriangleElementProperties tp;
    tp.SetBounds({0, 0, 10, 10});
    tp.SetFill(LGuiColorAlpha(0, 0, 0, 255));
    KVPolygonElementProperties pp;
    pp.sides = 6;
    pp.SetBounds({0, 0, 10, 10});
    pp.SetShadow(KVDropShadow());
    RecordingTarget t;
    LProcessInterfaceVoid v;
    KVTriangleElement(tp).Render(v, t);
    KVPolygonElement(pp).Render(v, t);
    // The triangle operations forward to the polygon ones in the base target.
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"FillPoly 3", "DrawPolyShadow 6",
                                                      "DrawPoly 6"}));
}

TEST(ShapeDrive, LineHandsItsCapsOverCrossed) {
    KVLineElementProperties p;
    p.startCap = KVLineCapRound;   // 2
    p.endCap = KVLineCapDiamond;   // 4
    p.dashStyle = 3;
    KVLineElement e(p);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    e.Render(v, t);
    EXPECT_EQ(t.Calls(), (std::vector<std::string>{"t0 DrawLine 4 2 3"}));
}

TEST(ShapeGeometry, TriangleCorners) {
    KVTriangleElementProperties p;
    p.SetBounds({1, 2, 3, 4});
    LPointTemplate<float> v[3];
    const float expected[4][6] = {{3, 4, 1, 4, 1, 2},
                                  {3, 4, 1, 4, 3, 2},
                                  {3, 2, 1, 2, 1, 4},
                                  {3, 4, 1, 2, 3, 2}};
    for (int corner = 0; corner < 4; ++corner) {
        p.corner = corner;
        p.GetPoints(v);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(v[i].x, expected[corner][2 * i]) << corner << " " << i;
            EXPECT_EQ(v[i].y, expected[corner][2 * i + 1]) << corner << " " << i;
        }
    }
    p.corner = 7; // from a damaged file
    p.GetPoints(v);
    for (auto& pt : v)
        EXPECT_EQ(pt, LPointTemplate<float>(0, 0));
}

TEST(ShapeGeometry, PolygonVerticesStartWithTheLastComputed) {
    for (unsigned long sides = 3; sides <= 10; ++sides) {
        KVPolygonElementProperties p;
        p.sides = sides;
        p.SetBounds({0, 0, 100, 50});
        ASSERT_EQ(p.vertices.GetCount(), sides);
        // Vertex 0, the bottom centre, comes last.
        EXPECT_FLOAT_EQ(p.vertices[sides - 1].x, 50);
        EXPECT_FLOAT_EQ(p.vertices[sides - 1].y, 50);
        const double step = 6.2831855f / static_cast<float>(sides);
        EXPECT_NEAR(p.vertices[0].x, 50 + 50 * std::sin((sides - 1) * step), 1e-4);
        EXPECT_NEAR(p.vertices[0].y, 25 + 25 * std::cos((sides - 1) * step), 1e-4);
    }
}

TEST(ShapeEditing, ResizeScalesBoxAndLineWidth) {
    KVRectangleElementProperties p = Rect(10, 20, 30, 60);
    p.lineWidth = 4;
    p.SetRotationDegrees(15);
    KVRectangleElement e(p);
    e.Resize(2.0f, 0.5f, false);
    const KVRectangleElementProperties r = e.GetProperties();
    EXPECT_EQ(r.bounds, LBoundingBox2T<float>(20, 10, 60, 30));
    EXPECT_FLOAT_EQ(r.lineWidth, 5.0f);
    EXPECT_FLOAT_EQ(r.rotation, 15.0f);

    KVLineElementProperties lp;
    lp.start = {2, 4};
    lp.end = {6, 8};
    KVLineElement line(lp);
    line.Resize(3.0f, 1.0f, false);
    EXPECT_EQ(line.GetProperties().end, LPointTemplate<float>(18, 8));
    EXPECT_FLOAT_EQ(line.GetProperties().lineWidth, 2.0f);
}

TEST(ShapeEditing, CropMovesWithinTheGroup) {
    KVImage image("i", 100, 100, 72, LPixelColour());
    auto* e = new KVEllipseElement();
    KVEllipseElementProperties p;
    p.SetBounds({30, 40, 50, 60});
    e->SetProperties(p, false, nullptr);
    image.AddNewElement(e, image.GetFirstLayer(), false, false);
    image.Crop({10, 10, 90, 90}, true);
    EXPECT_EQ(e->GetProperties().bounds, LBoundingBox2T<float>(20, 30, 40, 50));
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(e->GetProperties().bounds, LBoundingBox2T<float>(30, 40, 50, 60));
}

struct FakeShapeWidget : KVElementWidget, KVShapeWidgetGeometry {
    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* x) const override { return x == element; }
    LBoundingBox2T<float> GetDimensions() const override { return box; }
    float GetRotation() const override { return rotation; }
    void SetShapeParameter(int v) override { parameter = v; }
    KVElement* element = nullptr;
    LBoundingBox2T<float> box;
    float rotation = 0;
    int parameter = -1;
};

TEST(ShapeEditing, UpdateRecordsOnlyRealChanges) {
    KVImage image("i", 100, 100, 72, LPixelColour());
    KVPolygonElementProperties p;
    p.sides = 5;
    p.SetBounds({0, 0, 10, 10});
    auto* e = new KVPolygonElement(p);
    image.AddNewElement(e, image.GetFirstLayer(), false, false);
    FakeShapeWidget w;
    w.element = e;
    w.box = {0, 0, 10, 10};
    EXPECT_FALSE(e->Update(&w));
    EXPECT_EQ(w.parameter, 5); // sides handed to the frame
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 0u);

    w.rotation = 90;
    EXPECT_TRUE(e->Update(&w));
    char name[260];
    image.GetUndoName(name);
    EXPECT_STREQ(name, "Polygon Modification");
    EXPECT_FLOAT_EQ(e->GetProperties().rotation, 90);
    EXPECT_FALSE(e->Update(nullptr));
}

TEST(ShapeEditing, PanelTakesAppearanceAndKeepsGeometry) {
    KVPolygonElementProperties own;
    own.SetBounds({5, 5, 25, 45});
    own.SetRotationDegrees(10);
    own.SetShadow(KVDropShadow());
    KVPolygonElement e(own);

    KVPolygonElementProperties panel;
    panel.lineWidth = 3;
    panel.sides = 8;
    panel.SetFill(LGuiColorAlpha(9, 9, 9, 255));
    panel.SetOuterGlow(KVGlow());
    e.SetPropertiesFromPanel(panel, false);

    const KVPolygonElementProperties r = e.GetProperties();
    EXPECT_EQ(r.bounds, own.bounds);
    EXPECT_FLOAT_EQ(r.rotation, 10);
    EXPECT_FLOAT_EQ(r.lineWidth, 3);
    EXPECT_TRUE(r.fill);
    EXPECT_FALSE(r.shadow); // absent from the panel: removed
    EXPECT_TRUE(r.outerGlow);
    EXPECT_EQ(r.sides, 8u);
    EXPECT_EQ(r.vertices.GetCount(), 8u);
}

TEST(ShapeEditing, PathCachingOnlyWithoutEffects) {
    KVRectangleElementProperties p = Rect(0, 0, 1, 1);
    p.SetShadow(KVDropShadow());
    KVRectangleElement e(p);
    EXPECT_FALSE(e.CanCacheAsPath());
    p.RemoveShadow();
    e.SetProperties(p, false, nullptr);
    EXPECT_TRUE(e.CanCacheAsPath());
    EXPECT_FALSE(KVLineElement().CanCacheAsPath());
}

TEST(ShapeEditing, LoadGradientReplacesTheFillWithoutUndo) {
    KVImage image("i", 100, 100, 72, LPixelColour());
    KVRectangleElementProperties p = Rect(0, 0, 1, 1);
    p.SetFill(LGuiColorAlpha(1, 1, 1, 255));
    auto* e = new KVRectangleElement(p);
    image.AddNewElement(e, image.GetFirstLayer(), false, false);
    e->LoadGradient(KVGradient());
    EXPECT_FALSE(e->GetProperties().fill);
    EXPECT_TRUE(e->GetProperties().gradient);
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 0u);
}

TEST(ShapeEditing, DuplicatesAreIndependentCopies) {
    KVTriangleElementProperties p;
    p.corner = 2;
    p.SetBounds({0, 0, 4, 4});
    KVTriangleElement e(p);
    std::unique_ptr<KVElement> copy(e.DuplicateSelf());
    auto* t = static_cast<KVTriangleElement*>(copy.get());
    EXPECT_EQ(t->GetProperties().corner, 2);
    EXPECT_STREQ(t->GetName(), "triangle");
    EXPECT_EQ(t->GetUndoRedoStack(), nullptr);
}

} // namespace

namespace {

TEST(ShapePaths, RotationTurnsTheRenderedBoxButNotTheBounds) {
    KVRectangleElementProperties p = Rect(0, 0, 40, 20);
    p.lineWidth = 0;
    KVRectangleElement e(p);
    EXPECT_EQ(e.GetRenderedDimensions(), LBoundingBox2T<float>(0, 0, 40, 20));
    p.SetRotationDegrees(90);
    e.SetProperties(p, false, nullptr);
    const LBoundingBox2T<float> r = e.GetRenderedDimensions();
    EXPECT_NEAR(r.x1, 10, 1e-3);
    EXPECT_NEAR(r.y1, -10, 1e-3);
    EXPECT_NEAR(r.x2, 30, 1e-3);
    EXPECT_NEAR(r.y2, 30, 1e-3);
    EXPECT_EQ(e.GetProperties().bounds, LBoundingBox2T<float>(0, 0, 40, 20));
}

TEST(ShapePaths, LineWidthWidensTheRenderedBox) {
    KVRectangleElementProperties p = Rect(10, 10, 20, 20);
    p.lineWidth = 4;
    const LBoundingBox2T<float> r = KVRectangleElement(p).GetRenderedDimensions();
    EXPECT_NEAR(r.x1, 8, 1e-3);
    EXPECT_NEAR(r.x2, 22, 1e-3);

    KVLineElementProperties lp;
    lp.start = {0, 5};
    lp.end = {10, 5};
    lp.lineWidth = 2;
    const LBoundingBox2T<float> l = KVLineElement(lp).GetRenderedDimensions();
    EXPECT_NEAR(l.y1, 4, 1e-3);
    EXPECT_NEAR(l.y2, 6, 1e-3);
}

TEST(ShapePaths, ConversionToAnEditablePath) {
    float width = 0;
    LGuiColor colour;
    KVRectangleElementProperties rp = Rect(0, 0, 10, 5);
    rp.lineWidth = 3;
    rp.lineColour = LGuiColorAlpha(200, 0, 0, 255);
    std::unique_ptr<KVDrawPath> path(
        KVRectangleElement(rp).ConvertToPath(640, 480, width, colour));
    ASSERT_TRUE(path);
    EXPECT_FLOAT_EQ(width, 3);
    EXPECT_EQ(colour.Red8(), 200);
    EXPECT_EQ(path->GetWidth(), 640u);
    // Top, right, bottom, left as separate sides: every corner twice.
    std::vector<std::pair<float, float>> points;
    for (const KVDrawCoord& c : path->GetCoords())
        points.push_back({c.x, c.y});
    EXPECT_EQ(points, (std::vector<std::pair<float, float>>{
                          {0, 0}, {10, 0}, {10, 0}, {10, 5}, {10, 5}, {0, 5}, {0, 5}, {0, 0}}));

    KVEllipseElementProperties ep;
    ep.SetBounds({0, 0, 10, 10});
    EXPECT_EQ(KVEllipseElement(ep).ConvertToPath(1, 1, width, colour), nullptr);
    EXPECT_EQ(KVLineElement().ConvertToPath(1, 1, width, colour), nullptr);

    KVPolygonElementProperties pp;
    pp.sides = 5;
    pp.SetBounds({0, 0, 10, 10});
    std::unique_ptr<KVDrawPath> poly(KVPolygonElement(pp).ConvertToPath(1, 1, width, colour));
    ASSERT_TRUE(poly);
    EXPECT_EQ(poly->GetCoords().GetCount(), 10u); // five sides of two points
}

TEST(ShapePaths, CachedFormCarriesPaintAndAnInnerFillOutline) {
    KVRectangleElementProperties p = Rect(0, 0, 20, 10);
    p.lineWidth = 4;
    p.SetFill(LGuiColorAlpha(0, 0, 255, 255));
    KVCachePath cache;
    KVRectangleElement(p).CreatePathCache(&cache);
    EXPECT_FLOAT_EQ(cache.lineWidth, 4);
    ASSERT_TRUE(cache.fillColour);
    EXPECT_EQ(cache.fillColour->Blue8(), 255);
    EXPECT_EQ(cache.GetBounds(), LBoundingBox2T<float>(0, 0, 20, 10));
    ASSERT_TRUE(cache.fillPath);
    EXPECT_EQ(cache.fillPath->GetBounds(), LBoundingBox2T<float>(2, 2, 18, 8));

    KVEllipseElementProperties ep;
    ep.SetBounds({0, 0, 20, 10});
    KVCachePath outlineOnly;
    KVEllipseElement(ep).CreatePathCache(&outlineOnly);
    EXPECT_FALSE(outlineOnly.fillPath);
    EXPECT_FALSE(outlineOnly.IsEmpty());
    KVEllipseElement(ep).CreatePathCache(nullptr); // ignored
}

TEST(ShapeErasing, StrokesFollowMovesScalesAndTurns) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.lineWidth = 2;
    p.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 5, 40, {}));
    EXPECT_EQ(p.strokes.GetFirst()->softnessRadius, 2u); // round(40% of 5)

    auto mapped = [&p](float x, float y) {
        p.strokes.GetFirst()->transform.TransformPoint(x, y);
        return std::make_pair(x, y);
    };
    p.SetRectangle({5, 5, 15, 15}); // moved
    EXPECT_EQ(mapped(0, 0), std::make_pair(5.0f, 5.0f));
    // Widened from 10 to 22: scaled by (22 + 2) / (10 + 2) about the outline's corner (4, 4).
    p.SetRectangle({5, 5, 27, 15});
    auto [x, y] = mapped(0, 0);
    EXPECT_NEAR(x, 4 + (5 - 4) * 2.0f, 1e-4);
    EXPECT_NEAR(y, 5, 1e-4);
    EXPECT_EQ(p.strokes.GetFirst()->path.GetCoords().GetCount(), 0u); // points stay as drawn

    KVRectangleElementProperties q = Rect(0, 0, 10, 10);
    q.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 5, 0, {}));
    q.SetRotationDegrees(90); // about the centre (5, 5)
    float rx = 10, ry = 5;
    q.strokes.GetFirst()->transform.TransformPoint(rx, ry);
    EXPECT_NEAR(rx, 5, 1e-4);
    EXPECT_NEAR(ry, 10, 1e-4); // clockwise on screen
}

} // namespace

namespace {

// A target without glow layers (the base's answer) still gets the body drawn.
struct NoGlowTarget : RecordingTarget {
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha, float) override { return nullptr; }
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha, float) override { return nullptr; }
};

TEST(ShapeDrive, ATargetWithoutGlowLayersDrawsTheBodyWithoutThem) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.SetInnerGlow(KVGlow());
    p.SetOuterGlow(KVGlow());
    KVRectangleElement e(p);
    NoGlowTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.Render(v, t), LProcessResultOk);
    EXPECT_EQ(t.Calls(), (std::vector<std::string>{"t0 DrawRect"}));
}

} // namespace
