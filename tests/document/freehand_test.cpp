#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/cache_path.h"
#include "document/element_factory.h"
#include "document/freehand.h"
#include "document/project.h"
#include "document/widget.h"
#include "support/recording_target.h"
#include "support/process_log.h"

using kvtest::RecordingTarget;
using Calls = std::vector<std::string>;
using Points = std::vector<std::pair<float, float>>;

namespace {

// A zigzag of four points with four pressure levels, fitted: three segments.
KVDrawPath* Stroke(bool pressure = true) {
    auto* path = new KVDrawPath(200, 100, nullptr);
    for (auto [x, y] : Points{{10, 10}, {40, 30}, {70, 10}, {100, 30}})
        path->AddCoord(new KVDrawCoord(x, y));
    if (pressure) {
        const long levels[] = {10, 20, 30, 40};
        path->SetPressureLevels(levels, 4, 100);
    }
    InterpolateDrawPath(*path, 0.5f, false);
    return path;
}

template <class P> P WithStroke(P p, bool pressure = true) {
    p.path.Set(Stroke(pressure));
    return p;
}

Points PointsOf(const KVDrawElementBaseProperties& p) {
    Points out;
    for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it)
        out.push_back({it->x, it->y});
    return out;
}

TEST(FreehandDrive, EachKindAsksTheTargetForItsOwnBrush) {
    KVPencilElementProperties pencil;
    pencil.colour = LGuiColor::FromBytes(1, 2, 3);
    KVCrayonElementProperties crayon;
    crayon.colour = LGuiColorAlpha(4, 5, 6, 100);
    KVMarkerElementProperties marker;
    marker.shape = 3;
    KVBrushElementProperties brush;
    brush.softness = 25; // 2.5 of width 10, rounded away from zero
    KVBrushElementProperties wideBrush;
    wideBrush.softness = 300;
    wideBrush.width = 100; // 300 does not fit a byte: it wraps to 44
    KVSprayElementProperties spray;
    spray.brushType = KVBrushCrayonSmear;
    struct Case {
        std::function<KVElement*()> make;
        std::string call;
    } cases[] = {
        {[&] { return new KVPencilElement(WithStroke(pencil)); },
         "DrawPath type=7 segs=3 width=10 colour=1,2,3,255 blur=0 join=0 pressure=4"},
        {[&] { return new KVCrayonElement(WithStroke(crayon)); },
         "DrawPath type=4 segs=3 width=20 colour=4,5,6,100 blur=0 join=0 pressure=4"},
        {[&] { return new KVMarkerElement(WithStroke(marker)); },
         "DrawPath type=8 segs=3 width=20 colour=255,255,255,255 blur=0 join=0 pressure=-"},
        {[&] { return new KVBrushElement(WithStroke(brush)); },
         "DrawPath type=9 segs=3 width=10 colour=255,255,255,255 blur=3 join=0 pressure=4"},
        {[&] { return new KVBrushElement(WithStroke(wideBrush)); },
         "DrawPath type=9 segs=3 width=100 colour=255,255,255,255 blur=44 join=0 pressure=4"},
        {[&] { return new KVSprayElement(WithStroke(spray)); },
         "DrawPath type=5 segs=3 width=20 colour=255,255,255,255 blur=0 join=0 pressure=4"},
        {[&] { return new KVPenElement(WithStroke(KVPenElementProperties(), false)); },
         "DrawPath type=0 segs=3 width=1 colour=255,255,255,255 blur=0 join=2 pressure=-"},
        {[&] { return new KVPencilElement(); },
         "DrawPath type=7 segs=0 width=10 colour=0,0,0,255 blur=0 join=0 pressure=-"},
    };
    LProcessInterfaceVoid v;
    for (const Case& c : cases) {
        std::unique_ptr<KVElement> e(c.make());
        RecordingTarget t;
        EXPECT_EQ(e->Render(v, t), LProcessResultOk);
        EXPECT_EQ(t.Calls(), Calls{"t0 " + c.call}) << e->GetName();
        EXPECT_FALSE(e->CanCacheAsPath() && std::string(e->GetName()) != "pen");
    }
}

