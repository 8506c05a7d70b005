// Vectorisation of a photo-like picture of 1000 x 1000 at three details on 1,
// 2 and all processors; how long a stop takes to end every worker; tracing a
// posterised picture of 2 megapixels; and painting a vectorised picture of
// some 20,000 regions through the raster target against the same outlines
// filled by the drawing library directly.

#include <benchmark/benchmark.h>

#include <cairo.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <random>
#include <thread>

#include "document/freehand.h"
#include "document/vectorize.h"
#include "foundation/thread.h"
#include "imaging/image_blur.h"
#include "render/render_image_buffer.h"

namespace {

using Clock = std::chrono::steady_clock;

// Soft light over a few round shapes, a horizon, fine stripes as texture and
// sensor-like noise: smooth areas, hard edges and grain, as a photo has.
LImageBuffer Photo(int w, int h) {
    LImageBuffer b;
    LImage::New(b, w, h, LPixelFormatB8G8R8A8);
    std::mt19937 random(7);
    for (int y = 0; y < h; ++y) {
        unsigned char* p = b.GetPictureRow(y);
        for (int x = 0; x < w; ++x, p += 4) {
            const double fx = static_cast<double>(x) / w, fy = static_cast<double>(y) / h;
            double r = 90 + 120 * fy, g = 140 + 60 * fy, bl = 230 - 90 * fy;
            if (fy > 0.62 + 0.05 * std::sin(fx * 9)) // ground
                r = 70 + 40 * fx, g = 110 + 30 * std::sin(fx * 40), bl = 50;
            const double sun = std::hypot(fx - 0.7, fy - 0.25);
            if (sun < 0.12)
                r = 250, g = 220 - 300 * sun, bl = 120;
            const double ball = std::hypot(fx - 0.3, fy - 0.7);
            if (ball < 0.15) {
                const double shade = 1 - ball / 0.15 * 0.6;
                r = 200 * shade, g = 40 * shade, bl = 60 * shade;
            }
            const double grain = static_cast<double>(random() % 25) - 12;
            auto c = [&](double v) {
                return static_cast<unsigned char>(std::clamp(v + grain, 0.0, 255.0));
            };
            p[0] = c(bl), p[1] = c(g), p[2] = c(r), p[3] = 255;
        }
    }
    return b;
}

const LImageBuffer& ThePhoto() {
    static const LImageBuffer photo = Photo(1000, 1000);
    return photo;
}

void Copy(const LImageBuffer& from, LImageBuffer& to) {
    LImage::New(to, from.width, from.height, LPixelFormatB8G8R8A8);
    LImageBufferCopy(to, from);
}

// range(0) the detail, range(1) the threads (0: all processors).
void Vectorize(benchmark::State& state) {
    const unsigned long threads =
        state.range(1) ? static_cast<unsigned long>(state.range(1)) : LImageProcessorCount();
    LProcessInterfaceVoid process;
    unsigned long paths = 0;
    for (auto _ : state) {
        KVVectorizeImageSettings settings;
        Copy(ThePhoto(), settings.input);
        settings.detail = static_cast<int>(state.range(0));
        if (KVVectorizeImage(process, settings, threads) != LProcessResultOk)
            state.SkipWithError("the vectorisation failed");
        paths = settings.output.GetCount();
    }
    state.counters["threads"] = static_cast<double>(threads);
    state.counters["paths"] = static_cast<double>(paths);
}

// The vectorisation on a thread of its own, stopped in the middle of the
// smoothing; the time runs from the stop to the moment the process has no
// worker left, counted by the system.
class Job : public LThread {
public:
    ~Job() override { StopThreadNow(); }
    void ThreadFunction() override { KVVectorizeImage(*this, settings); }
    void SetProgress(double f) override { progress.store(f); }
    KVVectorizeImageSettings settings;
    std::atomic<double> progress{0};
};

long LiveThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
}

void StopLatency(benchmark::State& state) {
    for (auto _ : state) {
        const long before = LiveThreads();
        Job job;
        Copy(ThePhoto(), job.settings.input);
        job.settings.detail = 50;
        job.Start(kLThreadPriorityNormal);
        while (job.progress.load() < 0.05)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const Clock::time_point asked = Clock::now();
        job.StopThreadSoon();
        while (LiveThreads() > before + 1)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - asked).count());
        job.WaitToStop();
    }
}

// A photo of 2 megapixels, smoothed and posterised as at detail 50.
const LImageBuffer& ThePosterizedPhoto() {
    static const LImageBuffer picture = [] {
        LImageBuffer b = Photo(1600, 1250);
        LProcessInterfaceVoid process;
        LImageBlurSettings blur(b, KVGetVectorizeStages(50).blurRadius);
        blur.passes = KVGetVectorizeStages(50).blurPasses;
        Process(process, blur);
        for (int y = 0; y < b.height; ++y)
            for (unsigned char* p = b.GetPictureRow(y); p < b.GetPictureRow(y) + 4 * b.width; ++p)
                if ((p - b.GetPictureRow(y)) % 4 != 3)
                    *p = KVPosterize(2, *p);
        return b;
    }();
    return picture;
}

void Trace(benchmark::State& state) {
    const LImageBuffer& picture = ThePosterizedPhoto();
    LProcessInterfaceVoid process;
    std::vector<std::unique_ptr<KVVectorizePath>> paths;
    double traced = 0;
    for (auto _ : state) {
        if (KVTraceRegions(process, picture, picture, paths) != LProcessResultOk)
            state.SkipWithError("the trace failed");
        traced += static_cast<double>(paths.size());
    }
    state.counters["paths"] = static_cast<double>(paths.size());
    state.counters["pathsPerSecond"] = benchmark::Counter(traced, benchmark::Counter::kIsRate);
}

// The photo at 1100 x 1100 and detail 80 gives some 20,000 regions.
constexpr int kPaintSize = 1100;
const KVVectorizeImageSettings& TheVectorizedPhoto() {
    static KVVectorizeImageSettings settings;
    static const bool made = [] {
        settings.input = Photo(kPaintSize, kPaintSize);
        settings.detail = 80;
        LProcessInterfaceVoid process;
        return KVVectorizeImage(process, settings) == LProcessResultOk;
    }();
    (void)made;
    return settings;
}

// Both on pictures of the same size, taking turns in one loop so that a busy
// machine slows both alike; the counters give each one's milliseconds per
// picture and their ratio.
void PaintPaths(benchmark::State& state) {
    const KVVectorizeImageSettings& vectorized = TheVectorizedPhoto();
    KVRenderImageBuffer target(kPaintSize, kPaintSize);
    LProcessInterfaceVoid process;
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kPaintSize, kPaintSize);
    cairo_t* cr = cairo_create(surface);
    cairo_translate(cr, 0.5, 0.5);
    double ours = 0, theirs = 0;
    for (auto _ : state) {
        const Clock::time_point a = Clock::now();
        for (KVElement& path : vectorized.output)
            path.Render(process, target);
        target.Flush();
        const Clock::time_point b = Clock::now();
        for (KVElement& element : vectorized.output) {
            const auto p = static_cast<KVSimplePathElement&>(element).GetProperties();
            cairo_new_path(cr);
            for (const KVDrawCoord& c : p.path.GetCoords())
                cairo_line_to(cr, c.x, c.y);
            cairo_set_source_rgb(cr, p.colour.Red8() / 255.0, p.colour.Green8() / 255.0,
                                 p.colour.Blue8() / 255.0);
            cairo_fill(cr);
        }
        cairo_surface_flush(surface);
        const Clock::time_point c = Clock::now();
        ours += std::chrono::duration<double, std::milli>(b - a).count();
        theirs += std::chrono::duration<double, std::milli>(c - b).count();
    }
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    const double n = static_cast<double>(state.iterations());
    state.counters["paths"] = static_cast<double>(vectorized.output.GetCount());
    state.counters["targetMs"] = ours / n;
    state.counters["cairoMs"] = theirs / n;
    state.counters["ratio"] = theirs > 0 ? ours / theirs : 0;
}

} // namespace

BENCHMARK(Vectorize)
    ->ArgsProduct({{20, 50, 80}, {1, 2, 0}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(2);
BENCHMARK(StopLatency)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(Trace)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(PaintPaths)->Unit(benchmark::kMillisecond)->MinTime(1.0);

BENCHMARK_MAIN();
