#include "imaging/codec_support.h"

#include <atomic>

#include "imaging/image_iterator.h"
#include "imaging/image_platform.h"
#include "imaging/pixel_alpha.h"

namespace {

// A format-0 picture in memory has at most 2^32 - 1 bytes.
constexpr unsigned long long kLargestPicture = 0xFFFFFFFFull / 4;
std::atomic<unsigned long long> gDecodePixelLimit{kLargestPicture};

} // namespace

void LImageSetDecodePixelLimit(unsigned long long pixels) {
    gDecodePixelLimit = pixels < kLargestPicture ? pixels : kLargestPicture;
}

unsigned long long LImageGetDecodePixelLimit() { return gDecodePixelLimit; }

bool LCodecAllocatePicture(LImageBuffer& buffer, long long width, long long height) {
    if (width < 1 || height < 1 || width > 0x7FFFFFFF || height > 0x7FFFFFFF)
        return false;
    if (static_cast<unsigned long long>(width) * static_cast<unsigned long long>(height) >
        LImageGetDecodePixelLimit())
        return false;
    LImage::New(buffer, static_cast<int>(width), static_cast<int>(height), LPixelFormatB8G8R8A8);
    return buffer.IsValid();
}

LCodecRowSource::LCodecRowSource(const LImageBuffer& buffer, bool straight)
    : buffer(buffer), straight(straight) {
    scratch.reset(new unsigned char[static_cast<std::size_t>(buffer.width) * 4]);
}

bool LCodecRowSource::IsOpaque() {
    if (opaque >= 0)
        return opaque != 0;
    bool all = true;
    const pixelformat_t f = buffer.format;
    if (f == LPixelFormatB8G8R8A8) {
        for (int y = 0; y < buffer.height && all; ++y)
            all = LIsOpaqueRowBGRA(buffer.GetPictureRow(y), buffer.width);
    } else if (f == LPixelFormatR8G8B8A8 || f == LPixelFormatB5G5R5A1) {
        // Whatever the layout, the iterator reads alpha in the top byte.
        for (LImageConstIterator it(buffer); it.IsInRange() && all; it.Next())
            all = (it.GetPacked() >> 24) == 255;
    }
    opaque = all ? 1 : 0;
    return all;
}

const unsigned char* LCodecRowSource::GetRow(int y) {
    const long width = buffer.width;
    if (buffer.format == LPixelFormatB8G8R8A8) {
        const unsigned char* row = buffer.GetPictureRow(y);
        if (!straight || opaque == 1 || LIsOpaqueRowBGRA(row, width))
            return row;
        LUnpremultiplyRowBGRA(scratch.get(), row, width);
        return scratch.get();
    }
    LImageConstIterator it(buffer, 0, y, buffer.width, 1, 0);
    it.Get(reinterpret_cast<LPixelColour*>(scratch.get()), buffer.width);
    if (buffer.format == LPixelFormatI8) {
        unsigned char* p = scratch.get();
        for (long x = 0; x < width; ++x, p += 4) {
            p[1] = p[2] = p[0];
            p[3] = 255;
        }
    }
    return scratch.get();
}
