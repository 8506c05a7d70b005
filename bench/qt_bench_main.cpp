// The main of the benchmarks that need the window toolkit: an offscreen
// application whose settings, recovery files and cache stay out of the
// user's folders, and the main-thread queue the editor's workers post to.

#include <benchmark/benchmark.h>

#include <QApplication>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "foundation/main_thread.h"
#include "toolkit/main_queue.h"

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const std::string home =
        (std::filesystem::temp_directory_path() / ("kv-bench-home-" + std::to_string(getpid()))).string();
    setenv("XDG_DATA_HOME", (home + "/data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/config").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home + "/cache").c_str(), 1);
    // The figures are the output: the offscreen platform's notes on what it
    // cannot do, and a missing runtime folder, are not.
    setenv("XDG_RUNTIME_DIR", (home + "/runtime").c_str(), 0);
    std::filesystem::create_directories(home + "/runtime");
    std::filesystem::permissions(home + "/runtime", std::filesystem::perms::owner_all);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtDebugMsg && type != QtInfoMsg && type != QtWarningMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    LQtMainThreadQueue queue;
    LThreadRunOnMainThread::Init(queue);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    LThreadRunOnMainThread::Destroy();
    std::filesystem::remove_all(home);
    return 0;
}
