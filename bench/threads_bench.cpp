// What one stop check costs. Long operations ask once a row or once an
// element; this tells how small a row may be before the asking shows.

#include <benchmark/benchmark.h>

#include "foundation/process.h"
#include "foundation/thread.h"

namespace {

class Idle : public LThread {
public:
    ~Idle() override { StopThreadNow(); }
    void ThreadFunction() override { ProcessWait(kLWaitForever); }
};

// Through the base class, as operations see it.
void Ask(benchmark::State& state, LProcessInterface& pi) {
    LProcessInterface* p = &pi;
    benchmark::DoNotOptimize(p);
    for (auto _ : state)
        benchmark::DoNotOptimize(p->IsToStop());
}

void IsToStopOnARunningThread(benchmark::State& state) {
    Idle t;
    t.Start(kLThreadPriorityNormal);
    Ask(state, t);
}
BENCHMARK(IsToStopOnARunningThread);

void IsToStopOnAStoppedThread(benchmark::State& state) {
    Idle t;
    t.StopThreadSoon();
    Ask(state, t);
}
BENCHMARK(IsToStopOnAStoppedThread);

void IsToStopOnVoid(benchmark::State& state) {
    LProcessInterfaceVoid v;
    Ask(state, v);
}
BENCHMARK(IsToStopOnVoid);

} // namespace

BENCHMARK_MAIN();
