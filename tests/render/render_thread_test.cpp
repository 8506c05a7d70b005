#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "document/project.h"
#include "document/shapes.h"
#include "foundation/thread_helpers.h"
#include "persistence/project_file.h"
#include "render/render_image_buffer.h"
#include "render/render_thread.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"
#include "support/test_element.h"

namespace {

using kvtest::FileExists;
using Ids = std::vector<unsigned>;

// Holds the render until released; it waits through the process, so a stop
// ends the wait as it ends any long render.
class GateElement : public kvtest::BoxElement {
public:
    LProcessResult Render(LProcessInterface& process, KVRenderImage&) override {
        entered.Set();
        return process.ProcessWaitSignal(release, kLWaitForever);
    }
    LSignalObject entered, release;
};

class Notes : public LQueuedNotifyDataHandler {
public:
    void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) override {
        KVRenderNotice notice;
        ASSERT_TRUE(KVReadRenderNotice(data, size, notice));
        if (id == KVRenderNotifyProgress) {
            progress.push_back(static_cast<unsigned long>(notice.progress));
        } else {
            ids.push_back(id);
            records.push_back(notice.record);
        }
        if (onNote)
            onNote(id);
    }
    // The ids other than the progress; 0 in place of one about another record.
    Ids Of(const std::unique_ptr<KVRenderResults>& record) const {
        Ids r = ids;
        for (size_t i = 0; i < r.size(); ++i)
            if (records[i] != record.get())
                r[i] = 0;
        return r;
    }
    void Clear() { ids.clear(), records.clear(), progress.clear(); }
    Ids ids;
    std::vector<const KVRenderResults*> records;
    std::vector<unsigned long> progress;
    std::function<void(unsigned)> onNote;
};

// Lets the sender linger after each post, so that the main thread handles a
// notification while its sender has not quite finished.
class LingeringQueue : public LMainThreadQueueCore {
public:
    void Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) override {
        LMainThreadQueueCore::Post(target, item);
        if (!IsMainThread())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
};

KVRectangleElement* RedBox() {
    KVRectangleElementProperties p;
    p.SetRectangle({10, 10, 30, 20});
    p.SetFill(LGuiColorAlpha(255, 0, 0, 255));
    return new KVRectangleElement(p);
}

class RenderThread : public testing::Test, public kvtest::WithMainQueue {
protected:
    RenderThread() { thread.SetNotifyHandler(&notes); }

    // One image of `elements` red boxes; `unsaved` adds the last as a change.
    std::unique_ptr<KVProject> MakeProject(int elements, bool unsaved) {
        auto project = std::make_unique<KVProject>("drawing");
        project->AddNewImage(new KVImage("picture", 40, 30, 72, LPixelColour(255, 255, 255, 255)));
        for (int i = 0; i < elements; ++i)
            Add(*project, RedBox(), unsaved && i == elements - 1);
        return project;
    }
    static void Add(KVProject& project, KVElement* element, bool asChange = true) {
        KVImage* image = project.GetCurrentImage();
        image->AddNewElement(element, image->GetFirstLayer(), false, asChange);
    }
    // As the controller makes it: a picture of the image's size, cleared.
    static std::unique_ptr<KVRenderResults> MakeRecord(const KVProject& project) {
        auto record = std::make_unique<KVRenderResults>();
        record->project = &project;
        const KVImage* image = project.GetCurrentImage();
        auto* target = new KVRenderImageBuffer(static_cast<int>(image->GetWidth()),
                                               static_cast<int>(image->GetHeight()));
        target->Clear(image->GetBackground());
        record->target.Set(target);
        return record;
    }
    // Waits for the render to end and takes in what it posted.
    void Finish() {
        thread.WaitToStop();
        queue.DeliverPending();
    }
    std::unique_ptr<KVRenderResults> RenderToEnd(const KVProject& project) {
        auto record = MakeRecord(project);
        thread.StartRender(*record);
        Finish();
        return record;
    }
    std::string Recovery(const char* name) const { return dir.Path() + "/korvane/Recovery/" + name; }
    static unsigned long ElementCount(const std::string& path) {
        KVProject loaded;
        LProcessInterfaceVoid quiet;
        if (KVProjectFileLoad(quiet, loaded, path.c_str()) != LProcessResultOk)
            return 0;
        return loaded.GetCurrentImage()->GetFirstLayer()->GetElementCount();
    }

    kvtest::TempDir dir;
    kvtest::ScopedEnv data{"XDG_DATA_HOME", dir.Path().c_str()};
    Notes notes;
    // Last, so that it stops before the projects, records and handler go.
    KVRenderThread thread;
};

const Ids kDone{KVRenderNotifyFinished, KVRenderNotifyAutosaved};

// ------------------------------------------------------------ finishing