TEST(FreehandDrive, PenPaintsShadowFillStrokeAndBevelInThatOrder) {
    const std::string stroke = "DrawPath type=0 segs=3 width=1 colour=255,255,255,255 blur=0 join=2 pressure=-";
    KVPenElementProperties filled = WithStroke(KVPenElementProperties(), false);
    filled.SetShadow(KVDropShadow());
    filled.SetBevelEmboss(KVBevelEmboss());
    filled.SetFill(LGuiColorAlpha(1, 1, 1, 255));
    KVPenElementProperties outlined = filled;
    outlined.RemoveFill();
    outlined.RemoveShadow();
    KVPenElementProperties gradient = WithStroke(KVPenElementProperties(), false);
    gradient.SetGradient(KVGradient());
    struct Case {
        const char* what;
        KVPenElementProperties p;
        bool metadata;
        Calls calls;
    } cases[] = {
        {"a filled pen leaves the bevel to the fill", filled, true,
         {"DrawPathShadow type=0 filled", "FillPathBevelEmboss type=0", stroke,
          "Tag tolmar:shadow=5,5,5,0", "Tag tolmar:bevel=2"}},
        {"an outline bevels its stroke", outlined, false, {stroke, "DrawPathBevelEmboss type=0"}},
        {"a gradient fills without a bevel", gradient, false, {"FillPathGradient segs=3", stroke}},
    };
    LProcessInterfaceVoid v;
    for (const Case& c : cases) {
        RecordingTarget t;
        t.metadata = c.metadata;
        EXPECT_EQ(KVPenElement(c.p).Render(v, t), LProcessResultOk);
        EXPECT_EQ(t.CallsOf(0), c.calls) << c.what;
    }

    // A failing shadow ends the render; a stop asked for after it too.
    RecordingTarget failing;
    failing.drawResult = LProcessResultError;
    EXPECT_EQ(KVPenElement(filled).Render(v, failing), LProcessResultError);
    EXPECT_EQ(failing.CallsOf(0), Calls{"DrawPathShadow type=0 filled"});
    RecordingTarget stopped;
    kvtest::ProcessLog stop(0);
    EXPECT_EQ(KVPenElement(filled).Render(stop, stopped), LProcessResultStopped);
    EXPECT_EQ(stopped.CallsOf(0), Calls{"DrawPathShadow type=0 filled"});
}

TEST(FreehandDrive, PenProgressGivesTheRestToItsEffects) {
    KVPenElementProperties plain = WithStroke(KVPenElementProperties(), false);
    KVPenElementProperties effects = plain;
    effects.SetShadow(KVDropShadow());
    effects.SetBevelEmboss(KVBevelEmboss());
    KVPenElementProperties stamped = WithStroke(KVPenElementProperties(), true);
    struct Case {
        KVPenElementProperties p;
        std::vector<double> ends;
    } cases[] = {
        {plain, {0.05}},                  // the rest is nobody's: the bar stops short
        {stamped, {0.2}},                 // pressure makes the stroke weigh more
        {effects, {0.475, 0.525, 1.0}},   // shadow, stroke, bevel
    };
    for (const Case& c : cases) {
        RecordingTarget t;
        t.reportProgress = true;
        kvtest::ProcessLog log;
        KVPenElement(c.p).Render(log, t);
        ASSERT_EQ(log.progress.size(), c.ends.size());
        for (size_t i = 0; i < c.ends.size(); ++i)
            EXPECT_NEAR(log.progress[i], c.ends[i], 1e-9);
    }
}

TEST(FreehandDrive, OnlyAPlainEvenPenCachesAsAPath) {
    KVPenElementProperties p = WithStroke(KVPenElementProperties(), false);
    p.width = 3;
    p.joinStyle = 1;
    p.SetFill(LGuiColorAlpha(0, 0, 9, 255));
    KVPenElement pen(p);
    EXPECT_TRUE(pen.CanCacheAsPath());
    KVCachePath cache;
    pen.CreatePathCache(&cache);
    pen.CreatePathCache(nullptr);
    EXPECT_FLOAT_EQ(cache.lineWidth, 3);
    ASSERT_TRUE(cache.fillColour && cache.lineStyle);
    EXPECT_EQ(cache.lineStyle->startCap, 2);
    EXPECT_EQ(cache.lineStyle->endCap, 2);
    EXPECT_EQ(cache.lineStyle->join, 1);
    EXPECT_EQ(cache.GetBounds(), pen.GetPathDimensions());

    KVPenElementProperties pressed = WithStroke(KVPenElementProperties(), true);
    KVPenElementProperties calligraphy = p;
    calligraphy.penType = KVBrushCalligraphy;
    KVPenElementProperties shadowed = p;
    shadowed.SetShadow(KVDropShadow());
    for (const KVPenElementProperties& q : {pressed, calligraphy, shadowed})
        EXPECT_FALSE(KVPenElement(q).CanCacheAsPath());
}

