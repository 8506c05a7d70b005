// The editor window's two waits a user feels: from start to the first window
// shown, and from a change to its picture on screen, for a 1920x1080 project
// of 500 shapes. The reference for the second is the bare render of the same
// project into a picture, measured in the same run.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QWindow>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "document/shapes.h"
#include "persistence/project_file.h"
#include "render/render_image_buffer.h"
#include "shell/main_dialog.h"
#include "shell/ui_window.h"
#include "toolkit/main_queue.h"
#include "toolkit/qt_image.h"

namespace {

template <class Condition> void PumpUntil(Condition done) {
    while (!done()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        QThread::usleep(50);
    }
}

KVElement* RandomShape(std::mt19937& rng) {
    std::uniform_real_distribution<float> x(0, 1800), y(0, 1000), size(20, 200), angle(0, 90);
    std::uniform_int_distribution<int> channel(0, 255), kind(0, 2);
    const float left = x(rng), top = y(rng);
    KVRectangleElementProperties p;
    p.SetRectangle({left, top, left + size(rng), top + size(rng)});
    p.SetFill(LGuiColorAlpha(channel(rng), channel(rng), channel(rng), 255));
    p.lineWidth = 2;
    if (kind(rng) == 0)
        p.rotation = angle(rng);
    if (kind(rng) == 1) {
        KVEllipseElementProperties e;
        static_cast<KVBoxShapeProperties&>(e) = p;
        return new KVEllipseElement(e);
    }
    return new KVRectangleElement(p);
}

void Fill(KVImage& image, int count) {
    std::mt19937 rng(7);
    for (int i = 0; i < count; ++i)
        image.AddNewElement(RandomShape(rng), image.GetFirstLayer(), false, false);
}

void BM_StartToFirstWindowShown(benchmark::State& state) {
    for (auto _ : state) {
        MainDialog dialog;
        dialog.InitDialog();
        dialog.show();
        PumpUntil([&] { return dialog.isVisible() && dialog.windowHandle() && dialog.windowHandle()->isExposed(); });
        state.PauseTiming();
        dialog.KillTimer(0);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_StartToFirstWindowShown)->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_ChangeToPictureOnScreen(benchmark::State& state) {
    MainDialog dialog;
    dialog.InitDialog();
    dialog.KillTimer(0);
    dialog.show();
    auto* project = new KVProject("bench");
    // Built outside the dialog, then handed over as a file open would.
    project->AddNewImage(new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255)));
    Fill(*project->GetCurrentImage(), 500);
    const std::string path = (std::filesystem::temp_directory_path() / "kv-editor-bench.kvp").string();
    {
        LProcessInterfaceVoid process;
        // The dialog opens projects from files; a saved copy is the honest way in.
        KVProjectFileSave(process, *project, path.c_str());
    }
    delete project;
    dialog.CmOpenFile(path.c_str());
    std::filesystem::remove(path);
    auto idle = [&] { return dialog.GetRenderResults().IsEmpty() && !dialog.GetRenderThread().IsRunning(); };
    PumpUntil(idle);
    std::mt19937 rng(11);
    for (auto _ : state) {
        const QImage before = dialog.GetUiWindow().GetSurface().GetDisplayedImage();
        {
            std::unique_ptr<KVRenderLock> lock;
            KVImage* image = dialog.GetCurrentProject(lock)->GetCurrentImage();
            image->AddNewElement(RandomShape(rng), image->GetFirstLayer(), false, true);
        }
        dialog.RenderCurrentProject();
        PumpUntil([&] { return dialog.GetUiWindow().GetSurface().GetDisplayedImage().cacheKey() != before.cacheKey(); });
        state.PauseTiming();
        PumpUntil(idle);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ChangeToPictureOnScreen)->Unit(benchmark::kMillisecond)->Iterations(20);

// The reference: the same project rendered straight into a picture.
void BM_BareRenderOf500Shapes(benchmark::State& state) {
    KVProject project("bench");
    project.AddNewImage(new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255)));
    Fill(*project.GetCurrentImage(), 501);
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVRenderImageBuffer target(1920, 1080);
        target.Clear(LPixelColour(255, 255, 255, 255));
        benchmark::DoNotOptimize(project.Render(process, target));
        target.Flush();
    }
}
BENCHMARK(BM_BareRenderOf500Shapes)->Unit(benchmark::kMillisecond)->Iterations(20);

} // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // Settings, recovery files and cache of the benchmark stay out of the user's folders.
    const std::string home = (std::filesystem::temp_directory_path() / "kv-editor-bench-home").string();
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
    QElapsedTimer sinceStart;
    sinceStart.start();
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    std::printf("application object: %.1f ms\n", sinceStart.nsecsElapsed() / 1e6);
    LQtMainThreadQueue queue;
    LThreadRunOnMainThread::Init(queue);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    LThreadRunOnMainThread::Destroy();
    std::filesystem::remove_all(home);
    return 0;
}
