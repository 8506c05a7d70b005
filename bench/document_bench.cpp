// Adding many elements to one layer and walking the whole history back and
// forth must cost the same per element at any size.

#include <benchmark/benchmark.h>

#include "document/project.h"
#include "dot_element.h"

namespace {

void AddUndoRedo(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    for (auto _ : state) {
        KVImage image("bench", 1024, 768, 72, LPixelColour());
        KVLayer* layer = image.GetFirstLayer();
        LUndoRedoStack& stack = image.GetUndoRedoStack();
        for (long i = 0; i < n; ++i)
            image.AddNewElement(new Dot, layer, false, true);
        for (long i = 0; i < n; ++i)
            stack.Undo();
        for (long i = 0; i < n; ++i)
            stack.Redo();
        benchmark::DoNotOptimize(layer->GetElementCount());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

} // namespace

BENCHMARK(AddUndoRedo)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