TEST_F(RenderThread, AFinishedRenderShowsThePictureThenReportsTheAutosave) {
    auto project = MakeProject(1, false);
    auto record = RenderToEnd(*project);
    EXPECT_TRUE(record->started);
    EXPECT_EQ(notes.Of(record), kDone);
    EXPECT_EQ(thread.GetCurrentProject(), nullptr);

    auto* target = static_cast<KVRenderImageBuffer*>(record->target.Get());
    target->Flush();
    const unsigned char* in = target->GetImage().GetPictureRow(15) + 20 * 4;
    const unsigned char* out = target->GetImage().GetPictureRow(25) + 5 * 4;
    EXPECT_EQ((Ids{in[0], in[1], in[2], in[3]}), (Ids{0, 0, 255, 255}));
    EXPECT_EQ((Ids{out[0], out[1], out[2], out[3]}), (Ids{255, 255, 255, 255}));
}

TEST_F(RenderThread, ProgressRunsFromZeroToAThousandWithoutRepeats) {
    // More elements than steps of the bar: one report each would flood the queue.
    auto project = MakeProject(3000, false);
    RenderToEnd(*project);
    const std::vector<unsigned long> progress = notes.progress;
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.front(), 0u);
    EXPECT_EQ(progress.back(), 1000u);
    EXPECT_LE(progress.size(), 1001u);
    for (size_t i = 1; i < progress.size(); ++i)
        ASSERT_LT(progress[i - 1], progress[i]) << "at " << i;

    // The next render starts its bar afresh.
    notes.Clear();
    RenderToEnd(*project);
    EXPECT_EQ(notes.progress.front(), 0u);
}

TEST_F(RenderThread, AFailedRenderReportsAndWritesNoRecoveryFile) {
    auto project = MakeProject(1, true);
    auto* broken = new kvtest::BoxElement;
    broken->renderResult = LProcessResultError;
    Add(*project, broken);
    auto record = RenderToEnd(*project);
    EXPECT_EQ(notes.Of(record), (Ids{KVRenderNotifyFailed}));
    EXPECT_STREQ(project->GetRecoveryPath(), "");
    EXPECT_FALSE(FileExists(Recovery("0.kvp")));

    // A record without a target never starts.
    KVRenderResults empty;
    empty.project = project.get();
    thread.StartRender(empty);
    EXPECT_FALSE(empty.started);
    EXPECT_FALSE(thread.IsRunning());
}

// ------------------------------------------------------------ stopping

TEST_F(RenderThread, AStopOrAClosedProjectEndsTheRenderAsStopped) {
    auto project = MakeProject(0, true);
    auto* gate = new GateElement;
    Add(*project, gate);
    auto first = MakeRecord(*project);
    thread.StartRender(*first);
    ASSERT_TRUE(gate->entered.WaitSignal(10000));
    EXPECT_EQ(thread.GetCurrentProject(), project.get());

    // While it runs a new record only waits on the caller's list.
    auto second = MakeRecord(*project);
    thread.StartRender(*second);
    EXPECT_FALSE(second->started);

    KVProject other("other");
    thread.CloseProject(&other);
    EXPECT_TRUE(thread.IsRunning());
    thread.StopThreadNow();
    queue.DeliverPending();
    EXPECT_EQ(notes.Of(first), (Ids{KVRenderNotifyStopped}));
    EXPECT_FALSE(FileExists(Recovery("0.kvp")));

    notes.Clear();
    gate->entered.Reset();
    thread.StartRender(*second);
    ASSERT_TRUE(gate->entered.WaitSignal(10000));
    thread.CloseProject(project.get());
    EXPECT_FALSE(thread.IsRunning());
    queue.DeliverPending();
    EXPECT_EQ(notes.Of(second), (Ids{KVRenderNotifyStopped}));
}

TEST_F(RenderThread, ARenderLockStopsTheRenderAndKeepsNewOnesFromStarting) {
    auto project = MakeProject(0, true);
    auto* gate = new GateElement;
    Add(*project, gate);
    auto first = MakeRecord(*project);
    thread.StartRender(*first);
    ASSERT_TRUE(gate->entered.WaitSignal(10000));

    auto second = MakeRecord(*project);
    {
        KVRenderLock lock(thread);
        EXPECT_FALSE(thread.IsRunning());
        { KVRenderLock nested(thread); }
        EXPECT_EQ(thread.GetRenderLockCount(), 1);
        thread.StartRender(*second);
        EXPECT_FALSE(second->started);
        EXPECT_FALSE(thread.IsRunning());
        EXPECT_EQ(thread.GetCurrentProject(), project.get()); // remembered all the same
    }
    EXPECT_FALSE(thread.IsRunning()); // the lock going starts nothing by itself
    queue.DeliverPending();
    EXPECT_EQ(notes.Of(first), (Ids{KVRenderNotifyStopped}));

    notes.Clear();
    gate->release.Set();
    thread.StartRender(*second);
    EXPECT_TRUE(second->started);
    Finish();
    EXPECT_EQ(notes.Of(second), kDone);

    // At shutdown nothing starts any more.
    auto third = MakeRecord(*project);
    thread.SetClosing();
    thread.StartRender(*third);
    EXPECT_FALSE(third->started);
    EXPECT_EQ(thread.GetCurrentProject(), nullptr);
}