TEST(FreehandDrive, ASimplePathFillsItsOutlineElseItsPoints) {
    KVSimplePathElementProperties p;
    KVDrawPath path(10, 10, nullptr);
    for (auto [x, y] : Points{{0, 0}, {5, 0}, {5, 5}})
        path.AddCoord(new KVDrawCoord(x, y));
    p.SetPath(path);
    EXPECT_EQ(p.outline.GetBounds(), LBoundingBox2T<float>(0, 0, 5, 5));
    KVSimplePathElement e(p);
    LProcessInterfaceVoid v;
    RecordingTarget outlines, points, neither;
    outlines.fillsOutlines = true;
    points.fillsPoints = true;
    EXPECT_EQ(e.Render(v, outlines), LProcessResultOk);
    EXPECT_EQ(outlines.Calls(), Calls{"t0 FastFillPath outline"});
    EXPECT_EQ(e.Render(v, points), LProcessResultOk);
    EXPECT_EQ(e.Render(v, neither), LProcessResultError);
    EXPECT_EQ(neither.Calls(), (Calls{"t0 FastFillPath outline", "t0 FastFillPath points=3"}));
    EXPECT_EQ(e.GetRenderedDimensions(), LBoundingBox2T<float>());
}

TEST(FreehandKinds, KeysNamesAndCopies) {
    for (const char* key : {"pen", "pencil", "crayon", "marker", "brush", "spray"}) {
        std::unique_ptr<KVElement> e(KVCreateElement(key));
        ASSERT_TRUE(e) << key;
        EXPECT_STREQ(e->GetName(), key);
        std::unique_ptr<KVElement> copy(e->DuplicateSelf());
        EXPECT_STREQ(copy->GetName(), key);
        float width = 0;
        LGuiColor colour;
        EXPECT_EQ(e->ConvertToPath(10, 10, width, colour), nullptr); // already a path
    }
    EXPECT_EQ(KVCreateElement("simplepath"), nullptr);
    EXPECT_STREQ(KVSprayElement().GetDisplayName(), "Spray Paint Stroke");
}

TEST(FreehandKinds, ANewStrokeIsThinnedOnceAndThePanelKeepsItsPath) {
    KVPencilElementProperties panel;
    panel.curviness = 1.0f;
    LPtr<KVDrawPath> captured(new KVDrawPath(100, 100, nullptr));
    for (auto [x, y] : Points{{0, 0}, {1, 0}, {2, 0}, {10, 0}, {10, 1}, {30, 40}})
        captured->AddCoord(new KVDrawCoord(x, y));
    KVPencilElement pencil(captured, panel);
    EXPECT_FALSE(captured); // taken over
    EXPECT_EQ(PointsOf(pencil.GetProperties()), (Points{{0, 0}, {10, 0}, {10, 1}, {30, 40}}));

    KVPencilElementProperties other;
    other.curviness = 0.2f;
    other.width = 4;
    other.colour = LGuiColor::FromBytes(9, 9, 9);
    pencil.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 2, 0, {}), false, nullptr);
    pencil.SetPropertiesFromPanel(other, false);
    const KVPencilElementProperties r = pencil.GetProperties();
    EXPECT_FLOAT_EQ(r.curviness, 0.2f);
    EXPECT_FLOAT_EQ(r.width, 4);
    EXPECT_EQ(r.colour, other.colour);
    EXPECT_EQ(PointsOf(r).size(), 4u);
    EXPECT_EQ(r.strokes.GetCount(), 1u);
}

struct BorderFactory : KVPathWidgetFactory {
    KVElementWidget* MakePathWidget(KVElement*, int border, const LBoundingBox2T<float>&,
                                    const KVDrawPath* path, float) override {
        made.push_back({border, path ? path->GetCoords().GetCount() : 0});
        return nullptr;
    }
    std::vector<std::pair<int, unsigned long>> made;
};

