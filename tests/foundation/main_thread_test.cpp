#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/main_thread.h"
#include "thread_helpers.h"

namespace {

using namespace std::chrono_literals;
using kvtest::FnThread;

class MainQueue : public testing::Test, public kvtest::WithMainQueue {
protected:
    // Logs its number and thread when run; counts its destruction.
    struct Item : LThreadRunOnMainThreadData {
        Item(MainQueue& q, int v, LThreadRunOnMainThread* chainTo = nullptr)
            : q(q), v(v), chainTo(chainTo) {}
        ~Item() override { ++q.destroyed; }
        void MainThreadFunction() override {
            q.log.push_back(v);
            q.threads.push_back(std::this_thread::get_id());
            if (chainTo && v > 0)
                chainTo->RunOnMainThread(new Item(q, v - 1, chainTo));
            if (ack)
                ack->Set();
            if (stop)
                stop->RequestStop();
        }
        MainQueue& q;
        int v;
        LThreadRunOnMainThread* chainTo;
        LSignalObject* ack = nullptr;
        LProcessInterfaceModal* stop = nullptr;
    };
    Item* New(int v) { return new Item(*this, v); }

    std::vector<int> log;
    std::vector<std::thread::id> threads;
    std::atomic<int> destroyed{0};
};

TEST_F(MainQueue, ItemsRunInOrderAndOnlyOnTheMainThread) {
    LThreadRunOnMainThread target;
    FnThread poster([&](FnThread&) {
        for (int i = 0; i < 100; ++i)
            target.RunOnMainThread(New(i));
    });
    poster.Start(kLThreadPriorityNormal);
    poster.WaitToStop();
    EXPECT_EQ(target.GetRefCount(), 100);
    EXPECT_TRUE(queue.GetPendingSignal().IsSignaled());
    unsigned offMain = 99;
    std::thread([&] { offMain = queue.DeliverPending(); }).join();
    EXPECT_EQ(offMain, 0u);

    EXPECT_EQ(queue.DeliverPending(), 100u);
    ASSERT_EQ(log.size(), 100u);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(log[i], i);
        EXPECT_EQ(threads[i], std::this_thread::get_id());
    }
    EXPECT_EQ(destroyed, 100);
    EXPECT_EQ(target.GetRefCount(), 0);
    EXPECT_FALSE(queue.GetPendingSignal().IsSignaled());
}

TEST_F(MainQueue, OneTargetsItemsAreDroppedTheOthersKeepTheirOrder) {
    LThreadRunOnMainThread a, b;
    for (int i = 0; i < 6; ++i)
        (i % 2 ? b : a).RunOnMainThread(New(i));
    a.FlushEventFromQueue();
    EXPECT_EQ(destroyed, 3); // destroyed, not run
    EXPECT_EQ(a.GetRefCount(), 0);
    EXPECT_TRUE(a.IsAccepting());
    EXPECT_EQ(queue.DeliverPending(), 3u);
    EXPECT_EQ(log, (std::vector<int>{1, 3, 5}));

    // Items posted while delivering wait for the next pass.
    b.RunOnMainThread(new Item(*this, 2, &b));
    for (unsigned expected : {1u, 1u, 1u, 0u})
        EXPECT_EQ(queue.DeliverPending(), expected);
    EXPECT_EQ(log, (std::vector<int>{1, 3, 5, 2, 1, 0}));
}

TEST_F(MainQueue, AClosingTargetsItemsAreFlushedNeverRun) {
    LThreadRunOnMainThread target;
    for (int i = 0; i < 3; ++i)
        target.RunOnMainThread(New(i));
    target.Close();
    EXPECT_FALSE(target.IsAccepting());
    EXPECT_EQ(destroyed, 3);
    target.RunOnMainThread(New(9)); // a no-op from now on
    EXPECT_EQ(destroyed, 4);
    EXPECT_EQ(queue.GetCount(), 0u);

    auto dying = std::make_unique<LThreadRunOnMainThread>();
    dying->RunOnMainThread(New(1));
    dying.reset(); // a target that goes takes its items with it
    EXPECT_EQ(queue.DeliverPending(), 0u);
    EXPECT_TRUE(log.empty());
}

