#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "foundation/thread.h"
#include "thread_helpers.h"

namespace {

using namespace std::chrono_literals;
using kvtest::Counter;
using kvtest::FnThread;

int NiceOf(pid_t tid) {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
}
int OwnNice() {
    return NiceOf(static_cast<pid_t>(gettid()));
}
void WaitForStop(FnThread& t) {
    t.ProcessWait(kLWaitForever);
}

TEST(ThreadLife, StartOnARunningThreadChangesNothingNotEvenThePriority) {
    const int callerNice = OwnNice();
    FnThread t(WaitForStop);
    t.Start(kLThreadPriorityWork);
    EXPECT_TRUE(t.IsRunning()); // Start returns with the body running
    const pid_t tid = t.GetThreadId();
    EXPECT_EQ(NiceOf(tid), std::max(5, callerNice)); // raising it may be refused
    t.Start(kLThreadPriorityBackground);
    EXPECT_EQ(t.GetThreadId(), tid);
    EXPECT_EQ(t.GetPriority(), kLThreadPriorityWork);
    EXPECT_EQ(NiceOf(tid), std::max(5, callerNice));
    // A real-time request is usually refused; granted or not, it is undone.
    t.SetPriority(kLThreadPriorityRealTime);
    t.SetPriority(kLThreadPriorityBackground);
    EXPECT_EQ(sched_getscheduler(tid), SCHED_OTHER);
    EXPECT_FALSE(t.WaitToStop(10));
    t.StopThreadNow();
    EXPECT_EQ(t.runs, 1);
    EXPECT_FALSE(t.IsRunning());
    EXPECT_EQ(t.GetThreadId(), -1);
}

TEST(ThreadLife, AThreadRunsAgainAfterItEndsWithItsSignalsCleared) {
    std::vector<bool> stopAtEntry;
    std::vector<int> produced; // plain memory, handed over by the end of the body
    FnThread t([&](FnThread& self) {
        stopAtEntry.push_back(self.IsToStop());
        produced.push_back(self.runs);
    });
    t.Start(kLThreadPriorityNormal);
    t.StopThreadNow(); // may come before or after the body ends
    EXPECT_TRUE(t.IsToStop());
    t.Start(kLThreadPriorityNormal);
    t.WaitToStop();
    t.StartSame();
    EXPECT_TRUE(t.WaitToStop(10000));
    EXPECT_EQ(produced, (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(stopAtEntry[1]);
    EXPECT_FALSE(stopAtEntry[2]);
}

TEST(ThreadLife, TheDestructorStopsARunningThread) {
    std::atomic<bool> sawStop{false};
    {
        FnThread t([&](FnThread& self) {
            while (!self.IsToStop())
                self.ProcessWait(kLWaitForever);
            sawStop = true;
        });
        t.Start(kLThreadPriorityNormal);
    }
    EXPECT_TRUE(sawStop);
}

TEST(ThreadLife, ARefusedCreationNeitherHangsNorSticks) {
    FnThread t(WaitForStop);
    {
        kvtest::RefuseThreads refuse;
        t.Start(kLThreadPriorityNormal);
    }
    EXPECT_FALSE(t.IsRunning());
    EXPECT_FALSE(t.HasStarted());
    t.WaitToStop();
    t.Start(kLThreadPriorityNormal); // the next Start tries again
    t.StopThreadNow();
    EXPECT_EQ(t.runs, 1);
}

TEST(ThreadWaits, TimeOutGivesZeroAStopGivesOneEvenWithTheSignal) {
    FnThread t;
    LSignalObject s;
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(t.ProcessWait(30), LProcessResultOk);
    EXPECT_GE(std::chrono::steady_clock::now() - t0, 25ms);
    EXPECT_EQ(t.ProcessWaitSignal(s, 10), LProcessResultError);
    s.Set();
    EXPECT_EQ(t.ProcessWaitSignal(s, 10), LProcessResultOk);
    t.StopThreadSoon();
    EXPECT_EQ(t.ProcessWaitSignal(s, 10), LProcessResultStopped);
    EXPECT_EQ(t.ProcessWait(kLWaitForever), LProcessResultStopped);

    // Inside the body, a stop ends a wait for ever.
    std::atomic<int> inside{-1};
    FnThread waiter(
        [&](FnThread& self) { inside = self.ProcessWaitSignalForever(LSignalObjectRef{}); });
    waiter.Start(kLThreadPriorityWork);
    waiter.StopThreadNow();
    EXPECT_EQ(inside, LProcessResultStopped);
}

TEST(ThreadWaits, AGroupWaitTakesTheStopForGoodAndIsSpent) {
    FnThread t;
    LSignalObject a, b;
    LSignalObjectGroup first, second, third;
    for (auto* g : {&first, &second, &third}) {
        g->Add(a);
        g->Add(b);
    }
    EXPECT_EQ(t.ProcessWaitSignalObjectGroup(first, 5), LProcessResultError);
    EXPECT_EQ(first.GetCount(), 0u);
    b.Set();
    EXPECT_EQ(t.ProcessWaitSignalObjectGroup(second, 5), LProcessResultOk);
    EXPECT_EQ(second.GetCount(), 1u);
    t.StopThreadSoon();
    EXPECT_EQ(t.ProcessWaitSignalObjectGroup(third, kLWaitForever), LProcessResultStopped);
    EXPECT_TRUE(third.IsMember(t.GetStopSignal()));

    std::vector<LSignalObject> many(LSignalObjectGroup::kMaxMembers);
    LSignalObjectGroup full; // no room for the stop, which is heard all the same
    for (auto& s : many)
        full.Add(s);
    EXPECT_EQ(t.ProcessWaitSignalObjectGroup(full, kLWaitForever), LProcessResultStopped);
}

TEST(ThreadPriorities, MapToNiceValuesAndStartSameCopiesTheCaller) {
    for (int p : {0, 4, 8, 20})
        EXPECT_EQ(LThreadNiceToPriority(LThreadPriorityToNice(p)), p);

    const int expectedNice = std::max(10, OwnNice());
    std::atomic<int> innerNice{-100}, innerPriority{-1};
    FnThread inner([&](FnThread&) { innerNice = OwnNice(); });
    FnThread outer([&](FnThread&) {
        inner.StartSame();
        innerPriority = inner.GetPriority();
        inner.WaitToStop();
    });
    outer.Start(kLThreadPriorityBackground);
    outer.WaitToStop();
    EXPECT_EQ(innerNice, expectedNice);
    EXPECT_EQ(innerPriority, LThreadNiceToPriority(expectedNice));
}

TEST(ThreadNames, TheSystemShowsTheGivenNameCutTo15Bytes) {
    char seen[32] = "";
    FnThread t([&](FnThread&) { pthread_getname_np(pthread_self(), seen, sizeof seen); });
    t.SetThreadName("KVWorkerWithALongName");
    t.Start(kLThreadPriorityNormal);
    t.WaitToStop();
    EXPECT_STREQ(seen, "KVWorkerWithALo");
}

class Detached : public LDetachedThread {
public:
    Detached(Counter& destroyed, bool waitForStop)
        : destroyed(destroyed), waitForStop(waitForStop) {}
    ~Detached() override {
        StopThreadNow();
        destroyed.Add();
    }
    void ThreadFunction() override {
        if (waitForStop)
            ProcessWait(kLWaitForever);
    }
    Counter& destroyed;
    bool waitForStop;
};

TEST(DetachedThreads, ThoseThatEndByThemselvesLeaveTheListAndDestroyThemselves) {
    Counter destroyed;
    LDetachedThreadsOwner owner;
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(owner.StartThread(new Detached(destroyed, i % 2 == 1), kLThreadPriorityWork), 0);
    owner.StopThreadsSoon(); // the waiting half ends by itself as well
    ASSERT_TRUE(destroyed.WaitFor(8));
    EXPECT_EQ(owner.GetCount(), 0u);
}

TEST(DetachedThreads, StopThreadsNowEndsAndDestroysEveryOneAtOnce) {
    Counter destroyed;
    {
        LDetachedThreadsOwner owner;
        for (int i = 0; i < 5; ++i)
            owner.StartThread(new Detached(destroyed, true), kLThreadPriorityBackground);
        EXPECT_EQ(owner.GetCount(), 5u);
        {
            kvtest::RefuseThreads refuse; // a refused one stays until the owner ends it
            EXPECT_EQ(owner.StartThread(new Detached(destroyed, true), 20), EAGAIN);
        }
        owner.StopThreadsNow();
        EXPECT_TRUE(destroyed.WaitFor(6));
        EXPECT_EQ(owner.GetCount(), 0u);
        owner.StartThread(new Detached(destroyed, true), kLThreadPriorityNormal);
    } // the owner's end stops what still runs
    EXPECT_TRUE(destroyed.WaitFor(7));
}

} // namespace
