// Pictures in memory: the box blur must cost the same at any radius and stay
// near the cost of copying the picture; composition is measured against the
// drawing library's own OVER; resizing and rotation report their times.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cairo.h>
#include <cstring>
#include <random>
#include <vector>

#include "imaging/image_blur.h"
#include "imaging/image_buffer.h"
#include "imaging/image_cairo.h"
#include "imaging/image_iterator.h"

namespace {

// Premultiplied noise with soft shapes, so that nothing is uniformly empty.
LImageBuffer Picture(int width, int height, unsigned seed) {
    LImageBuffer b;
    LImage::New(b, width, height, LPixelFormatB8G8R8A8);
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(b.GetPictureRow(y));
        for (int x = 0; x < width; ++x) {
            const unsigned a = ((x / 64 + y / 64) % 3) * 100 + (random() & 15);
            const unsigned c = a ? random() % (a + 1) : 0;
            row[x] = (a << 24) | (c << 16) | ((c / 2) << 8) | (c / 3);
        }
    }
    return b;
}

LImageBuffer& Large() {
    static LImageBuffer picture = Picture(4096, 4096, 1);
    return picture;
}

// Three passes along rows and three along columns on one thread: the
// arithmetic without the threads.
void BlurStripes(LImageBuffer& b, unsigned long radius) {
    LProcessInterfaceVoid process;
    for (int pass = 0; pass < 6; ++pass) {
        const bool horizontal = pass < 3;
        LImageBoxBlur(process, b, horizontal, 0, horizontal ? b.height : b.width, radius);
    }
}

// The blur as the effects run it: one stripe per processor in each round.
void BoxBlur4096(benchmark::State& state) {
    LImageBuffer& b = Large();
    LProcessInterfaceVoid process;
    LImageBlurSettings settings(b, static_cast<unsigned long>(state.range(0)));
    for (auto _ : state)
        Process(process, settings);
    state.SetItemsProcessed(state.iterations() * 4096l * 4096l * 6);
}

void BoxBlur4096OneThread(benchmark::State& state) {
    LImageBuffer& b = Large();
    for (auto _ : state)
        BlurStripes(b, static_cast<unsigned long>(state.range(0)));
    state.SetItemsProcessed(state.iterations() * 4096l * 4096l * 6);
}

// A drop-shadow layer: the threads' start and the waits must not dominate.
void SmallBlurEndToEnd(benchmark::State& state) {
    LImageBuffer layer = Picture(300, 200, 4);
    LProcessInterfaceVoid process;
    LImageBlurSettings settings(layer, 8);
    for (auto _ : state)
        Process(process, settings);
}

void SmallBlurComputeOnly(benchmark::State& state) {
    LImageBuffer layer = Picture(300, 200, 4);
    for (auto _ : state)
        BlurStripes(layer, 8);
}

// The memory floor: six copies of the picture's size.
void SixMemcpyPasses(benchmark::State& state) {
    LImageBuffer& b = Large();
    std::vector<unsigned char> other(b.CalculateBufferSize());
    for (auto _ : state) {
        for (int pass = 0; pass < 6; ++pass)
            std::memcpy(other.data(), b.GetData(), other.size());
        benchmark::DoNotOptimize(other.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 6 * static_cast<long>(other.size()));
}

void CopyAlphaComposite4096(benchmark::State& state) {
    static const LImageBuffer src = Picture(4096, 4096, 2);
    LImageBuffer& dst = Large();
    for (auto _ : state)
        LImage::CopyAlphaComposite(src, dst, 0, 0, 0, 0, 4096, 4096);
    state.SetItemsProcessed(state.iterations() * 4096l * 4096l);
}

void CairoOver4096(benchmark::State& state) {
    static const LImageBuffer src = Picture(4096, 4096, 2);
    LImageBuffer& dst = Large();
    cairo_surface_t* from = LImageCreateCairoSurface(src);
    cairo_surface_t* to = LImageCreateCairoSurface(dst);
    cairo_t* cr = cairo_create(to);
    cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
    cairo_set_source_surface(cr, from, 0, 0);
    for (auto _ : state) {
        cairo_paint(cr);
        cairo_surface_flush(to);
    }
    cairo_destroy(cr);
    cairo_surface_destroy(from);
    cairo_surface_destroy(to);
    state.SetItemsProcessed(state.iterations() * 4096l * 4096l);
}

const LImageBuffer& Photo() {
    static const LImageBuffer picture = Picture(4000, 3000, 3);
    return picture;
}

void ResizeSmooth(benchmark::State& state) {
    LProcessInterfaceVoid process;
    LImageBuffer out;
    for (auto _ : state)
        LImage::Resize(process, Photo(), out, static_cast<int>(state.range(0)),
                       static_cast<int>(state.range(1)), false, LImage::ResizeFilterSmooth);
}

void RotateTenthTurn(benchmark::State& state) {
    LProcessInterfaceVoid process;
    LImageBuffer out;
    for (auto _ : state)
        LImage::Rotate(process, Photo(), out, 0.1);
}

// The machine is shared: the fastest of a few runs is the figure to compare.
benchmark::internal::Benchmark* Steady(benchmark::internal::Benchmark* b) {
    return b->Repetitions(5)->ReportAggregatesOnly(true)->ComputeStatistics(
        "min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

} // namespace

BENCHMARK(SixMemcpyPasses)->Unit(benchmark::kMillisecond)->Apply([](auto* b) { Steady(b); });
// Its threads do the work, so its rate is counted against the wall clock,
// not the calling thread's processor time.
BENCHMARK(BoxBlur4096)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime()->Apply([](auto* b) {
    Steady(b);
});
BENCHMARK(BoxBlur4096OneThread)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(SmallBlurEndToEnd)->Unit(benchmark::kMicrosecond)->UseRealTime()->Apply([](auto* b) { Steady(b); });
BENCHMARK(SmallBlurComputeOnly)->Unit(benchmark::kMicrosecond)->Apply([](auto* b) {
    Steady(b);
});
BENCHMARK(CopyAlphaComposite4096)->Unit(benchmark::kMillisecond)->Apply([](auto* b) {
    Steady(b);
});
BENCHMARK(CairoOver4096)->Unit(benchmark::kMillisecond)->Apply([](auto* b) { Steady(b); });
BENCHMARK(ResizeSmooth)->Args({1000, 750})->Args({8000, 6000})->Unit(benchmark::kMillisecond);
BENCHMARK(RotateTenthTurn)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
