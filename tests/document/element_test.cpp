#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "document/effects.h"
#include "document/project.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::BoxProperties;
using kvtest::RecordingTarget;

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
    char name[260];
    stack.GetItem(0)->GetName(name);
    EXPECT_STREQ(name, "Box Modification");

    LUndoRedoGroup group("g");
    p.box = {9, 9, 9, 9};
    loose.SetProperties(p, true, &group);
    EXPECT_EQ(group.GetNumItems(), 1u);
    EXPECT_EQ(stack.GetNumItems(), 1u);

    loose.SetProperties(p, false, &group);
    EXPECT_EQ(group.GetNumItems(), 1u);

    loose.GetCacheHandle().SetState(KVCacheHandle::Valid);
    stack.Undo();
    EXPECT_EQ(loose.GetProperties().box, LBoundingBox2T<float>(1, 2, 3, 4));
    EXPECT_FALSE(loose.GetCacheHandle().IsValid());
    stack.Redo();
    EXPECT_EQ(loose.GetProperties().box, LBoundingBox2T<float>(5, 6, 7, 8));
}

TEST(ElementProperties, RecordsAreDeepCopies) {
    BoxElement e;
    BoxProperties p = e.GetProperties();
    p.SetGradient(KVGradient());
    p.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 3, 10, LGuiColorAlpha(1, 2, 3, 255)));
    e.SetProperties(p, false, nullptr);
    p.gradient->radial = true;
    p.strokes.GetFirst()->width = 99;
    const BoxProperties stored = e.GetProperties();
    EXPECT_FALSE(stored.gradient->radial);
    EXPECT_FLOAT_EQ(stored.strokes.GetFirst()->width, 3);
}

TEST(ElementProperties, FillAndGradientExcludeEachOther) {
    BoxProperties p;
    p.SetGradient(KVGradient());
    p.SetFill(LGuiColorAlpha(1, 2, 3, 4));
    EXPECT_FALSE(p.gradient);
    ASSERT_TRUE(p.fill);
    p.SetGradient(KVGradient());
    EXPECT_FALSE(p.fill);
    EXPECT_TRUE(p.gradient);
}

TEST(ElementProperties, EraseStrokesStackNewestFirst) {
    BoxElement e;
    e.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 1, 0, {}), false, nullptr);
    e.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 2, 0, {}), false, nullptr);
    EXPECT_FLOAT_EQ(e.GetProperties().strokes.GetFirst()->width, 2);
}

TEST(CachedRender, PaintsThenWritesTheCacheAndLaterPlacesIt) {
    BoxElement e("e");
    e.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 1, 0, {}), false, nullptr);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultOk);
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"Draw e", "EraserStroke 1", "WriteCache"}));
    t.Calls().clear();
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultOk);
    // A hit paints the strokes over the cached picture.
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"GetFromCache", "EraserStroke 1"}));
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
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"Draw e", "EraserStroke 0"}));
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
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"Draw e"}));

    e.renderResult = LProcessResultOk;
    t.eraserResult = LProcessResultError;
    t.Calls().clear();
    EXPECT_EQ(e.CachedRender(v, t), LProcessResultError);
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"Draw e", "EraserStroke 0"}));
}

TEST(DropShadow, HardnessRadiusIsNeverZero) {
    KVDropShadow s;
    const LBoundingBox2T<float> box(0, 0, 100, 40);
    s.softness = 0;
    EXPECT_EQ(s.GetHardnessRadius(box), 1);
    s.softness = 5;
    EXPECT_EQ(s.GetHardnessRadius(box), 1); // 0.5 rounds up
    s.softness = 20;
    EXPECT_EQ(s.GetHardnessRadius(box), 2);
    s.softness = 400;
    EXPECT_EQ(s.GetHardnessRadius(box), 40);
    s.softness = -50;
    EXPECT_EQ(s.GetHardnessRadius(box), 1);
}

TEST(EffectDefaults, AsThePanelsOfferThem) {
    KVDropShadow s;
    EXPECT_EQ(s.size, 0);
    EXPECT_EQ(s.horizontalOffset, 5);
    EXPECT_EQ(s.verticalOffset, 5);
    EXPECT_EQ(s.softness, 5);
    EXPECT_EQ(KVBevelEmboss().size, 2);
    KVGlow g;
    EXPECT_EQ(g.colour, LGuiColorAlpha(LGuiColor(0, 0xFF00, 0), 255));
    EXPECT_FLOAT_EQ(g.strength, 10.0f);
}

std::vector<float> Positions(const KVGradient& g) {
    std::vector<float> out;
    for (unsigned long i = 0; i < g.GetStopCount(); ++i)
        out.push_back(g.GetStopPosition(i));
    return out;
}

TEST(Gradient, StopsAreClampedInsideTheEnds) {
    KVGradient g({0, 0}, {1, 1}, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(255, 255, 255, 255));
    EXPECT_EQ(g.AddStop(0.0f, {}), 1u);
    EXPECT_EQ(g.AddStop(1.0f, {}), 2u);
    EXPECT_EQ(g.AddStop(-4.0f, {}), 2u); // 0.01 again: behind the older 0.01
    EXPECT_EQ(Positions(g), (std::vector<float>{0.0f, 0.01f, 0.01f, 0.99f, 1.0f}));
}

TEST(Gradient, EqualPositionsKeepTheOlderStopFirst) {
    KVGradient g({0, 0}, {1, 1}, {}, {});
    g.AddStop(0.5f, LGuiColorAlpha(1, 0, 0, 255));
    EXPECT_EQ(g.AddStop(0.5f, LGuiColorAlpha(2, 0, 0, 255)), 2u);
    EXPECT_EQ(g.GetStopColor(1).Red8(), 1);
    EXPECT_EQ(g.GetStopColor(2).Red8(), 2);
}

TEST(Gradient, TheEleventhStopDoublesTheArrays) {
    KVGradient g({0, 0}, {1, 1}, {}, {});
    EXPECT_EQ(g.GetStopCapacity(), 10u);
    for (int i = 0; i < 8; ++i)
        g.AddStop(0.1f * static_cast<float>(i + 1), {});
    EXPECT_EQ(g.GetStopCount(), 10u);
    EXPECT_EQ(g.GetStopCapacity(), 10u);
    g.AddStop(0.95f, {});
    EXPECT_EQ(g.GetStopCount(), 11u);
    EXPECT_EQ(g.GetStopCapacity(), 20u);
    KVGradient copy(g);
    EXPECT_EQ(Positions(copy), Positions(g));
}

TEST(Gradient, NaNPassesTheClampsAndLandsAtTheEnd) {
    KVGradient g({0, 0}, {1, 1}, {}, {});
    EXPECT_EQ(g.AddStop(std::nanf(""), {}), 2u);
    EXPECT_TRUE(std::isnan(g.GetStopPosition(2)));
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
    g.SetColorStart(LGuiColorAlpha(6, 6, 6, 255));
    EXPECT_EQ(g.GetStopColor(1).Red8(), 7);
    EXPECT_EQ(g.GetStopColor(0).Red8(), 6);
}

} // namespace
