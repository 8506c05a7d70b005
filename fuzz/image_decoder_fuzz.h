#pragma once
// One reader of the raster formats over any input: it must end in a clean
// picture or a clean failure. A picture must be premultiplied (no colour
// above its alpha). Where the format is lossless, the picture written out
// again and read back must be the same picture.
//
// Each target includes this with KV_FUZZ_CODEC set to its codec.

#include <cstdint>
#include <cstdlib>

#include "foundation/stream.h"
#include "fuzz_support.h"
#include "imaging/image_file.h"
#include "imaging/image_platform.h"

namespace kvfuzz {

constexpr unsigned long long kPixelLimit = 1u << 16;

inline bool IsPremultiplied(const LImageBuffer& b) {
    for (int y = 0; y < b.height; ++y) {
        const unsigned char* p = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, p += 4)
            if (p[0] > p[3] || p[1] > p[3] || p[2] > p[3])
                return false;
    }
    return true;
}

inline bool SameBytes(const LImageBuffer& a, const LImageBuffer& b) {
    if (a.width != b.width || a.height != b.height || a.format != b.format)
        return false;
    for (int y = 0; y < a.height; ++y)
        if (std::memcmp(a.GetPictureRow(y), b.GetPictureRow(y), static_cast<std::size_t>(a.width) * 4))
            return false;
    return true;
}

inline void DecodeOne(const std::uint8_t* data, std::size_t size, unsigned int codec) {
    static const bool limited = [] {
        // A picture is allocated and cleared before a byte of it is decoded:
        // at a limit of millions of pixels that, not the parsing, was where an
        // input spent its time. 256 x 256 still leaves every header, strip
        // and tile path open, and a larger claim exercises the refusal.
        LImageSetDecodePixelLimit(kPixelLimit);
        // The raw developer runs its loops on every core; one input at a
        // time on one core is faster than threads that wait on each other.
        setenv("OMP_NUM_THREADS", "1", 0);
        return true;
    }();
    (void)limited;

    LInputStreamBuffer in;
    if (!in.Open(data, size))
        Fail("the input could not be opened as a stream");
    LImageBuffer picture;
    LProcessInterfaceVoid process;
    LProcessImageLoad<LInputStreamBuffer> load(in, codec, picture);
    const LProcessResult r = Process(process, load);
    if (r == LProcessResultStopped)
        Fail("a load that nobody stopped reports a stop");
    if (r != LProcessResultOk)
        return;
    if (!picture.IsValid() || picture.format != LPixelFormatB8G8R8A8 || load.bitsPerPixel == 0)
        Fail("a successful load without a format-0 picture");
    if (!IsPremultiplied(picture))
        Fail("a loaded picture is not premultiplied");

    const bool lossless = codec == LImageCodecPNG || codec == LImageCodecTIFF ||
                          codec == LImageCodecJPEG2000;
    if (!lossless)
        return;
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray out(bytes);
    out.Open();
    LImageEncodeSettings settings;
    settings.jpeg2000Lossy = 0;
    LProcessImageSave<LOutputStreamByteArray> save(out, codec, picture, settings);
    if (Process(process, save) != LProcessResultOk)
        Fail("a loaded picture could not be written again");
    LInputStreamBuffer again(bytes.Data(), bytes.GetSize());
    LImageBuffer back;
    LProcessImageLoad<LInputStreamBuffer> reload(again, codec, back);
    if (Process(process, reload) != LProcessResultOk || !SameBytes(picture, back))
        Fail("a picture written and read again changed");
}

} // namespace kvfuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::DecodeOne(data, size, KV_FUZZ_CODEC);
    return 0;
}
