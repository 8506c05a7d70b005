#include "imaging/image_iterator.h"

#include <algorithm>

namespace {

using std::uint32_t;

uint32_t Pack(unsigned red, unsigned green, unsigned blue, unsigned alpha) {
    return ((alpha & 0xFFu) << 24) | ((red & 0xFFu) << 16) | ((green & 0xFFu) << 8) |
           (blue & 0xFFu);
}

unsigned Word(const unsigned char* p) { return p[0] | (p[1] << 8); }
void PutWord(unsigned char* p, unsigned v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

// A 16-bit channel expanded by shifts lands one off the exact n * 255 / 31 at
// these values; the read moves them back.
unsigned Correct5(unsigned c) {
    if (c == 0x18 || c == 0x39)
        return c + 1;
    if (c == 0xC6 || c == 0xE7)
        return c - 1;
    return c;
}
unsigned CorrectGreen6(unsigned c) {
    if (c >= 0x2C && c <= 0x3C)
        return c + 1;
    if (c >= 0xC3 && c <= 0xD3)
        return c - 1;
    return c;
}

uint32_t Read0(const unsigned char* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
void Write0(unsigned char* p, uint32_t v) { std::memcpy(p, &v, 4); }

uint32_t Read5(const unsigned char* p) { return Pack(p[0], p[1], p[2], p[3]); }
void Write5(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v >> 16);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v);
    p[3] = static_cast<unsigned char>(v >> 24);
}

uint32_t Read1(const unsigned char* p) { return Pack(p[2], p[1], p[0], 255); }
void Write1(unsigned char* p, uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
}

// The shifted words are deliberately not masked before the byte is taken.
uint32_t Read2(const unsigned char* p) {
    const unsigned v = Word(p);
    const unsigned blue = ((v << 3) | ((v >> 2) & 7)) & 0xFF;
    const unsigned green = ((v >> 3) | ((v >> 9) & 3)) & 0xFF;
    const unsigned red = ((v >> 8) | (v >> 13)) & 0xFF;
    return Pack(Correct5(red), CorrectGreen6(green), Correct5(blue), 255);
}
void Write2(unsigned char* p, uint32_t v) {
    const unsigned blue = v & 0xFF, green = (v >> 8) & 0xFF, red = (v >> 16) & 0xFF;
    PutWord(p, ((red & 0xF8) << 8) | ((green & 0xFC) << 3) | (blue >> 3));
}

uint32_t Read555(const unsigned char* p, bool withAlpha) {
    const unsigned v = Word(p);
    const unsigned blue = ((v << 3) | ((v >> 2) & 7)) & 0xFF;
    const unsigned green = ((v >> 2) | ((v >> 7) & 7)) & 0xFF;
    const unsigned red = ((v >> 7) | ((v >> 12) & 7)) & 0xFF;
    const unsigned alpha = !withAlpha || (v & 0x8000) ? 255 : 0;
    return Pack(Correct5(red), Correct5(green), Correct5(blue), alpha);
}
uint32_t Read3(const unsigned char* p) { return Read555(p, true); }
uint32_t Read4(const unsigned char* p) { return Read555(p, false); }
// The alpha bit lands in bit 7, among green's bits, not in bit 15. Files
// written through this path have always looked like that; only
// ConvertPixels makes a proper 1-bit alpha.
void Write34(unsigned char* p, uint32_t v) {
    const unsigned blue = v & 0xFF, green = (v >> 8) & 0xFF, red = (v >> 16) & 0xFF,
                   alpha = v >> 24;
    PutWord(p, (alpha & 0x80) | ((red & 0xF8) << 7) | ((green & 0xF8) << 2) | (blue >> 3));
}

uint32_t Read7(const unsigned char* p) { return p[0]; }
void Write7(unsigned char* p, uint32_t v) { p[0] = static_cast<unsigned char>(v); }

const LImageReadFunction kReaders[kLPixelFormatCount] = {Read0, Read1, Read2, Read3,
                                                         Read4, Read5, ReadInvalid, Read7};
const LImageWriteFunction kWriters[kLPixelFormatCount] = {
    Write0, Write1, Write2, Write34, Write34, Write5, WriteInvalid, Write7};

// Each order in picture terms: fast step, slow step, and the corner it
// starts from.
struct Walk {
    int fastX, fastY, slowX, slowY;
    bool fromRight, fromBottom;
};
constexpr Walk kWalks[8] = {
    {1, 0, 0, 1, false, false},  {0, 1, -1, 0, true, false}, {-1, 0, 0, -1, true, true},
    {0, -1, 1, 0, false, true},  {0, 1, 1, 0, false, false}, {1, 0, 0, -1, false, true},
    {0, -1, -1, 0, true, true},  {-1, 0, 0, 1, true, false},
};

} // namespace

