// Freehand strokes on the raster target along one 5,000-pixel curve: each
// stamped brush at three widths, the share of a stroke spent building its
// stamp, and the plain pen against the same curve stroked by the drawing
// library directly.

#include <benchmark/benchmark.h>

#include <cairo.h>

#include <chrono>
#include <cmath>
#include <cstdlib>

#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "render/render_image_buffer.h"
#include "render/stamps.h"
#include "target/draw_path.h"

namespace {

// A wave of cubic segments, each about 25 pixels long, 5,000 pixels in all.
struct Wave {
    static constexpr int kSegments = 200;
    static constexpr float kStep = 20.0f, kAmplitude = 60.0f, kTop = 20.0f;
    LList<KVDrawCoordBezierSegment> segments;
    KVBox bounds{0, 0, 0, 0};
    float length = 0;

    Wave() {
        auto at = [](int i) {
            return KVPoint(i * kStep, kTop + kAmplitude + kAmplitude * std::sin(i * 0.35f));
        };
        bounds = KVBox(0, kTop, kSegments * kStep, kTop + 2 * kAmplitude);
        for (int i = 0; i < kSegments; ++i) {
            const KVPoint a = at(i), d = at(i + 1);
            const KVPoint b(a.x + (d.x - a.x) / 3, a.y + (d.y - a.y) / 3);
            const KVPoint c(a.x + 2 * (d.x - a.x) / 3, a.y + 2 * (d.y - a.y) / 3);
            segments.PushBack(new KVDrawCoordBezierSegment(a, b, c, d));
            length += std::hypot(d.x - a.x, d.y - a.y);
        }
    }
    KVSegments Begin() const { return KVSegments(segments.GetFirst()); }
};

const Wave& TheWave() {
    static const Wave wave;
    return wave;
}

// Room for the widest stroke's layer.
constexpr int kWidth = 4200, kHeight = 400;

void Stroke(benchmark::State& state) {
    const auto type = static_cast<KVBrushType>(state.range(0));
    const auto width = static_cast<float>(state.range(1));
    const Wave& wave = TheWave();
    KVRenderImageBuffer target(kWidth, kHeight);
    target.Clear(LPixelColour(255, 255, 255, 255));
    LProcessInterfaceVoid process;
    std::srand(1);
    for (auto _ : state) {
        target.DrawPath(process, type, wave.Begin(), LLineStyle(), width,
                        LGuiColorAlpha(20, 40, 160, 255), wave.bounds, 0, nullptr);
        target.Flush();
    }
    state.counters["pathPixels"] = wave.length;
}

// Building one stamp: its specks and its picture, as a stroke does once.
void StampBuild(benchmark::State& state) {
    const auto type = static_cast<KVBrushType>(state.range(0));
    const auto width = static_cast<float>(state.range(1));
    std::srand(1);
    for (auto _ : state) {
        LGraphicsPath specks;
        float spacing = 0.5f;
        const LGuiColorAlpha colour = GetStamp(specks, spacing, LGuiColor(), width, type);
        LImageBuffer picture;
        MakeStampPicture(picture, specks, colour, width);
        benchmark::DoNotOptimize(picture.IsValid());
    }
}

// The pen: the raster target's stroke and the drawing library's of the same
// curve, width and round caps, on pictures of the same size, taking turns in
// one loop so that a busy machine slows both alike. The counters give each
// one's milliseconds per stroke and their ratio.
void PenAgainstDrawingLibrary(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const Wave& wave = TheWave();
    const auto width = static_cast<float>(state.range(0));
    KVRenderImageBuffer target(kWidth, kHeight);
    target.Clear(LPixelColour(255, 255, 255, 255));
    LProcessInterfaceVoid process;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_translate(cr, 0.5, 0.5);
    double ours = 0, theirs = 0;
    for (auto _ : state) {
        const Clock::time_point a = Clock::now();
        target.DrawPath(process, KVBrushRoundPen, wave.Begin(), LLineStyle(), width,
                        LGuiColorAlpha(20, 40, 160, 255), wave.bounds, 0, nullptr);
        target.Flush();
        const Clock::time_point b = Clock::now();
        cairo_new_path(cr);
        const KVDrawCoordBezierSegment* s = wave.segments.GetFirst();
        cairo_move_to(cr, s->start.x, s->start.y);
        for (; s; s = s->GetNext())
            cairo_curve_to(cr, s->control1.x, s->control1.y, s->control2.x, s->control2.y,
                           s->end.x, s->end.y);
        cairo_set_source_rgba(cr, 20 / 255.0, 40 / 255.0, 160 / 255.0, 1);
        cairo_set_line_width(cr, width);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        cairo_stroke(cr);
        cairo_surface_flush(surface);
        const Clock::time_point c = Clock::now();
        ours += std::chrono::duration<double, std::milli>(b - a).count();
        theirs += std::chrono::duration<double, std::milli>(c - b).count();
    }
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    const double n = static_cast<double>(state.iterations());
    state.counters["targetMs"] = ours / n;
    state.counters["cairoMs"] = theirs / n;
    state.counters["ratio"] = theirs > 0 ? ours / theirs : 0;
}

void BrushesAndWidths(benchmark::internal::Benchmark* b) {
    for (int type : {KVBrushPencil, KVBrushPaintbrush, KVBrushSpray})
        for (int width : {10, 100, 500})
            b->Args({type, width});
    b->Args({KVBrushPencil, 50});
}

} // namespace

BENCHMARK(Stroke)->Apply(BrushesAndWidths)->Unit(benchmark::kMillisecond)->MinTime(0.5);
BENCHMARK(StampBuild)->Apply(BrushesAndWidths)->Unit(benchmark::kMillisecond)->MinTime(0.2);
BENCHMARK(PenAgainstDrawingLibrary)
    ->Arg(10)
    ->Arg(40)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->MinTime(1.0);
BENCHMARK_MAIN();
