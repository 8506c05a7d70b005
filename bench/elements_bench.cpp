// Painting the text and picture elements: a traced picture of 20,000 flat
// regions against the same outlines filled by cairo itself, and a wrapped
// paragraph of text.

#include <benchmark/benchmark.h>

#include <cairo.h>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/text_elements.h"
#include "render/render_image_buffer.h"

namespace {

constexpr int kColumns = 200, kRows = 100, kCell = 5;
constexpr int kWidth = kColumns * kCell, kHeight = kRows * kCell;

// One square region per cell, in the colours a tracer would give them.
KVImageElement* TracedPicture() {
    LImageBuffer picture;
    LImage::New(picture, kWidth, kHeight, LPixelFormatB8G8R8A8);
    picture.Clear(LPixelColour(255, 255, 255, 255));
    auto* e = new KVImageElement(picture);
    KVImageElementProperties p = e->GetProperties();
    LList<KVElement> regions;
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column) {
            KVSimplePathElementProperties region;
            region.colour = LGuiColorAlpha(static_cast<unsigned char>(column),
                                           static_cast<unsigned char>(row * 2), 90, 255);
            KVDrawPath outline(kWidth, kHeight, nullptr);
            const float x = static_cast<float>(column * kCell), y = static_cast<float>(row * kCell);
            for (auto [dx, dy] : {std::pair{0, 0}, {kCell, 0}, {kCell, kCell}, {0, kCell}, {0, 0}})
                outline.AddCoord(new KVDrawCoord(x + static_cast<float>(dx), y + static_cast<float>(dy)));
            region.SetPath(outline);
            regions.PushBack(new KVSimplePathElement(region));
        }
    p.SetVectorization(regions);
    p.vectorized = true;
    e->SetProperties(p, false, nullptr);
    return e;
}

void VectorizedPicture20kRegions(benchmark::State& state) {
    std::unique_ptr<KVImageElement> e(TracedPicture());
    KVRenderImageBuffer target(kWidth, kHeight);
    LProcessInterfaceVoid v;
    for (auto _ : state)
        benchmark::DoNotOptimize(e->Render(v, target));
    state.SetItemsProcessed(state.iterations() * kColumns * kRows);
}

void CairoFillsTheSame20kRegions(benchmark::State& state) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
    cairo_t* cr = cairo_create(surface);
    for (auto _ : state) {
        for (int row = 0; row < kRows; ++row)
            for (int column = 0; column < kColumns; ++column) {
                cairo_set_source_rgb(cr, column / 255.0, row * 2 / 255.0, 90 / 255.0);
                const double x = column * kCell, y = row * kCell;
                cairo_move_to(cr, x, y);
                cairo_line_to(cr, x + kCell, y);
                cairo_line_to(cr, x + kCell, y + kCell);
                cairo_line_to(cr, x, y + kCell);
                cairo_close_path(cr);
                cairo_fill(cr);
            }
        cairo_surface_flush(surface);
    }
    state.SetItemsProcessed(state.iterations() * kColumns * kRows);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
}

void WrappedParagraph(benchmark::State& state) {
    KVTextElementProperties p;
    for (int i = 0; i < 20; ++i)
        p.text.Append("The quick brown fox jumps over the lazy dog. ");
    LStrCopy(p.font, "Liberation Sans");
    p.fontSize = 16;
    p.bounds = {10, 10, 400, 600};
    KVTextElement e(p);
    KVRenderImageBuffer target(420, 620);
    LProcessInterfaceVoid v;
    for (auto _ : state)
        benchmark::DoNotOptimize(e.Render(v, target));
}

} // namespace

BENCHMARK(VectorizedPicture20kRegions)->Unit(benchmark::kMillisecond);
BENCHMARK(CairoFillsTheSame20kRegions)->Unit(benchmark::kMillisecond);
BENCHMARK(WrappedParagraph)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