uint32_t ReadInvalid(const unsigned char*) { return 0; }
void WriteInvalid(unsigned char*, uint32_t) {}

LImageReadFunction LImageGetReadFunction(pixelformat_t format) {
    return format >= 0 && format < kLPixelFormatCount ? kReaders[format] : ReadInvalid;
}
LImageWriteFunction LImageGetWriteFunction(pixelformat_t format) {
    return format >= 0 && format < kLPixelFormatCount ? kWriters[format] : WriteInvalid;
}

LImageConstIterator::LImageConstIterator(const LImageBuffer& buffer, LImageScanOrder order) {
    Init(buffer, 0, 0, buffer.width, buffer.height, order);
}

LImageConstIterator::LImageConstIterator(const LImageBuffer& buffer, int x, int y, int width,
                                         int height, LImageScanOrder order) {
    Init(buffer, x, y, width, height, order);
}

void LImageConstIterator::Init(const LImageBuffer& buffer, int x, int y, int width, int height,
                               LImageScanOrder order) {
    const int bits = buffer.GetBitsPerPixel();
    if (!buffer.IsValid() || buffer.CalculateBufferSize64() >= 0x7FFFFFFF || bits % 8 != 0 ||
        order < 0 || order > 7)
        return;
    const long x0 = std::max(0, x), y0 = std::max(0, y);
    const long x1 = std::min<long>(static_cast<long>(x) + width, buffer.width);
    const long y1 = std::min<long>(static_cast<long>(y) + height, buffer.height);
    if (x1 <= x0 || y1 <= y0)
        return;

    const Walk& walk = kWalks[order];
    const long bytes = bits / 8;
    const long rowStep = buffer.GetPictureRowStep();
    const long w = x1 - x0, h = y1 - y0;
    const long startX = walk.fromRight ? x1 - 1 : x0;
    const long startY = walk.fromBottom ? y1 - 1 : y0;

    runLength = walk.fastX ? w : h;
    total = w * h;
    step = walk.fastX * bytes + walk.fastY * rowStep;
    correction = walk.slowX * bytes + walk.slowY * rowStep - runLength * step;
    data = buffer.GetData();
    offset = (buffer.GetPictureRow(static_cast<int>(startY)) - data) + startX * bytes;
    read = kReaders[buffer.format];
    write = kWriters[buffer.format];
}

int LImageConstIterator::Get(LPixelColour* out, int count) {
    if (!IsInRange() || count <= 0)
        return 0;
    const int n = static_cast<int>(std::min<long>(count, total - index));
    for (int i = 0; i < n; ++i) {
        out[i] = Get();
        Next();
    }
    return n;
}

void LImageScanlineConstIterator::Reset(const LImageBuffer& buffer, long offset) {
    line = 0;
    if (!buffer.IsValid()) {
        current = nullptr;
        step = 0;
        lines = 0;
        return;
    }
    current = buffer.GetPictureRow(0) + offset;
    step = buffer.GetPictureRowStep();
    lines = buffer.height;
}
