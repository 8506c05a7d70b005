// The render walk's own cost per element (sub-process, cache test, eraser
// pass, flush), with a target that draws nothing.

#include <benchmark/benchmark.h>

#include "document/project.h"
#include "document/shapes.h"
#include "dot_element.h"
#include "null_target.h"

namespace {

void RenderWalk(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    KVProject project;
    KVLayer* layer = project.AddNewImage(new KVImage("bench"));
    for (long i = 0; i < n; ++i)
        project.GetCurrentImage()->AddNewElement(new Dot, layer, false, false);
    NullTarget target;
    LProcessInterfaceVoid process;
    for (auto _ : state)
        benchmark::DoNotOptimize(project.Render(process, target));
    state.SetItemsProcessed(state.iterations() * n);
}

// The shape's own cost: the record copied under its lock, the weighted
// sub-processes, the target's calls; the target draws nothing.
void RectanglesCachedRender(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    LList<KVElement> shapes;
    for (long i = 0; i < n; ++i) {
        KVRectangleElementProperties p;
        const float x = static_cast<float>(i % 1900), y = static_cast<float>(i % 1000);
        p.SetRectangle({x, y, x + 20, y + 10});
        if (i % 2)
            p.SetFill(LGuiColorAlpha(10, 20, 30, 255));
        shapes.PushBack(new KVRectangleElement(p));
    }
    NullTarget target;
    LProcessInterfaceVoid process;
    for (auto _ : state)
        for (KVElement& e : shapes)
            benchmark::DoNotOptimize(e.CachedRender(process, target));
    state.SetItemsProcessed(state.iterations() * n);
}

} // namespace

BENCHMARK(RectanglesCachedRender)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(RenderWalk)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
