// TIFF through libtiff. Its messages go to handlers of each open file, which
// keep quiet: a damaged file is reported once, by the caller.

#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <memory>

#include "imaging/codec_support.h"
#include "imaging/image_platform.h"

namespace {

struct TiffHandle {
    LImageCodecInput* input = nullptr;
    LImageCodecOutput* output = nullptr;
};

tmsize_t TiffRead(thandle_t h, void* data, tmsize_t count) {
    auto* t = static_cast<TiffHandle*>(h);
    if (!t->input || count < 0)
        return -1;
    return static_cast<tmsize_t>(t->input->Read(data, static_cast<unsigned long>(count)));
}

tmsize_t TiffWrite(thandle_t h, void* data, tmsize_t count) {
    auto* t = static_cast<TiffHandle*>(h);
    if (!t->output || count < 0)
        return -1;
    return t->output->Write(data, static_cast<unsigned long>(count)) ? count : -1;
}

toff_t TiffSeek(thandle_t h, toff_t offset, int whence) {
    auto* t = static_cast<TiffHandle*>(h);
    const unsigned long long size = t->input ? t->input->GetSize() : t->output->GetSize();
    const unsigned long long at = t->input ? t->input->Tell() : t->output->Tell();
    // Offsets from the current place or the end come as two's complement.
    const auto delta = static_cast<std::int64_t>(offset);
    std::int64_t target;
    if (whence == SEEK_SET)
        target = delta;
    else if (whence == SEEK_CUR)
        target = static_cast<std::int64_t>(at) + delta;
    else if (whence == SEEK_END)
        target = static_cast<std::int64_t>(size) + delta;
    else
        return static_cast<toff_t>(-1);
    if (target < 0)
        return static_cast<toff_t>(-1);
    const auto place = static_cast<unsigned long long>(target);
    if (t->input) {
        // A reader never goes past the end: what lies there does not exist.
        if (place > size || !t->input->Seek(place))
            return static_cast<toff_t>(-1);
    } else if (!t->output->Seek(place)) {
        return static_cast<toff_t>(-1);
    }
    return place;
}

int TiffClose(thandle_t) { return 0; }

toff_t TiffSize(thandle_t h) {
    auto* t = static_cast<TiffHandle*>(h);
    return t->input ? t->input->GetSize() : t->output->GetSize();
}

int TiffMap(thandle_t, tdata_t*, toff_t*) { return 0; }
void TiffUnmap(thandle_t, tdata_t, toff_t) {}

int TiffQuiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

// Options of one open file: quiet handlers, and a cap on any single block of
// memory the library takes for it, in line with the largest picture allowed.
struct TiffOptions {
    TiffOptions() : options(TIFFOpenOptionsAlloc()) {
        if (!options)
            return;
        TIFFOpenOptionsSetErrorHandlerExtR(options, TiffQuiet, nullptr);
        TIFFOpenOptionsSetWarningHandlerExtR(options, TiffQuiet, nullptr);
        const unsigned long long limit = LImageGetDecodePixelLimit() * 8;
        TIFFOpenOptionsSetMaxSingleMemAlloc(
            options, static_cast<tmsize_t>(limit < (64ull << 20) ? (64ull << 20) : limit));
    }
    ~TiffOptions() {
        if (options)
            TIFFOpenOptionsFree(options);
    }
    TiffOptions(const TiffOptions&) = delete;
    TiffOptions& operator=(const TiffOptions&) = delete;

    TIFFOpenOptions* options;
};

TIFF* TiffOpen(TiffHandle& handle, const char* mode, TiffOptions& options) {
    if (!options.options)
        return nullptr;
    return TIFFClientOpenExt("picture", mode, &handle, TiffRead, TiffWrite, TiffSeek, TiffClose,
                             TiffSize, TiffMap, TiffUnmap, options.options);
}

struct TiffCloser {
    void operator()(TIFF* tif) const { TIFFClose(tif); }
};

// The library's reading of any photometry into packed red, green, blue,
// alpha words, premultiplied; red in the lowest byte. Whole strips or tiles
// are read at a time, so that none is decoded twice.
LProcessResult TiffDecode(TIFF* tif, LProcessInterface& process, LProcessTIFFLoad& load) {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 1, samples = 1, orientation = ORIENTATION_TOPLEFT;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_ORIENTATION, &orientation);

    char message[1024];
    if (!TIFFRGBAImageOK(tif, message))
        return LProcessResultError;
    if (!LCodecAllocatePicture(load.buffer, width, height))
        return LProcessResultError;
    LImageBuffer& b = load.buffer;

