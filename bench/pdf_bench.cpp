// The PDF export at the sizes users meet: a project of thousands of shapes,
// and a drawing of a hundred pencil strokes, whose pictures are cut to what
// they cover, against pictures of the whole page and against a PNG export.

#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "document/project.h"
#include "document/shapes.h"
#include "export_scenes.h"
#include "exchange/render_pdf.h"
#include "imaging/image_file.h"
#include "render/render_image_buffer.h"
#include "target/draw_path.h"

namespace {

double FileKb(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<double>(st.st_size) / 1024.0 : 0;
}

// Rectangles, ellipses and triangles of a project, half of them filled,
// rendered into a PDF and saved.
void ExportShapes(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    KVProject project;
    kvbench::AddShapes(project, n);
    const std::string path = kvbench::TempPath("pdf", "shapes.pdf");
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVProjectPDFSave save{&project, path.c_str()};
        if (Process(process, save) != LProcessResultOk)
            state.SkipWithError("the export failed");
    }
    state.counters["file_kb"] = FileKb(path);
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(ExportShapes)->Arg(10000)->Unit(benchmark::kMillisecond);

// A hundred wavy pencil strokes across a 3000 by 2000 page.
void DrawStrokes(KVRenderImage& target, bool wholePage) {
    LProcessInterfaceVoid process;
    target.Clear(LPixelColour(255, 255, 255, 255));
    for (int i = 0; i < 100; ++i) {
        const float x = static_cast<float>(100 + (i * 277) % 2500);
        const float y = static_cast<float>(100 + (i * 131) % 1700);
        LList<KVDrawCoordBezierSegment> segments;
        segments.PushBack(new KVDrawCoordBezierSegment({x, y}, {x + 60, y - 40}, {x + 120, y + 40},
                                                       {x + 180, y}));
        segments.PushBack(new KVDrawCoordBezierSegment({x + 180, y}, {x + 240, y - 40},
                                                       {x + 300, y + 40}, {x + 360, y}));
        const KVBox box(x, y - 40, x + 360, y + 40);
        const LGuiColorAlpha colour(static_cast<unsigned char>(i * 2), 40, 160, 255);
        if (!wholePage) {
            target.DrawPath(process, KVBrushPencil, segments.GetIterator(), LLineStyle(), 8, colour,
                            box, 0, nullptr);
            continue;
        }
        // Each stroke a picture of the whole page, as it would be uncut.
        KVRenderImageBuffer layer(3000, 2000, true);
        layer.DrawPath(process, KVBrushPencil, segments.GetIterator(), LLineStyle(), 8, colour, box,
                       0, nullptr);
        layer.Flush();
        target.DrawImage(process, layer.GetImage(), 0, 0, 3000, 2000);
    }
}

// Arg 0: pictures cut to the strokes; 1: pictures of the whole page.
void ExportPencilStrokes(benchmark::State& state) {
    const bool wholePage = state.range(0) == 1;
    const std::string path = kvbench::TempPath("pdf", "strokes.pdf");
    for (auto _ : state) {
        KVRenderImagePDF pdf(3000, 2000);
        DrawStrokes(pdf, wholePage);
        if (!pdf.SaveAsFile(path.c_str()))
            state.SkipWithError("the save failed");
    }
    state.counters["file_kb"] = FileKb(path);
    std::remove(path.c_str());
}
BENCHMARK(ExportPencilStrokes)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The same strokes rendered and saved as PNG.
void ExportPencilStrokesPng(benchmark::State& state) {
    const std::string path = kvbench::TempPath("pdf", "strokes.png");
    for (auto _ : state) {
        KVRenderImageBuffer raster(3000, 2000);
        DrawStrokes(raster, false);
        raster.Flush();
        if (!LImage::Save(raster.GetImage(), path.c_str()))
            state.SkipWithError("the save failed");
    }
    state.counters["file_kb"] = FileKb(path);
    std::remove(path.c_str());
}
BENCHMARK(ExportPencilStrokesPng)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
