#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <pthread.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "foundation/process.h"
#include "foundation/signal.h"

namespace {

using namespace std::chrono_literals;

TEST(Signals, SetStaysUntilResetAndCarriesTheSettersWrites) {
    LSignalObject s;
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_FALSE(s.WaitSignal(30));
    EXPECT_GE(std::chrono::steady_clock::now() - t0, 25ms);
    int payload = 0; // plain memory: the signal must order it
    std::thread setter([&] {
        payload = 42;
        s.Set();
        s.Set();
    });
    EXPECT_TRUE(s.WaitSignal(kLWaitForever));
    EXPECT_EQ(payload, 42);
    setter.join();
    EXPECT_TRUE(s.IsSignaled()); // testing does not consume
    s.Reset();                   // drains every byte
    EXPECT_FALSE(s.IsSignaled());

    const LSignalObjectRef none; // a pipe the system refused: never blocks
    EXPECT_FALSE(none.WaitSignal(kLWaitForever));
    none.Set();
}

void OnInterrupt(int) {}

TEST(Signals, AnInterruptedWaitCountsAsSignalled) {
    // No SA_RESTART, and the handler stays: a late one must not end the program.
    struct sigaction sa {};
    sa.sa_handler = OnInterrupt;
    sigemptyset(&sa.sa_mask);
    ASSERT_EQ(sigaction(SIGUSR1, &sa, nullptr), 0);
    LSignalObject never;
    std::atomic<bool> returned{false};
    const pthread_t waiter = pthread_self();
    std::thread interrupter([&] {
        while (!returned.load()) {
            pthread_kill(waiter, SIGUSR1);
            std::this_thread::sleep_for(5ms);
        }
    });
    EXPECT_TRUE(never.WaitSignal(kLWaitForever));
    returned = true;
    interrupter.join();
    EXPECT_FALSE(never.IsSignaled());
}

TEST(Signals, DescriptorsAbove1024AreWaitedOn) {
    constexpr int kHigh = 1500;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur <= kHigh + 1) {
        limit.rlim_cur = limit.rlim_max;
        if (limit.rlim_cur <= kHigh + 1 || setrlimit(RLIMIT_NOFILE, &limit) != 0)
            GTEST_SKIP() << "too few descriptors allowed here";
    }
    LSignalObject low;
    ASSERT_EQ(dup2(low.Ref().readEnd, kHigh), kHigh);
    ASSERT_EQ(dup2(low.Ref().writeEnd, kHigh + 1), kHigh + 1);
    const LSignalObjectRef high{kHigh, kHigh + 1};
    LSignalObjectGroup g;
    g.Add(high);
    EXPECT_FALSE(g.Select(5));
    high.Set();
    EXPECT_TRUE(high.WaitSignal(5));
    EXPECT_TRUE(g.Select(5));
    close(kHigh);
    close(kHigh + 1);
}

TEST(SignalGroups, IgnoreMembersPast256AndSpendOnlyWhenNarrowing) {
    std::vector<LSignalObject> signals(260);
    LSignalObjectGroup group;
    for (auto& s : signals)
        group.Add(s);
    group.Add(signals[3]); // already a member
    EXPECT_EQ(group.GetCount(), 256u);
    signals[259].Set(); // never joined
    EXPECT_FALSE(group.Select(0));
    signals[255].Set();
    EXPECT_TRUE(group.Select(0));
    EXPECT_EQ(group.GetCount(), 256u); // a plain wait leaves the group
    std::vector<int> fds;
    group.GetFileDescriptors(fds);
    EXPECT_EQ(fds.at(255), signals[255].Ref().readEnd);

    EXPECT_TRUE(group.SelectNarrowing(0));
    EXPECT_EQ(group.GetCount(), 1u);
    EXPECT_TRUE(group.IsMember(signals[255]));
    // `also` wakes a narrowing wait without joining; nothing of the group came.
    LSignalObjectGroup other;
    other.Add(signals[0]);
    EXPECT_TRUE(other.SelectNarrowing(10000, signals[259]));
    EXPECT_EQ(other.GetCount(), 0u);
}

} // namespace
