// A captured stroke must thin and fit at the same cost per point whatever its
// length, and the copy a render takes of a pen record must stay far below a
// frame even for a long stroke under many erase strokes.

#include <benchmark/benchmark.h>

#include <cmath>

#include "document/freehand.h"

namespace {

// A wandering hand: small steps along a slowly turning direction, with a
// pressure level per point, as a tablet delivers them.
KVDrawPath* Captured(long n) {
    auto* path = new KVDrawPath(4000, 4000, nullptr);
    LSizedArray<long> levels;
    float x = 2000, y = 2000;
    for (long i = 0; i < n; ++i) {
        const float turn = static_cast<float>(i) * 0.01f;
        x += 2.0f * std::cos(turn) + static_cast<float>(i % 3);
        y += 2.0f * std::sin(turn) + static_cast<float>(i % 5) * 0.5f;
        path->AddCoord(new KVDrawCoord(x, y));
        levels.Append(i % 1024);
    }
    path->SetPressureLevels(levels.Data(), levels.GetSize(), 1024);
    return path;
}

void FilterAndFit(benchmark::State& state) {
    const long n = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        LPtr<KVDrawPath> path(Captured(n));
        state.ResumeTiming();
        InterpolateDrawPath(*path, 0.5f, true);
        benchmark::DoNotOptimize(path->GetCoords().GetCount());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void CopyPenRecord(benchmark::State& state) {
    KVPenElementProperties pen;
    pen.path.Set(Captured(20000));
    KVDrawPath erased(4000, 4000, nullptr);
    for (int i = 0; i < 20; ++i)
        erased.AddCoord(new KVDrawCoord(static_cast<float>(i), static_cast<float>(i)));
    for (int i = 0; i < 200; ++i)
        pen.AddEraserStroke(KVEraserStroke(erased, 12, 30, {}));
    const KVPenElement element(pen);
    for (auto _ : state) {
        const KVPenElementProperties copy = element.GetProperties();
        benchmark::DoNotOptimize(copy.path.Get());
    }
}

} // namespace

BENCHMARK(FilterAndFit)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyPenRecord)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
