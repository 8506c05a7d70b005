#include "imaging/image_blur.h"

#include <algorithm>
#include <cstring>
#include <cstdint>
#include <unistd.h>
#include <vector>

#include "imaging/image_iterator.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

unsigned long LImageProcessorCount() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<unsigned long>(n) : 1;
}

namespace {

using std::uint32_t;
using std::uint64_t;

// Asks about a stop before the first line and then once per so many pixels
// of work: on a thread the question is a system call, which would cost more
// than a short line's blur.
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

std::vector<LImageBoxMean> MakeMeans(long window) {
    std::vector<LImageBoxMean> means(static_cast<size_t>(window + 1));
    for (long k = 1; k <= window; ++k)
        means[static_cast<size_t>(k)] = LImageBoxMean(static_cast<unsigned>(k));
    return means;
}

// The window around position i of a line of length L covers
// [i - r, i + r] within the line. Moving on from i adds pixel i + r + 1 while
// there is one and drops pixel i - r once there is one.

// Any format, through the iterators; lines are walked in scan order 0 (rows)
// or 4 (columns), and a ring keeps the original values of the window.
LProcessResult BlurLinesGeneric(LProcessInterface& process, LImageBuffer& image, bool horizontal,
                                long first, long count, long r) {
    const long length = horizontal ? image.width : image.height;
    const long size = 2 * r + 1;
    // Wider windows than the float mean covers divide plainly.
    const bool exact = size <= static_cast<long>(LImageBoxMean::kMaxWindow);
    const std::vector<LImageBoxMean> means = MakeMeans(exact ? size : 0);
    std::vector<uint32_t> ring(static_cast<size_t>(size));

    const int x = horizontal ? 0 : static_cast<int>(first);
    const int y = horizontal ? static_cast<int>(first) : 0;
    const int w = horizontal ? image.width : static_cast<int>(count);
    const int h = horizontal ? static_cast<int>(count) : image.height;
    const LImageScanOrder order = horizontal ? 0 : 4;
    LImageConstIterator reader(image, x, y, w, h, order);
    LImageIterator writer(image, x, y, w, h, order);
    if (!reader.IsInRange())
        return LProcessResultError;

    StopCheck stopped;
    for (long line = 0; line < count; ++line) {
        if (stopped(process, length))
            return LProcessResultStopped;
        uint64_t sums[4] = {0, 0, 0, 0};
        auto add = [&](uint32_t p, int sign) {
            for (int c = 0; c < 4; ++c)
                sums[c] += sign * static_cast<int64_t>((p >> (8 * c)) & 255);
        };
        for (long k = 0; k <= r; ++k) {
            ring[static_cast<size_t>(k % size)] = reader.GetPacked();
            add(ring[static_cast<size_t>(k % size)], 1);
            reader.Next();
        }
        long n = r + 1;
        for (long i = 0; i < length; ++i) {
            const LImageBoxMean& mean = means[static_cast<size_t>(exact ? n : 0)];
            uint32_t out = 0;
            for (int c = 0; c < 4; ++c)
                out |= (exact ? mean(static_cast<unsigned>(sums[c]))
                              : static_cast<unsigned>(sums[c] / static_cast<uint64_t>(n)))
                       << (8 * c);
            writer.SetPacked(out);
            writer.Next();
            if (i >= r) {
                add(ring[static_cast<size_t>((i - r) % size)], -1);
                --n;
            }
            if (i + r + 1 < length) {
                const uint32_t p = reader.GetPacked();
                reader.Next();
                ring[static_cast<size_t>((i + r + 1) % size)] = p;
                add(p, 1);
                ++n;
            }
        }
    }
    return LProcessResultOk;
}

// The four running sums of one pixel's channels.
#if defined(__SSE2__)
class Sum4 {
public:
    void Add(const unsigned char* p) { s = _mm_add_epi32(s, Widen(p)); }
    void Sub(const unsigned char* p) { s = _mm_sub_epi32(s, Widen(p)); }
    void Move(const unsigned char* in, const unsigned char* out) {
        s = _mm_add_epi32(s, _mm_sub_epi32(Widen(in), Widen(out)));
    }
    // The same float steps as LImageBoxMean, four at once.
    void Store(unsigned char* p, const LImageBoxMean& mean) const {
        const __m128 m = _mm_mul_ps(_mm_add_ps(_mm_cvtepi32_ps(s), _mm_set1_ps(0.5f)),
                                    _mm_set1_ps(mean.inverse));
        __m128i q = _mm_cvttps_epi32(m);
        q = _mm_packs_epi32(q, q);
        q = _mm_packus_epi16(q, q);
        const int v = _mm_cvtsi128_si32(q);
        std::memcpy(p, &v, 4);
    }

private:
    static __m128i Widen(const unsigned char* p) {
        int v;
        std::memcpy(&v, p, 4);
        const __m128i zero = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(v), zero), zero);
    }
    __m128i s = _mm_setzero_si128();
};
#else
class Sum4 {
public:
    void Add(const unsigned char* p) {
        for (int c = 0; c < 4; ++c)
            s[c] += p[c];
    }
    void Sub(const unsigned char* p) {
        for (int c = 0; c < 4; ++c)
            s[c] -= p[c];
    }
    void Move(const unsigned char* in, const unsigned char* out) {
        for (int c = 0; c < 4; ++c)
            s[c] += in[c] - out[c];
    }
    void Store(unsigned char* p, const LImageBoxMean& mean) const {
        for (int c = 0; c < 4; ++c)
            p[c] = static_cast<unsigned char>(mean(s[c]));
    }

private:
    uint32_t s[4] = {0, 0, 0, 0};
};
#endif

