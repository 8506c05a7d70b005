#include "document/vectorize.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <new>

#include "document/freehand.h"
#include "foundation/thread.h"
#include "imaging/image_blur.h"

namespace {

// The longest time between two looks at the caller's stop while workers run;
// the wait itself ends as soon as the last worker does.
constexpr unsigned kStopPollMilliseconds = 100;

// Asks about a stop once per so many pixels of work: on a thread the question
// is a system call, and a stripe of a large picture takes far longer than the
// tenth of a second in which a stop must be heard.
class StopCheck {
public:
    bool operator()(LProcessInterface& process, long pixels) {
        budget -= pixels;
        if (budget > 0)
            return false;
        budget = kPixelsPerCheck;
        return process.IsToStop();
    }

private:
    static constexpr long kPixelsPerCheck = 16384;
    long budget = 0;
};

template <class T> bool TryResize(std::vector<T>& v, size_t n) {
    try {
        v.assign(n, T{});
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// ---------------------------------------------------------------- noise reduction

// Offsets run from 0 to this in x and in y.
constexpr int kReach = 10;
// Patches are 7 x 7.
constexpr int kPatchRadius = 3;
// exp(-x) in float is exactly 0 from about 103.97 on, so a pixel pair past
// this adds nothing and its exp can be skipped.
constexpr double kWeightVanishes = 104.0;

// Red, green, blue (as fractions of 255) and weight sums, row after row.
struct NoisePlanes {
    int width = 0;
    std::vector<float> red, green, blue, weight;

    bool Allocate(int w, int rows) {
        width = w;
        const size_t n = static_cast<size_t>(w) * static_cast<size_t>(rows);
        return TryResize(red, n) && TryResize(green, n) && TryResize(blue, n) &&
               TryResize(weight, n);
    }
    void Add(size_t i, const unsigned char* bgra, const float* unit, float w) {
        blue[i] += unit[bgra[0]] * w;
        green[i] += unit[bgra[1]] * w;
        red[i] += unit[bgra[2]] * w;
        weight[i] += w;
    }
};

// One worker's rows, with what it adds to the rows just below them: those
// belong to the next stripe, whose worker writes them at the same time, so
// they are gathered apart and added once both have finished.
struct NoiseStripe {
    int first = 0;
    int count = 0;
    // Summed-area table of the patch distances, (count + 1) x (width + 1).
    // Double, because a float table over a whole stripe rounds the small
    // sums of a 7 x 7 patch away.
    std::vector<double> table;
    NoisePlanes below;
};

// Non-local means over forward offsets only: each pair of pixels p and
// q = p + (dx, dy) is weighed once and serves both. The weight falls with
// the squared distance of the 7 x 7 patches around them, beyond what the
// noise of `strength` explains.
LProcessResult ProcessNoise(LProcessInterface& thread, NoiseStripe& stripe,
                            const LImageBuffer& picture, NoisePlanes& planes, float strength,
                            std::atomic<int>& offsetsDone) {
    const int W = picture.width, H = picture.height;
    const int first = stripe.first, count = stripe.count, end = first + count;
    const double s = static_cast<double>(strength) * strength;
    const double floor = std::max(0.0001, s * s);
    const long T = W + 1;
    float unit[256];
    for (int i = 0; i < 256; ++i)
        unit[i] = static_cast<float>(i) / 255.0f;
    double* table = stripe.table.data();
    std::fill(table, table + T, 0.0);

    StopCheck stopped;
    int done = 0;
    for (int dy = 0; dy <= kReach; ++dy) {
        for (int dx = 0; dx <= kReach; ++dx) {
            if (dx == 0 && dy == 0)
                continue;
            if (thread.IsToStop())
                return LProcessResultStopped;
            // Squared colour distance of p and q, 0 where q is off the picture.
            for (int y = 0; y < count; ++y) {
                if (stopped(thread, W))
                    return LProcessResultStopped;
                const int qy = first + y + dy;
                double* row = table + (y + 1) * T;
                const double* above = row - T;
                row[0] = 0;
                double run = 0;
                const int inside = qy < H ? std::max(0, W - dx) : 0;
                const unsigned char* p = picture.GetPictureRow(first + y);
                const unsigned char* q = qy < H ? picture.GetPictureRow(qy) + 4 * dx : nullptr;
                for (int x = 0; x < inside; ++x, p += 4, q += 4) {
                    const double b = unit[p[0]] - unit[q[0]], g = unit[p[1]] - unit[q[1]],
                                 r = unit[p[2]] - unit[q[2]];
                    run += r * r + g * g + b * b;
                    row[x + 1] = above[x + 1] + run;
                }
                for (int x = inside; x < W; ++x)
                    row[x + 1] = above[x + 1] + run;
            }
            for (int y = 0; y < count; ++y) {
                const int py = first + y, qy = py + dy;
                if (qy >= H)
                    break;
                if (stopped(thread, W))
                    return LProcessResultStopped;
                const double* top = table + std::max(0, y - kPatchRadius) * T;
                const double* bottom = table + (std::min(count - 1, y + kPatchRadius) + 1) * T;
                const unsigned char* p = picture.GetPictureRow(py);
                const unsigned char* q = picture.GetPictureRow(qy) + 4 * dx;
                NoisePlanes& qPlanes = qy < end ? planes : stripe.below;
                const size_t pRow = static_cast<size_t>(py) * W;
                const size_t qRow = static_cast<size_t>(qy < end ? qy : qy - end) * W + dx;
                for (int x = 0; x + dx < W; ++x, p += 4, q += 4) {
                    const int x0 = std::max(0, x - kPatchRadius);
                    const int x1 = std::min(W - 1, x + kPatchRadius) + 1;
                    const double sum = bottom[x1] - top[x1] - bottom[x0] + top[x0];
                    const double arg = std::max(0.0, sum - 2 * s) / floor;
                    if (arg > kWeightVanishes)
                        continue;
                    const float w = std::exp(static_cast<float>(-arg));
                    qPlanes.Add(qRow + x, p, unit, w);
                    planes.Add(pRow + x, q, unit, w);
                }
            }
            offsetsDone.store(++done, std::memory_order_relaxed);
        }
    }
    for (int y = first; y < end; ++y) {
        const unsigned char* p = picture.GetPictureRow(y);
        for (int x = 0; x < W; ++x, p += 4)
            planes.Add(static_cast<size_t>(y) * W + x, p, unit, 1.0f);
    }
    return LProcessResultOk;
}

class KVNoiseThread : public LThread {
public:
    KVNoiseThread() { SetThreadName("kv-noise"); }
    ~KVNoiseThread() override { StopThreadNow(); }

    void ThreadFunction() override {
        result = ProcessNoise(*this, *stripe, *picture, *planes, strength, offsetsDone);
        done.Set();
    }

    NoiseStripe* stripe = nullptr;
    const LImageBuffer* picture = nullptr;
    NoisePlanes* planes = nullptr;
    float strength = 1.0f;
    std::atomic<int> offsetsDone{0};
    // Read once `done` is set.
    LProcessResult result = LProcessResultOk;
    LSignalObject done;
};

constexpr int kNoiseOffsets = (kReach + 1) * (kReach + 1) - 1;

void StopAll(std::vector<KVNoiseThread>& workers) {
    for (KVNoiseThread& worker : workers)
        worker.StopThreadSoon();
    for (KVNoiseThread& worker : workers)
        worker.StopThreadNow();
}

// Runs the stripes and waits for them, hearing the caller's stop at least
// every kStopPollMilliseconds.
LProcessResult RunNoiseWorkers(LProcessInterface& process, std::vector<NoiseStripe>& stripes,
                               const LImageBuffer& picture, NoisePlanes& planes, float strength) {
    std::vector<KVNoiseThread> workers(stripes.size());
    for (size_t t = 0; t < workers.size(); ++t) {
        KVNoiseThread& worker = workers[t];
        worker.stripe = &stripes[t];
        worker.picture = &picture;
        worker.planes = &planes;
        worker.strength = strength;
        worker.Start(kLThreadPriorityNormal);
        if (!worker.IsRunning() && !worker.HasStarted()) {
            StopAll(workers);
            process.SetError("No thread could be started to reduce the picture's noise.");
            return LProcessResultError;
        }
    }
    for (;;) {
        if (process.IsToStop()) {
            StopAll(workers);
            return LProcessResultStopped;
        }
        LSignalObjectGroup still;
        int offsets = 0;
        for (KVNoiseThread& worker : workers) {
            offsets += worker.offsetsDone.load(std::memory_order_relaxed);
            if (!worker.done.IsSignaled())
                still.Add(worker.done);
        }
        process.SetProgress(static_cast<double>(offsets) /
                            (static_cast<double>(kNoiseOffsets) * workers.size()));
        if (still.GetCount() == 0)
            break;
        if (process.ProcessWaitSignalObjectGroup(still, kStopPollMilliseconds) ==
            LProcessResultStopped) {
            StopAll(workers);
            return LProcessResultStopped;
        }
    }
    for (KVNoiseThread& worker : workers)
        if (worker.result != LProcessResultOk) {
            StopAll(workers);
            return worker.result;
        }
    return LProcessResultOk;
}

// ---------------------------------------------------------------- tracing

// Headings of a step along the pixel grid's edges, counter-clockwise on
// screen, so that +1 turns left.
enum Heading : int { kRight = 0, kUp = 1, kLeft = 2, kDown = 3 };

class RegionTracer {
public:
    RegionTracer(const std::vector<std::uint32_t>& keys, int width, int height)
        : keys(keys), W(width), H(height) {}

    // Follows the outer boundary of the region whose first pixel, walking
    // columns from the left and each from the top, is (x0, y0): neither the
    // pixel above nor the one to the left is of the region, so the corner
    // above-left of it lies on the outer boundary and the walk starts down
    // its left side. At each corner the walk turns as far left as keeps the
    // region on its left hand and the rest on its right; turning left first
    // holds on to the pixel just passed, so two pixels that only touch at a
    // corner stay apart, as the regions are cut. Only corners where the
    // heading changes are recorded: the outline is the same.
    bool Trace(int x0, int y0, KVVectorizePath& path) const {
        const std::uint32_t key = keys[static_cast<size_t>(y0) * W + x0];
        // Enough for every edge of the picture twice over; a walk that takes
        // more has lost its way.
        long budget = 4l * (W + 1) * (H + 1);
        int x = x0, y = y0, heading = kDown;
        path.AddCoord(x, y);
        bool first = true;
        do {
            int next = -1;
            for (int turn : {1, 0, 3, 2}) {
                const int h = (heading + turn) % 4;
                if (IsEdge(x, y, h, key)) {
                    next = h;
                    break;
                }
            }
            if (next < 0 || --budget < 0)
                return false;
            if (next != heading && !first)
                path.AddCoord(x, y);
            first = false;
            heading = next;
            x += heading == kRight ? 1 : heading == kLeft ? -1 : 0;
            y += heading == kDown ? 1 : heading == kUp ? -1 : 0;
        } while (x != x0 || y != y0);
        // Back at the start, which closes the outline for a stroke as well.
        path.AddCoord(x0, y0);
        return true;
    }

private:
    bool Is(int x, int y, std::uint32_t key) const {
        return x >= 0 && y >= 0 && x < W && y < H && keys[static_cast<size_t>(y) * W + x] == key;
    }
    // The edge leaving corner (x, y) with this heading has the region on its
    // left and something else on its right.
    bool IsEdge(int x, int y, int heading, std::uint32_t key) const {
        switch (heading) {
        case kRight:
            return Is(x, y - 1, key) && !Is(x, y, key);
        case kUp:
            return Is(x - 1, y - 1, key) && !Is(x, y - 1, key);
        case kLeft:
            return Is(x - 1, y, key) && !Is(x - 1, y - 1, key);
        default:
            return Is(x, y, key) && !Is(x - 1, y, key);
        }
    }

    const std::vector<std::uint32_t>& keys;
    const int W, H;
};

// Gives every pixel of the region around (x0, y0) to `region`. A region
// found by its outline alone would leave the pixels around a hole in it
// unclaimed, and the search would take them for a region of their own
// painted over the hole.
void FloodRegion(const std::vector<std::uint32_t>& keys, std::vector<std::int32_t>& owner,
                 std::vector<std::int32_t>& stack, int W, int H, int x0, int y0,
                 std::int32_t region) {
    const std::uint32_t key = keys[static_cast<size_t>(y0) * W + x0];
    const std::int32_t start = y0 * W + x0;
    owner[static_cast<size_t>(start)] = region;
    stack.push_back(start);
    auto visit = [&](std::int32_t i) {
        if (owner[static_cast<size_t>(i)] < 0 && keys[static_cast<size_t>(i)] == key) {
            owner[static_cast<size_t>(i)] = region;
            stack.push_back(i);
        }
    };
    while (!stack.empty()) {
        const std::int32_t i = stack.back();
        stack.pop_back();
        const int x = i % W;
        if (x > 0)
            visit(i - 1);
        if (x + 1 < W)
            visit(i + 1);
        if (i >= W)
            visit(i - W);
        if (i + W < W * H)
            visit(i + W);
    }
}

LPixelColour PixelAt(const unsigned char* bgra) {
    return LPixelColour(bgra[2], bgra[1], bgra[0], bgra[3]);
}

bool IsWorkingPicture(const LImageBuffer& b) {
    // Pixel indices are ints.
    return b.IsValid() && b.format == LPixelFormatB8G8R8A8 &&
           static_cast<std::int64_t>(b.width + 1) * (b.height + 1) < 0x7FFFFFFF;
}

} // namespace

// ---------------------------------------------------------------- public

KVVectorizePath::KVVectorizePath(unsigned long width, unsigned long height, LPixelColour colour)
    : KVDrawPath(width, height, nullptr), red(colour.red), green(colour.green), blue(colour.blue),
      alpha(colour.alpha), count(1) {}

void KVVectorizePath::AddCoord(int x, int y) {
    KVDrawPath::AddCoord(
        new KVDrawCoord(static_cast<float>(x) - 0.5f, static_cast<float>(y) - 0.5f));
}

void KVVectorizePath::AddPixel(LPixelColour c) {
    if (sumsStale) {
        red = green = blue = alpha = 0;
        count = 0;
        sumsStale = false;
    }
    red += c.red;
    green += c.green;
    blue += c.blue;
    alpha += c.alpha;
    ++count;
}

LPixelColour KVVectorizePath::GetAverageColor() const {
    auto mean = [this](float sum) {
        if (count == 0)
            return static_cast<unsigned char>(0);
        return static_cast<unsigned char>(
            std::min(255.0f, std::round(sum / static_cast<float>(count))));
    };
    return LPixelColour(mean(red), mean(green), mean(blue), mean(alpha));
}

KVVectorizeStages KVGetVectorizeStages(int detail) {
    const int d = std::clamp(detail, 0, 100);
    KVVectorizeStages s;
    s.noise = (100.0f - 0.9f * static_cast<float>(d)) / 100.0f;
    s.blurRadius = static_cast<unsigned long>((110 - d) / 20);
    if (d < 31)
        s.blurPasses = 3;
    else if (d < 61)
        s.blurPasses = 2;
    else if (d < 91)
        s.blurPasses = 1;
    s.posterizeLevel = d <= 20 ? 0 : d <= 40 ? 1 : d <= 60 ? 2 : d <= 80 ? 3 : d <= 90 ? 4 : 5;
    return s;
}

unsigned char KVPosterize(int level, unsigned char value) {
    // Each row: the steps' lower bounds and the values they give. The 75 of
    // the third is uneven on purpose: it is what pictures were always given.
    static constexpr unsigned char kFifths[][2] = {
        {205, 204}, {154, 153}, {103, 102}, {52, 51}, {0, 0}};
    static constexpr unsigned char kSixths[][2] = {
        {213, 212}, {171, 170}, {128, 127}, {86, 75}, {43, 42}, {0, 0}};
    static constexpr unsigned char kTenths[][2] = {{230, 229}, {205, 204}, {179, 178}, {154, 153},
                                                   {128, 127}, {103, 102}, {77, 76},   {52, 51},
                                                   {26, 25},   {0, 0}};
    auto step = [value](const auto& table) {
        for (const auto& [bound, result] : table)
            if (value >= bound)
                return result;
        return static_cast<unsigned char>(0);
    };
    switch (level) {
    case 0:
        return value & 0xC0;
    case 1:
        return step(kFifths);
    case 2:
        return step(kSixths);
    case 3:
        return value & 0xE0;
    case 4:
        return step(kTenths);
    case 5:
        return value & 0xF0;
    default:
        return value;
    }
}

bool KVVectorizeNeedsWarning(int width, int height, int detail) {
    const double megapixels = static_cast<double>(width) * static_cast<double>(height) / 1e6;
    return megapixels > 1.0 || (detail > 50 && megapixels > 0.75) ||
           (detail >= 76 && megapixels > 0.25);
}

LProcessResult ProcessNoiseReduction(LProcessInterface& process, LImageBuffer& picture,
                                     float strength, unsigned long threadCount) {
    if (!IsWorkingPicture(picture)) {
        process.SetError("The picture to smooth has no pixels of 8-bit colour and alpha.");
        return LProcessResultError;
    }
    if (process.IsToStop())
        return LProcessResultStopped;
    const int W = picture.width, H = picture.height;
    const int n = static_cast<int>(std::clamp<unsigned long>(
        threadCount, 1, std::min<unsigned long>(H, LSignalObjectGroup::kMaxMembers - 1)));
    NoisePlanes planes;
    std::vector<NoiseStripe> stripes;
    bool memory = planes.Allocate(W, H) && TryResize(stripes, static_cast<size_t>(n));
    for (int t = 0; memory && t < n; ++t) {
        NoiseStripe& stripe = stripes[static_cast<size_t>(t)];
        stripe.first = t * (H / n);
        stripe.count = t + 1 == n ? H - stripe.first : H / n;
        const int below = std::min(kReach, H - stripe.first - stripe.count);
        memory = TryResize(stripe.table, static_cast<size_t>(stripe.count + 1) * (W + 1)) &&
                 stripe.below.Allocate(W, below);
    }
    if (!memory) {
        process.SetError("There is not enough memory to smooth the picture.");
        return LProcessResultError;
    }
    if (LProcessResult r = RunNoiseWorkers(process, stripes, picture, planes, strength))
        return r;

    for (const NoiseStripe& stripe : stripes) {
        const size_t at = static_cast<size_t>(stripe.first + stripe.count) * W;
        const NoisePlanes& b = stripe.below;
        for (size_t i = 0; i < b.weight.size(); ++i) {
            planes.red[at + i] += b.red[i];
            planes.green[at + i] += b.green[i];
            planes.blue[at + i] += b.blue[i];
            planes.weight[at + i] += b.weight[i];
        }
    }
    auto channel = [](float sum, float weight) {
        return static_cast<unsigned char>(std::clamp(static_cast<int>(sum * 255.0f / weight), 0, 255));
    };
    for (int y = 0; y < H; ++y) {
        unsigned char* p = picture.GetPictureRow(y);
        for (int x = 0; x < W; ++x, p += 4) {
            const size_t i = static_cast<size_t>(y) * W + x;
            const float w = planes.weight[i];
            if (w > 0) {
                p[0] = channel(planes.blue[i], w);
                p[1] = channel(planes.green[i], w);
                p[2] = channel(planes.red[i], w);
            }
        }
    }
    return LProcessResultOk;
}

LProcessResult KVTraceRegions(LProcessInterface& process, const LImageBuffer& posterized,
                              const LImageBuffer& colours,
                              std::vector<std::unique_ptr<KVVectorizePath>>& paths) {
    paths.clear();
    if (!IsWorkingPicture(posterized) || !IsWorkingPicture(colours) ||
        colours.width != posterized.width || colours.height != posterized.height) {
        process.SetError("The pictures to trace are empty or do not match.");
        return LProcessResultError;
    }
    const int W = posterized.width, H = posterized.height;
    const size_t pixels = static_cast<size_t>(W) * H;
    std::vector<std::uint32_t> keys;
    std::vector<std::int32_t> owner, stack;
    if (!TryResize(keys, pixels) || !TryResize(owner, pixels)) {
        process.SetError("There is not enough memory to trace the picture.");
        return LProcessResultError;
    }
    for (int y = 0; y < H; ++y) {
        const unsigned char* p = posterized.GetPictureRow(y);
        for (int x = 0; x < W; ++x, p += 4)
            keys[static_cast<size_t>(y) * W + x] =
                p[0] | (std::uint32_t(p[1]) << 8) | (std::uint32_t(p[2]) << 16);
    }
    std::fill(owner.begin(), owner.end(), -1);

    process.SetStatus("Tracing Paths", 0);
    const RegionTracer tracer(keys, W, H);
    try {
        for (int x = 0; x < W; ++x) {
            if (process.IsToStop()) {
                paths.clear();
                return LProcessResultStopped;
            }
            process.SetProgress(static_cast<double>(x) / W * 0.7 + 0.25);
            process.SetStatusF(0, "%d Columns out of %d total processed", x, W);
            for (int y = 0; y < H; ++y) {
                if (owner[static_cast<size_t>(y) * W + x] >= 0)
                    continue;
                auto path = std::make_unique<KVVectorizePath>(
                    x, y, PixelAt(posterized.GetPictureRow(y) + 4 * x));
                const auto region = static_cast<std::int32_t>(paths.size());
                if (!tracer.Trace(x, y, *path)) {
                    paths.clear();
                    process.SetError("A region's outline could not be followed.");
                    return LProcessResultError;
                }
                FloodRegion(keys, owner, stack, W, H, x, y, region);
                paths.push_back(std::move(path));
            }
        }
    } catch (const std::bad_alloc&) {
        paths.clear();
        process.SetError("There is not enough memory to trace the picture.");
        return LProcessResultError;
    }

    process.SetStatus("Calculating Final Colors", 0);
    process.SetProgress(0.95);
    for (int y = 0; y < H; ++y) {
        const unsigned char* p = colours.GetPictureRow(y);
        const std::int32_t* o = owner.data() + static_cast<size_t>(y) * W;
        for (int x = 0; x < W; ++x, p += 4)
            paths[static_cast<size_t>(o[x])]->AddPixel(PixelAt(p));
    }
    process.SetProgress(1.0);
    return LProcessResultOk;
}

LProcessResult KVVectorizeImage(LProcessInterface& process, KVVectorizeImageSettings& settings) {
    return KVVectorizeImage(process, settings, LImageProcessorCount());
}

LProcessResult KVVectorizeImage(LProcessInterface& process, KVVectorizeImageSettings& settings,
                                unsigned long threadCount) {
    settings.output.DeleteAll();
    const LImageBuffer& input = settings.input;
    if (!input.IsValid() || input.GetBitsPerPixel() % 8 != 0 ||
        static_cast<std::int64_t>(input.width + 1) * (input.height + 1) >= 0x7FFFFFFF) {
        process.SetError("The picture to vectorize is empty or has no pixels that can be read.");
        return LProcessResultError;
    }
    const int W = input.width, H = input.height;
    const KVVectorizeStages stages = KVGetVectorizeStages(settings.detail);

    process.SetStatus("Identifying Edges", 0);
    // The final colours come from the picture as it was, in the working
    // format; the smoothing and posterising work on a copy.
    LImageBuffer original, work;
    LImage::New(original, W, H, LPixelFormatB8G8R8A8);
    LImage::New(work, W, H, LPixelFormatB8G8R8A8);
    if (!original.IsValid() || !work.IsValid()) {
        process.SetError("There is not enough memory to vectorize the picture.");
        return LProcessResultError;
    }
    LImage::Copy(input, original, 0, 0, 0, 0, W, H);
    LImageBufferCopy(work, original);
    process.SetProgress(0.01);

    {
        LProcessInterfaceSubProcess share(process, 0.01, 0.19);
        if (LProcessResult r = ProcessNoiseReduction(share, work, stages.noise, threadCount))
            return r;
    }
    process.SetStatus("Reducing Detail", 0);
    {
        LProcessInterfaceSubProcess share(process, 0.2, 0.05);
        LImageBlurSettings blur(work, stages.blurRadius);
        blur.passes = stages.blurPasses;
        blur.threadCount = std::max(threadCount, 1ul);
        if (LProcessResult r = Process(share, blur))
            return r;
    }
    unsigned char table[256];
    for (int v = 0; v < 256; ++v)
        table[v] = KVPosterize(stages.posterizeLevel, static_cast<unsigned char>(v));
    for (int y = 0; y < H; ++y) {
        unsigned char* p = work.GetPictureRow(y);
        for (int x = 0; x < W; ++x, p += 4) {
            p[0] = table[p[0]];
            p[1] = table[p[1]];
            p[2] = table[p[2]];
        }
    }

    std::vector<std::unique_ptr<KVVectorizePath>> paths;
    if (LProcessResult r = KVTraceRegions(process, work, original, paths))
        return r;
    try {
        for (const std::unique_ptr<KVVectorizePath>& path : paths) {
            const LPixelColour c = path->GetAverageColor();
            KVSimplePathElementProperties p;
            p.colour = LGuiColorAlpha(c.red, c.green, c.blue, 255);
            p.SetPath(*path);
            settings.output.PushBack(new KVSimplePathElement(p));
        }
    } catch (const std::bad_alloc&) {
        settings.output.DeleteAll();
        process.SetError("There is not enough memory to vectorize the picture.");
        return LProcessResultError;
    }
    return LProcessResultOk;
}
