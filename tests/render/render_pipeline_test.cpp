#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/project.h"
#include "render/render_results.h"
#include "support/recording_target.h"
#include "support/process_log.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::RecordingTarget;

namespace {

TEST(SubInterfaceCreator, SlicesFollowTheWeightsAndAbsentEffectsTakeNoShare) {
    kvtest::ProcessLog root;
    KVSubInterfaceCreator creator(root, 5);
    const unsigned char weights[5] = {5, 1, 0, 7, 0}; // shadow, body, no bevel, inner glow
    for (int i = 0; i < 5; ++i)
        creator.weights[i] = weights[i];
    creator.GetSubInterface(0).SetProgress(0.5);
    creator.GetSubInterface(1).SetProgress(1.0);
    creator.GetSubInterface(2).SetProgress(1.0); // a slice of nothing
    creator.GetSubInterface(3).SetProgress(0.0);
    creator.GetSubInterface(3).SetProgress(1.0);
    EXPECT_EQ(root.progress.size(), 5u);
    EXPECT_DOUBLE_EQ(root.progress[0], 2.5 / 13.0);
    for (int i = 1; i < 4; ++i)
        EXPECT_DOUBLE_EQ(root.progress[i], 6.0 / 13.0);
    EXPECT_DOUBLE_EQ(root.progress[4], 1.0);
}

TEST(TriangleOperations, ForwardToThePolygonsWithThreePoints) {
    RecordingTarget t;
    LProcessInterfaceVoid v;
    const KVBox box(0, 0, 1, 1);
    const KVPoint a(0, 1), b(1, 1), c(0, 0);
    t.DrawTriangle(v, 1, {}, a, b, c, box);
    t.FillTriangle(v, 1, {}, {}, a, b, c, box);
    t.FillTriangle(v, KVGradient(), 1, {}, a, b, c, box);
    t.DrawTriangleShadow(v, a, b, c, box, 1, true, KVDropShadow());
    t.DrawTriangleBevelEmboss(v, 1, {}, a, b, c, box, KVBevelEmboss());
    t.FillTriangleBevelEmboss(v, 1, {}, {}, a, b, c, box, KVBevelEmboss());
    t.FillTriangleBevelEmboss(v, KVGradient(), 1, {}, a, b, c, box, KVBevelEmboss());
    EXPECT_EQ(t.CallsOf(0),
              (std::vector<std::string>{"DrawPoly 3", "FillPoly 3", "FillPolyGradient 3",
                                        "DrawPolyShadow 3", "DrawPolyBevelEmboss 3",
                                        "FillPolyBevelEmboss 3", "FillPolyBevelEmbossGradient 3"}));
}

TEST(RenderResults, ProcessRendersTheProjectIntoItsTarget) {
    KVProject project;
    KVLayer* layer = project.AddNewImage(new KVImage("pic"));
    project.GetCurrentImage()->AddNewElement(new BoxElement("a"), layer, false, false);

    KVRenderResults results;
    results.project = &project;
    LProcessInterfaceVoid v;
    EXPECT_EQ(Process(v, results), LProcessResultError); // no target

    auto* target = new RecordingTarget;
    results.target.Set(target);
    EXPECT_EQ(Process(v, results), LProcessResultOk);
    EXPECT_EQ(target->CallsOf(0), (std::vector<std::string>{"Draw a", "EraserStroke 0",
                                                            "WriteCache", "Flush"}));
}

} // namespace

namespace {

struct TextLinesTest : testing::Test {
    LList<LStringLongListable> lines;
    RecordingTarget t;
    kvtest::ProcessLog log;

    void Add(const char* text) { lines.PushBack(new LStringLongListable(text)); }
    LProcessResult Draw(KVBox box, float spacing = 1.0f) {
        return t.DrawTextLines(log, lines, 20, false, false, false, "DejaVu Sans", LAlignmentXLeft,
                               spacing, LGuiColorAlpha(0, 0, 0, 255), box);
    }
};

TEST_F(TextLinesTest, LinesGoDownByTheSpacingTimesOneLineHeight) {
    Add("one");
    Add("two");
    Add("three");
    float height = 0;
    ASSERT_EQ(t.GetTextHeight(height, {0, 0, 100, 1000}, "test\n", "DejaVu Sans", 20, false, false,
                              false, LAlignmentXLeft),
              LProcessResultOk);
    float single = 0;
    t.GetTextHeight(single, {0, 0, 100, 1000}, "test", "DejaVu Sans", 20, false, false, false,
                    LAlignmentXLeft);
    EXPECT_GT(height, 15.0f);
    EXPECT_FLOAT_EQ(height, single); // a trailing break adds no line

    t.reportProgress = true;
    EXPECT_EQ(Draw({0, 100, 100, 1000}, 2.0f), LProcessResultOk);
    const int step = static_cast<int>(2 * height);
    EXPECT_EQ(t.CallsOf(0),
              (std::vector<std::string>{"DrawText one @100",
                                        "DrawText two @" + std::to_string(100 + step),
                                        "DrawText three @" + std::to_string(static_cast<int>(
                                                                 100 + 2 * (2 * height)))}));
    EXPECT_EQ(log.progress.size(), 3u);
    EXPECT_NEAR(log.progress[0], 1.0 / 3, 1e-9);
    EXPECT_NEAR(log.progress[2], 1.0, 1e-9);
}

TEST_F(TextLinesTest, AnEmptyListFailsAndABoxWithNoHeightStopsAfterOneLine) {
    EXPECT_EQ(Draw({0, 0, 100, 100}), LProcessResultError);
    EXPECT_TRUE(t.Calls().empty());
    Add("one");
    Add("two");
    EXPECT_EQ(Draw({0, 50, 100, 50}), LProcessResultOk);
    EXPECT_EQ(t.CallsOf(0), (std::vector<std::string>{"DrawText one @50"}));
}

TEST_F(TextLinesTest, AFailingLineEndsTheLoopAndTheCompanionsUseTheirOwnOperation) {
    Add("one");
    Add("two");
    t.drawResult = LProcessResultStopped;
    EXPECT_EQ(Draw({0, 0, 100, 500}), LProcessResultStopped);
    EXPECT_EQ(t.CallsOf(0).size(), 1u);

    t.drawResult = LProcessResultOk;
    t.Calls().clear();
    t.DrawTextLinesShadow(log, lines, 12, true, false, false, "DejaVu Sans", LAlignmentXCentre,
                          1.0f, {0, 0, 100, 500}, KVDropShadow());
    t.DrawTextLinesBevelEmboss(log, lines, 12, false, true, false, "DejaVu Sans",
                               LAlignmentXRight, 1.0f, {0, 0, 100, 500}, KVBevelEmboss());
    EXPECT_EQ(t.CallsOf(0),
              (std::vector<std::string>{"DrawTextShadow one", "DrawTextShadow two",
                                        "DrawTextBevelEmboss one", "DrawTextBevelEmboss two"}));
}

} // namespace
