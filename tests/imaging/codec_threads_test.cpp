// Camera raw pictures are developed off the main thread when the main thread
// asks for them, while the main thread keeps delivering the reports.

#include <gtest/gtest.h>

#include <thread>

#include "codec_pictures.h"
#include "foundation/main_thread.h"
#include "imaging/image_file.h"
#include "support/temp_dir.h"

namespace {

struct MainThreadReports : LProcessInterfaceModal {
    LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int ms) override {
        ++waits;
        return LProcessInterfaceModal::ProcessWaitSignal(signal, ms);
    }
    void SetError(const char* m) override { errors.push_back(m); }
    void SetStatus(const char* text, int level) override {
        statuses.push_back(std::to_string(level) + " " + text);
        if (std::this_thread::get_id() != main)
            ++offMain;
    }
    void SetProgress(double) override {
        if (std::this_thread::get_id() != main)
            ++offMain;
    }
    std::thread::id main = std::this_thread::get_id();
    int waits = 0;
    int offMain = 0;
    std::vector<std::string> errors, statuses;
};

TEST(CodecThreads, CameraRawOnTheMainThreadIsDevelopedOnAWorker) {
    kvtest::TempDir dir;
    ASSERT_TRUE(kvtest::ToolMake(dir.Path()));
    LMainThreadQueueCore queue;
    LThreadRunOnMainThread::Init(queue);
    {
        MainThreadReports reports;
        LImageBuffer b;
        EXPECT_EQ(LImage::Load(reports, b, dir.File("linear.dng").c_str(), 3000), 48u);
        EXPECT_TRUE(b.IsValid());
        EXPECT_GT(reports.waits, 0) << "the main thread waited for a worker";
        EXPECT_EQ(reports.offMain, 0) << "every report arrived on the main thread";
        EXPECT_TRUE(reports.errors.empty());
        EXPECT_EQ(reports.statuses.at(1), "1 Decoding RAW image");

        // A PNG is decoded where it is asked for: no worker, no wait.
        MainThreadReports direct;
        EXPECT_EQ(LImage::Load(direct, b, dir.File("rgb.png").c_str(), 3000), 24u);
        EXPECT_EQ(direct.waits, 0);
    }
    LThreadRunOnMainThread::Destroy();
}

} // namespace
