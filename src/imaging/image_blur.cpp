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

// Windows up to this many pixels keep their sums in 32 bits and divide by a
// multiply and a shift.
constexpr unsigned long kFastWindow = 65536;

// n / d, exact for every n below 2^24 (255 times the widest fast window fits).
struct Divider {
    uint32_t d = 1;
    uint32_t m = 0;
    unsigned shift = 0;

    void Set(uint32_t divisor) {
        d = divisor;
        if (divisor > kFastWindow) {
            m = 0; // plain division
            return;
        }
        unsigned l = 0;
        while ((1ull << l) < divisor)
            ++l;
        shift = 24 + l;
        m = static_cast<uint32_t>((1ull << shift) / divisor + 1);
    }
    uint32_t operator()(uint32_t n) const {
        return static_cast<uint32_t>((static_cast<uint64_t>(n) * m) >> shift);
    }
    uint64_t Divide(uint64_t n) const {
        return m ? (n * m) >> shift : n / d;
    }
};

std::vector<Divider> MakeDividers(unsigned long window) {
    std::vector<Divider> dividers(window + 1);
    for (unsigned long k = 1; k <= window; ++k)
        dividers[k].Set(static_cast<uint32_t>(k));
    return dividers;
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
    const std::vector<Divider> divide = MakeDividers(static_cast<unsigned long>(size));
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

    for (long line = 0; line < count; ++line) {
        if (process.IsToStop())
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
            const Divider& d = divide[static_cast<size_t>(n)];
            uint32_t out = 0;
            for (int c = 0; c < 4; ++c)
                out |= static_cast<uint32_t>(d.Divide(sums[c])) << (8 * c);
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

std::vector<LImageBoxMean> MakeMeans(long window) {
    std::vector<LImageBoxMean> means(static_cast<size_t>(window + 1));
    for (long k = 1; k <= window; ++k)
        means[static_cast<size_t>(k)] = LImageBoxMean(static_cast<unsigned>(k));
    return means;
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

    for (long row = first; row < first + count; ++row) {
        if (process.IsToStop())
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

    for (long column = first; column < first + count; column += block) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const long lanes = 4 * std::min(block, first + count - column);
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
