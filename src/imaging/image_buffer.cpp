#include "imaging/image_buffer.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#if defined(__SSE2__)
#include <emmintrin.h>
#include <immintrin.h>
#endif

#include "imaging/image_iterator.h"

int LPixelFormatBits(pixelformat_t format) {
    static const int kBits[kLPixelFormatCount] = {32, 24, 16, 16, 16, 32, 4, 8};
    return format >= 0 && format < kLPixelFormatCount ? kBits[format] : 0;
}

void LImageFormat::SetDefaultAlignment() {
    const std::int64_t lineBytes = (static_cast<std::int64_t>(GetBitsPerPixel()) * width) / 8;
    const std::int64_t padded = (lineBytes + 3) & ~std::int64_t(3);
    stride = padded > INT_MAX || padded < INT_MIN ? 0 : static_cast<int>(padded);
}

unsigned long LImageFormat::CalculateBufferSize() const {
    const std::int64_t size = CalculateBufferSize64();
    return size < 0 || size > 0xFFFFFFFFll ? 0 : static_cast<unsigned long>(size);
}

LImageBufferStoreHeap::LImageBufferStoreHeap(unsigned long wanted, bool zeroed) {
    if (wanted == 0)
        return;
    raw = zeroed ? std::calloc(wanted + 16, 1) : std::malloc(wanted + 16);
    if (!raw)
        return;
    size = wanted;
    const auto address = reinterpret_cast<std::uintptr_t>(raw);
    data = static_cast<unsigned char*>(raw) + ((16 - (address & 15)) & 15);
}

LImageBufferStoreHeap::~LImageBufferStoreHeap() { std::free(raw); }

void LImageBuffer::Assign(LImageBuffer& other) {
    if (&other == this)
        return;
    static_cast<LImageFormat&>(*this) = other;
    store = std::move(other.store);
    other.Destroy();
}

void LImageBuffer::AllocateNewBuffer(const LImageFormat& f, bool zeroed) {
    static_cast<LImageFormat&>(*this) = f;
    const std::int64_t size = CalculateBufferSize64();
    if (size < 0 || size >= 0xFFFFFFFFll) {
        store.Reset();
        return;
    }
    // A kept store has old pixels: a zeroed picture takes a fresh one.
    if (!zeroed && store &&
        store->IsCompatibleStore(LImageBufferStoreHeap::kStoreID, static_cast<long>(size)))
        return;
    auto* heap = new LImageBufferStoreHeap(static_cast<unsigned long>(size), zeroed);
    store.Set(heap);
    if (!heap->HasMemory())
        Destroy();
}

void LImageBuffer::Destroy() {
    static_cast<LImageFormat&>(*this) = LImageFormat();
    store.Reset();
}

unsigned char* LImageBuffer::GetLastScanLine() const {
    if (!store || !store->data || height <= 0)
        return nullptr;
    return store->data + static_cast<std::int64_t>(height - 1) * stride;
}

LProcessResult LImageBuffer::Clear(LProcessInterface& process, const LPixelColour& colour) {
    if (!IsValid())
        return LProcessResultOk;
    LImageIterator it(*this, 0, 0, width, 1, 0);
    if (!it.IsInRange())
        return LProcessResultOk; // a format without pixel access
    for (; it.IsInRange(); it.Next())
        it.Set(colour);
    const unsigned char* first = GetPictureRow(0);
    const unsigned long bytes = static_cast<unsigned long>(std::abs(stride));
    for (int y = 1; y < height; ++y) {
        if (process.IsToStop())
            return LProcessResultStopped;
        LOptLargeMemCpy(GetPictureRow(y), first, bytes);
    }
    return LProcessResultOk;
}

LProcessResult LImageBuffer::Clear(const LPixelColour& colour) {
    LProcessInterfaceVoid process;
    return Clear(process, colour);
}

void LImageBufferCopy(LImageBuffer& to, const LImageBuffer& from) {
    if (!to.IsValid() || !from.IsValid() || to.GetStore() == from.GetStore())
        return;
    if (to.format != from.format || to.width != from.width || to.height != from.height)
        return;
    if (to.bottomUp == from.bottomUp && to.stride == from.stride) {
        LOptLargeMemCpy(to.GetData(), from.GetData(), from.CalculateBufferSize());
        return;
    }
    const long bytes = from.GetLineBytes();
    if (bytes > std::abs(to.stride) || bytes > std::abs(from.stride))
        return;
    for (int y = 0; y < from.height; ++y)
        LOptLargeMemCpy(to.GetPictureRow(y), from.GetPictureRow(y),
                        static_cast<unsigned long>(bytes));
}

