#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "document/cache_path.h"
#include "target/draw_path.h"
#include "document/project.h"
#include "document/shapes.h"
#include "document/widget.h"
#include "support/recording_target.h"
#include "support/process_log.h"

using kvtest::RecordingTarget;
using Calls = std::vector<std::string>;

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

TEST(ShapeDrive, EachShapeUsesItsOwnOperations) {
    LProcessInterfaceVoid v;
    RecordingTarget plain;
    EXPECT_EQ(KVRectangleElement(Rect(10, 10, 20, 20)).Render(v, plain), LProcessResultOk);
    EXPECT_EQ(plain.Calls(), Calls{"t0 DrawRect"});

    KVRectangleElementProperties g = Rect(0, 0, 10, 10);
    g.SetGradient(KVGradient());
    g.SetBevelEmboss(KVBevelEmboss());
    KVTriangleElementProperties tp;
    tp.SetBounds({0, 0, 10, 10});
    tp.SetFill(LGuiColorAlpha(0, 0, 0, 255));
    KVPolygonElementProperties pp;
    pp.sides = 6;
    pp.SetBounds({0, 0, 10, 10});
    pp.SetShadow(KVDropShadow());
    KVLineElementProperties lp;
    lp.startCap = KVLineCapRound;   // 2
    lp.endCap = KVLineCapDiamond;   // 4
    lp.dashStyle = 3;
    RecordingTarget t;
    KVRectangleElement(g).Render(v, t);
    KVTriangleElement(tp).Render(v, t);
    KVPolygonElement(pp).Render(v, t);
    KVLineElement(lp).Render(v, t);
    // Gradient first in the body, fill first in the bevel; triangles forward to the polygon
    // operations in the base target; the line hands its caps over crossed.
    EXPECT_EQ(t.CallsOf(0), (Calls{"FillRectGradient", "FillRectBevelEmbossGradient", "FillPoly 3",
                                   "DrawPolyShadow 6", "DrawPoly 6", "DrawLine 4 2 3"}));
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
    EXPECT_EQ(t.Calls(), (Calls{"t0 BeginRotate 30 (20,10) -> t1", "t1 DrawRectShadow",
                                "t1 BeginOuterGlow 4 -> t2", "t2 BeginInnerGlow 10 -> t3",
                                "t3 FillRect", "t3 FillRectBevelEmboss", "t2 FinishInnerGlow",
                                "t1 FinishOuterGlow", "t0 FinishRotate"}));

    // A failing step ends the render: no glow is opened, nothing is finished.
    RecordingTarget failing;
    failing.drawResult = LProcessResultStopped;
    EXPECT_EQ(e.Render(v, failing), LProcessResultStopped);
    EXPECT_EQ(failing.Calls(), (Calls{"t0 BeginRotate 30 (20,10) -> t1", "t1 DrawRectShadow"}));
}

// A target without glow layers (the base's answer) still gets the body drawn.
struct NoGlowTarget : RecordingTarget {
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha, float) override { return nullptr; }
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha, float) override { return nullptr; }
};

TEST(ShapeDrive, ATargetWithoutGlowLayersDrawsTheBodyWithoutThem) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.SetInnerGlow(KVGlow());
    p.SetOuterGlow(KVGlow());
    NoGlowTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(KVRectangleElement(p).Render(v, t), LProcessResultOk);
    EXPECT_EQ(t.Calls(), Calls{"t0 DrawRect"});
}

TEST(ShapeDrive, TagsOnlyForTargetsThatKeepMetadata) {
    KVEllipseElementProperties p;
    p.SetBounds({0, 0, 10, 10});
    KVDropShadow s;
    s.softness = 7;
    s.size = 2;
    p.SetShadow(s);
    p.SetInnerGlow(KVGlow{LGuiColorAlpha(255, 128, 0, 255), 2.5f});
    KVEllipseElement e(p);
    LProcessInterfaceVoid v;
    RecordingTarget plain, svg;
    e.Render(v, plain);
    for (const std::string& c : plain.Calls())
        EXPECT_EQ(c.find("Tag"), std::string::npos) << c;
    svg.metadata = true;
    e.Render(v, svg);
    EXPECT_EQ(svg.Calls(), (Calls{"t0 DrawEllipseShadow", "t0 BeginInnerGlow 2.5 -> t1",
                                  "t1 DrawEllipse", "t1 Tag tolmar:shadow=7,5,5,2",
                                  "t1 Tag tolmar:innerglow=2.500,rgb(255,128,0)",
                                  "t0 FinishInnerGlow"}));
}

