#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/process_thread.h"
#include "thread_helpers.h"

namespace {

using kvtest::Recording;

class ProcessThreads : public testing::Test, public kvtest::WithMainQueue {};

// Keeps every notification as it arrived.
class RawHandler : public LQueuedNotifyDataHandler {
public:
    void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) override {
        const char* p = static_cast<const char*>(data);
        got.push_back({id, size, std::vector<char>(p, p + (p ? size : 0))});
    }
    struct Note {
        unsigned int id;
        unsigned long size;
        std::vector<char> bytes;
    };
    std::vector<Note> got;
};

TEST_F(ProcessThreads, EachReportGoesToTheThreadAndIsPostedWithItsIdAndSize) {
    Recording<LProcessInterfaceVoid> thread; // stands for the thread object
    RawHandler handler;
    std::thread worker([&] {
        LProcessThreadInterface pi(&thread, &handler);
        pi.SetError("boom");
        pi.SetStatus(std::string(300, 's').c_str(), 3);
        pi.SetProgress(0.5);
        pi.SetProgressIndeterminateOn();
        pi.SetProgressIndeterminateOff();
    });
    worker.join();
    EXPECT_EQ(thread.errors, std::vector<std::string>{"boom"});
    EXPECT_EQ(thread.statuses.at(0).size(), 300u);

    EXPECT_EQ(queue.DeliverPending(), 5u);
    ASSERT_EQ(handler.got.size(), 5u);
    const unsigned long sizes[] = {5, 264, 8, 0, 0};
    for (unsigned i = 0; i < 5; ++i) {
        EXPECT_EQ(handler.got[i].id, i);
        EXPECT_EQ(handler.got[i].size, sizes[i]);
    }
    EXPECT_STREQ(handler.got[0].bytes.data(), "boom");
    LProcessThreadStatus status;
    std::memcpy(&status, handler.got[1].bytes.data(), sizeof status);
    EXPECT_EQ(std::strlen(status.text), 259u);
    EXPECT_EQ(status.level, 3);

    LProcessThreadInterface quiet(&thread, nullptr); // no handler: nothing posted
    quiet.SetError(nullptr);
    EXPECT_EQ(queue.GetCount(), 0u);
    EXPECT_EQ(thread.errors.back(), "");
}

TEST_F(ProcessThreads, ReplayPassesOnWellFormedReportsOnly) {
    Recording<LProcessInterfaceVoid> target;
    const double half = 0.5;
    LReplayProcessReport(target, LProcessThreadReportError, "abc", 3); // unterminated
    LReplayProcessReport(target, LProcessThreadReportStatus, "short", 6);
    LReplayProcessReport(target, LProcessThreadReportProgress, &half, 4);
    LReplayProcessReport(target, 9, &half, sizeof half);
    EXPECT_TRUE(target.threads.empty());

    LProcessThreadStatus status;
    std::memset(status.text, 'z', sizeof status.text); // no terminator in the field
    status.level = 1;
    LReplayProcessReport(target, LProcessThreadReportStatus, &status, sizeof status);
    EXPECT_EQ(target.statuses.at(0), std::string(259, 'z'));
    EXPECT_EQ(target.levels.at(0), 1);
}

// A long operation with a member Process, reporting as it goes.
struct Loader {
    LProcessResult Process(LProcessInterface& pi) {
        thread = std::this_thread::get_id();
        pi.SetStatus("Loading", 0);
        for (int i = 1; i <= 4; ++i)
            pi.SetProgress(i / 4.0);
        pi.SetStatus(std::string(300, 'n').c_str(), 2);
        if (fail)
            pi.SetErrorF("Could not read \"%s\"", "a.kvp");
        return fail ? LProcessResultError : LProcessResultOk;
    }
    bool fail = false;
    std::thread::id thread;
};

