#pragma once
// Pieces that the readers and writers of image_platform.h share.

#include <memory>

#include "imaging/image_buffer.h"

// Makes `buffer` a top-down format-0 picture of width x height, keeping its
// store when that fits. False for a side under 1, a picture beyond the decode
// limit, or memory refused.
bool LCodecAllocatePicture(LImageBuffer& buffer, long long width, long long height);

// The orientation tag of TIFF and Exif: how the stored rows are to be turned
// to be seen as meant. 1 is as stored; 2 to 8 mirror and turn.
constexpr int kLOrientationAsStored = 1;

// The orientation in an Exif block (a TIFF structure, from its byte-order
// mark). Metadata never costs a picture: anything short, cut or odd gives
// kLOrientationAsStored.
int LCodecExifOrientation(const unsigned char* data, unsigned long size);

// Turns a decoded picture, in place, the way its orientation tag says, so
// that it opens upright. Values outside 1 to 8 leave it as it is.
LProcessResult LCodecApplyOrientation(LProcessInterface& process, LImageBuffer& buffer,
                                      int orientation);

// The rows of any picture, top first, as blue, green, red, alpha bytes.
// Format 0 is premultiplied; with `straight` its rows come un-premultiplied,
// otherwise as they are. Other formats are read through the pixel iterators
// and taken as straight already; a one-byte picture counts as grey.
class LCodecRowSource {
public:
    LCodecRowSource(const LImageBuffer& buffer, bool straight);

    // Every alpha byte is 255, so alpha can be left out of the file. Found
    // out on the first call, by a look at every pixel: writers that drop
    // alpha anyway never pay for it.
    bool IsOpaque();
    // 4 * width bytes, valid until the next call. A row of a format-0
    // picture that needs no change is handed out where it lies.
    const unsigned char* GetRow(int y);

private:
    const LImageBuffer& buffer;
    bool straight;
    int opaque = -1; // not known yet
    std::unique_ptr<unsigned char[]> scratch;
};

// Progress of a row loop, told at most every 1/64 of the way so that the
// call costs nothing beside the work of a row.
class LCodecProgress {
public:
    LCodecProgress(LProcessInterface& process, long total, double from = 0, double to = 1)
        : process(process), total(total > 0 ? total : 1), from(from), to(to) {}
    // True when the caller is to stop.
    bool Row(long done) {
        if (process.IsToStop())
            return true;
        const long step = done * 64 / total;
        if (step != told) {
            told = step;
            process.SetProgress(from + (to - from) * static_cast<double>(done) / total);
        }
        return false;
    }

private:
    LProcessInterface& process;
    long total;
    double from, to;
    long told = -1;
};
