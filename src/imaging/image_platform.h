#pragma once
// Readers and writers of the formats that system libraries know: PNG
// (libpng), JPEG (libjpeg-turbo), TIFF (libtiff), JPEG 2000 (openjpeg) and
// camera raw (libraw).
//
// Every reader gives a premultiplied format-0 picture of the first image in
// the file, turned upright as its orientation tag (TIFF's, or Exif's in JPEG
// and PNG) says: grey, palette and CMYK sources are turned into colour,
// deeper and floating-point samples are reduced to 8 bits, colour profiles
// are not applied. Damaged metadata is passed over, never a reason to fail. Writers take a
// picture of any format; PNG, TIFF and JPEG 2000 keep alpha (un-premultiplied,
// and left out when every pixel is opaque), JPEG drops it. A damaged or
// hostile file fails with result 2 and no message, which the caller gives.

#include "foundation/process.h"
#include "imaging/image_buffer.h"
#include "imaging/image_codec_io.h"

// The largest picture, in pixels, that a reader will make; a file that
// claims more fails before memory is given to it. By default as large as a
// picture in memory can be; fuzzing lowers it.
void LImageSetDecodePixelLimit(unsigned long long pixels);
unsigned long long LImageGetDecodePixelLimit();

struct LProcessPNGLoad {
    LImageCodecInput& input;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0; // of the source, set on success
};
struct LProcessJPEGLoad {
    LImageCodecInput& input;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0;
};
struct LProcessJPEG2000Load {
    LImageCodecInput& input;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0;
};
struct LProcessTIFFLoad {
    LImageCodecInput& input;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0;
};
// DNG and the camera raw formats, decoded and developed with the camera's
// white balance.
struct LProcessCamRAWLoad {
    LImageCodecInput& input;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0;
};

struct LProcessPNGSave {
    LImageCodecOutput& output;
    const LImageBuffer& buffer;
};
// quality 0 to 100 on the library's own scale; from 90 up colour is kept at
// full resolution instead of being halved both ways.
struct LProcessJPEGSave {
    LImageCodecOutput& output;
    const LImageBuffer& buffer;
    int quality = 100;
};
// quality 100 (or more) is lossless. Below, the file is made that many times
// smaller than the raw 8-bit samples: 2^(1 + (100 - quality) / 10), so 90
// gives 4:1, 80 gives 8:1, 50 gives 64:1.
struct LProcessJPEG2000Save {
    LImageCodecOutput& output;
    const LImageBuffer& buffer;
    int quality = 100;
};
// LZW with horizontal differencing, one strip of about 8 kB after another.
struct LProcessTIFFSave {
    LImageCodecOutput& output;
    const LImageBuffer& buffer;
};

LProcessResult Process(LProcessInterface& process, LProcessPNGLoad& load);
LProcessResult Process(LProcessInterface& process, LProcessJPEGLoad& load);
LProcessResult Process(LProcessInterface& process, LProcessJPEG2000Load& load);
LProcessResult Process(LProcessInterface& process, LProcessTIFFLoad& load);
LProcessResult Process(LProcessInterface& process, LProcessCamRAWLoad& load);
LProcessResult Process(LProcessInterface& process, LProcessPNGSave& save);
LProcessResult Process(LProcessInterface& process, LProcessJPEGSave& save);
LProcessResult Process(LProcessInterface& process, LProcessJPEG2000Save& save);
LProcessResult Process(LProcessInterface& process, LProcessTIFFSave& save);

// The compression ratio of a JPEG 2000 quality below 100.
double LImageJPEG2000Ratio(int quality);