namespace LImage {

namespace {

void Allocate(LImageBuffer& buffer, int width, int height, pixelformat_t format, bool zeroed) {
    LImageFormat f;
    f.format = format;
    f.width = width;
    f.height = height;
    f.SetDefaultAlignment();
    if (width < 0 || height < 0)
        f.stride = 0; // no negative pictures, and no negative sizes to allocate
    buffer.AllocateNewBuffer(f, zeroed);
}

} // namespace

void New(LImageBuffer& buffer, int width, int height, pixelformat_t format) {
    Allocate(buffer, width, height, format, false);
}

void NewTransparent(LImageBuffer& buffer, int width, int height, pixelformat_t format) {
    Allocate(buffer, width, height, format, true);
}

namespace {

// Both rectangles moved by the same amount and cut to their pictures.
struct ClippedCopy {
    int srcX, srcY, dstX, dstY, width, height;
};

bool Clip(const LImageBuffer& src, const LImageBuffer& dst, int dstX, int dstY, int srcX,
          int srcY, int width, int height, ClippedCopy& out) {
    if (!src.IsValid() || !dst.IsValid() || width <= 0 || height <= 0)
        return false;
    std::int64_t sx = srcX, sy = srcY, dx = dstX, dy = dstY, w = width, h = height;
    auto cutStart = [](std::int64_t& a, std::int64_t& b, std::int64_t& len) {
        const std::int64_t shift = std::max<std::int64_t>({0, -a, -b});
        a += shift;
        b += shift;
        len -= shift;
    };
    cutStart(sx, dx, w);
    cutStart(sy, dy, h);
    w = std::min({w, src.width - sx, dst.width - dx});
    h = std::min({h, src.height - sy, dst.height - dy});
    if (w <= 0 || h <= 0)
        return false;
    out = {int(sx), int(sy), int(dx), int(dy), int(w), int(h)};
    return true;
}

// The per-channel rule: the destination is scaled down by the source's alpha
// with >> 8 rather than / 255, and the sum is kept to a byte.
inline unsigned CompositeChannel(unsigned s, unsigned c, unsigned sa) {
    const unsigned v = c - ((sa * c) >> 8) + s;
    return v > 255 ? 255 : v;
}
inline unsigned CompositeAlpha(unsigned sa, unsigned da) { return (sa + da - sa * da / 255) & 255; }

std::uint32_t Composite(std::uint32_t s, std::uint32_t d) {
    const unsigned sa = s >> 24;
    const unsigned red = CompositeChannel((s >> 16) & 255, (d >> 16) & 255, sa);
    const unsigned green = CompositeChannel((s >> 8) & 255, (d >> 8) & 255, sa);
    const unsigned blue = CompositeChannel(s & 255, d & 255, sa);
    return (CompositeAlpha(sa, d >> 24) << 24) | (red << 16) | (green << 8) | blue;
}

#if defined(__SSE2__)
// Two pixels as eight 16-bit lanes: the colour rule on the colour lanes, the
// alpha rule on the alpha lanes (x / 255 as (x * 0x8081) >> 23, exact for
// 16-bit x), and the source added with the byte-saturating add, which is
// the limit to 255.
inline __m128i CompositeTwo(__m128i s16, __m128i d16) {
    const __m128i alphaLanes = _mm_set_epi16(-1, 0, 0, 0, -1, 0, 0, 0);
    const __m128i sa =
        _mm_shufflehi_epi16(_mm_shufflelo_epi16(s16, _MM_SHUFFLE(3, 3, 3, 3)),
                            _MM_SHUFFLE(3, 3, 3, 3));
    const __m128i product = _mm_mullo_epi16(sa, d16);
    const __m128i colour = _mm_sub_epi16(d16, _mm_srli_epi16(product, 8));
    const __m128i share = _mm_srli_epi16(_mm_mulhi_epu16(product, _mm_set1_epi16(-32639)), 7);
    const __m128i alpha = _mm_sub_epi16(_mm_add_epi16(sa, d16), share);
    return _mm_or_si128(_mm_and_si128(alphaLanes, alpha), _mm_andnot_si128(alphaLanes, colour));
}
#endif

#if defined(__x86_64__)
// The same two-pixel rule on eight pixels at once, for processors that have
// the wider registers; each 128-bit half works as CompositeTwo does.
__attribute__((target("avx2"))) inline __m256i CompositeTwoWide(__m256i s16, __m256i d16) {
    const __m256i alphaLanes = _mm256_set_epi16(-1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0);
    const __m256i sa = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(s16, _MM_SHUFFLE(3, 3, 3, 3)),
                                              _MM_SHUFFLE(3, 3, 3, 3));
    const __m256i product = _mm256_mullo_epi16(sa, d16);
    const __m256i colour = _mm256_sub_epi16(d16, _mm256_srli_epi16(product, 8));
    const __m256i share =
        _mm256_srli_epi16(_mm256_mulhi_epu16(product, _mm256_set1_epi16(-32639)), 7);
    const __m256i alpha = _mm256_sub_epi16(_mm256_add_epi16(sa, d16), share);
    return _mm256_or_si256(_mm256_and_si256(alphaLanes, alpha),
                           _mm256_andnot_si256(alphaLanes, colour));
}

// Eight pixels a step; answers how many are left for the narrower loop.
__attribute__((target("avx2"))) int CompositeRowWide(unsigned char* __restrict d,
                                                     const unsigned char* __restrict s, int count) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i colourBytes = _mm256_set1_epi32(0x00FFFFFF);
    for (; count >= 8; count -= 8, d += 32, s += 32) {
        __m256i sv, dv;
        std::memcpy(&sv, s, 32);
        std::memcpy(&dv, d, 32);
        const __m256i low =
            CompositeTwoWide(_mm256_unpacklo_epi8(sv, zero), _mm256_unpacklo_epi8(dv, zero));
        const __m256i high =
            CompositeTwoWide(_mm256_unpackhi_epi8(sv, zero), _mm256_unpackhi_epi8(dv, zero));
        const __m256i out = _mm256_adds_epu8(_mm256_packus_epi16(low, high),
                                             _mm256_and_si256(sv, colourBytes));
        std::memcpy(d, &out, 32);
    }
    return count;
}

