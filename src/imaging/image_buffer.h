#pragma once
// A picture in memory: one of eight pixel formats, a stride, an orientation
// and a replaceable store. Format 0 (blue, green, red, alpha, premultiplied)
// is the working format of the whole program and is byte for byte what the
// drawing library calls ARGB32 on a little-endian machine.

#include <bit>
#include <cstdint>
#include <cstring>

#include "foundation/color.h"
#include "foundation/process.h"
#include "foundation/ptr.h"

static_assert(std::endian::native == std::endian::little,
              "pixel layouts are written for a little-endian machine");

using pixelformat_t = int;

enum : pixelformat_t {
    LPixelFormatNone = -1,
    LPixelFormatB8G8R8A8 = 0, // the working format, premultiplied
    LPixelFormatB8G8R8 = 1,
    LPixelFormatB5G6R5 = 2,
    LPixelFormatB5G5R5A1 = 3,
    LPixelFormatB5G5R5X1 = 4,
    LPixelFormatR8G8B8A8 = 5,
    LPixelFormatPacked4 = 6, // has a size, but no pixel access
    LPixelFormatI8 = 7,      // grey or palette index
};

constexpr int kLPixelFormatCount = 8;

// Bits per pixel; 0 for an unknown format.
int LPixelFormatBits(pixelformat_t format);

struct LImageFormat {
    pixelformat_t format = LPixelFormatNone;
    int width = 0;
    int height = 0;
    int reserved1 = 0;
    int reserved2 = 0;
    int stride = 0;
    bool bottomUp = false;

    int GetBitsPerPixel() const { return LPixelFormatBits(format); }
    // Scan lines padded to 4 bytes. A line too long for an int gets stride 0,
    // which no valid buffer has.
    void SetDefaultAlignment();
    // stride * height; negative sizes come out negative.
    std::int64_t CalculateBufferSize64() const {
        return static_cast<std::int64_t>(stride) * static_cast<std::int64_t>(height);
    }
    // The same, or 0 when it does not fit in 32 bits.
    unsigned long CalculateBufferSize() const;
    // Bytes that hold pixels in one scan line: (bits * width) / 8.
    long GetLineBytes() const {
        return static_cast<long>((static_cast<std::int64_t>(GetBitsPerPixel()) * width) / 8);
    }
};

class LImageBufferStore {
public:
    virtual ~LImageBufferStore() = default;
    virtual int GetStoreID() const { return 0; }
    virtual bool IsCompatibleStore(int /*storeID*/, long /*size*/) const { return false; }

    unsigned char* data = nullptr;
};

// Heap memory aligned to 16 bytes. A store is reused for a new picture unless
// that would waste more than half of it.
class LImageBufferStoreHeap : public LImageBufferStore {
public:
    static constexpr int kStoreID = 1;

    // `zeroed`: all bytes 0, from the system's zero pages where it gives
    // them, which take memory only once they are written.
    explicit LImageBufferStoreHeap(unsigned long size, bool zeroed = false);
    ~LImageBufferStoreHeap() override;
    LImageBufferStoreHeap(const LImageBufferStoreHeap&) = delete;
    LImageBufferStoreHeap& operator=(const LImageBufferStoreHeap&) = delete;

    int GetStoreID() const override { return kStoreID; }
    bool IsCompatibleStore(int storeID, long wanted) const override {
        return storeID == kStoreID && wanted >= 0 && static_cast<unsigned long>(wanted) <= size &&
               static_cast<unsigned long>(wanted) >= size / 2;
    }
    // False when the allocation was refused.
    bool HasMemory() const { return size == 0 || raw != nullptr; }

    unsigned long size = 0;

private:
    void* raw = nullptr;
};

class LImageBuffer : public LImageFormat {
public:
    LImageBuffer() = default;
    explicit LImageBuffer(const LImageFormat& f) { AllocateNewBuffer(f); }
    LImageBuffer(const LImageBuffer&) = delete;
    LImageBuffer& operator=(const LImageBuffer&) = delete;
    LImageBuffer(LImageBuffer&& o) noexcept { Assign(o); }
    LImageBuffer& operator=(LImageBuffer&& o) noexcept {
        Assign(o);
        return *this;
    }

