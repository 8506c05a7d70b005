#include "imaging/image_blur.h"

#include <algorithm>
#include <cstdint>
#include <unistd.h>
#include <vector>

#include "imaging/image_iterator.h"

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

// Rows of a 4-byte format, whose channels are all alike. The row is copied
// aside so that it can be written in place while its sums move along.
LProcessResult BlurRows4(LProcessInterface& process, LImageBuffer& image, long first, long count,
                         long r) {
    const long W = image.width;
    const std::vector<Divider> divide = MakeDividers(static_cast<unsigned long>(2 * r + 1));
    const Divider full = divide.back();
    std::vector<unsigned char> line(static_cast<size_t>(4 * W));
    const unsigned char* in = line.data();

    for (long row = first; row < first + count; ++row) {
        if (process.IsToStop())
            return LProcessResultStopped;
        unsigned char* out = image.GetPictureRow(static_cast<int>(row));
        std::copy(out, out + 4 * W, line.begin());
        uint32_t s[4] = {0, 0, 0, 0};
        for (long k = 0; k <= r; ++k)
            for (int c = 0; c < 4; ++c)
                s[c] += in[4 * k + c];
        long i = 0;
        // Growing window at the start.
        for (; i < r; ++i) {
            const Divider& d = divide[static_cast<size_t>(r + 1 + i)];
            for (int c = 0; c < 4; ++c) {
                out[4 * i + c] = static_cast<unsigned char>(d(s[c]));
                s[c] += in[4 * (i + r + 1) + c];
            }
        }
        // Full window.
        for (; i < W - r - 1; ++i) {
            for (int c = 0; c < 4; ++c) {
                out[4 * i + c] = static_cast<unsigned char>(full(s[c]));
                s[c] += in[4 * (i + r + 1) + c] - in[4 * (i - r) + c];
            }
        }
        // Shrinking window at the end.
        for (; i < W; ++i) {
            const Divider& d = divide[static_cast<size_t>(r + W - i)];
            for (int c = 0; c < 4; ++c) {
                out[4 * i + c] = static_cast<unsigned char>(d(s[c]));
                s[c] -= in[4 * (i - r) + c];
            }
        }
    }
    return LProcessResultOk;
}

// Columns of a 4-byte format, sixteen at a time so that each step down reads
// and writes one whole cache line; a ring keeps the original rows of the
// window. The same sums as one column after another.
LProcessResult BlurColumns4(LProcessInterface& process, LImageBuffer& image, long first,
                            long count, long r) {
    constexpr long kBlock = 16;
    const long H = image.height;
    const long size = 2 * r + 1;
    const std::vector<Divider> divide = MakeDividers(static_cast<unsigned long>(size));
    std::vector<unsigned char> ring(static_cast<size_t>(size * 4 * kBlock));

    for (long column = first; column < first + count; column += kBlock) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const long lanes = 4 * std::min(kBlock, first + count - column);
        auto at = [&](long row) { return image.GetPictureRow(static_cast<int>(row)) + 4 * column; };
        auto slot = [&](long row) { return ring.data() + (row % size) * 4 * kBlock; };
        uint32_t s[4 * kBlock] = {};
        for (long k = 0; k <= r; ++k) {
            const unsigned char* in = at(k);
            unsigned char* keep = slot(k);
            for (long j = 0; j < lanes; ++j) {
                keep[j] = in[j];
                s[j] += in[j];
            }
        }
        long n = r + 1;
        for (long i = 0; i < H; ++i) {
            const Divider d = divide[static_cast<size_t>(n)];
            unsigned char* out = at(i);
            for (long j = 0; j < lanes; ++j)
                out[j] = static_cast<unsigned char>(d(s[j]));
            if (i >= r) {
                const unsigned char* old = slot(i - r);
                for (long j = 0; j < lanes; ++j)
                    s[j] -= old[j];
                --n;
            }
            if (i + r + 1 < H) {
                const unsigned char* in = at(i + r + 1);
                unsigned char* keep = slot(i + r + 1);
                for (long j = 0; j < lanes; ++j) {
                    keep[j] = in[j];
                    s[j] += in[j];
                }
                ++n;
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
    if (fourAlike && static_cast<unsigned long>(2 * r + 1) <= kFastWindow)
        return horizontal ? BlurRows4(process, image, f, n, r)
                          : BlurColumns4(process, image, f, n, r);
    return BlurLinesGeneric(process, image, horizontal, f, n, r);
}
