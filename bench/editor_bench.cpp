// The editor window's waits a user feels: from start to the first window
// shown; from a change to its picture on screen, for a 1920x1080 project of
// 500 shapes; and on one of 1,000 shapes, from a pointer move to the
// repainted frame with its live shape, and from the end of a move to the new
// picture. The references are bare renders of the same projects into a
// picture, measured in the same run.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QThread>
#include <QWindow>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <vector>

#include "document/shapes.h"
#include "persistence/project_file.h"
#include "render/render_image_buffer.h"
#include "shell/main_dialog.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/draw_surface.h"
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

bool IsIdle(MainDialog& dialog);

// A 1920x1080 project of `count` shapes opened in the dialog, rendered.
void OpenShapes(MainDialog& dialog, int count) {
    auto* project = new KVProject("bench");
    // Built outside the dialog, then handed over as a file open would.
    project->AddNewImage(new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255)));
    Fill(*project->GetCurrentImage(), count);
    const std::string path = (std::filesystem::temp_directory_path() / "kv-editor-bench.kvp").string();
    {
        LProcessInterfaceVoid process;
        // The dialog opens projects from files; a saved copy is the honest way in.
        KVProjectFileSave(process, *project, path.c_str());
    }
    delete project;
    dialog.CmOpenFile(path.c_str());
    std::filesystem::remove(path);
    PumpUntil([&] { return IsIdle(dialog); });
}

bool IsIdle(MainDialog& dialog) {
    return dialog.GetRenderResults().IsEmpty() && !dialog.GetRenderThread().IsRunning();
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
    OpenShapes(dialog, 500);
    const auto idle = [&] { return IsIdle(dialog); };
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
void BM_BareRenderOfShapes(benchmark::State& state) {
    KVProject project("bench");
    project.AddNewImage(new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255)));
    Fill(*project.GetCurrentImage(), static_cast<int>(state.range(0)));
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVRenderImageBuffer target(1920, 1080);
        target.Clear(LPixelColour(255, 255, 255, 255));
        benchmark::DoNotOptimize(project.Render(process, target));
        target.Flush();
    }
}
BENCHMARK(BM_BareRenderOfShapes)->Arg(501)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(20);

// The selected frame among 1,000 shapes in a window of 1920x1080, and the
// pointer events of a user who drags it.
struct FrameDrag {
    FrameDrag() {
        dialog.InitDialog();
        dialog.KillTimer(0);
        dialog.resize(1920, 1080);
        dialog.show();
        OpenShapes(dialog, 1000);
        dialog.CmChangeTool(KVCmToolSelect);
    }
    KVDrawSurface& Surface() { return dialog.GetUiWindow().GetSurface(); }
    // An image point as a point of the canvas's events.
    QPointF At(float x, float y) {
        const float zoom = Surface().GetZoom(), ratio = Surface().GetDeviceRatio();
        return QPointF((x * zoom - Surface().TranslateToCanvasX(0)) / ratio,
                       (y * zoom - Surface().TranslateToCanvasY(0)) / ratio);
    }
    void Send(QEvent::Type type, QPointF at) {
        QWidget* view = Surface().viewport();
        QMouseEvent event(type, at, view->mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view, &event);
    }
    MainDialog dialog;
};

// From a pointer move to the frame and its live shape repainted; the
// picture is not rendered again until the button comes up.
void BM_FrameDragMoveToRepaint(benchmark::State& state) {
    FrameDrag bench;
    std::vector<double> ms;
    long renders = 0;
    float x = 960, y = 540;
    for (auto _ : state) {
        bench.Send(QEvent::MouseButtonPress, bench.At(x, y));
        const KVElementWidget* held = bench.Surface().GetSelectedWidget();
        if (!held || !held->IsMoving() || held->GetElementName() == std::string("elementselectwidget")) {
            state.SkipWithError("no frame under the pointer");
            return;
        }
        const qint64 picture = bench.Surface().GetDisplayedImage().cacheKey();
        for (int i = 1; i <= 100; ++i) {
            QElapsedTimer timer;
            timer.start();
            bench.Send(QEvent::MouseMove, bench.At(x + i * 0.5f, y + i * 0.25f));
            bench.Surface().viewport()->repaint();
            ms.push_back(timer.nsecsElapsed() / 1e6);
        }
        renders += bench.Surface().GetDisplayedImage().cacheKey() != picture;
        state.PauseTiming();
        bench.Send(QEvent::MouseButtonRelease, bench.At(x + 50, y + 25));
        PumpUntil([&] { return IsIdle(bench.dialog); });
        x += 50;
        y += 25;
        state.ResumeTiming();
    }
    std::sort(ms.begin(), ms.end());
    state.counters["median_ms"] = ms[ms.size() / 2];
    state.counters["worst_ms"] = ms.back();
    state.counters["renders_during_drags"] = static_cast<double>(renders);
}
BENCHMARK(BM_FrameDragMoveToRepaint)->Unit(benchmark::kMillisecond)->Iterations(5);

// From the button coming up after a move of one element among 1,000 to the
// new picture on screen.
void BM_MoveEndToPictureOnScreen(benchmark::State& state) {
    FrameDrag bench;
    float x = 700, y = 400;
    for (auto _ : state) {
        bench.Send(QEvent::MouseButtonPress, bench.At(x, y));
        bench.Send(QEvent::MouseMove, bench.At(x + 5, y + 5));
        bench.Send(QEvent::MouseMove, bench.At(x + 10, y + 10));
        const qint64 picture = bench.Surface().GetDisplayedImage().cacheKey();
        QElapsedTimer timer;
        timer.start();
        bench.Send(QEvent::MouseButtonRelease, bench.At(x + 10, y + 10));
        PumpUntil([&] { return bench.Surface().GetDisplayedImage().cacheKey() != picture; });
        state.SetIterationTime(timer.nsecsElapsed() / 1e9);
        PumpUntil([&] { return IsIdle(bench.dialog); });
        x += 10;
        y += 10;
    }
}
BENCHMARK(BM_MoveEndToPictureOnScreen)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

} // namespace