TEST_F(MainQueue, NothingIsQueuedAfterTheMainLoopOrWithoutAQueue) {
    LThreadRunOnMainThread target;
    soApplicationEventLoopFinished.Set();
    target.RunOnMainThread(New(1));
    soApplicationEventLoopFinished.Reset();
    LThreadRunOnMainThread::Destroy();
    target.RunOnMainThread(New(2));
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(queue.GetCount(), 0u);
    EXPECT_EQ(target.GetRefCount(), 0);
}

TEST_F(MainQueue, AModalWaitKeepsDelivering) {
    // The worker only finishes if its items run while the main thread waits.
    LThreadRunOnMainThread target;
    LSignalObject ack, finished;
    FnThread worker([&](FnThread& self) {
        for (int i = 0; i < 3; ++i) {
            Item* item = New(i);
            item->ack = &ack;
            target.RunOnMainThread(item);
            if (self.ProcessWaitSignal(ack, 10000) != LProcessResultOk)
                return;
            ack.Reset();
        }
        finished.Set();
    });
    worker.Start(kLThreadPriorityNormal);
    LSignalObjectGroup awaited;
    awaited.Add(finished);
    EXPECT_TRUE(queue.WaitDelivering(awaited, 10000));
    EXPECT_EQ(log, (std::vector<int>{0, 1, 2}));
}

class Handler : public LQueuedNotifyDataHandler {
public:
    void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) override {
        got.push_back(std::to_string(id) + ":" +
                      (data ? std::string(static_cast<const char*>(data), size)
                            : "value " + std::to_string(size)));
    }
    std::vector<std::string> got;
};

TEST_F(MainQueue, NotificationsCarryACopyOrAPlainValueInOrder) {
    Handler handler;
    FnThread sender([&](FnThread&) {
        char buffer[8] = "abcdefg";
        handler.PostNotifyFromSender(1, buffer, 7);
        std::memset(buffer, 'x', sizeof buffer); // the copy is already taken
        handler.PostNotifyFromSender(2, nullptr, 0xDEADBEEFul);
        handler.PostNotifyFromSender(3, buffer, 0);
    });
    sender.Start(kLThreadPriorityNormal);
    sender.WaitToStop();
    EXPECT_TRUE(handler.got.empty());
    EXPECT_EQ(queue.DeliverPending(), 3u);
    EXPECT_EQ(handler.got, (std::vector<std::string>{"1:abcdefg", "2:value 3735928559", "3:"}));

    auto gone = std::make_unique<Handler>();
    gone->PostNotifyFromSender(1, "a", 1);
    gone.reset();
    EXPECT_EQ(queue.GetCount(), 0u);
}

TEST_F(MainQueue, ModalWaitsGiveTheProgressWindowsResults) {
    LProcessInterfaceModal modal;
    LSignalObject s;
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(modal.ProcessWait(40), LProcessResultError); // time simply passed
    EXPECT_GE(std::chrono::steady_clock::now() - t0, 35ms);
    EXPECT_EQ(modal.ProcessWaitSignal(s, 5), LProcessResultError);
    s.Set();
    EXPECT_EQ(modal.ProcessWaitSignal(s, kLWaitForever), LProcessResultOk);
    modal.RequestStop();
    EXPECT_EQ(modal.ProcessWaitSignal(s, 5), LProcessResultStopped);
    modal.ClearStop();
    soApplicationEventLoopFinished.Set();
    EXPECT_EQ(modal.ProcessWait(kLWaitForever), LProcessResultStopped);
    soApplicationEventLoopFinished.Reset();
}

TEST_F(MainQueue, ModalIsToStopDeliversAndAStopFromAnItemEndsTheWait) {
    LProcessInterfaceModal modal;
    LThreadRunOnMainThread target;
    Item* item = New(1);
    item->stop = &modal;
    target.RunOnMainThread(item);
    EXPECT_FALSE(modal.IsToStop()); // read before the item ran inside
    EXPECT_TRUE(modal.IsToStop());
    modal.ClearStop();

    FnThread worker([&](FnThread&) {
        Item* late = New(2);
        late->stop = &modal;
        target.RunOnMainThread(late);
    });
    worker.Start(kLThreadPriorityNormal);
    EXPECT_EQ(modal.ProcessWaitSignal(LSignalObjectRef{}, 10000), LProcessResultStopped);
    EXPECT_EQ(log, (std::vector<int>{1, 2}));
}

} // namespace
