#pragma once
// Pixel access that works for any format: every pixel is read and written as
// one LPixelColour word (blue in the low byte). The read and write functions
// are picked once per iterator, so a pixel costs one indirect call.

#include <cstdint>

#include "imaging/image_buffer.h"

// The eight walks over a picture (fast axis, slow axis, first pixel), for the
// picture as seen, whichever way it is stored:
// 0 right, down, top left      4 down, right, top left
// 1 down, left, top right      5 right, up, bottom left
// 2 left, up, bottom right     6 up, left, bottom right
// 3 up, right, bottom left     7 left, down, top right
using LImageScanOrder = int;

using LImageReadFunction = std::uint32_t (*)(const unsigned char* pixel);
using LImageWriteFunction = void (*)(unsigned char* pixel, std::uint32_t colour);

// The table entries of a format; formats without pixel access give the
// invalid pair, which reads 0 and writes nothing.
LImageReadFunction LImageGetReadFunction(pixelformat_t format);
LImageWriteFunction LImageGetWriteFunction(pixelformat_t format);
std::uint32_t ReadInvalid(const unsigned char* pixel);
void WriteInvalid(unsigned char* pixel, std::uint32_t colour);

class LImageConstIterator {
public:
    explicit LImageConstIterator(const LImageBuffer& buffer, LImageScanOrder order = 0);
    // A rectangle of the picture (clipped to it) walked in the given order.
    LImageConstIterator(const LImageBuffer& buffer, int x, int y, int width, int height,
                        LImageScanOrder order);

    bool IsInRange() const { return index >= 0 && index < total; }
    void Next() {
        ++index;
        offset += step;
        if (++position == runLength) {
            offset += correction;
            position = 0;
        }
    }
    LImageConstIterator& operator++() {
        Next();
        return *this;
    }

    std::uint32_t GetPacked() const { return read(data + offset); }
    LPixelColour Get() const { return LPixelColour::FromPacked(GetPacked()); }
    // Reads up to count pixels, moving on past each; gives how many were read.
    int Get(LPixelColour* out, int count);

    long GetIndex() const { return index; }
    long GetTotal() const { return total; }
    long GetRunLength() const { return runLength; }
    long GetPositionInRun() const { return position; }

protected:
    void Init(const LImageBuffer& buffer, int x, int y, int width, int height,
              LImageScanOrder order);

    long total = 0;
    long runLength = 1;
    long step = 0;
    long correction = 0;
    long index = 0;
    long offset = 0;
    long position = 0;
    unsigned char* data = nullptr;
    LImageReadFunction read = ReadInvalid;
    LImageWriteFunction write = WriteInvalid;
};

class LImageIterator : public LImageConstIterator {
public:
    explicit LImageIterator(LImageBuffer& buffer, LImageScanOrder order = 0)
        : LImageConstIterator(buffer, order) {}
    LImageIterator(LImageBuffer& buffer, int x, int y, int width, int height,
                   LImageScanOrder order)
        : LImageConstIterator(buffer, x, y, width, height, order) {}

    void SetPacked(std::uint32_t colour) { write(data + offset, colour); }
    void Set(const LPixelColour& colour) { SetPacked(colour.GetPacked()); }
};

// Whole scan lines from the top of the picture down, whichever way the
// buffer is stored; offset is a byte offset into each line.
class LImageScanlineConstIterator {
public:
    LImageScanlineConstIterator() = default;
    explicit LImageScanlineConstIterator(const LImageBuffer& buffer, long offset = 0) {
        Reset(buffer, offset);
    }
    void Reset(const LImageBuffer& buffer, long offset = 0);

    bool IsInRange() const { return line >= 0 && line < lines; }
    void Next() {
        ++line;
        current += step;
    }
    const unsigned char* Get() const { return current; }
    int GetLine() const { return line; }

protected:
    unsigned char* current = nullptr;
    long step = 0;
    int line = 0;
    int lines = 0;
};

class LImageScanlineIterator : public LImageScanlineConstIterator {
public:
    LImageScanlineIterator() = default;
    explicit LImageScanlineIterator(LImageBuffer& buffer, long offset = 0)
        : LImageScanlineConstIterator(buffer, offset) {}
    unsigned char* Get() const { return current; }
};
