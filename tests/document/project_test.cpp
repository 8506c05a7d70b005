#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/project.h"
#include "support/temp_dir.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::RecordingTarget;

namespace {

struct RecoveryTest : testing::Test {
    kvtest::TempDir dir;
    std::string recovery = dir.File("1.kvp");
    KVProject* project = new KVProject("p");
    KVImage* image = new KVImage("pic", 100, 100, 72, LPixelColour());
    KVLayer* layer = nullptr;

    void SetUp() override {
        layer = project->AddNewImage(image);
        ASSERT_NE(layer, nullptr);
        project->SetRecoveryPath(recovery.c_str());
    }
    void TearDown() override { delete project; }
    void Autosave() { ASSERT_TRUE(kvtest::WriteFile(recovery, "autosave")); }
};

TEST_F(RecoveryTest, UndoBackToTheSavedStateDeletesTheAutosave) {
    image->AddNewElement(new BoxElement("a"), layer, false, true);
    project->MarkAsSaved();
    image->AddNewElement(new BoxElement("b"), layer, false, true);
    Autosave();
    project->Undo();
    EXPECT_FALSE(kvtest::FileExists(recovery));
    EXPECT_STREQ(project->GetRecoveryPath(), recovery.c_str()); // the name is reused later
}

TEST_F(RecoveryTest, RedoToTheSavedStateDeletesItToo) {
    image->AddNewElement(new BoxElement("a"), layer, false, true);
    project->MarkAsSaved();
    project->Undo();
    Autosave();
    project->Redo();
    EXPECT_FALSE(kvtest::FileExists(recovery));
}

TEST_F(RecoveryTest, UnsavedStatesKeepTheAutosave) {
    image->AddNewElement(new BoxElement("a"), layer, false, true);
    image->AddNewElement(new BoxElement("b"), layer, false, true);
    Autosave();
    project->Undo();
    EXPECT_TRUE(kvtest::FileExists(recovery));
}

TEST_F(RecoveryTest, MarkAsSavedAndClosingDeleteIt) {
    image->AddNewElement(new BoxElement("a"), layer, false, true);
    Autosave();
    project->MarkAsSaved();
    EXPECT_FALSE(kvtest::FileExists(recovery));
    Autosave();
    delete project;
    project = nullptr;
    EXPECT_FALSE(kvtest::FileExists(recovery));
}

TEST(Project, WithoutAnImageCommandsDoNothing) {
    KVProject p;
    EXPECT_STREQ(p.GetName(), "Untitled");
    p.Undo();
    p.Redo();
    p.MarkAsSaved();
    p.Crop({0, 0, 1, 1});
    p.SetBackgroundColor({});
    EXPECT_EQ(p.GetCurrentImage(), nullptr);
}

TEST(Project, NewestImageIsCurrent) {
    KVProject p;
    auto* first = new KVImage("one");
    auto* second = new KVImage("two");
    p.AddNewImage(first);
    p.AddNewImage(second);
    EXPECT_EQ(p.GetCurrentImage(), second);
    EXPECT_EQ(p.GetImages().Get(), second); // pushed at the front
}

struct StoppingProcess : LProcessInterfaceVoid {
    bool IsToStop() override { return ++asked > stopAfter; }
    void SetProgress(double f) override { progress.push_back(f); }
    int asked = 0;
    int stopAfter = 1000;
    std::vector<double> progress;
};

struct RenderTest : testing::Test {
    KVProject project{"p"};
    KVImage* image = new KVImage("pic", 100, 100, 72, LPixelColour());
    KVLayer* base = project.AddNewImage(image);
    RecordingTarget target;
    StoppingProcess process;

    void Add(KVLayer* l, const char* label) {
        image->AddNewElement(new BoxElement(label), l, false, false);
    }
};

TEST_F(RenderTest, VisibleLayersInOrderWithOneFlushEach) {
    Add(base, "a");
    Add(base, "b");
    auto* hidden = new KVLayer("hidden");
    image->AddNewLayer(hidden, false);
    Add(hidden, "h");
    image->UpdateLayerVisibility(hidden, false);
    auto* top = new KVLayer("top");
    image->AddNewLayer(top, false);
    Add(top, "c");
    auto* empty = new KVLayer("empty");
    image->AddNewLayer(empty, false);

    EXPECT_EQ(project.Render(process, target), LProcessResultOk);
    std::vector<std::string> draws;
    for (const std::string& c : target.CallsOf(0))
        if (c.rfind("Draw", 0) == 0 || c == "Flush")
            draws.push_back(c);
    EXPECT_EQ(draws, (std::vector<std::string>{"Draw a", "Draw b", "Flush", "Draw c", "Flush",
                                               "Flush"}));
    EXPECT_DOUBLE_EQ(process.progress.back(), 1.0);
}

TEST_F(RenderTest, ProgressSlicesFollowLayersAndElements) {
    Add(base, "a");
    Add(base, "b");
    auto* top = new KVLayer("top");
    image->AddNewLayer(top, false);
    Add(top, "c");
    project.Render(process, target);
    // Each element reports its end: a at 1/4, b at 1/2, c at 1, then the layer and image ends.
    EXPECT_EQ(process.progress, (std::vector<double>{0.25, 0.5, 0.5, 1.0, 1.0, 1.0}));
}

TEST_F(RenderTest, AStopBetweenElementsEndsTheRenderWithoutAFlush) {
    Add(base, "a");
    Add(base, "b");
    process.stopAfter = 0;
    EXPECT_EQ(project.Render(process, target), LProcessResultStopped);
    EXPECT_EQ(target.CallsOf(0).back(), "WriteCache");
    for (const std::string& c : target.CallsOf(0))
        EXPECT_NE(c, "Flush");
}

TEST_F(RenderTest, AFailingElementEndsTheRender) {
    Add(base, "a");
    auto* bad = new BoxElement("bad");
    bad->renderResult = LProcessResultError;
    image->AddNewElement(bad, base, false, false);
    Add(base, "after");
    EXPECT_EQ(project.Render(process, target), LProcessResultError);
    EXPECT_EQ(target.CallsOf(0).back(), "Draw bad");
}

TEST_F(RenderTest, NoVisibleLayerStillCompletesTheProgress) {
    image->UpdateLayerVisibility(base, false);
    EXPECT_EQ(project.Render(process, target), LProcessResultOk);
    EXPECT_TRUE(target.CallsOf(0).empty());
    EXPECT_EQ(process.progress, (std::vector<double>{1.0}));
}

TEST(ProjectRender, AnImageOutsideTheListDrawsNothing) {
    KVProject a("a"), b("b");
    a.AddNewImage(new KVImage("one"));
    KVLayer* layer = b.AddNewImage(new KVImage("two"));
    b.GetCurrentImage()->AddNewElement(new BoxElement("x"), layer, false, false);
    a.SetCurrentImage(b.GetCurrentImage());
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(a.Render(v, t), LProcessResultOk);
    EXPECT_TRUE(t.CallsOf(0).empty());
}

} // namespace
