// The main-thread queue on Qt's event loop: what workers post arrives on the
// main thread, in order, unless its target went first.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "foundation/main_thread.h"
#include "foundation/signal.h"
#include "support/qt_wait.h"

namespace {

class Recorder : public LQueuedNotifyDataHandler {
public:
    void EvQueuedNotifyData(unsigned int id, const void*, unsigned long size) override {
        EXPECT_TRUE(LThreadRunOnMainThread::GetQueue()->IsMainThread());
        seen.push_back({id, size});
    }
    std::vector<std::pair<unsigned, unsigned long>> seen;
};

TEST(QtMainQueue, WorkersPostsArriveOnTheMainThreadInPostingOrderAcrossTargets) {
    Recorder a, b;
    std::thread worker([&] {
        for (unsigned long i = 0; i < 200; ++i)
            (i % 2 ? b : a).PostNotifyFromSender(1, nullptr, i);
    });
    worker.join();
    ASSERT_TRUE(kvtest::WaitFor([&] { return a.seen.size() + b.seen.size() == 200; }));
    for (size_t i = 0; i < a.seen.size(); ++i)
        EXPECT_EQ(a.seen[i].second, 2 * i);
    for (size_t i = 0; i < b.seen.size(); ++i)
        EXPECT_EQ(b.seen[i].second, 2 * i + 1);
}

TEST(QtMainQueue, ATargetThatGoesTakesItsPendingItemsWithIt) {
    auto* doomed = new Recorder;
    Recorder survivor;
    for (unsigned long i = 0; i < 10; ++i) {
        doomed->PostNotifyFromSender(7, nullptr, i);
        survivor.PostNotifyFromSender(8, nullptr, i);
    }
    EXPECT_EQ(doomed->GetRunOnMainThread().GetRefCount(), 10);
    // Deleting it with items queued must neither run them nor leave them to
    // run on freed memory later.
    delete doomed;
    ASSERT_TRUE(kvtest::WaitFor([&] { return survivor.seen.size() == 10; }));
    kvtest::Pump(20);
    EXPECT_EQ(survivor.seen.size(), 10u);
}

TEST(QtMainQueue, AModalWaitKeepsDeliveringWhileItWaits) {
    Recorder r;
    LSignalObject done;
    std::thread worker([&] {
        for (unsigned long i = 0; i < 5; ++i)
            r.PostNotifyFromSender(3, nullptr, i);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        done.Set();
    });
    LSignalObjectGroup group;
    group.Add(done);
    EXPECT_TRUE(LThreadRunOnMainThread::GetQueue()->WaitDelivering(group, 5000));
    worker.join();
    EXPECT_EQ(r.seen.size(), 5u);
    // Without a member to wait for it delivers for the time given, then says no.
    r.PostNotifyFromSender(4, nullptr, 9);
    EXPECT_FALSE(LThreadRunOnMainThread::GetQueue()->WaitDelivering(LSignalObjectGroup(), 30));
    EXPECT_EQ(r.seen.size(), 6u);
}

TEST(QtMainQueue, DeliverPendingRunsOnlyOnTheMainThread) {
    Recorder r;
    r.PostNotifyFromSender(1, nullptr, 1);
    unsigned fromWorker = 99;
    std::thread([&] { fromWorker = LThreadRunOnMainThread::GetQueue()->DeliverPending(); }).join();
    EXPECT_EQ(fromWorker, 0u);
    EXPECT_EQ(LThreadRunOnMainThread::GetQueue()->DeliverPending(), 1u);
    EXPECT_EQ(r.seen.size(), 1u);
}

} // namespace
