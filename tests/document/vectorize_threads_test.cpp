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

LImageBuffer Squares(int w, int h) {
    return kvtest::MakePicture(w, h, 0, [](int x, int y) {
        return (x / 5 + y / 3) % 3 == 0 ? 0xFF383868u : (x / 5 + y / 3) % 3 == 1 ? 0xFFC8B898u
                                                                                   : 0xFF38A848u;
    });
}

std::string Describe(const KVVectorizeImageSettings& s) {
    std::string all;
    for (KVElement& e : s.output) {
        const auto p = static_cast<KVSimplePathElement&>(e).GetProperties();
        all += std::to_string(p.colour.red) + "@";
        for (const KVDrawCoord& c : p.path.GetCoords())
            all += std::to_string(c.x) + "," + std::to_string(c.y) + " ";
    }
    return all;
}

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
    KVVectorizeImageSettings alone, shared;
    alone.input = Squares(31, 23);
    shared.input = Squares(31, 23);
    alone.detail = shared.detail = 100;
    Recorder one, many;
    ASSERT_EQ(KVVectorizeImage(one, alone, 1), LProcessResultOk);
    ASSERT_EQ(KVVectorizeImage(many, shared, 7), LProcessResultOk);
    EXPECT_EQ(Describe(shared), Describe(alone));

    EXPECT_EQ(many.statuses.front(), "Identifying Edges");
    EXPECT_EQ(many.statuses[1], "Reducing Detail");
    EXPECT_EQ(many.statuses[2], "Tracing Paths");
    EXPECT_EQ(many.statuses[3], "0 Columns out of 31 total processed");
    EXPECT_EQ(many.statuses.back(), "Calculating Final Colors");
    EXPECT_TRUE(std::is_sorted(many.progress.begin(), many.progress.end()));
    EXPECT_EQ(many.progress.back(), 1.0);
}

// The whole vectorisation on a thread of its own, as a progress window runs
// it, so that the stop arrives the way a user's cancel does.
class VectorizeThread : public LThread {
public:
    ~VectorizeThread() override { StopThreadNow(); }
    void ThreadFunction() override { result = KVVectorizeImage(*this, settings, threads); }
    void SetProgress(double f) override { progress.store(f); }

    KVVectorizeImageSettings settings;
    unsigned long threads = 1;
    std::atomic<double> progress{0};
    std::atomic<int> result{-1};
};

// Threads of this process alive now, as the system counts them.
long LiveThreads() {
    const std::filesystem::path tasks("/proc/self/task");
    return std::distance(std::filesystem::directory_iterator(tasks),
                         std::filesystem::directory_iterator());
}

TEST(VectorizeThreads, AStopEndsEveryWorkerWithinATenthOfASecond) {
    const long before = LiveThreads();
    VectorizeThread job;
    job.settings.input = kvtest::MakePicture(1000, 1000, 0, [](int x, int y) {
        return kvtest::Argb(255, (x * 7 + y) % 256, (x ^ y) & 0xFF, (x * y) % 251);
    });
    job.settings.detail = 50;
    job.threads = 4;
    job.Start(kLThreadPriorityNormal);
    // Well into the smoothing, when every worker is busy.
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (job.progress.load() < 0.02 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(5ms);
    ASSERT_EQ(LiveThreads(), before + 1 + 4);

    const auto asked = std::chrono::steady_clock::now();
    job.StopThreadSoon();
    // The job's own thread may still be giving its memory back.
    while (LiveThreads() > before + 1 && std::chrono::steady_clock::now() - asked < 5s)
        std::this_thread::sleep_for(1ms);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, 100ms);
    job.WaitToStop();
    EXPECT_EQ(job.result.load(), LProcessResultStopped);
    EXPECT_TRUE(job.settings.output.IsEmpty());
}

} // namespace