    // Takes the other's format and store; the other is left empty.
    void Assign(LImageBuffer& other);
    // Keeps the format; keeps a compatible store (its old pixels stay),
    // otherwise makes a new one. A size beyond 32 bits or refused memory
    // leaves the buffer invalid.
    void AllocateNewBuffer(const LImageFormat& f, bool zeroed = false);
    void Destroy();

    bool IsValid() const {
        return store && store->data && format != LPixelFormatNone && width >= 1 && height >= 1 &&
               stride != 0;
    }
    const LImageFormat& GetFormat() const { return *this; }
    unsigned char* GetData() const { return store ? store->data : nullptr; }
    LImageBufferStore* GetStore() const { return store.Get(); }
    unsigned char* GetLastScanLine() const;
    // The first byte of a row counted from the top of the picture, whichever
    // way the buffer is stored. No range check.
    unsigned char* GetPictureRow(int y) const {
        const int memoryRow = bottomUp ? height - 1 - y : y;
        return GetData() + static_cast<std::int64_t>(memoryRow) * stride;
    }
    // Bytes from one picture row to the next one down.
    long GetPictureRowStep() const { return bottomUp ? -static_cast<long>(stride) : stride; }

    // The colour goes into the buffer's format once, on the first row, which
    // is then copied over the others. 1 when stopped.
    LProcessResult Clear(LProcessInterface& process, const LPixelColour& colour);
    LProcessResult Clear(const LPixelColour& colour);

private:
    LPtr<LImageBufferStore> store;
};

// Whole-line and whole-picture copies. Stores are 16-byte aligned so the
// library copy can use its widest moves.
inline void LOptLargeMemCpy(void* to, const void* from, unsigned long size) {
    if (size)
        std::memcpy(to, from, size);
}

// Same format and size: the picture is copied upright whatever the two
// orientations. Nothing happens when both share a store or the shapes differ.
void LImageBufferCopy(LImageBuffer& to, const LImageBuffer& from);

namespace LImage {

enum ResizeFilter : int {
    ResizeFilterNearest = 0,
    ResizeFilterSmooth = 1,
};

// A fresh top-down, default-aligned picture; invalid if it cannot be had.
void New(LImageBuffer& buffer, int width, int height, pixelformat_t format);
// The same, all transparent: a large picture of which only a part is ever
// drawn on costs memory for that part alone.
void NewTransparent(LImageBuffer& buffer, int width, int height, pixelformat_t format);

// src over dst, premultiplied, with the fast >> 8 form. Both rectangles are
// clipped to their pictures and to each other; any formats.
void CopyAlphaComposite(const LImageBuffer& src, LImageBuffer& dst, int dstX, int dstY,
                        int srcX, int srcY, int width, int height);
// The same clipping, pixels copied and converted between formats.
void Copy(const LImageBuffer& src, LImageBuffer& dst, int dstX, int dstY, int srcX, int srcY,
          int width, int height);

// target becomes source scaled to width x height. 0, 1 stopped or 2 with
// SetError; a size that comes out as nothing destroys target and gives 0.
LProcessResult Resize(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, int width, int height, bool keepAspect,
                      ResizeFilter filter);
// The same, from the rectangle x, y, w, h of source.
LProcessResult Resize(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, int width, int height, bool keepAspect,
                      ResizeFilter filter, double x, double y, double w, double h);

// Rotation by a fraction of a full turn, clockwise on screen; only the
// fraction counts. Quarter turns are exact and keep the format; any other
// angle needs format 0 and gives a format-0 target that fits the turned
// picture, transparent around it.
LProcessResult Rotate(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, double turns);
// The size that a picture of width x height needs when turned by an angle
// in radians.
void GetRotatedSize(int width, int height, double angle, int& newWidth, int& newHeight);

} // namespace LImage