    TIFFRGBAImage image;
    if (!TIFFRGBAImageBegin(&image, tif, 1, message))
        return LProcessResultError;
    image.req_orientation = ORIENTATION_TOPLEFT;

    long step = b.height;
    if (orientation == ORIENTATION_TOPLEFT) {
        std::uint32_t rows = 0;
        if (TIFFIsTiled(tif))
            TIFFGetField(tif, TIFFTAG_TILELENGTH, &rows);
        else
            TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rows);
        if (rows >= 1 && rows < static_cast<std::uint32_t>(b.height))
            step = static_cast<long>(rows);
        // Tiny strips would cost a call each; a few of them go together.
        if (step < 64)
            step = (64 + step - 1) / step * step;
    }
    LCodecProgress progress(process, b.height);
    LProcessResult result = LProcessResultOk;
    for (long y = 0; y < b.height; y += step) {
        if (progress.Row(y)) {
            result = LProcessResultStopped;
            break;
        }
        const long n = step < b.height - y ? step : b.height - y;
        image.row_offset = static_cast<int>(y);
        image.col_offset = 0;
        auto* raster = reinterpret_cast<std::uint32_t*>(b.GetPictureRow(static_cast<int>(y)));
        if (!TIFFRGBAImageGet(&image, raster, static_cast<std::uint32_t>(b.width),
                              static_cast<std::uint32_t>(n))) {
            result = LProcessResultError;
            break;
        }
    }
    TIFFRGBAImageEnd(&image);
    if (result != LProcessResultOk)
        return result;

    // Red and blue change places: blue, green, red, alpha in memory. A file
    // that says its alpha is premultiplied is taken at its word, but a
    // colour above its alpha is no premultiplied colour and is held to it.
    for (int y = 0; y < b.height; ++y) {
        unsigned char* p = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, p += 4) {
            const unsigned char a = p[3];
            const unsigned char red = p[0];
            p[0] = p[2] < a ? p[2] : a;
            p[1] = p[1] < a ? p[1] : a;
            p[2] = red < a ? red : a;
        }
    }
    load.bitsPerPixel = static_cast<unsigned int>(bits) * samples;
    return LProcessResultOk;
}

LProcessResult TiffEncode(TIFF* tif, LProcessInterface& process, const LImageBuffer& b) {
    LCodecRowSource rows(b, true);
    const bool opaque = rows.IsOpaque();
    const int samples = opaque ? 3 : 4;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(b.width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(b.height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tif, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (!opaque) {
        const std::uint16_t extra[1] = {EXTRASAMPLE_UNASSALPHA};
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, extra);
    }
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));

    std::unique_ptr<unsigned char[]> line(new unsigned char[static_cast<std::size_t>(b.width) * 4]);
    LCodecProgress progress(process, b.height);
    for (int y = 0; y < b.height; ++y) {
        if (progress.Row(y))
            return LProcessResultStopped;
        const unsigned char* from = rows.GetRow(y);
        unsigned char* to = line.get();
        for (int x = 0; x < b.width; ++x, from += 4, to += samples) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
            if (samples == 4)
                to[3] = from[3];
        }
        if (TIFFWriteScanline(tif, line.get(), static_cast<std::uint32_t>(y), 0) < 0)
            return LProcessResultError;
    }
    return TIFFFlush(tif) == 1 ? LProcessResultOk : LProcessResultError;
}

} // namespace

LProcessResult Process(LProcessInterface& process, LProcessTIFFLoad& load) {
    process.SetStatusF(0, "Decoding %s image", "TIFF");
    TiffHandle handle;
    handle.input = &load.input;
    TiffOptions options;
    // "m": the library must not map the file; it reads through us.
    std::unique_ptr<TIFF, TiffCloser> tif(TiffOpen(handle, "rm", options));
    if (!tif)
        return LProcessResultError;
    return TiffDecode(tif.get(), process, load);
}

LProcessResult Process(LProcessInterface& process, LProcessTIFFSave& save) {
    process.SetStatusF(0, "Encoding %s image", "TIFF");
    if (!save.buffer.IsValid())
        return LProcessResultError;
    TiffHandle handle;
    handle.output = &save.output;
    TiffOptions options;
    std::unique_ptr<TIFF, TiffCloser> tif(TiffOpen(handle, "wm", options));
    if (!tif)
        return LProcessResultError;
    return TiffEncode(tif.get(), process, save.buffer);
}