// Rows of a 4-byte format, whose channels are all alike. The row is copied
// aside so that it can be written in place while its sums move along.
LProcessResult BlurRows4(LProcessInterface& process, LImageBuffer& image, long first, long count,
                         long r) {
    const long W = image.width;
    const std::vector<LImageBoxMean> means = MakeMeans(2 * r + 1);
    const LImageBoxMean full = means.back();
    std::vector<unsigned char> line(static_cast<size_t>(4 * W));
    const unsigned char* in = line.data();

    StopCheck stopped;
    for (long row = first; row < first + count; ++row) {
        if (stopped(process, W))
            return LProcessResultStopped;
        unsigned char* out = image.GetPictureRow(static_cast<int>(row));
        std::copy(out, out + 4 * W, line.begin());
        Sum4 s;
        for (long k = 0; k <= r; ++k)
            s.Add(in + 4 * k);
        long i = 0;
        // Growing window at the start, full window, shrinking window.
        for (; i < r; ++i) {
            s.Store(out + 4 * i, means[static_cast<size_t>(r + 1 + i)]);
            s.Add(in + 4 * (i + r + 1));
        }
        for (; i < W - r - 1; ++i) {
            s.Store(out + 4 * i, full);
            s.Move(in + 4 * (i + r + 1), in + 4 * (i - r));
        }
        for (; i < W; ++i) {
            s.Store(out + 4 * i, means[static_cast<size_t>(r + W - i)]);
            s.Sub(in + 4 * (i - r));
        }
    }
    return LProcessResultOk;
}

