// The raster effects: a glowing element on a large picture against the same
// element plain, the lighting pass against copying its pictures, a soft
// shadow against a hard one, and a small shadow against its blur alone.
// Run one benchmark at a time (--benchmark_filter) to read its peak memory.

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "imaging/image_blur.h"
#include "render/lighting.h"
#include "render/render_image_buffer.h"

namespace {

const LGuiColorAlpha kFill(60, 90, 200, 255);
const LGuiColorAlpha kGlow(0, 200, 60, 255);

void ReportPeakMemory(benchmark::State& state) {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void DrawRect(KVRenderImageBuffer& t, bool glows) {
    LProcessInterfaceVoid v;
    const KVBox box(1800, 1350, 2200, 1650);
    if (!glows) {
        t.FillRect(v, 2, kFill, kFill, box);
        return;
    }
    KVRenderImage* outer = t.BeginOuterGlow(kGlow, 10);
    KVRenderImage* inner = outer->BeginInnerGlow(kGlow, 10);
    inner->FillRect(v, 2, kFill, kFill, box);
    static_cast<KVRenderImageBuffer*>(outer)->FinishInnerGlow(v);
    t.FinishOuterGlow(v);
}

void BM_RectOnLargePicture(benchmark::State& state) {
    const bool glows = state.range(0) != 0;
    KVRenderImageBuffer t(4000, 3000);
    t.Clear(LPixelColour(255, 255, 255, 255));
    for (auto _ : state) {
        DrawRect(t, glows);
        benchmark::DoNotOptimize(t.GetImage().GetData());
    }
    ReportPeakMemory(state);
}
BENCHMARK(BM_RectOnLargePicture)->Arg(0)->Arg(1)->ArgName("glows")->Unit(benchmark::kMillisecond);

LImageBuffer Disc(int size) {
    LImageBuffer picture;
    LImage::New(picture, size, size, LPixelFormatB8G8R8A8);
    const float middle = size * 0.5f, radius = size * 0.4f;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const float d = std::hypot(x - middle, y - middle);
            const auto a = static_cast<unsigned char>(d < radius ? 255 : 0);
            unsigned char* p = picture.GetPictureRow(y) + x * 4;
            p[0] = p[1] = p[2] = 0;
            p[3] = a;
        }
    return picture;
}

void BM_LightingPass(benchmark::State& state) {
    const LImageBuffer source = Disc(2000);
    const LGuiColor white = LGuiColor::FromBytes(255, 255, 255);
    LImageBuffer lit;
    for (auto _ : state) {
        KVSpeLgting job;
        job.source = &source;
        job.target = &lit;
        job.blurRadius = 6;
        job.colour = &white;
        LProcessInterfaceVoid v;
        Process(v, job);
        benchmark::DoNotOptimize(lit.GetData());
    }
}
BENCHMARK(BM_LightingPass)->Unit(benchmark::kMillisecond);

// What the lighting pass can't do with less: its pictures each read or
// written once, about six passes over 2000 by 2000 pixels.
void BM_SixCopies(benchmark::State& state) {
    const size_t bytes = 2000ul * 2000ul * 4ul;
    std::vector<unsigned char> a(bytes, 1), b(bytes, 2);
    for (auto _ : state) {
        for (int i = 0; i < 6; ++i)
            std::memcpy(i % 2 ? a.data() : b.data(), i % 2 ? b.data() : a.data(), bytes);
        benchmark::DoNotOptimize(a.data());
    }
}
BENCHMARK(BM_SixCopies)->Unit(benchmark::kMillisecond);

void BM_ShadowBySoftness(benchmark::State& state) {
    KVRenderImageBuffer t(1400, 1400);
    t.Clear(LPixelColour(255, 255, 255, 255));
    const KVDropShadow shadow{0, 5, 5, static_cast<int>(state.range(0))};
    for (auto _ : state) {
        LProcessInterfaceVoid v;
        t.DrawRectShadow(v, KVBox(200, 200, 1200, 1200), 2, true, shadow);
        t.Flush();
    }
}
BENCHMARK(BM_ShadowBySoftness)->Arg(5)->Arg(100)->ArgName("softness")
    ->Unit(benchmark::kMillisecond);

void BM_SmallShadow(benchmark::State& state) {
    KVRenderImageBuffer t(400, 400);
    t.Clear(LPixelColour(255, 255, 255, 255));
    const KVDropShadow shadow{0, 5, 5, 20};
    for (auto _ : state) {
        LProcessInterfaceVoid v;
        t.DrawRectShadow(v, KVBox(150, 150, 250, 250), 2, true, shadow);
        t.Flush();
    }
}
BENCHMARK(BM_SmallShadow)->Unit(benchmark::kMicrosecond);

// The same shadow's blur alone, on one thread: the layer of a 100 by 100
// box at softness 20 (radius 5) is 122 pixels square.
void BM_SmallShadowBlurOnOneThread(benchmark::State& state) {
    LImageBuffer layer;
    LImage::New(layer, 122, 122, LPixelFormatB8G8R8A8);
    layer.Clear(LPixelColour());
    // The blur's cost does not depend on what the pixels hold.
    for (auto _ : state) {
        LImageBlurSettings settings(layer, 5);
        settings.threadCount = 1;
        LProcessInterfaceVoid v;
        Process(v, settings);
    }
}
BENCHMARK(BM_SmallShadowBlurOnOneThread)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