TEST(ShapeDrive, ProgressWeightsGiveAbsentEffectsNoShare) {
    KVRectangleElementProperties p = Rect(0, 0, 10, 10);
    p.SetShadow(KVDropShadow());
    p.SetBevelEmboss(KVBevelEmboss());
    RecordingTarget t;
    t.reportProgress = true;
    kvtest::ProcessLog log;
    KVRectangleElement(p).Render(log, t);
    // shadow 5, body 1, bevel 3 of 9: the slices end at 5/9, 6/9 and 9/9.
    ASSERT_EQ(log.progress.size(), 3u);
    EXPECT_DOUBLE_EQ(log.progress[0], 5.0 / 9.0);
    EXPECT_DOUBLE_EQ(log.progress[1], 6.0 / 9.0);
    EXPECT_DOUBLE_EQ(log.progress[2], 1.0);
}

TEST(ShapeGeometry, TriangleCornersAndPolygonVertices) {
    KVTriangleElementProperties p;
    p.SetBounds({1, 2, 3, 4});
    LPointTemplate<float> v[3];
    p.corner = 2;
    p.GetPoints(v);
    EXPECT_EQ(v[0], LPointTemplate<float>(3, 2));
    EXPECT_EQ(v[1], LPointTemplate<float>(1, 2));
    EXPECT_EQ(v[2], LPointTemplate<float>(1, 4));
    p.corner = 7; // from a damaged file
    p.GetPoints(v);
    for (auto& pt : v)
        EXPECT_EQ(pt, LPointTemplate<float>(0, 0));

    KVPolygonElementProperties pp;
    pp.sides = 5;
    pp.SetBounds({0, 0, 100, 50});
    ASSERT_EQ(pp.vertices.GetCount(), 5u);
    // Vertex 0, the bottom centre, comes last.
    EXPECT_EQ(pp.vertices[4], LPointTemplate<float>(50, 50));
    const double step = 6.2831855f / 5;
    EXPECT_NEAR(pp.vertices[0].x, 50 + 50 * std::sin(4 * step), 1e-4);
    EXPECT_NEAR(pp.vertices[0].y, 25 + 25 * std::cos(4 * step), 1e-4);
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

struct FakeShapeWidget : KVElementWidget, KVShapeWidgetGeometry {
    void Draw(KVWidgetPaint&) const override {}
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

TEST(ShapeEditing, UpdateRecordsOnlyRealChangesAndGradientsSkipUndo) {
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

    e->LoadGradient(KVGradient());
    EXPECT_FALSE(e->GetProperties().fill);
    EXPECT_TRUE(e->GetProperties().gradient);
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 1u);
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
    EXPECT_EQ(r.vertices.GetCount(), 8u);
    EXPECT_FALSE(e.CanCacheAsPath()); // has effects
}

TEST(ShapePaths, RenderedBoxTurnsAndWidensButBoundsStay) {
    KVRectangleElementProperties p = Rect(0, 0, 40, 20);
    p.lineWidth = 4;
    p.SetRotationDegrees(90);
    KVRectangleElement e(p);
    const LBoundingBox2T<float> r = e.GetRenderedDimensions();
    EXPECT_NEAR(r.x1, 8, 1e-3);
    EXPECT_NEAR(r.y1, -12, 1e-3);
    EXPECT_NEAR(r.x2, 32, 1e-3);
    EXPECT_NEAR(r.y2, 32, 1e-3);
    EXPECT_EQ(e.GetProperties().bounds, LBoundingBox2T<float>(0, 0, 40, 20));
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
}

TEST(ShapePaths, CachedFormCarriesPaintAndAnInnerFillOutline) {
    KVRectangleElementProperties p = Rect(0, 0, 20, 10);
    p.lineWidth = 4;
    p.SetFill(LGuiColorAlpha(0, 0, 255, 255));
    KVRectangleElement e(p);
    EXPECT_TRUE(e.CanCacheAsPath());
    EXPECT_FALSE(KVLineElement().CanCacheAsPath());
    KVCachePath cache;
    e.CreatePathCache(&cache);
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

    KVRectangleElementProperties q = Rect(0, 0, 10, 10);
    q.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 5, 0, {}));
    q.SetRotationDegrees(90); // about the centre (5, 5)
    float rx = 10, ry = 5;
    q.strokes.GetFirst()->transform.TransformPoint(rx, ry);
    EXPECT_NEAR(rx, 5, 1e-4);
    EXPECT_NEAR(ry, 10, 1e-4); // clockwise on screen
}

} // namespace
