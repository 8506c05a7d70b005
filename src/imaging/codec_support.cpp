#include "imaging/codec_support.h"

#include <atomic>

#include "imaging/image_iterator.h"
#include "imaging/image_platform.h"
#include "imaging/image_process.h"
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

int LCodecExifOrientation(const unsigned char* data, unsigned long size) {
    if (!data || size < 8)
        return kLOrientationAsStored;
    const bool big = data[0] == 'M' && data[1] == 'M';
    if (!big && !(data[0] == 'I' && data[1] == 'I'))
        return kLOrientationAsStored;
    auto u16 = [&](unsigned long at) -> unsigned {
        return big ? (data[at] << 8) | data[at + 1] : data[at] | (data[at + 1] << 8);
    };
    auto u32 = [&](unsigned long at) -> unsigned long {
        return big ? (static_cast<unsigned long>(u16(at)) << 16) | u16(at + 2)
                   : u16(at) | (static_cast<unsigned long>(u16(at + 2)) << 16);
    };
    constexpr unsigned kOrientationTag = 0x0112, kShort = 3, kLong = 4;
    const unsigned long ifd = u32(4);
    if (u16(2) != 42 || ifd < 8 || ifd > size - 2)
        return kLOrientationAsStored;
    // The entries that the block holds are read; a count that runs past its
    // end is a cut block, not a reason to look further.
    const unsigned long count = u16(ifd);
    for (unsigned long i = 0, at = ifd + 2; i < count && at + 12 <= size; ++i, at += 12) {
        if (u16(at) != kOrientationTag)
            continue;
        const unsigned type = u16(at + 2);
        const unsigned long value = type == kShort ? u16(at + 8) : type == kLong ? u32(at + 8) : 0;
        return value >= 1 && value <= 8 && u32(at + 4) >= 1 ? static_cast<int>(value)
                                                            : kLOrientationAsStored;
    }
    return kLOrientationAsStored;
}

LProcessResult LCodecApplyOrientation(LProcessInterface& process, LImageBuffer& buffer,
                                      int orientation) {
    // Each value as a clockwise turn followed by a mirror: 5 (rows become
    // columns) is a quarter turn mirrored left to right, 7 one mirrored top
    // to bottom.
    struct Turn {
        double turns;
        int flip;
    };
    static const Turn turns[9] = {
        {0, LImgProFlip::None},     {0, LImgProFlip::None},       {0, LImgProFlip::Horizontal},
        {0, LImgProFlip::Both},     {0, LImgProFlip::Vertical},   {0.25, LImgProFlip::Horizontal},
        {0.25, LImgProFlip::None},  {0.25, LImgProFlip::Vertical}, {0.75, LImgProFlip::None},
    };
    if (orientation < 2 || orientation > 8)
        return LProcessResultOk;
    const Turn& t = turns[orientation];
    if (t.turns != 0)
        if (LProcessResult r = LImage::Rotate(process, buffer, buffer, t.turns))
            return r;
    if (t.flip == LImgProFlip::None)
        return LProcessResultOk;
    LImgProFlip flip;
    flip.direction = t.flip;
    return LApplyImageProcess(buffer, buffer, flip, process);
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
