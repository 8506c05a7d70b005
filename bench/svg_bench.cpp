// The SVG export and the XML reader at the sizes users meet: thousands of
// shapes, a traced photo of tens of thousands of paths, a camera picture
// embedded whole, and a document of fifty megabytes read back. And SVG
// files opened as projects: 10 MB of paths, deeply nested groups, a long
// text and one very long path, each against the two seconds a user may
// wait (limit_ratio below 1 holds it). Run one import a process
// (--benchmark_filter) to read its own peak memory.

#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>

#include "document/project.h"
#include "document/shapes.h"
#include "export_scenes.h"
#include "exchange/render_svg.h"
#include "exchange/svg_to_elements.h"
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

// ---------------------------------------------------------------- SVG import

// Writes an SVG file through `body`, opens it as a project once an
// iteration, and reports the time against the two-second limit.
void ImportFile(benchmark::State& state, const char* name,
                const std::function<void(std::FILE*)>& body) {
    const std::string path = kvbench::TempPath("svg", name);
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fprintf(f, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"4000\" height=\"3000\">\n");
        body(f);
        std::fprintf(f, "</svg>\n");
        std::fclose(f);
    }
    std::FILE* f = std::fopen(path.c_str(), "rb");
    std::fseek(f, 0, SEEK_END);
    const double fileMb = static_cast<double>(std::ftell(f)) / (1 << 20);
    std::fclose(f);
    LProcessInterfaceVoid process;
    unsigned long elements = 0;
    double seconds = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        KVSVGProjectLoad load{path.c_str(), nullptr};
        if (Process(process, load) != LProcessResultOk) {
            state.SkipWithError("the import failed");
            break;
        }
        elements = load.project->GetCurrentImage()->GetFirstLayer()->GetElementCount();
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    std::remove(path.c_str());
    state.counters["file_MB"] = fileMb;
    state.counters["elements"] = static_cast<double>(elements);
    state.counters["limit_ratio"] = seconds / static_cast<double>(std::max<int64_t>(1, state.iterations())) / 2.0;
    state.counters["peak_MB"] = static_cast<double>(PeakResidentKb()) / 1024;
}

// 50,000 paths of sixteen commands: about 10 MB.
void ImportPaths(benchmark::State& state) {
    ImportFile(state, "paths.svg", [](std::FILE* f) {
        for (long i = 0; i < 50000; ++i)
            std::fprintf(f,
                         "<path d=\"M%ld,%ld C%ld,20 40,50 60,70 L80,90 L100,120 Q130,140 150,160 "
                         "S170,180 190,200 H210 V230 L240,250 T270,280 L300,310 L320,330 L340,350 L360,370 Z\" fill=\"rgb(%ld,20,30)\" "
                         "stroke=\"#336699\" stroke-width=\"2\"/>\n",
                         i % 4000, i % 3000, i % 97, i % 256);
    });
}
BENCHMARK(ImportPaths)->Unit(benchmark::kMillisecond);

// 2,000 groups, each with an id, each inside the one before.
void ImportNestedGroups(benchmark::State& state) {
    ImportFile(state, "nested.svg", [](std::FILE* f) {
        for (int i = 0; i < 2000; ++i)
            std::fprintf(f, "<g id=\"group%d\" fill=\"#%06x\"><rect x=\"%d\" y=\"1\" width=\"2\" height=\"2\"/>\n",
                         i, i * 977 % 0xFFFFFF, i);
        for (int i = 0; i < 2000; ++i)
            std::fprintf(f, "</g>");
        std::fprintf(f, "\n");
    });
}
BENCHMARK(ImportNestedGroups)->Unit(benchmark::kMillisecond);

// A text of 20,000 characters: as many text elements.
void ImportLongText(benchmark::State& state) {
    ImportFile(state, "text.svg", [](std::FILE* f) {
        std::fprintf(f, "<text x=\"10\" y=\"40\" font-size=\"12\">");
        for (int i = 0; i < 20000; ++i)
            std::fputc("abcdefghijklmnopqrstuvwxyz.,"[i % 28], f);
        std::fprintf(f, "</text>\n");
    });
}
BENCHMARK(ImportLongText)->Unit(benchmark::kMillisecond);

// One path of 100,000 commands, subpaths of ten.
void ImportLongPath(benchmark::State& state) {
    ImportFile(state, "longpath.svg", [](std::FILE* f) {
        std::fprintf(f, "<path stroke=\"black\" d=\"");
        for (int i = 0; i < 100000; ++i)
            std::fprintf(f, i % 10 ? "L%d,%d " : "M%d,%d ", i % 3990, (i / 7) % 2990);
        std::fprintf(f, "\"/>\n");
    });
}
BENCHMARK(ImportLongPath)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
