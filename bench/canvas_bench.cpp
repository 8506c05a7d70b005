// The canvas's waits a user feels, on the offscreen platform: from a
// pointer move to the repainted strip of a stroke, one scroll step with its
// repaint, and from the button coming up to the stroke's element (filter,
// fit, undo record). The peak memory of a scroll at 400% is reported beside
// the one at 100%.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QWindow>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "document/freehand.h"
#include "document/project.h"
#include "shell/main_dialog.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/draw_surface.h"
#include "toolkit/main_queue.h"

namespace {

struct Sink : KVDrawSurfaceParent {
    void EvSurfaceMessage(KVSurfaceMessage, KVSurfaceMessageData&) override {}
};

// The process's peak resident memory in megabytes; run one case a process
// (--benchmark_filter) to compare zooms.
double PeakMB() {
    double kb = 0;
    if (FILE* f = std::fopen("/proc/self/status", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, f))
            if (std::sscanf(line, "VmHWM: %lf", &kb) == 1)
                break;
        std::fclose(f);
    }
    return kb / 1024;
}

struct Canvas {
    Canvas(int width, int height, float zoom) : surface(sink) {
        surface.resize(1920, 1080);
        surface.show();
        // Until the window is on its (offscreen) screen, nothing paints.
        QElapsedTimer waited;
        waited.start();
        while (!(surface.windowHandle() && surface.windowHandle()->isExposed()) && waited.elapsed() < 5000)
            QApplication::processEvents(QEventLoop::AllEvents, 10);
        QImage picture(width, height, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::white);
        surface.UpdateDisplayedImage(picture);
        surface.UpdateZoom(zoom);
        surface.SetScroll(0, 0);
        surface.viewport()->repaint();
    }
    void Send(QEvent::Type type, QPointF at, Qt::MouseButton button) {
        QMouseEvent event(type, at, surface.viewport()->mapToGlobal(at), button,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(surface.viewport(), &event);
    }
    Sink sink;
    KVDrawSurface surface;
};

void Report(benchmark::State& state, std::vector<double>& ms) {
    std::sort(ms.begin(), ms.end());
    state.counters["median_ms"] = ms[ms.size() / 2];
    state.counters["worst_ms"] = ms.back();
}

// From a move of the pointer to its strip repainted: a stroke of the width
// given, on a 3840x2160 image at 200%.
void BM_PointerToPixels(benchmark::State& state, KVBrushType stamp, float width) {
    Canvas canvas(3840, 2160, 2.0f);
    canvas.surface.SetPointCaptureMode(KVCaptureFreehand);
    canvas.surface.SetStampType(stamp);
    canvas.surface.SetLineWidth(width);
    canvas.surface.SetLineColor(LGuiColorAlpha(0, 0, 0, 255));
    std::vector<double> ms;
    bool warm = false;
    for (auto _ : state) {
        canvas.Send(QEvent::MouseButtonPress, QPointF(200, 500), Qt::LeftButton);
        for (int i = 0; i < 300; ++i) {
            // A wave across the window, 5 to 12 pixels an event, as a brisk hand moves.
            const QPointF at(200 + i * 5, 500 + 300 * std::sin(i / 30.0));
            QElapsedTimer timer;
            timer.start();
            canvas.Send(QEvent::MouseMove, at, Qt::NoButton);
            QApplication::processEvents();
            // The first stroke builds the page pictures once: not a move's cost.
            if (warm)
                ms.push_back(timer.nsecsElapsed() / 1e6);
        }
        warm = true;
        canvas.Send(QEvent::MouseButtonRelease, QPointF(200, 300), Qt::LeftButton);
        // The render never comes here: the preview is dropped as it would be.
        canvas.surface.UpdateDisplayedImage(canvas.surface.GetDisplayedImage());
    }
    Report(state, ms);
}
BENCHMARK_CAPTURE(BM_PointerToPixels, pencil_50, KVBrushPencil, 50.0f)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK_CAPTURE(BM_PointerToPixels, spray_200, KVBrushSpray, 200.0f)->Unit(benchmark::kMillisecond)->Iterations(4);

// One scroll step of 20 pixels and its repaint.
void BM_ScrollStep(benchmark::State& state) {
    Canvas canvas(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), state.range(2) / 100.0f);
    std::vector<double> ms;
    int x = 0;
    for (auto _ : state) {
        x = (x + 20) % 2000;
        QElapsedTimer timer;
        timer.start();
        canvas.surface.SetScroll(x, x / 2);
        canvas.surface.viewport()->repaint();
        ms.push_back(timer.nsecsElapsed() / 1e6);
    }
    Report(state, ms);
    state.counters["peak_MB"] = PeakMB();
}
BENCHMARK(BM_ScrollStep)->Args({1920, 1080, 100})->Args({4000, 3000, 100})->Args({4000, 3000, 400})->Iterations(100)->Unit(benchmark::kMillisecond);

// From the button coming up to the element of a 10,000-point stroke.
void BM_StrokeEndToElement(benchmark::State& state) {
    MainDialog dialog;
    dialog.CmNewProject();
    dialog.CmChangeTool(KVCmToolPencil);
    for (auto _ : state) {
        LPtr<KVDrawPath> path(new KVDrawPath(1024, 768, nullptr));
        for (int i = 0; i < 10000; ++i)
            path->AddCoord(new KVDrawCoord(10 + (i % 1000) * 1.0f, 100 + (i / 1000) * 50 + (i % 7) * 0.7f));
        QElapsedTimer timer;
        timer.start();
        dialog.EvCreateElement(path);
        state.SetIterationTime(timer.nsecsElapsed() / 1e9);
    }
}
BENCHMARK(BM_StrokeEndToElement)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace
