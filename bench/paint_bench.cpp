// Filling 10,000 random 10-point polygons and stroking 1,000 cubic paths with
// round joins on a 1920 by 1080 picture, once through LPaintSurface and once
// with the same cairo calls made directly. The layer may add at most 10%;
// the ratios of the medians are printed at the end, and Interleaved measures
// the two in turn, which a busy machine disturbs least.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "foundation/paint_surface.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr int kPolygons = 10000, kPolygonPoints = 10;
constexpr int kPaths = 1000, kCurvesPerPath = 6;

struct Polygon {
    LPointTemplate<float> points[kPolygonPoints];
    LGuiColorAlpha colour;
};

struct CubicPath {
    // A start point, then three points per curve.
    std::vector<LPointTemplate<float>> points;
    float width;
    LGuiColorAlpha colour;
};

struct Scene {
    std::vector<Polygon> polygons;
    std::vector<CubicPath> paths;

    Scene() {
        std::mt19937 random(20240611);
        std::uniform_real_distribution<float> x(0, kWidth), y(0, kHeight), spread(-60, 60),
            width(1, 8);
        std::uniform_int_distribution<int> byte(0, 255);
        auto colour = [&] {
            return LGuiColorAlpha(static_cast<unsigned char>(byte(random)),
                                  static_cast<unsigned char>(byte(random)),
                                  static_cast<unsigned char>(byte(random)),
                                  static_cast<unsigned char>(128 + byte(random) / 2));
        };
        polygons.resize(kPolygons);
        for (Polygon& p : polygons) {
            const float cx = x(random), cy = y(random);
            for (auto& pt : p.points)
                pt = {cx + spread(random), cy + spread(random)};
            p.colour = colour();
        }
        paths.resize(kPaths);
        for (CubicPath& p : paths) {
            float px = x(random), py = y(random);
            p.points.push_back({px, py});
            for (int i = 0; i < kCurvesPerPath * 3; ++i) {
                px += 2 * spread(random);
                py += 2 * spread(random);
                p.points.push_back({px, py});
            }
            p.width = width(random);
            p.colour = colour();
        }
    }
};

const Scene& GetScene() {
    static const Scene scene;
    return scene;
}

void SetColour(cairo_t* cr, const LGuiColorAlpha& c) {
    cairo_set_source_rgba(cr, c.Red8() * kLByteToUnit, c.Green8() * kLByteToUnit,
                          c.Blue8() * kLByteToUnit, c.alpha * kLByteToUnit);
}

void DrawThroughSurface(LPaintSurfaceImage& surface) {
    const Scene& scene = GetScene();
    LPaintContext& c = surface.context;
    LLineStyle round;
    round.join = 2;
    LPaintSurface::Clear(c);
    for (const Polygon& p : scene.polygons) {
        LGraphicsPath path;
        path.AddLines(p.points, kPolygonPoints);
        path.CloseFigure();
        LPaintSurface::FillPath(c, LGuiSolidBrush(p.colour), path);
    }
    for (const CubicPath& p : scene.paths) {
        LGraphicsPath path;
        path.BeginFigure(p.points[0]);
        for (size_t i = 1; i + 2 < p.points.size(); i += 3)
            path.BezierTo(p.points[i], p.points[i + 1], p.points[i + 2]);
        LPaintSurface::DrawPath(c, LGuiSolidBrush(p.colour), path, p.width, &round);
    }
    surface.Flush();
}

// The same drawing with the cairo calls it comes down to.
void DrawDirect(cairo_t* cr) {
    const Scene& scene = GetScene();
    cairo_save(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_paint(cr);
    cairo_restore(cr);
    for (const Polygon& p : scene.polygons) {
        cairo_new_path(cr);
        cairo_move_to(cr, p.points[0].x, p.points[0].y);
        for (int i = 1; i < kPolygonPoints; ++i)
            cairo_line_to(cr, p.points[i].x, p.points[i].y);
        cairo_close_path(cr);
        SetColour(cr, p.colour);
        cairo_fill(cr);
    }
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    for (const CubicPath& p : scene.paths) {
        cairo_new_path(cr);
        cairo_move_to(cr, p.points[0].x, p.points[0].y);
        for (size_t i = 1; i + 2 < p.points.size(); i += 3)
            cairo_curve_to(cr, p.points[i].x, p.points[i].y, p.points[i + 1].x,
                           p.points[i + 1].y, p.points[i + 2].x, p.points[i + 2].y);
        cairo_set_line_width(cr, p.width);
        SetColour(cr, p.colour);
        cairo_stroke(cr);
    }
    cairo_surface_flush(cairo_get_target(cr));
}

struct DirectTarget {
    DirectTarget()
        : surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight)),
          cr(cairo_create(surface)) {
        cairo_translate(cr, 0.5, 0.5);
    }
    ~DirectTarget() {
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
    }
    cairo_surface_t* surface;
    cairo_t* cr;
};

double ThreadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + t.tv_nsec * 1e-9;
}

void ThroughSurface(benchmark::State& state) {
    LPaintSurfaceImage surface(kWidth, kHeight);
    for (auto _ : state)
        DrawThroughSurface(surface);
    state.SetItemsProcessed(state.iterations() * (kPolygons + kPaths));
}

void DirectCairo(benchmark::State& state) {
    DirectTarget target;
    for (auto _ : state)
        DrawDirect(target.cr);
    state.SetItemsProcessed(state.iterations() * (kPolygons + kPaths));
}

// Both in turn, each iteration, so that a change in the machine's load
// falls on both alike: the counter is the ratio of their processor times.
void Interleaved(benchmark::State& state) {
    LPaintSurfaceImage surface(kWidth, kHeight);
    DirectTarget target;
    double direct = 0, layer = 0;
    bool surfaceFirst = false;
    for (auto _ : state) {
        for (int k = 0; k < 2; ++k) {
            const double start = ThreadSeconds();
            if ((k == 0) == surfaceFirst) {
                DrawThroughSurface(surface);
                layer += ThreadSeconds() - start;
            } else {
                DrawDirect(target.cr);
                direct += ThreadSeconds() - start;
            }
        }
        surfaceFirst = !surfaceFirst;
    }
    state.counters["surface_over_direct"] = direct > 0 ? layer / direct : 0;
}

// Prints as usual and keeps the medians for the ratio.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& r : runs)
            if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median") {
                realMedians[r.run_name.function_name] = r.GetAdjustedRealTime();
                cpuMedians[r.run_name.function_name] = r.GetAdjustedCPUTime();
            }
    }
    // Both the wall clock and the processor time: on a shared machine the
    // latter is the steadier measure.
    void PrintRatio(const char* what, const std::map<std::string, double>& medians) const {
        const auto direct = medians.find("DirectCairo");
        const auto surface = medians.find("ThroughSurface");
        if (direct != medians.end() && surface != medians.end() && direct->second > 0)
            std::printf("LPaintSurface / direct cairo, %s medians: %.3f (at most 1.10 wanted)\n",
                        what, surface->second / direct->second);
    }
    std::map<std::string, double> realMedians, cpuMedians;
};

} // namespace

BENCHMARK(DirectCairo)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(1.0);
BENCHMARK(ThroughSurface)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(1.0);
BENCHMARK(Interleaved)->Unit(benchmark::kMillisecond)->Iterations(8);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    reporter.PrintRatio("real time", reporter.realMedians);
    reporter.PrintRatio("processor time", reporter.cpuMedians);
    return 0;
}