// Columns of a 4-byte format, a block of them at a time, walking down the
// rows so that memory is read in runs; a ring keeps the original rows of the
// window. The same sums as one column after another. The block is as wide as
// keeps the ring small enough to stay in the cache.
LProcessResult BlurColumns4(LProcessInterface& process, LImageBuffer& image, long first,
                            long count, long r) {
    constexpr long kAhead = 4;
    const long H = image.height;
    const long size = 2 * r + 1;
    const long block = std::clamp<long>((256 * 1024 / (size * 4)) & ~15l, 16, 256);
    const std::vector<LImageBoxMean> means = MakeMeans(size);
    std::vector<unsigned char> ring(static_cast<size_t>(size * 4 * block));
    std::vector<uint32_t> sums(static_cast<size_t>(4 * block));
    uint32_t* s = sums.data();

    StopCheck stopped;
    for (long column = first; column < first + count; column += block) {
        const long lanes = 4 * std::min(block, first + count - column);
        if (stopped(process, lanes / 4 * H))
            return LProcessResultStopped;
        auto at = [&](long row) { return image.GetPictureRow(static_cast<int>(row)) + 4 * column; };
        auto slot = [&](long row) { return ring.data() + (row % size) * 4 * block; };
        std::fill(sums.begin(), sums.end(), 0u);
        for (long k = 0; k <= r; ++k) {
            const unsigned char* in = at(k);
            unsigned char* keep = slot(k);
            for (long j = 0; j < lanes; ++j) {
                keep[j] = in[j];
                s[j] += in[j];
            }
        }
        for (long i = 0; i < H; ++i) {
            const long n = std::min(i + r, H - 1) - std::max(i - r, 0l) + 1;
            const LImageBoxMean mean = means[static_cast<size_t>(n)];
            unsigned char* out = at(i);
            for (long j = 0; j < lanes; ++j)
                out[j] = static_cast<unsigned char>(mean(s[j]));
            // The rows ahead are a page apart each; fetching them early keeps
            // the walk from waiting on memory.
            if (i + r + 1 + kAhead < H) {
                const unsigned char* ahead = at(i + r + 1 + kAhead);
                for (long j = 0; j < lanes; j += 64)
                    __builtin_prefetch(ahead + j);
            }
            const bool drop = i >= r, take = i + r + 1 < H;
            const unsigned char* old = drop ? slot(i - r) : nullptr;
            const unsigned char* in = take ? at(i + r + 1) : nullptr;
            if (drop && take) {
                // The new row takes the slot of the one that leaves.
                unsigned char* keep = slot(i + r + 1);
                for (long j = 0; j < lanes; ++j) {
                    s[j] += in[j] - old[j];
                    keep[j] = in[j];
                }
            } else if (drop) {
                for (long j = 0; j < lanes; ++j)
                    s[j] -= old[j];
            } else if (take) {
                unsigned char* keep = slot(i + r + 1);
                for (long j = 0; j < lanes; ++j) {
                    s[j] += in[j];
                    keep[j] = in[j];
                }
            }
        }
    }
    return LProcessResultOk;
}

} // namespace

LProcessResult LImageBoxBlur(LProcessInterface& process, LImageBuffer& image, bool horizontal,
                             unsigned long first, unsigned long count, unsigned long radius) {
    if (radius == 0)
        return LProcessResultOk;
    if (!image.IsValid() || image.GetBitsPerPixel() % 8 != 0 ||
        image.CalculateBufferSize64() >= 0x7FFFFFFF) {
        process.SetError("The picture to blur is empty or has no pixels that can be read.");
        return LProcessResultError;
    }
    const unsigned long length = horizontal ? image.width : image.height;
    const unsigned long lines = horizontal ? image.height : image.width;
    const long r = static_cast<long>(std::min(radius, (length - 1) / 2));
    if (first >= lines || count == 0 || r == 0)
        return LProcessResultOk;
    count = std::min(count, lines - first);

    const long f = static_cast<long>(first), n = static_cast<long>(count);
    const bool fourAlike =
        image.format == LPixelFormatB8G8R8A8 || image.format == LPixelFormatR8G8B8A8;
    if (fourAlike && 2 * r + 1 <= static_cast<long>(LImageBoxMean::kMaxWindow))
        return horizontal ? BlurRows4(process, image, f, n, r)
                          : BlurColumns4(process, image, f, n, r);
    return BlurLinesGeneric(process, image, horizontal, f, n, r);
}

void LImageBlurThread::ThreadFunction() {
    for (;;) {
        if (ProcessWaitSignal(go, kLWaitForever) == LProcessResultStopped)
            return;
        if (!go.IsSignaled())
            continue; // woken by an interruption
        go.Reset();
        result = LImageBoxBlur(*this, *image, horizontal, first, count, radius);
        done.Set();
    }
}

namespace {

// The longest time between two looks at the stop of the caller's interface;
// the wait itself ends as soon as a stripe does.
constexpr unsigned kStopPollMilliseconds = 100;

// Up to this many pixels (a picture of about 180 by 180) the blur stays on
// the calling thread.
constexpr unsigned long kOneThreadPixels = 32768;

void StopAll(std::vector<LImageBlurThread>& stripes) {
    for (LImageBlurThread& stripe : stripes)
        stripe.StopThreadSoon();
    for (LImageBlurThread& stripe : stripes)
        stripe.StopThreadNow();
}

} // namespace

