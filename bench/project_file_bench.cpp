// Saving and loading a project of 100,000 shapes with effects: the autosave
// runs after every render, so a save must cost less than drawing the same
// project.

#include <benchmark/benchmark.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "document/shapes.h"
#include "null_target.h"
#include "persistence/project_file.h"
#include "render/render_image_buffer.h"

namespace {

constexpr long kShapes = 100000;

KVProject* MakeProject(bool effects = true) {
    auto* project = new KVProject("bench");
    auto* image = new KVImage("bench", 1920, 1080, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project->AddNewImage(image);
    for (long i = 0; i < kShapes; ++i) {
        const float x = static_cast<float>(i % 1900), y = static_cast<float>(i % 1000);
        if (i % 2) {
            KVRectangleElementProperties p;
            p.SetRectangle({x, y, x + 20, y + 10});
            p.SetFill(LGuiColorAlpha(10, 20, 30, 255));
            if (effects) {
                p.SetShadow(KVDropShadow());
                p.SetBevelEmboss(KVBevelEmboss());
            }
            image->AddNewElement(new KVRectangleElement(p), layer, false, false);
        } else {
            KVEllipseElementProperties p;
            p.SetBounds({x, y, x + 20, y + 10});
            p.SetGradient(KVGradient({0, 0}, {1, 1}, {}, LGuiColorAlpha(255, 0, 0, 255)));
            if (effects)
                p.SetOuterGlow(KVGlow());
            image->AddNewElement(new KVEllipseElement(p), layer, false, false);
        }
    }
    return project;
}

std::string BenchFile() { return "/tmp/kv-bench-" + std::to_string(getpid()) + ".kvp"; }

double FileSize(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<double>(st.st_size) : 0.0;
}

void Save(benchmark::State& state) {
    std::unique_ptr<KVProject> project(MakeProject());
    const std::string path = BenchFile();
    LProcessInterfaceVoid process;
    for (auto _ : state)
        if (KVProjectFileSave(process, *project, path.c_str()) != LProcessResultOk)
            state.SkipWithError("save failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
    state.SetItemsProcessed(state.iterations() * kShapes);
    unlink(path.c_str());
}

void Load(benchmark::State& state) {
    const std::string path = BenchFile();
    LProcessInterfaceVoid process;
    {
        std::unique_ptr<KVProject> project(MakeProject());
        KVProjectFileSave(process, *project, path.c_str());
    }
    for (auto _ : state) {
        KVProject loaded("bench");
        if (KVProjectFileLoad(process, loaded, path.c_str()) != LProcessResultOk)
            state.SkipWithError("load failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
    state.SetItemsProcessed(state.iterations() * kShapes);
    unlink(path.c_str());
}

// The same project driven through a target that draws nothing: the floor of
// any render.
void RenderWalkOnly(benchmark::State& state) {
    std::unique_ptr<KVProject> project(MakeProject());
    NullTarget target;
    LProcessInterfaceVoid process;
    for (auto _ : state)
        benchmark::DoNotOptimize(project->Render(process, target));
    state.SetItemsProcessed(state.iterations() * kShapes);
}

// Effects are not drawn by the raster target yet, so the comparison of a
// save with a real render uses the same shapes without them.
void SavePlain(benchmark::State& state) {
    std::unique_ptr<KVProject> project(MakeProject(false));
    const std::string path = BenchFile();
    LProcessInterfaceVoid process;
    for (auto _ : state)
        if (KVProjectFileSave(process, *project, path.c_str()) != LProcessResultOk)
            state.SkipWithError("save failed");
    state.SetItemsProcessed(state.iterations() * kShapes);
    unlink(path.c_str());
}

void RasterRenderPlain(benchmark::State& state) {
    std::unique_ptr<KVProject> project(MakeProject(false));
    LProcessInterfaceVoid process;
    for (auto _ : state) {
        KVRenderImageBuffer target(1920, 1080);
        target.Clear(LPixelColour(255, 255, 255, 255));
        if (project->Render(process, target) != LProcessResultOk)
            state.SkipWithError("render failed");
    }
    state.SetItemsProcessed(state.iterations() * kShapes);
}

} // namespace

BENCHMARK(SavePlain)->Unit(benchmark::kMillisecond);
BENCHMARK(RasterRenderPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(Save)->Unit(benchmark::kMillisecond);
BENCHMARK(Load)->Unit(benchmark::kMillisecond);
BENCHMARK(RenderWalkOnly)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
