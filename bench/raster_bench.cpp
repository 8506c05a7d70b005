// The raster target against the drawing library called directly on the same
// random shapes, and rotated shapes against unrotated ones.

#include <benchmark/benchmark.h>

#include <cairo.h>

#include <cmath>
#include <random>
#include <vector>

#include "render/render_image_buffer.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

struct Shape {
    int kind; // 0 rectangle, 1 ellipse, 2 polygon
    bool filled;
    KVBox box;
    KVPoint points[5];
    LGuiColorAlpha fill, line;
    float lineWidth;
    float rotation;
};

std::vector<Shape> MakeShapes(unsigned count) {
    std::mt19937 random(7);
    auto uniform = [&](float a, float b) { return std::uniform_real_distribution<float>(a, b)(random); };
    auto byte = [&] { return static_cast<unsigned char>(random() % 256); };
    std::vector<Shape> shapes(count);
    for (Shape& s : shapes) {
        s.kind = static_cast<int>(random() % 3);
        s.filled = random() % 2 == 0;
        const float w = uniform(10, 200), h = uniform(10, 200);
        const float x = uniform(0, kWidth - w), y = uniform(0, kHeight - h);
        s.box = KVBox(x, y, x + w, y + h);
        for (int i = 0; i < 5; ++i) {
            const double a = i * 2 * M_PI / 5;
            s.points[i] = {x + w * 0.5f + w * 0.5f * static_cast<float>(std::cos(a)),
                           y + h * 0.5f + h * 0.5f * static_cast<float>(std::sin(a))};
        }
        s.fill = LGuiColorAlpha(byte(), byte(), byte(), 255);
        s.line = LGuiColorAlpha(byte(), byte(), byte(), 255);
        s.lineWidth = uniform(1, 6);
        s.rotation = uniform(5, 85);
    }
    return shapes;
}

void Draw(KVRenderImage& t, LProcessInterface& process, const Shape& s) {
    KVPoint points[5];
    std::copy(s.points, s.points + 5, points);
    switch (s.kind) {
    case 0:
        if (s.filled)
            t.FillRect(process, s.lineWidth, s.line, s.fill, s.box);
        else
            t.DrawRect(process, s.lineWidth, s.line, s.box);
        break;
    case 1:
        if (s.filled)
            t.FillEllipse(process, s.lineWidth, s.line, s.fill, s.box);
        else
            t.DrawEllipse(process, s.lineWidth, s.line, s.box);
        break;
    default:
        if (s.filled)
            t.FillPoly(process, s.lineWidth, s.line, s.fill, points, 5, s.box);
        else
            t.DrawPoly(process, s.lineWidth, s.line, points, 5, s.box);
        break;
    }
}

void SetColour(cairo_t* cr, const LGuiColorAlpha& c) {
    cairo_set_source_rgba(cr, c.Red8() / 255.0, c.Green8() / 255.0, c.Blue8() / 255.0,
                          c.alpha / 255.0);
}

void DrawDirect(cairo_t* cr, const Shape& s) {
    const KVBox& b = s.box;
    auto outline = [&] {
        cairo_new_path(cr);
        switch (s.kind) {
        case 0:
            cairo_rectangle(cr, b.x1, b.y1, b.GetWidth(), b.GetHeight());
            break;
        case 1:
            cairo_save(cr);
            cairo_translate(cr, (b.x1 + b.x2) * 0.5, (b.y1 + b.y2) * 0.5);
            cairo_scale(cr, b.GetWidth() * 0.5, b.GetHeight() * 0.5);
            cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
            cairo_restore(cr);
            break;
        default:
            cairo_move_to(cr, s.points[0].x, s.points[0].y);
            for (int i = 1; i < 5; ++i)
                cairo_line_to(cr, s.points[i].x, s.points[i].y);
            cairo_close_path(cr);
        }
    };
    if (s.filled) {
        outline();
        SetColour(cr, s.fill);
        cairo_fill(cr);
    }
    outline();
    SetColour(cr, s.line);
    cairo_set_line_width(cr, s.lineWidth);
    cairo_stroke(cr);
}

void RasterTarget(benchmark::State& state) {
    const std::vector<Shape> shapes = MakeShapes(1000);
    KVRenderImageBuffer target(kWidth, kHeight);
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        target.Clear(LPixelColour(255, 255, 255, 255));
        for (const Shape& s : shapes)
            Draw(target, process, s);
        target.Flush();
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void DirectCairo(benchmark::State& state) {
    const std::vector<Shape> shapes = MakeShapes(1000);
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
    cairo_t* cr = cairo_create(surface);
    cairo_translate(cr, 0.5, 0.5);
    for (auto _ : state) {
        cairo_save(cr);
        cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
        cairo_set_source_rgba(cr, 1, 1, 1, 1);
        cairo_paint(cr);
        cairo_restore(cr);
        for (const Shape& s : shapes)
            DrawDirect(cr, s);
        cairo_surface_flush(surface);
    }
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    state.SetItemsProcessed(state.iterations() * 1000);
}

// Each shape turned about its centre on a child target, as a rotated
// element draws.
void RotatedShapes(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const bool rotated = state.range(1) != 0;
    const std::vector<Shape> shapes = MakeShapes(n);
    KVRenderImageBuffer target(kWidth, kHeight);
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        target.Clear(LPixelColour(255, 255, 255, 255));
        for (const Shape& s : shapes) {
            if (!rotated) {
                Draw(target, process, s);
                continue;
            }
            KVRenderImage* child = target.BeginRotate(
                s.rotation, {(s.box.x1 + s.box.x2) * 0.5f, (s.box.y1 + s.box.y2) * 0.5f});
            Draw(*child, process, s);
            target.FinishRotate();
        }
        target.Flush();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

} // namespace

BENCHMARK(DirectCairo)->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(1.0);
BENCHMARK(RasterTarget)->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(1.0);
BENCHMARK(RotatedShapes)
    ->Args({1000, 0})
    ->Args({1000, 1})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->MinTime(1.0);
BENCHMARK_MAIN();