LProcessResult Process(LProcessInterface& process, LImageBlurSettings& settings) {
    LImageBuffer& image = settings.image;
    if (!image.IsValid() || image.GetBitsPerPixel() % 8 != 0 ||
        image.CalculateBufferSize64() >= 0x7FFFFFFF) {
        process.SetError("The picture to blur is empty or has no pixels that can be read.");
        return LProcessResultError;
    }
    if (settings.radius == 0 || settings.passes == 0)
        return LProcessResultOk;

    const unsigned long rounds = 2 * settings.passes;
    // Waking stripe threads costs more than blurring a small picture, so
    // one is blurred right here.
    if (static_cast<unsigned long>(image.width) * static_cast<unsigned long>(image.height) <=
            kOneThreadPixels ||
        settings.threadCount <= 1) {
        for (unsigned long round = 0; round < rounds; ++round) {
            const bool horizontal = round < settings.passes;
            const unsigned long lines = horizontal ? image.height : image.width;
            if (LProcessResult r =
                    LImageBoxBlur(process, image, horizontal, 0, lines, settings.radius))
                return r;
            process.SetProgress(static_cast<double>(round + 1) / static_cast<double>(rounds));
        }
        return process.IsToStop() ? LProcessResultStopped : LProcessResultOk;
    }

    // A group has room for 256 signals; more stripes than that, or than
    // lines, would only wait on each other.
    const unsigned long longest = static_cast<unsigned long>(std::max(image.width, image.height));
    const unsigned long threads = std::min<unsigned long>(
        {std::max(settings.threadCount, 1ul), LSignalObjectGroup::kMaxMembers - 1, longest});
    // The stripes' threads live through all rounds: starting threads for
    // every round would cost more than a small picture's blur.
    std::vector<LImageBlurThread> stripes(threads);
    for (LImageBlurThread& stripe : stripes)
        stripe.Start(kLThreadPriorityNormal);

    for (unsigned long round = 0; round < rounds; ++round) {
        const bool horizontal = round < settings.passes;
        const unsigned long lines = horizontal ? image.height : image.width;
        const unsigned long used = std::min(threads, lines);
        const unsigned long each = lines / used;
        LSignalObjectGroup running;
        for (unsigned long t = 0; t < used; ++t) {
            LImageBlurThread& stripe = stripes[t];
            stripe.horizontal = horizontal;
            stripe.first = t * each;
            stripe.count = t + 1 == used ? lines - t * each : each;
            stripe.radius = settings.radius;
            stripe.image = &image;
            stripe.result = LProcessResultOk;
            if (stripe.IsRunning()) {
                stripe.done.Reset();
                stripe.go.Set();
                running.Add(stripe.done);
            } else {
                // A thread the system refused: its stripe runs here instead.
                stripe.result = LImageBoxBlur(process, image, horizontal, stripe.first,
                                              stripe.count, settings.radius);
            }
        }
        while (running.GetCount() > 0) {
            LSignalObjectGroup waiting = running;
            if (process.ProcessWaitSignalObjectGroup(waiting, kStopPollMilliseconds) ==
                    LProcessResultStopped ||
                process.IsToStop()) {
                StopAll(stripes);
                return LProcessResultStopped;
            }
            LSignalObjectGroup still;
            for (unsigned long t = 0; t < used; ++t)
                if (running.IsMember(stripes[t].done) && !stripes[t].done.IsSignaled())
                    still.Add(stripes[t].done);
            running = still;
        }
        for (unsigned long t = 0; t < used; ++t)
            if (stripes[t].result != LProcessResultOk) {
                StopAll(stripes);
                return stripes[t].result;
            }
        process.SetProgress(static_cast<double>(round + 1) / static_cast<double>(rounds));
        if (process.IsToStop()) {
            StopAll(stripes);
            return LProcessResultStopped;
        }
    }
    return LProcessResultOk;
}
