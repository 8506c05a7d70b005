// The render walk's own cost per element (sub-process, cache test, eraser
// pass, flush), with a target that draws nothing.

#include <benchmark/benchmark.h>

#include "document/project.h"
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

} // namespace

BENCHMARK(RenderWalk)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
