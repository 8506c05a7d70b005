// The layer list of a 1024x768 project of 200 layers, each with a shape of
// its own: the list's first fill with every thumbnail made, its first show
// in its window (thumbnails made for the entries in view), and the update
// that follows a change on one layer, thumbnails painted included. The aim
// for an update is 50 ms; the counter `thumbnails` says how many were made.

#include <benchmark/benchmark.h>

#include <QApplication>

#include <clocale>
#include <cstdlib>
#include <memory>

#include "document/project.h"
#include "document/shapes.h"
#include "shell/layer_list.h"

namespace {

class Quiet : public KVLayerListParent {
public:
    void EvLayerListMessage(KVLayerListMessage, KVLayerListMessageData&) override {}
};

std::unique_ptr<KVImage> Project(int layers) {
    auto image = std::make_unique<KVImage>("bench", 1024, 768, 72, LPixelColour(255, 255, 255, 255));
    for (int i = 0; i < layers; ++i) {
        KVLayer* layer = i == 0 ? image->GetFirstLayer() : new KVLayer("Layer");
        if (i > 0)
            image->AddNewLayer(layer, false);
        KVRectangleElementProperties p;
        const float x = static_cast<float>((i * 37) % 800), y = static_cast<float>((i * 53) % 600);
        p.SetRectangle({x, y, x + 200, y + 150});
        p.SetFill(LGuiColorAlpha(static_cast<unsigned char>(i), 90, 200, 255));
        p.lineWidth = 3;
        image->AddNewElement(new KVRectangleElement(p), layer, false, false);
    }
    return image;
}

void BM_FirstFillOf200Layers(benchmark::State& state) {
    std::unique_ptr<KVImage> image = Project(200);
    Quiet quiet;
    unsigned long made = 0;
    for (auto _ : state) {
        KVLayerList list(quiet, nullptr);
        list.UpdateLayerList(nullptr, image.get());
        list.grab();
        made = list.GetThumbnailRenderCount();
    }
    state.counters["thumbnails"] = static_cast<double>(made);
}
BENCHMARK(BM_FirstFillOf200Layers)->Unit(benchmark::kMillisecond)->Iterations(3);

// As the editor shows it: the window of the list, a column's top three
// tenths high, paints only the entries in view.
void BM_FirstShowInTheWindow(benchmark::State& state) {
    std::unique_ptr<KVImage> image = Project(200);
    Quiet quiet;
    unsigned long made = 0;
    for (auto _ : state) {
        KVLayerListWindow window(quiet);
        window.resize(270, 240);
        window.GetList().UpdateLayerList(nullptr, image.get());
        window.grab();
        made = window.GetList().GetThumbnailRenderCount();
    }
    state.counters["thumbnails"] = static_cast<double>(made);
}
BENCHMARK(BM_FirstShowInTheWindow)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_UpdateAfterAChangeOnOneLayer(benchmark::State& state) {
    std::unique_ptr<KVImage> image = Project(200);
    Quiet quiet;
    KVLayerList list(quiet, nullptr);
    list.UpdateLayerList(nullptr, image.get());
    list.grab();
    auto* shape = static_cast<KVRectangleElement*>(image->GetFirstLayer()->GetNext()->GetLastElement());
    const unsigned long before = list.GetThumbnailRenderCount();
    int step = 0;
    for (auto _ : state) {
        KVRectangleElementProperties p = shape->GetProperties();
        p.SetRectangle({static_cast<float>(step % 100), 10, static_cast<float>(step % 100) + 300, 300});
        ++step;
        shape->SetProperties(p, false, nullptr);
        list.UpdateLayerList(nullptr, image.get());
        list.grab();
    }
    state.counters["thumbnails"] =
        static_cast<double>(list.GetThumbnailRenderCount() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_UpdateAfterAChangeOnOneLayer)->Unit(benchmark::kMillisecond)->Iterations(20);

} // namespace
