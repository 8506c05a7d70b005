// The SVG export and the XML reader at the sizes users meet: thousands of
// shapes, a traced photo of tens of thousands of paths, a camera picture
// embedded whole, and a document of fifty megabytes read back.

#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "document/project.h"
#include "document/shapes.h"
#include "export_scenes.h"
#include "exchange/render_svg.h"
#include "foundation/xml.h"
#include "target/draw_path.h"

namespace {

// Rectangles, ellipses and triangles of a project, half of them filled,
// rendered into the SVG target and saved.
void ExportShapes(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    KVProject project;
    kvbench::AddShapes(project, n);
    const std::string path = kvbench::TempPath("svg", "shapes.svg");
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVProjectSVGSave save{&project, path.c_str()};
        if (Process(process, save) != LProcessResultOk)
            state.SkipWithError("the export failed");
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(ExportShapes)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(benchmark::kMillisecond);

// The target alone: shapes drawn straight into it and serialised, without
// the project's walk.
void TargetShapes(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVRenderImageSVG svg(2000, 1000);
        svg.Clear(LPixelColour(255, 255, 255, 255));
        for (long i = 0; i < n; ++i) {
            const float x = static_cast<float>(i % 1900), y = static_cast<float>(i % 950);
            svg.FillRect(process, 1, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(10, 20, 30, 255),
                         KVBox(x, y, x + 40, y + 30));
        }
        benchmark::DoNotOptimize(svg.GetDocumentText().size());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(TargetShapes)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(benchmark::kMillisecond);

// A vectorised photo: paths of twelve points each, kept as raw markup.
void ExportTracedPaths(benchmark::State& state) {
    const auto n = static_cast<long>(state.range(0));
    LList<KVDrawPath> paths;
    for (long i = 0; i < n; ++i) {
        auto* p = new KVDrawPath(4000, 3000, nullptr);
        for (int k = 0; k < 12; ++k)
            p->AddCoord(new KVDrawCoord(static_cast<float>(i % 3990 + k), static_cast<float>(i % 2990 + k * k % 7)));
        paths.PushBack(p);
    }
    const std::string path = kvbench::TempPath("svg", "paths.svg");
    for (auto _ : state) {
        KVRenderImageSVG svg(4000, 3000);
        svg.Clear(LPixelColour(255, 255, 255, 255));
        unsigned long i = 0;
        for (const KVDrawPath& p : paths)
            svg.FastFillPath(p, LGuiColorAlpha(static_cast<unsigned char>(i++), 90, 200, 255));
        if (!svg.SaveAsFile(path.c_str()))
            state.SkipWithError("the save failed");
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(ExportTracedPaths)->Arg(1000)->Arg(5000)->Arg(20000)->Unit(benchmark::kMillisecond);

// A 12-megapixel picture, encoded to PNG and embedded in base64.
void ExportEmbeddedPicture(benchmark::State& state) {
    LImageBuffer picture;
    LImage::New(picture, 4000, 3000, LPixelFormatB8G8R8A8);
    for (int y = 0; y < picture.height; ++y) {
        unsigned char* row = picture.GetPictureRow(y);
        for (int x = 0; x < picture.width; ++x) {
            row[x * 4] = static_cast<unsigned char>(x);
            row[x * 4 + 1] = static_cast<unsigned char>(y);
            row[x * 4 + 2] = static_cast<unsigned char>((x * y) >> 8);
            row[x * 4 + 3] = 255;
        }
    }
    const std::string path = kvbench::TempPath("svg", "picture.svg");
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVRenderImageSVG svg(4000, 3000);
        svg.embedImages = true;
        svg.DrawImage(process, picture, 0, 0, 4000, 3000);
        if (!svg.SaveAsFile(path.c_str()))
            state.SkipWithError("the save failed");
    }
    std::remove(path.c_str());
}
BENCHMARK(ExportEmbeddedPicture)->Unit(benchmark::kMillisecond);

long PeakResidentKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// A written SVG of about 50 MB read back, as a file: the tree and its peak
// memory against the file's size.
void ParseLargeDocument(benchmark::State& state) {
    const size_t target = static_cast<size_t>(state.range(0)) << 20;
    const std::string path = kvbench::TempPath("svg", "large.xml");
    // Written a line at a time, so that the peak memory below is the reader's.
    size_t size = 0;
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        size += std::fprintf(f, "<?xml version=\"1.0\"?>\n<svg width=\"4000\" height=\"3000\">\n");
        for (long i = 0; size < target; ++i)
            size += std::fprintf(f,
                                 "<path d=\"M%ld,10 C20,30 40,50 60,70 L80,90 z\" fill=\"rgb(%ld,20,30)\" "
                                 "stroke-width=\"2\"/>\n<text x=\"1\">label &amp; more</text>\n",
                                 i % 4000, i % 256);
        size += std::fprintf(f, "</svg>\n");
        std::fclose(f);
    }
    const double fileMb = static_cast<double>(size) / (1 << 20);
    const long before = PeakResidentKb();
    for (auto _ : state) {
        LXMLDocument document;
        char error[LXMLDocument::kErrorSize];
        if (document.LoadFromFile(nullptr, path.c_str(), error) != LProcessResultOk || error[0])
            state.SkipWithError(error);
        benchmark::DoNotOptimize(document.GetChildCount());
    }
    std::remove(path.c_str());
    state.counters["file_MB"] = fileMb;
    state.counters["peak_growth_MB"] = static_cast<double>(PeakResidentKb() - before) / 1024;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fileMb * (1 << 20)));
}
BENCHMARK(ParseLargeDocument)->Arg(50)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