bool HasWideRegisters() {
    // Asked once; the processor's features are read before the first answer.
    static const bool has = (__builtin_cpu_init(), __builtin_cpu_supports("avx2"));
    return has;
}
#endif

// Format 0 over format 0 without the per-pixel calls; the same arithmetic.
void CompositeRow(unsigned char* __restrict d, const unsigned char* __restrict s, int count) {
#if defined(__x86_64__)
    if (HasWideRegisters()) {
        const int left = CompositeRowWide(d, s, count);
        d += 4l * (count - left);
        s += 4l * (count - left);
        count = left;
    }
#endif
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i colourBytes = _mm_set1_epi32(0x00FFFFFF);
    for (; count >= 4; count -= 4, d += 16, s += 16) {
        __m128i sv, dv;
        std::memcpy(&sv, s, 16);
        std::memcpy(&dv, d, 16);
        const __m128i low =
            CompositeTwo(_mm_unpacklo_epi8(sv, zero), _mm_unpacklo_epi8(dv, zero));
        const __m128i high =
            CompositeTwo(_mm_unpackhi_epi8(sv, zero), _mm_unpackhi_epi8(dv, zero));
        // The source's colour bytes are added last; its alpha bytes add 0.
        const __m128i out =
            _mm_adds_epu8(_mm_packus_epi16(low, high), _mm_and_si128(sv, colourBytes));
        std::memcpy(d, &out, 16);
    }
#endif
    for (int i = 0; i < count; ++i, d += 4, s += 4) {
        const unsigned sa = s[3];
        d[0] = static_cast<unsigned char>(CompositeChannel(s[0], d[0], sa));
        d[1] = static_cast<unsigned char>(CompositeChannel(s[1], d[1], sa));
        d[2] = static_cast<unsigned char>(CompositeChannel(s[2], d[2], sa));
        d[3] = static_cast<unsigned char>(CompositeAlpha(sa, d[3]));
    }
}

} // namespace

void CopyAlphaComposite(const LImageBuffer& src, LImageBuffer& dst, int dstX, int dstY,
                        int srcX, int srcY, int width, int height) {
    ClippedCopy c;
    if (!Clip(src, dst, dstX, dstY, srcX, srcY, width, height, c))
        return;
    if (src.format == LPixelFormatB8G8R8A8 && dst.format == LPixelFormatB8G8R8A8) {
        for (int y = 0; y < c.height; ++y)
            CompositeRow(dst.GetPictureRow(c.dstY + y) + 4l * c.dstX,
                         src.GetPictureRow(c.srcY + y) + 4l * c.srcX, c.width);
        return;
    }
    LImageConstIterator from(src, c.srcX, c.srcY, c.width, c.height, 0);
    LImageIterator to(dst, c.dstX, c.dstY, c.width, c.height, 0);
    for (; from.IsInRange() && to.IsInRange(); from.Next(), to.Next())
        to.SetPacked(Composite(from.GetPacked(), to.GetPacked()));
}

void Copy(const LImageBuffer& src, LImageBuffer& dst, int dstX, int dstY, int srcX, int srcY,
          int width, int height) {
    ClippedCopy c;
    if (!Clip(src, dst, dstX, dstY, srcX, srcY, width, height, c))
        return;
    const int bits = src.GetBitsPerPixel();
    if (src.format == dst.format && bits % 8 == 0) {
        const long bytes = bits / 8;
        // Within one picture, rows go in the order that reads each before it
        // is overwritten.
        const bool upwards = src.GetStore() == dst.GetStore() && c.dstY > c.srcY;
        for (int i = 0; i < c.height; ++i) {
            const int y = upwards ? c.height - 1 - i : i;
            std::memmove(dst.GetPictureRow(c.dstY + y) + bytes * c.dstX,
                         src.GetPictureRow(c.srcY + y) + bytes * c.srcX,
                         static_cast<unsigned long>(bytes * c.width));
        }
        return;
    }
    LImageConstIterator from(src, c.srcX, c.srcY, c.width, c.height, 0);
    LImageIterator to(dst, c.dstX, c.dstY, c.width, c.height, 0);
    for (; from.IsInRange() && to.IsInRange(); from.Next(), to.Next())
        to.SetPacked(from.GetPacked());
}

} // namespace LImage