TEST_F(ProcessThreads, AProcessRunsOffTheCallersThreadAndItsReportsArriveInOrder) {
    Recording<LProcessInterfaceModal> parent;
    Loader loader;
    LProcessThreadData data(loader);
    EXPECT_EQ(Process(parent, data), LProcessResultOk);
    EXPECT_NE(loader.thread, std::this_thread::get_id());
    EXPECT_EQ(parent.statuses, (std::vector<std::string>{"Loading", std::string(259, 'n')}));
    EXPECT_EQ(parent.levels, (std::vector<int>{0, 2}));
    EXPECT_EQ(parent.progress, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
    for (const auto& id : parent.threads)
        EXPECT_EQ(id, std::this_thread::get_id());

    loader.fail = true; // the last report still arrives before the result
    EXPECT_EQ(Process(parent, LProcessThreadData(loader)), LProcessResultError);
    EXPECT_EQ(parent.errors, std::vector<std::string>{"Could not read \"a.kvp\""});
    EXPECT_EQ(queue.GetCount(), 0u);
}

// A format worker in the program's usual shape: arguments and a free Process.
struct Scaler {
    int in = 0, out = 0;
};
LProcessResult Process(LProcessInterface&, Scaler& s) {
    s.out = s.in * 2;
    return LProcessResultOk;
}

struct Thrower {
    LProcessResult Process(LProcessInterface&) { throw std::runtime_error("out of paper"); }
};

TEST_F(ProcessThreads, FreeFunctionsRunAndExceptionsBecomeErrors) {
    Recording<LProcessInterfaceModal> parent;
    Scaler s{21, 0};
    EXPECT_EQ(Process(parent, LProcessThreadData(s)), LProcessResultOk);
    EXPECT_EQ(s.out, 42);
    Thrower t;
    EXPECT_EQ(Process(parent, LProcessThreadData(t)), LProcessResultError);
    EXPECT_EQ(parent.errors, std::vector<std::string>{"The operation failed: out of paper"});
}

// Reports, has the parent stop, then keeps reporting after its own stop.
struct StopsMidway {
    LProcessResult Process(LProcessInterface& pi) {
        pi.SetStatus("before", 0);
        parent->RequestStop();
        waitResult = pi.ProcessWaitSignalForever(LSignalObjectRef{});
        pi.SetStatus("after", 0);
        pi.SetProgress(0.9);
        pi.SetError("late");
        return LProcessResultStopped;
    }
    LProcessInterfaceModal* parent = nullptr;
    LProcessResult waitResult = LProcessResultOk;
};

TEST_F(ProcessThreads, AParentStopEndsTheProcessAndLaterReportsAreDropped) {
    Recording<LProcessInterfaceModal> parent;
    StopsMidway p;
    p.parent = &parent;
    EXPECT_EQ(Process(parent, LProcessThreadData(p)), LProcessResultStopped);
    EXPECT_EQ(p.waitResult, LProcessResultStopped);
    EXPECT_EQ(parent.statuses, (std::vector<std::string>{"before", kLProcessThreadWaitingToStop}));
    EXPECT_TRUE(parent.progress.empty());
    EXPECT_TRUE(parent.errors.empty());
    EXPECT_EQ(queue.GetCount(), 0u);
}

TEST_F(ProcessThreads, ReportsThatNobodyDeliversAreFlushedNeverRun) {
    Recording<LProcessInterfaceVoid> parent; // blocks without delivering
    Loader loader;
    loader.fail = true;
    EXPECT_EQ(Process(parent, LProcessThreadData(loader)), LProcessResultError);
    EXPECT_TRUE(parent.threads.empty());
    EXPECT_EQ(queue.GetCount(), 0u);

    // Off the main thread nothing is even posted.
    LProcessResult r = LProcessResultError;
    std::thread caller([&] { r = Process(parent, LProcessThreadData(loader)); });
    caller.join();
    EXPECT_EQ(r, LProcessResultError);
    EXPECT_TRUE(parent.threads.empty());
}

TEST_F(ProcessThreads, ARefusedThreadGivesAnErrorInsteadOfAHang) {
    Recording<LProcessInterfaceVoid> parent;
    Loader loader;
    kvtest::RefuseThreads refuse;
    EXPECT_EQ(Process(parent, LProcessThreadData(loader)), LProcessResultError);
    EXPECT_EQ(parent.errors, std::vector<std::string>{kLProcessThreadStartFailed});
}

} // namespace