TEST(FreehandKinds, WidgetsComeFromTheInstalledFactory) {
    EXPECT_EQ(KVPencilElement().GetWidget(), nullptr); // headless: no factory, no widget
    BorderFactory factory;
    KVSetPathWidgetFactory(&factory);
    KVBrushElementProperties brush = WithStroke(KVBrushElementProperties());
    brush.width = 7.5f;
    KVPenElementProperties pen = WithStroke(KVPenElementProperties());
    pen.width = 12;
    KVBrushElement(brush).GetWidget();
    KVPenElement(pen).GetWidget(); // a pen's frame hugs the path
    KVSprayElement().GetWidget();
    KVSetPathWidgetFactory(nullptr);
    EXPECT_EQ(factory.made, (std::vector<std::pair<int, unsigned long>>{{8, 4}, {1, 4}, {20, 0}}));
}

// ---------------------------------------------------------------- editing

struct FakePathWidget : KVElementWidget, KVPathWidgetGeometry {
    void Draw(KVWidgetPaint&) const override {}
    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* x) const override { return x == element; }
    LBoundingBox2T<float> GetDimensions() const override { return box; }
    bool ArePointsChanged() const override { return pointsChanged; }
    bool IsPathDistorted() const override { return distorted; }
    float GetRotation() const override { return rotation; }
    int GetActivePoint() const override { return active; }
    unsigned long GetPointCount() const override { return points.size(); }
    LPointTemplate<float> GetPoint(unsigned long i) const override { return points[i]; }
    unsigned long GetControlCount() const override { return controls.size(); }
    LPointTemplate<float> GetControl(unsigned long i, int which) const override {
        return which == 0 ? controls[i].first : controls[i].second;
    }
    void SetPath(const KVDrawPath& path, float width) override {
        handedBack = path.GetCoords().GetCount();
        handedWidth = width;
    }
    void SetDimensions(const LBoundingBox2T<float>& b) override { box = b; }
    void ClearEdits() override { pointsChanged = distorted = false, rotation = 0; }

    // Takes the element's path as it stands, as the frame shows it.
    void Show(KVPencilElement& e) {
        element = &e;
        box = e.GetPathDimensions();
        points.clear();
        controls.clear();
        const KVPencilElementProperties p = e.GetProperties();
        for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it) {
            points.push_back({it->x, it->y});
            controls.push_back({{it->beforeX, it->beforeY}, {it->afterX, it->afterY}});
        }
    }

    KVElement* element = nullptr;
    LBoundingBox2T<float> box;
    bool pointsChanged = false, distorted = false;
    float rotation = 0;
    int active = -1;
    std::vector<LPointTemplate<float>> points;
    std::vector<std::pair<LPointTemplate<float>, LPointTemplate<float>>> controls;
    unsigned long handedBack = 0;
    float handedWidth = 0;
};

KVPencilElementProperties StraightPencil() {
    KVPencilElementProperties p;
    p.curviness = 0;
    p.path.Set(new KVDrawPath(100, 100, nullptr));
    for (auto [x, y] : Points{{10, 10}, {30, 10}, {30, 20}})
        p.path->AddCoord(new KVDrawCoord(x, y));
    return p;
}

struct FreehandEditing : testing::Test {
    KVImage image{"i", 100, 100, 72, LPixelColour()};
    KVPencilElement* pencil = new KVPencilElement(StraightPencil());
    FakePathWidget widget;
    void SetUp() override {
        image.AddNewElement(pencil, image.GetFirstLayer(), false, false);
        widget.Show(*pencil);
    }
    Points Now() const { return PointsOf(pencil->GetProperties()); }
    std::string UndoName() const {
        char name[kLFixedStringSize];
        image.GetUndoName(name);
        return name;
    }
};

TEST_F(FreehandEditing, ResizeAndCropMoveThePointsWithUndoWhereAsked) {
    pencil->Resize(2.0f, 0.5f, true);
    EXPECT_EQ(Now(), (Points{{20, 5}, {60, 5}, {60, 10}}));
    EXPECT_FLOAT_EQ(pencil->GetProperties().width, 12.5f);
    const LBoundingBox2T<float> r = pencil->GetRenderedDimensions();
    EXPECT_EQ(r, LBoundingBox2T<float>(20 - 6.25f, 5 - 6.25f, 60 + 6.25f, 10 + 6.25f));
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Now(), (Points{{10, 10}, {30, 10}, {30, 20}}));

    pencil->Crop({5, 5, 50, 50}, nullptr); // no group: no undo
    EXPECT_EQ(Now(), (Points{{5, 5}, {25, 5}, {25, 15}}));
    LUndoRedoGroup group("crop");
    pencil->Crop({5, 5, 50, 50}, &group);
    EXPECT_EQ(group.GetNumItems(), 1u);
    group.Undo();
    EXPECT_EQ(Now(), (Points{{5, 5}, {25, 5}, {25, 15}}));
}

