#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "imaging/image_blur.h"
#include "picture_util.h"

using kvtest::MakePicture;

namespace {

// Records progress, counts the waits that ran out of time, and stops when
// told to (from any thread) or after a number of progress reports.
struct Watcher : LProcessInterfaceVoid {
    bool IsToStop() override { return stopped.load(); }
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override {
        if (stopped.load())
            return LProcessResultStopped;
        const LProcessResult r = LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(group, ms);
        if (r == LProcessResultError)
            ++timeouts;
        return r;
    }
    void SetProgress(double f) override {
        progress.push_back(f);
        if (static_cast<int>(progress.size()) == stopAfter)
            stopped.store(true);
    }
    std::atomic<bool> stopped{false};
    int stopAfter = -1;
    int timeouts = 0;
    std::vector<double> progress;
};

LImageBuffer Noise(int w, int h, unsigned seed) {
    std::mt19937 random(seed);
    return MakePicture(w, h, 0, [&](int, int) { return kvtest::RandomPremultiplied(random); });
}

TEST(BlurThreads, StripesOnThreadsGiveTheSamePictureAsOneThread) {
    for (unsigned long threads : {1ul, 3ul, 8ul, 1000ul}) {
        LImageBuffer threaded = Noise(41, 29, 4), alone = Noise(41, 29, 4);
        Watcher watcher;
        LImageBlurSettings settings(threaded, 4);
        settings.threadCount = threads;
        ASSERT_EQ(Process(watcher, settings), LProcessResultOk);

        LProcessInterfaceVoid process;
        for (int pass = 0; pass < 6; ++pass)
            ASSERT_EQ(LImageBoxBlur(process, alone, pass < 3, 0, pass < 3 ? 29 : 41, 4), 0);
        EXPECT_TRUE(kvtest::SamePictures(threaded, alone)) << threads << " threads";
        EXPECT_EQ(watcher.progress,
                  (std::vector<double>{1 / 6.0, 2 / 6.0, 3 / 6.0, 4 / 6.0, 5 / 6.0, 1.0}));
    }
    LImageBuffer any;
    EXPECT_GE(LImageProcessorCount(), 1ul);
    EXPECT_EQ(LImageBlurSettings(any).threadCount, LImageProcessorCount());
}

TEST(BlurThreads, SmallBlurEndsWithEveryStripeWithoutIdleWaits) {
    LImageBuffer layer = Noise(300, 200, 5);
    Watcher watcher;
    LImageBlurSettings settings(layer, 6);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Process(watcher, settings), LProcessResultOk);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    // Six rounds that each waited out a 100 ms poll would take 600 ms.
    EXPECT_LT(elapsed, std::chrono::milliseconds(450));
    EXPECT_EQ(watcher.timeouts, 0);
}

TEST(BlurThreads, AStopEndsTheBlurWithOne) {
    LImageBuffer b = Noise(64, 64, 6);
    Watcher afterTwo;
    afterTwo.stopAfter = 2;
    LImageBlurSettings settings(b, 3);
    EXPECT_EQ(Process(afterTwo, settings), LProcessResultStopped);
    EXPECT_EQ(afterTwo.progress.size(), 2u);

    // A stop from another thread in the middle of a long round.
    LImageBuffer big = Noise(1000, 1000, 7);
    Watcher watcher;
    LImageBlurSettings slow(big, 30);
    slow.passes = 50;
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        watcher.stopped.store(true);
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Process(watcher, slow), LProcessResultStopped);
    stopper.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_LT(watcher.progress.size(), 100u);
}

TEST(BlurThreads, PicturesWithoutPixelsAndNothingToDo) {
    kvtest::ProcessLog errors;
    LImageBuffer empty;
    LImageBlurSettings settings(empty, 3);
    EXPECT_EQ(Process(errors, settings), LProcessResultError);
    EXPECT_FALSE(errors.errors.empty());

    LImageBuffer b = Noise(5, 5, 8);
    const LImageBuffer before = Noise(5, 5, 8);
    LImageBlurSettings none(b, 0);
    EXPECT_EQ(Process(errors, none), LProcessResultOk);
    EXPECT_TRUE(kvtest::SamePictures(b, before));
}

} // namespace