TEST_F(RenderThread, TheNotificationThatEndsARenderCanStartTheNext) {
    // The controller's way: records wait on a list, and each ending
    // notification starts the next one.
    LingeringQueue lingering;
    LThreadRunOnMainThread::Init(lingering);
    auto project = MakeProject(1, true);
    std::vector<std::unique_ptr<KVRenderResults>> records;
    for (int i = 0; i < 20; ++i)
        records.push_back(MakeRecord(*project));
    size_t next = 1;
    LSignalObject allDone;
    notes.onNote = [&](unsigned id) {
        if (id != KVRenderNotifyAutosaved)
            return;
        if (next == records.size())
            allDone.Set();
        else
            thread.StartRender(*records[next++]);
    };
    thread.StartRender(*records[0]);
    LSignalObjectGroup awaited;
    awaited.Add(allDone);
    const bool done = lingering.WaitDelivering(awaited, 10000);
    thread.StopThreadNow();
    LThreadRunOnMainThread::Init(queue);
    ASSERT_TRUE(done);
    EXPECT_EQ(notes.ids.size(), 2 * records.size());
    EXPECT_EQ(thread.GetRecoveryCounter(), 1u); // one project, one name
}

// ------------------------------------------------------------ autosave

TEST_F(RenderThread, UnsavedProjectsGetNumberedRecoveryFilesAndKeepTheirNames) {
    auto first = MakeProject(2, true);
    auto second = MakeProject(1, true);
    RenderToEnd(*first);
    EXPECT_EQ(std::string(first->GetRecoveryPath()), Recovery("0.kvp"));
    EXPECT_EQ(ElementCount(Recovery("0.kvp")), 2u);
    RenderToEnd(*second);
    EXPECT_EQ(std::string(second->GetRecoveryPath()), Recovery("1.kvp"));
    EXPECT_EQ(ElementCount(Recovery("1.kvp")), 1u);

    // The first project changes again: its own file takes the new state.
    {
        KVRenderLock lock(thread);
        Add(*first, RedBox());
    }
    RenderToEnd(*first);
    EXPECT_EQ(std::string(first->GetRecoveryPath()), Recovery("0.kvp"));
    EXPECT_EQ(ElementCount(Recovery("0.kvp")), 3u);
    EXPECT_EQ(thread.GetRecoveryCounter(), 2u);

    // Undo back to the saved state makes the copy redundant.
    auto third = MakeProject(1, true);
    third->MarkAsSaved();
    Add(*third, RedBox());
    RenderToEnd(*third);
    ASSERT_TRUE(FileExists(Recovery("2.kvp")));
    {
        KVRenderLock lock(thread);
        third->Undo();
    }
    EXPECT_FALSE(FileExists(Recovery("2.kvp")));
    EXPECT_TRUE(FileExists(Recovery("0.kvp")));
}

TEST_F(RenderThread, ASavedProjectWritesNothingButStillReportsTheAutosave) {
    auto project = MakeProject(1, true);
    project->MarkAsSaved();
    auto record = RenderToEnd(*project);
    EXPECT_EQ(notes.Of(record), kDone);
    EXPECT_STREQ(project->GetRecoveryPath(), "");
    EXPECT_FALSE(FileExists(dir.Path() + "/korvane/Recovery"));
}

TEST_F(RenderThread, AnAutosaveThatCannotWriteStillReportsAndTakesNoName) {
    // The data folder sits below a plain file, so no folder can be made there.
    ASSERT_TRUE(kvtest::WriteFile(dir.File("file"), "x"));
    kvtest::ScopedEnv blocked("XDG_DATA_HOME", dir.File("file").c_str());
    auto project = MakeProject(1, true);
    auto record = RenderToEnd(*project);
    EXPECT_EQ(notes.Of(record), kDone);
    EXPECT_STREQ(project->GetRecoveryPath(), "");
    EXPECT_EQ(thread.GetRecoveryCounter(), 0u);

    // A folder that went after the name was given: the save fails quietly.
    project->SetRecoveryPath(dir.File("gone/5.kvp").c_str());
    notes.Clear();
    record = RenderToEnd(*project);
    EXPECT_EQ(notes.Of(record), kDone);
    EXPECT_FALSE(FileExists(dir.File("gone/5.kvp")));
}

} // namespace
