#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "target/effects.h"
#include "document/project.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::BoxProperties;
using kvtest::RecordingTarget;
using Calls = std::vector<std::string>;

namespace {

TEST(ElementProperties, UndoItemGoesToTheGroupOrTheStackOrNowhere) {
    BoxElement loose("loose");
    BoxProperties p = loose.GetProperties();
    p.box = {1, 2, 3, 4};
    loose.SetProperties(p, true, nullptr); // no stack yet: changed, nothing recorded
    EXPECT_EQ(loose.GetProperties().box, LBoundingBox2T<float>(1, 2, 3, 4));

    LUndoRedoStack stack;
    loose.SetUndoRedoStack(&stack);
    p.box = {5, 6, 7, 8};
    loose.SetProperties(p, true, nullptr);
    EXPECT_EQ(stack.GetNumItems(), 1u);

    LUndoRedoGroup group("g");
    p.box = {9, 9, 9, 9};
    loose.SetProperties(p, true, &group);
    loose.SetProperties(p, false, &group);
    EXPECT_EQ(group.GetNumItems(), 1u);
    EXPECT_EQ(stack.GetNumItems(), 1u);

    loose.GetCacheHandle().SetState(KVCacheHandle::Valid);
    stack.Undo();
    EXPECT_EQ(loose.GetProperties().box, LBoundingBox2T<float>(1, 2, 3, 4));
    EXPECT_FALSE(loose.GetCacheHandle().IsValid());
    stack.Redo();
    EXPECT_EQ(loose.GetProperties().box, LBoundingBox2T<float>(5, 6, 7, 8));
}

TEST(ElementProperties, RecordsAreDeepCopiesAndFillExcludesGradient) {
    BoxElement e;
    BoxProperties p = e.GetProperties();
    p.SetFill(LGuiColorAlpha(1, 2, 3, 4));
    p.SetGradient(KVGradient());
    EXPECT_FALSE(p.fill);
    p.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 3, 10, LGuiColorAlpha(1, 2, 3, 255)));
    p.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 4, 10, LGuiColorAlpha(1, 2, 3, 255)));
    e.SetProperties(p, false, nullptr);
    p.gradient->radial = true;
    p.strokes.GetFirst()->width = 99;
    const BoxProperties stored = e.GetProperties();
    EXPECT_FALSE(stored.gradient->radial);
    EXPECT_FLOAT_EQ(stored.strokes.GetFirst()->width, 4); // newest first
    p.SetFill(LGuiColorAlpha(1, 2, 3, 4));
    EXPECT_FALSE(p.gradient);
}

TEST(CachedRender, PaintsThenWritesTheCacheAndLaterPlacesIt) {
    BoxElement e("e");
    e.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 1, 0, {}), false, nullptr);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultOk);
    EXPECT_EQ(t.CallsOf(0), (Calls{"Draw e", "EraserStroke 1", "WriteCache"}));
    t.Calls().clear();
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultOk);
    // A hit paints the strokes over the cached picture.
    EXPECT_EQ(t.CallsOf(0), (Calls{"GetFromCache", "EraserStroke 1"}));
}

TEST(CachedRender, ChangeDuringPaintingKeepsTheStalePictureOut) {
    BoxElement e("e");
    e.duringRender = [&e] {
        BoxProperties p = e.GetProperties();
        p.lineWidth = 7;
        e.SetProperties(p, false, nullptr);
    };
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultOk);
    EXPECT_EQ(t.CallsOf(0), (Calls{"Draw e", "EraserStroke 0"}));
    EXPECT_FALSE(e.GetCacheHandle().IsValid());

    e.duringRender = nullptr;
    t.Calls().clear();
    e.CachedRender(v, t); // paints afresh
    EXPECT_EQ(t.CallsOf(0).front(), "Draw e");
    EXPECT_TRUE(e.GetCacheHandle().IsValid());
}

TEST(CachedRender, FailuresEndTheRenderBeforeTheCache) {
    BoxElement e("e");
    e.renderResult = LProcessResultStopped;
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultStopped);
    EXPECT_EQ(t.CallsOf(0), Calls{"Draw e"});

    e.renderResult = LProcessResultOk;
    t.eraserResult = LProcessResultError;
    t.Calls().clear();
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultError);
    EXPECT_EQ(t.CallsOf(0), (Calls{"Draw e", "EraserStroke 0"}));
}

TEST(DropShadow, HardnessRadiusIsNeverZero) {
    KVDropShadow s;
    const LBoundingBox2T<float> box(0, 0, 100, 40);
    for (auto [softness, radius] : {std::pair{-50, 1}, {0, 1}, {5, 1}, {20, 2}, {400, 40}}) {
        s.softness = softness;
        EXPECT_EQ(s.GetHardnessRadius(box), radius) << softness;
    }
}

std::vector<float> Positions(const KVGradient& g) {
    std::vector<float> out;
    for (unsigned long i = 0; i < g.GetStopCount(); ++i)
        out.push_back(g.GetStopPosition(i));
    return out;
}

TEST(Gradient, StopsAreClampedInsideTheEndsAndEqualOnesKeepTheirOrder) {
    KVGradient g({0, 0}, {1, 1}, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(255, 255, 255, 255));
    EXPECT_EQ(g.AddStop(0.0f, LGuiColorAlpha(1, 0, 0, 255)), 1u);
    EXPECT_EQ(g.AddStop(1.0f, {}), 2u);
    EXPECT_EQ(g.AddStop(-4.0f, LGuiColorAlpha(2, 0, 0, 255)), 2u); // behind the older 0.01
    EXPECT_EQ(Positions(g), (std::vector<float>{0.0f, 0.01f, 0.01f, 0.99f, 1.0f}));
    EXPECT_EQ(g.GetStopColor(1).Red8(), 1);
    EXPECT_EQ(g.GetStopColor(2).Red8(), 2);
    EXPECT_EQ(g.AddStop(std::nanf(""), {}), 5u); // NaN passes the clamps: lands at the end
    EXPECT_TRUE(std::isnan(g.GetStopPosition(5)));
}

TEST(Gradient, StopsPastTheFirstTenAreKeptAndCopied) {
    KVGradient g({0, 0}, {1, 1}, {}, {});
    for (int i = 0; i < 20; ++i)
        g.AddStop(0.04f * static_cast<float>(i + 1), {});
    ASSERT_EQ(g.GetStopCount(), 22u);
    EXPECT_FLOAT_EQ(g.GetStopPosition(20), 0.8f);
    KVGradient copy(g);
    EXPECT_EQ(Positions(copy), Positions(g));
}

TEST(Gradient, IndexesBeyondTheCountAreIgnored) {
    KVGradient g({0, 0}, {1, 1}, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(9, 9, 9, 255));
    g.AddStop(0.5f, LGuiColorAlpha(5, 5, 5, 255));
    g.SetStopColor(7, LGuiColorAlpha(1, 1, 1, 1));
    g.RemoveStop(7);
    EXPECT_EQ(g.GetStopCount(), 3u);
    g.RemoveStop(1);
    EXPECT_EQ(Positions(g), (std::vector<float>{0.0f, 1.0f}));
    g.SetColorEnd(LGuiColorAlpha(7, 7, 7, 255));
    EXPECT_EQ(g.GetStopColor(1).Red8(), 7);
}

} // namespace
