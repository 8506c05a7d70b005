#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "document/freehand.h"
#include "document/vectorize.h"
#include "foundation/thread.h"
#include "imaging/picture_util.h"

namespace {

using namespace std::chrono_literals;

struct Recorder : LProcessInterfaceVoid {
    void SetStatus(const char* text, int level) override {
        if (level == 0 && (statuses.empty() || statuses.back() != text))
            statuses.push_back(text);
    }
    void SetProgress(double f) override { progress.push_back(f); }
    std::vector<std::string> statuses;
    std::vector<double> progress;
};

TEST(VectorizeThreads, StripesOnManyThreadsKeepFlatRegionsAsOneThreadDoes) {
    std::string outlines[2];
    Recorder many;
    for (unsigned long threads : {1ul, 7ul}) {
        KVVectorizeImageSettings s;
        s.input = kvtest::MakePicture(31, 23, 0, [](int x, int y) {
            return 0xFF381878u + 0x302010u * static_cast<unsigned>((x / 5 + y / 3) % 3);
        });
        s.detail = 100;
        Recorder one;
        ASSERT_EQ(KVVectorizeImage(threads == 1 ? one : many, s, threads), LProcessResultOk);
        for (KVElement& e : s.output) {
            const auto p = static_cast<KVSimplePathElement&>(e).GetProperties();
            for (const KVDrawCoord& c : p.path.GetCoords())
                outlines[threads > 1] += std::to_string(c.x) + "," + std::to_string(c.y) + " ";
        }
    }
    EXPECT_EQ(outlines[1], outlines[0]);
    std::vector<std::string> steps{"Identifying Edges", "Reducing Detail", "Tracing Paths"};
    for (int x = 0; x < 31; ++x)
        steps.push_back(std::to_string(x) + " Columns out of 31 total processed");
    steps.push_back("Calculating Final Colors");
    EXPECT_EQ(many.statuses, steps);
    EXPECT_TRUE(std::is_sorted(many.progress.begin(), many.progress.end()));
    EXPECT_EQ(many.progress.back(), 1.0);
}

// The vectorisation on a thread of its own, as a progress window runs it, so
// that the stop arrives as a user's cancel does.
class VectorizeThread : public LThread {
public:
    ~VectorizeThread() override { StopThreadNow(); }
    void ThreadFunction() override { result = KVVectorizeImage(*this, settings, 4); }
    void SetProgress(double f) override { progress.store(f); }

    KVVectorizeImageSettings settings;
    std::atomic<double> progress{0};
    std::atomic<int> result{-1};
};

long LiveThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
}

TEST(VectorizeThreads, AStopEndsEveryWorkerWithinATenthOfASecond) {
    const long before = LiveThreads();
    VectorizeThread job;
    job.settings.input = kvtest::MakePicture(1000, 1000, 0, [](int x, int y) {
        return kvtest::Argb(255, (x * 7 + y) % 256, (x ^ y) & 0xFF, (x * y) % 251);
    });
    job.Start(kLThreadPriorityNormal);
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (job.progress.load() < 0.02 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(5ms);
    // Deep in the smoothing; a sanitizer may keep a thread of its own.
    const long during = LiveThreads();
    ASSERT_GE(during, before + 1 + 4);

    const auto asked = std::chrono::steady_clock::now();
    job.StopThreadSoon();
    // Counted by the system; the job's own thread may still be freeing memory.
    while (LiveThreads() > during - 4 && std::chrono::steady_clock::now() - asked < 5s)
        std::this_thread::sleep_for(1ms);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, 100ms);
    job.WaitToStop();
    EXPECT_EQ(job.result.load(), LProcessResultStopped);
    EXPECT_TRUE(job.settings.output.IsEmpty());
}

} // namespace
