#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/project.h"
#include "support/process_log.h"
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
    void Add(const char* label) { image->AddNewElement(new BoxElement(label), layer, false, true); }
};

TEST_F(RecoveryTest, UndoOrRedoToTheSavedStateDeletesTheAutosave) {
    Add("a");
    project->MarkAsSaved();
    Add("b");
    Autosave();
    project->Undo();
    EXPECT_FALSE(kvtest::FileExists(recovery));
    EXPECT_STREQ(project->GetRecoveryPath(), recovery.c_str()); // the name is reused later

    project->Undo();
    Autosave();
    project->Redo();
    EXPECT_FALSE(kvtest::FileExists(recovery));

    Add("c"); // unsaved states keep it
    Add("d");
    Autosave();
    project->Undo();
    EXPECT_TRUE(kvtest::FileExists(recovery));
}

TEST_F(RecoveryTest, MarkAsSavedAndClosingDeleteIt) {
    Add("a");
    Autosave();
    project->MarkAsSaved();
    EXPECT_FALSE(kvtest::FileExists(recovery));
    Autosave();
    delete project;
    project = nullptr;
    EXPECT_FALSE(kvtest::FileExists(recovery));
}

TEST(Project, WithoutAnImageCommandsDoNothingAndTheNewestImageIsCurrent) {
    KVProject p;
    p.Undo();
    p.Redo();
    p.MarkAsSaved();
    p.Crop({0, 0, 1, 1});
    p.SetBackgroundColor({});
    EXPECT_EQ(p.GetCurrentImage(), nullptr);
    p.AddNewImage(new KVImage("one"));
    auto* second = new KVImage("two");
    p.AddNewImage(second);
    EXPECT_EQ(p.GetCurrentImage(), second);
}

struct RenderTest : testing::Test {
    KVProject project{"p"};
    KVImage* image = new KVImage("pic", 100, 100, 72, LPixelColour());
    KVLayer* base = project.AddNewImage(image);
    RecordingTarget target;
    kvtest::ProcessLog process;

    BoxElement* Add(KVLayer* l, const char* label) {
        auto* e = new BoxElement(label);
        image->AddNewElement(e, l, false, false);
        return e;
    }
    KVLayer* Layer(const char* name) {
        auto* l = new KVLayer(name);
        image->AddNewLayer(l, false);
        return l;
    }
};

TEST_F(RenderTest, VisibleLayersInOrderWithOneFlushEachAndProgressSlices) {
    Add(base, "a");
    Add(base, "b");
    KVLayer* hidden = Layer("hidden");
    Add(hidden, "h");
    image->UpdateLayerVisibility(hidden, false);
    Add(Layer("top"), "c");
    Layer("empty");

    EXPECT_EQ(project.Render(process, target), LProcessResultOk);
    std::vector<std::string> draws;
    for (const std::string& c : target.CallsOf(0))
        if (c.rfind("Draw", 0) == 0 || c == "Flush")
            draws.push_back(c);
    EXPECT_EQ(draws, (std::vector<std::string>{"Draw a", "Draw b", "Flush", "Draw c", "Flush",
                                               "Flush"}));
    // Three visible layers: a and b share the first third, c the second, the empty one the last.
    ASSERT_GE(process.progress.size(), 3u);
    EXPECT_DOUBLE_EQ(process.progress[0], 1.0 / 6.0);
    EXPECT_DOUBLE_EQ(process.progress.back(), 1.0);
}

TEST_F(RenderTest, AStopOrAFailureEndsTheRenderWithoutAFlush) {
    Add(base, "a");
    Add(base, "bad")->renderResult = LProcessResultError;
    Add(base, "after");
    EXPECT_EQ(project.Render(process, target), LProcessResultError);
    EXPECT_EQ(target.CallsOf(0).back(), "Draw bad");

    target.Calls().clear();
    process.stopAfter = 0;
    EXPECT_EQ(project.Render(process, target), LProcessResultStopped); // after a, before bad
    for (const std::string& c : target.CallsOf(0))
        EXPECT_TRUE(c != "Flush" && c != "Draw bad") << c;
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