TEST_F(FreehandEditing, AnUnchangedFrameChangesNothing) {
    EXPECT_FALSE(pencil->Update(&widget));
    EXPECT_FALSE(pencil->Update(nullptr));
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 0u);
}

TEST_F(FreehandEditing, AMovedAndStretchedFrameTakesPointsAndStrokesInOneStep) {
    KVDrawPath mark(100, 100, nullptr);
    pencil->AddEraserStroke(KVEraserStroke(mark, 2, 0, {}), false, nullptr);
    widget.box = {20, 20, 60, 40}; // from 10,10 - 30,20: moved by 10 and doubled
    EXPECT_TRUE(pencil->Update(&widget));
    EXPECT_EQ(Now(), (Points{{20, 20}, {60, 20}, {60, 40}}));
    EXPECT_EQ(widget.handedBack, 3u);
    EXPECT_FLOAT_EQ(widget.handedWidth, 10);
    float x = 10, y = 10;
    pencil->GetProperties().strokes.GetFirst()->transform.TransformPoint(x, y);
    EXPECT_EQ(std::make_pair(x, y), std::make_pair(20.0f, 20.0f));
    EXPECT_EQ(UndoName(), "Pencil Stroke Modification");
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 1u);
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Now(), (Points{{10, 10}, {30, 10}, {30, 20}}));
}

TEST_F(FreehandEditing, RotationDistortionAndPointEditsComeFromTheWidget) {
    struct Case {
        const char* what;
        std::function<void(FakePathWidget&)> edit;
        bool changed;
        Points after;
    } cases[] = {
        {"a quarter turn about the frame's centre (20, 15)",
         [](FakePathWidget& w) { w.rotation = 90; }, true, {{25, 5}, {25, 25}, {15, 25}}},
        {"a distortion takes every point",
         [](FakePathWidget& w) {
             w.distorted = true;
             w.points[2] = {40, 40};
         },
         true, {{10, 10}, {30, 10}, {40, 40}}},
        {"a moved point", [](FakePathWidget& w) {
             w.pointsChanged = true;
             w.active = 1;
             w.points[1] = {31, 12};
         },
         true, {{10, 10}, {31, 12}, {30, 20}}},
        {"a deleted point", [](FakePathWidget& w) {
             w.pointsChanged = true;
             w.active = 0;
             w.points.erase(w.points.begin());
         },
         true, {{30, 10}, {30, 20}}},
        {"a point edit that changed nothing", [](FakePathWidget& w) {
             w.pointsChanged = true;
             w.active = 1;
         },
         false, {{10, 10}, {30, 10}, {30, 20}}},
    };
    for (const Case& c : cases) {
        pencil->SetProperties(StraightPencil(), false, nullptr);
        widget.Show(*pencil);
        c.edit(widget);
        EXPECT_EQ(pencil->Update(&widget), c.changed) << c.what;
        const Points now = Now();
        ASSERT_EQ(now.size(), c.after.size()) << c.what;
        for (size_t i = 0; i < now.size(); ++i) {
            EXPECT_NEAR(now[i].first, c.after[i].first, 1e-4) << c.what;
            EXPECT_NEAR(now[i].second, c.after[i].second, 1e-4) << c.what;
        }
        EXPECT_FALSE(widget.pointsChanged || widget.distorted || widget.rotation != 0) << c.what;
    }

    // A changed control: only the first pair that differs is taken.
    pencil->SetProperties(StraightPencil(), false, nullptr);
    widget.Show(*pencil);
    widget.pointsChanged = true;
    widget.active = 1;
    widget.controls[1] = {{28, 8}, {33, 11}};
    EXPECT_TRUE(pencil->Update(&widget));
    const KVPencilElementProperties edited = pencil->GetProperties();
    const KVDrawCoord* c = edited.path->GetCoords().GetAt(1);
    EXPECT_EQ(std::vector<float>({c->beforeX, c->beforeY, c->afterX, c->afterY}),
              std::vector<float>({28, 8, 30, 10}));
}

} // namespace
