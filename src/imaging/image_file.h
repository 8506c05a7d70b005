#pragma once
// Loading and saving raster pictures: by file name through the codec table,
// or by codec on any stream. Every operation reports through its process
// interface; the result is 0, 1 when stopped or 2 on failure, with the
// message already given through SetError.

#include "foundation/array.h"
#include "foundation/file.h"
#include "foundation/process.h"
#include "foundation/string.h"
#include "imaging/image_buffer.h"
#include "imaging/image_codec.h"

// Decodes the picture at the stream's position with the given codec.
// `Stream` is LInputStreamFile or LInputStreamBuffer.
template <class Stream> struct LProcessImageLoad {
    LProcessImageLoad(Stream& stream, LImageCodec codec, LImageBuffer& buffer)
        : stream(stream), codec(codec), buffer(buffer) {}

    Stream& stream;
    LImageCodec codec;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0; // of the source, once loaded
};

// Encodes into the stream with the given codec. `Stream` is
// LOutputStreamFile or LOutputStreamByteArray.
template <class Stream> struct LProcessImageSave {
    LProcessImageSave(Stream& stream, LImageCodec codec, const LImageBuffer& buffer,
                      const LImageEncodeSettings& settings)
        : stream(stream), codec(codec), buffer(buffer), settings(settings) {}

    Stream& stream;
    LImageCodec codec;
    const LImageBuffer& buffer;
    const LImageEncodeSettings& settings;
};

template <class Stream> LProcessResult Process(LProcessInterface& process, LProcessImageLoad<Stream>& load);
template <class Stream> LProcessResult Process(LProcessInterface& process, LProcessImageSave<Stream>& save);

extern template LProcessResult Process(LProcessInterface&, LProcessImageLoad<LInputStreamFile>&);
extern template LProcessResult Process(LProcessInterface&, LProcessImageLoad<LInputStreamBuffer>&);
extern template LProcessResult Process(LProcessInterface&, LProcessImageSave<LOutputStreamFile>&);
extern template LProcessResult Process(LProcessInterface&, LProcessImageSave<LOutputStreamByteArray>&);

// Paths are kept in the program's fixed 260-byte fields. One that does not
// fit is refused rather than cut, so that no other file is read or written
// in its place.
struct LProcessImageLoadFile {
    LProcessImageLoadFile(const char* path, unsigned int timeoutMs,
                          const LImageCodecVetoer* vetoer, LImageBuffer& buffer);

    char path[kLFixedStringSize];
    bool pathTooLong = false;
    unsigned int timeoutMs;
    const LImageCodecVetoer* vetoer; // may be null: every codec
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0; // of the source, once loaded
};

// The picture goes to a temporary file in the user's cache folder, which is
// moved over `path` only when it is complete: a failed save leaves the old
// file as it was.
struct LProcessImageSaveFile {
    LProcessImageSaveFile(const LImageBuffer& buffer, const char* path,
                          const LImageEncodeSettings& settings, unsigned int timeoutMs,
                          const LImageCodecVetoer* vetoer);

    const LImageBuffer& buffer;
    char path[kLFixedStringSize];
    bool pathTooLong = false;
    const LImageEncodeSettings& settings;
    unsigned int timeoutMs;
    const LImageCodecVetoer* vetoer;
};

LProcessResult Process(LProcessInterface& process, LProcessImageLoadFile& load);
LProcessResult Process(LProcessInterface& process, LProcessImageSaveFile& save);

// A raster picture as an SVG file: a PNG of it, in base64, in one image
// element.
template <class Stream> struct LProcessSVGSave {
    Stream& stream;
    const LImageBuffer& buffer;
};
template <class Stream> LProcessResult Process(LProcessInterface& process, LProcessSVGSave<Stream>& save);

// The part of a path behind its last "/" or "\", at most 258 characters:
// what status lines call a file.
void LImageGetDisplayName(const char* path, char (&name)[kLFixedStringSize]);

namespace LImage {

// The source's bits per pixel, or 0 on failure.
unsigned int Load(LProcessInterface& process, LImageBuffer& buffer, const char* path,
                  unsigned int timeoutMs);
unsigned int Load(LImageBuffer& buffer, const char* path, unsigned int timeoutMs);
// From memory, in an Encoding; 0 for an encoding without a codec, too.
unsigned int Load(LImageBuffer& buffer, const void* data, unsigned long size, int encoding);
// "<id>.<word>" in the folder of the word ("jpg", "bmp" or "png", for
// encodings 0, 1 and 5) among the program's resources. 0 when missing, and
// the buffer is not touched.
unsigned int LoadResource(LImageBuffer& buffer, int id, int encoding);

// Default settings, a time-out of 3000 ms and no vetoer.
bool Save(const LImageBuffer& buffer, const char* path);
bool Save(const LImageBuffer& buffer, const char* path, const LImageEncodeSettings& settings,
          unsigned int timeoutMs);
// Into memory, in an Encoding; an encoding without a codec writes nothing.
bool Save(const LImageBuffer& buffer, LSizedArray<unsigned char>& bytes, int encoding);
bool Save(const LImageBuffer& buffer, LSizedArray<unsigned char>& bytes, int encoding,
          const LImageEncodeSettings& settings);

} // namespace LImage
