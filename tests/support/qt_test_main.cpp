// The main of the tests of the window side: an application object on Qt's
// offscreen platform, the main-thread queue on its event loop, and every
// folder the program writes to inside a fresh temporary folder.

#include <gmock/gmock.h>

#include <QApplication>

#include <clocale>
#include <cstdlib>
#include <memory>

#include "foundation/main_thread.h"
#include "support/library_caches.h"
#include "support/temp_dir.h"
#include "toolkit/main_queue.h"

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // A child the test started (KV_TEST_SHARE_HOME) works in its parent's folders.
    std::unique_ptr<kvtest::TempDir> home;
    if (!std::getenv("KV_TEST_SHARE_HOME")) {
        home = std::make_unique<kvtest::TempDir>();
        setenv("XDG_DATA_HOME", home->File("data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", home->File("config").c_str(), 1);
        setenv("XDG_CACHE_HOME", home->File("cache").c_str(), 1);
        setenv("HOME", home->Path().c_str(), 1);
    }
    testing::InitGoogleMock(&argc, argv);
    int result;
    {
        QApplication application(argc, argv);
        std::setlocale(LC_NUMERIC, "C");
        LQtMainThreadQueue queue;
        LThreadRunOnMainThread::Init(queue);
        result = RUN_ALL_TESTS();
        LThreadRunOnMainThread::Destroy();
    }
    kvtest::ReleaseLibraryCaches();
    return result;
}
