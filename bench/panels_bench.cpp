// Dragging a panel's slider on a selected stroke: how often the picture on
// screen follows, for a 1920x1080 project of 500 shapes and a brush stroke
// of 5000 points. The slider moves at the pace of a pointer (60 values a
// second) for two seconds; the aim is 10 pictures a second, and the figure
// reported beside the rate is its ratio to that aim. One change at rest,
// from the value to its picture, is measured in the same run: the drag can
// go no faster than one picture in that time.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QSpinBox>
#include <QThread>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "document/freehand.h"
#include "document/shapes.h"
#include "persistence/project_file.h"
#include "shell/main_dialog.h"
#include "shell/tool_panel.h"
#include "shell/ui_window.h"
#include "toolkit/main_queue.h"

namespace {

constexpr double kAimPerSecond = 10.0;

template <class Condition> void PumpUntil(Condition done) {
    while (!done()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        QThread::usleep(50);
    }
}

KVElement* RandomShape(std::mt19937& rng) {
    std::uniform_real_distribution<float> x(0, 1800), y(0, 1000), size(20, 200);
    std::uniform_int_distribution<int> channel(0, 255);
    const float left = x(rng), top = y(rng);
    KVRectangleElementProperties p;
    p.SetRectangle({left, top, left + size(rng), top + size(rng)});
    p.SetFill(LGuiColorAlpha(channel(rng), channel(rng), channel(rng), 255));
    p.lineWidth = 2;
    return new KVRectangleElement(p);
}

// A stroke that winds across the picture, 5000 points, fitted unthinned.
KVElement* LongStroke() {
    auto* path = new KVDrawPath(1920, 1080, nullptr);
    for (int i = 0; i < 5000; ++i) {
        const float t = i / 5000.0f;
        path->AddCoord(
            new KVDrawCoord(100 + 1700 * t, 540 + 400 * std::sin(t * 60.0f) * std::cos(t * 7.0f)));
    }
    KVBrushElementProperties p;
    p.width = 12;
    p.colour = LGuiColorAlpha(20, 40, 200, 255);
    auto* stroke = new KVBrushElement(p);
    stroke->SetPath(path, false, false, nullptr);
    return stroke;
}

void OpenProject(MainDialog& dialog) {
    KVProject project("bench");
    project.AddNewImage(new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255)));
    KVImage& image = *project.GetCurrentImage();
    std::mt19937 rng(7);
    for (int i = 0; i < 499; ++i)
        image.AddNewElement(RandomShape(rng), image.GetFirstLayer(), false, false);
    image.AddNewElement(LongStroke(), image.GetFirstLayer(), false, false);
    const std::string path =
        (std::filesystem::temp_directory_path() / "kv-panels-bench.kvp").string();
    LProcessInterfaceVoid process;
    KVProjectFileSave(process, project, path.c_str());
    dialog.CmOpenFile(path.c_str());
    std::filesystem::remove(path);
}

// `control` of the brush panel swings between `low` and `high`.
void DragSlider(benchmark::State& state, int control, int low, int high) {
    MainDialog dialog;
    dialog.InitDialog();
    dialog.KillTimer(0);
    dialog.show();
    OpenProject(dialog);
    auto idle = [&] {
        return dialog.GetRenderResults().IsEmpty() && !dialog.GetRenderThread().IsRunning();
    };
    PumpUntil(idle);
    KVDrawSurface& surface = dialog.GetUiWindow().GetSurface();
    const KVElement* stroke = dialog.GetSelectedLayer()->GetElementList().GetLast();
    surface.SelectWidget(surface.FindWidgetOf(stroke), true);
    auto* number = dynamic_cast<LPanelNumber*>(
        dialog.GetUiWindow().GetToolPanel().GetPanel("brush")->GetControl(control));
    double pictures = 0, seconds = 0;
    int value = low, step = 1;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        qint64 lastKey = surface.GetDisplayedImage().cacheKey();
        long shown = 0;
        auto count = [&] {
            const qint64 key = surface.GetDisplayedImage().cacheKey();
            if (key != lastKey) {
                lastKey = key;
                ++shown;
            }
        };
        for (int i = 0; i < 120; ++i) {
            if (value == high || (value == low && step < 0))
                step = -step;
            value += step;
            number->GetSpinBox().setValue(value);
            PumpUntil([&] {
                count();
                return clock.elapsed() >= (i + 1) * 1000 / 60;
            });
        }
        // The drag ends when its last value is on screen.
        PumpUntil([&] {
            count();
            return idle();
        });
        pictures += shown;
        seconds += clock.nsecsElapsed() / 1e9;
    }
    const double rate = seconds > 0 ? pictures / seconds : 0;
    state.counters["pictures_per_s"] = rate;
    state.counters["ratio_to_aim_10"] = rate / kAimPerSecond;
}

// For comparison: one change at rest, from the value typed to its picture.
void BM_OneWidthChangeToPicture(benchmark::State& state) {
    MainDialog dialog;
    dialog.InitDialog();
    dialog.KillTimer(0);
    dialog.show();
    OpenProject(dialog);
    auto idle = [&] {
        return dialog.GetRenderResults().IsEmpty() && !dialog.GetRenderThread().IsRunning();
    };
    PumpUntil(idle);
    KVDrawSurface& surface = dialog.GetUiWindow().GetSurface();
    surface.SelectWidget(
        surface.FindWidgetOf(dialog.GetSelectedLayer()->GetElementList().GetLast()), true);
    auto* number = dynamic_cast<LPanelNumber*>(
        dialog.GetUiWindow().GetToolPanel().GetPanel("brush")->GetControl(KVIdSize));
    int value = 10;
    for (auto _ : state) {
        const qint64 before = surface.GetDisplayedImage().cacheKey();
        number->GetSpinBox().setValue(value = value == 10 ? 11 : 10);
        PumpUntil([&] { return surface.GetDisplayedImage().cacheKey() != before; });
        state.PauseTiming();
        PumpUntil(idle);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_OneWidthChangeToPicture)->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_DragBrushWidthOnSelectedStroke(benchmark::State& state) {
    DragSlider(state, KVIdSize, 10, 60);
}
BENCHMARK(BM_DragBrushWidthOnSelectedStroke)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DragBrushSoftnessOnSelectedStroke(benchmark::State& state) {
    DragSlider(state, KVIdSoftness, 0, 50);
}
BENCHMARK(BM_DragBrushSoftnessOnSelectedStroke)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
