// TIFF through libtiff. Its messages go to handlers of each open file, which
// keep quiet: a damaged file is reported once, by the caller.

#include <tiffio.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "imaging/codec_support.h"
#include "imaging/image_platform.h"
#include "imaging/pixel_alpha.h"

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

// The most memory the library may take for one block of a file, and so the
// most we take for one strip or tile: in line with the largest picture.
unsigned long long TiffLargestBlock() {
    const unsigned long long limit = LImageGetDecodePixelLimit() * 8;
    return limit < (64ull << 20) ? (64ull << 20) : limit;
}

// Options of one open file: quiet handlers, and a cap on any single block of
// memory the library takes for it, in line with the largest picture allowed.
struct TiffOptions {
    TiffOptions() : options(TIFFOpenOptionsAlloc()) {
        if (!options)
            return;
        TIFFOpenOptionsSetErrorHandlerExtR(options, TiffQuiet, nullptr);
        TIFFOpenOptionsSetWarningHandlerExtR(options, TiffQuiet, nullptr);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(TiffLargestBlock()));
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

// What one sample of a pixel gives to it.
enum class TiffRole : unsigned char {
    None,
    Grey,
    Red,
    Green,
    Blue,
    Cyan,
    Magenta,
    Yellow,
    Black,
    Index,
    Alpha,
};

// How the samples of a file become format-0 pixels, read from its tags.
struct TiffLayout {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 1, samples = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TiffRole roles[5] = {}; // of samples 0 to 4; later samples give nothing
    bool alpha = false;
    bool associated = false; // alpha already multiplied in
    bool whiteIsZero = false;
    const std::uint16_t* palette[3] = {};
    bool palette8 = false; // entries written as bytes, as some writers do
};

// The layouts read here sample by sample: grey, RGB, CMYK inks and palette,
// at any integer depth up to 32 bits or as 16-, 32- or 64-bit floats, in
// strips or tiles, interleaved or in planes. Other photometries (YCbCr,
// CIE Lab, LogLuv) are left to the library's own RGBA reading. False with
// `refused` set when the file is one of ours but cannot be read.
bool TiffReadLayout(TIFF* tif, TiffLayout& l, bool& refused) {
    refused = false;
    std::uint16_t photometric = 0, compression = COMPRESSION_NONE;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.format);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_ORIENTATION, &l.orientation);
    // Old-style JPEG gives its own colours; the library's reading knows them.
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    if (compression == COMPRESSION_OJPEG)
        return false;
    std::uint16_t extraCount = 0;
    std::uint16_t* extraTypes = nullptr;
    TIFFGetFieldDefaulted(tif, TIFFTAG_EXTRASAMPLES, &extraCount, &extraTypes);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric)) {
        // As the library guesses for files that leave it out.
        const int colours = l.samples - extraCount;
        photometric = colours >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }

    int colours;
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
        l.whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
        l.roles[0] = TiffRole::Grey;
        colours = 1;
        break;
    case PHOTOMETRIC_RGB:
        l.roles[0] = TiffRole::Red;
        l.roles[1] = TiffRole::Green;
        l.roles[2] = TiffRole::Blue;
        colours = 3;
        break;
    case PHOTOMETRIC_SEPARATED: {
        std::uint16_t inkSet = INKSET_CMYK;
        TIFFGetFieldDefaulted(tif, TIFFTAG_INKSET, &inkSet);
        if (inkSet != INKSET_CMYK) {
            refused = true;
            return false;
        }
        l.roles[0] = TiffRole::Cyan;
        l.roles[1] = TiffRole::Magenta;
        l.roles[2] = TiffRole::Yellow;
        l.roles[3] = TiffRole::Black;
        colours = 4;
        break;
    }
    case PHOTOMETRIC_PALETTE: {
        std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        if (l.format != SAMPLEFORMAT_UINT || l.bits > 16 ||
            !TIFFGetField(tif, TIFFTAG_COLORMAP, &red, &green, &blue)) {
            refused = true;
            return false;
        }
        l.palette[0] = red;
        l.palette[1] = green;
        l.palette[2] = blue;
        const long entries = 1L << l.bits;
        l.palette8 = true;
        for (long i = 0; i < entries && l.palette8; ++i)
            l.palette8 = red[i] < 256 && green[i] < 256 && blue[i] < 256;
        l.roles[0] = TiffRole::Index;
        colours = 1;
        break;
    }
    default:
        return false;
    }

    const bool integer = l.format == SAMPLEFORMAT_UINT || l.format == SAMPLEFORMAT_INT ||
                         l.format == SAMPLEFORMAT_VOID;
    const bool real = l.format == SAMPLEFORMAT_IEEEFP &&
                      (l.bits == 16 || l.bits == 32 || l.bits == 64);
    const unsigned fewestBits = l.format == SAMPLEFORMAT_INT ? 2 : 1;
    if (l.samples < colours || (!real && !(integer && l.bits >= fewestBits && l.bits <= 32))) {
        refused = true;
        return false;
    }
    // The first extra sample is alpha unless the file calls it unspecified;
    // a file without the tag is taken, as the writers of such files meant
    // it, to carry straight alpha.
    if (l.samples > colours) {
        const std::uint16_t kind = extraCount >= 1 ? extraTypes[0] : EXTRASAMPLE_UNASSALPHA;
        if (kind != EXTRASAMPLE_UNSPECIFIED) {
            l.alpha = true;
            l.associated = kind == EXTRASAMPLE_ASSOCALPHA;
            l.roles[colours] = TiffRole::Alpha;
        }
    }
    return true;
}

// The samples of a stored row as levels of 0 to 255, or as they are for
// palette indices. The library has already put samples of whole bytes into
// this machine's byte order; narrower ones come packed from the top bit.
void TiffUnpack(const TiffLayout& l, const unsigned char* raw, long count, std::uint16_t* out) {
    if (l.format == SAMPLEFORMAT_IEEEFP) {
        for (long i = 0; i < count; ++i) {
            double v;
            if (l.bits == 64) {
                std::memcpy(&v, raw + 8 * i, 8);
            } else if (l.bits == 32) {
                float f;
                std::memcpy(&f, raw + 4 * i, 4);
                v = f;
            } else {
                std::uint16_t h;
                std::memcpy(&h, raw + 2 * i, 2);
                const int exponent = (h >> 10) & 31, mantissa = h & 1023;
                v = exponent == 0    ? std::ldexp(mantissa, -24)
                    : exponent == 31 ? (mantissa ? NAN : INFINITY)
                                     : std::ldexp(mantissa + 1024, exponent - 25);
                if (h & 0x8000)
                    v = -v;
            }
            // Light from 0 to 1; NaN is no light.
            out[i] = static_cast<std::uint16_t>(v > 0 ? (v < 1 ? v * 255 + 0.5 : 255) : 0);
        }
        return;
    }
    const unsigned bits = l.bits;
    if (bits == 8 && l.format != SAMPLEFORMAT_INT) {
        for (long i = 0; i < count; ++i)
            out[i] = raw[i];
        return;
    }
    const bool index = l.palette[0] != nullptr;
    const bool isSigned = l.format == SAMPLEFORMAT_INT;
    const unsigned long long top = isSigned ? (1ull << (bits - 1)) - 1 : (1ull << bits) - 1;
    for (long i = 0; i < count; ++i) {
        unsigned long long v = 0;
        if (bits == 16) {
            std::uint16_t w;
            std::memcpy(&w, raw + 2 * i, 2);
            v = w;
        } else if (bits == 32) {
            std::uint32_t w;
            std::memcpy(&w, raw + 4 * i, 4);
            v = w;
        } else if (bits == 24) {
            const unsigned char* p = raw + 3 * i;
            v = std::endian::native == std::endian::little
                    ? p[0] | (p[1] << 8) | (static_cast<unsigned long>(p[2]) << 16)
                    : (static_cast<unsigned long>(p[0]) << 16) | (p[1] << 8) | p[2];
        } else {
            // The bytes the sample touches, and no byte beyond them.
            const unsigned long long first = static_cast<unsigned long long>(i) * bits;
            const unsigned shift = first & 7, bytes = (shift + bits + 7) / 8;
            const unsigned char* p = raw + (first >> 3);
            for (unsigned k = 0; k < bytes; ++k)
                v = (v << 8) | p[k];
            v = (v >> (bytes * 8 - shift - bits)) & ((1ull << bits) - 1);
        }
        if (index) {
            out[i] = static_cast<std::uint16_t>(v);
            continue;
        }
        if (isSigned) {
            // Below zero is no light.
            if (v >> (bits - 1) & 1)
                v = 0;
        }
        out[i] = static_cast<std::uint16_t>((v * 255 + top / 2) / top);
    }
}

// Puts `count` pixels of one stored row into the picture from x on. With
// planes, `samples` is 1 and `first` the plane's sample.
void TiffPut(const TiffLayout& l, const std::uint16_t* levels, long count, int samples, int first,
             unsigned char* to) {
    for (long x = 0; x < count; ++x, to += 4, levels += samples) {
        for (int s = 0; s < samples; ++s) {
            const int which = first + s;
            if (which >= 5)
                break;
            unsigned v = levels[s];
            switch (l.roles[which]) {
            case TiffRole::None:
                break;
            case TiffRole::Grey:
                v = l.whiteIsZero ? 255 - v : v;
                to[0] = to[1] = to[2] = static_cast<unsigned char>(v);
                break;
            case TiffRole::Red:
                to[2] = static_cast<unsigned char>(v);
                break;
            case TiffRole::Green:
                to[1] = static_cast<unsigned char>(v);
                break;
            case TiffRole::Blue:
                to[0] = static_cast<unsigned char>(v);
                break;
            // Inks take light away: what is left of each colour after its
            // ink, then after the black over all of them (the samples come
            // in this order, by pixel or by plane).
            case TiffRole::Cyan:
                to[2] = static_cast<unsigned char>(255 - v);
                break;
            case TiffRole::Magenta:
                to[1] = static_cast<unsigned char>(255 - v);
                break;
            case TiffRole::Yellow:
                to[0] = static_cast<unsigned char>(255 - v);
                break;
            case TiffRole::Black:
                for (int c = 0; c < 3; ++c)
                    to[c] = static_cast<unsigned char>((to[c] * (255 - v) + 127) / 255);
                break;
            case TiffRole::Index:
                for (int c = 0; c < 3; ++c) {
                    const unsigned e = l.palette[2 - c][v];
                    to[c] = static_cast<unsigned char>(l.palette8 ? e : e >> 8);
                }
                break;
            case TiffRole::Alpha:
                to[3] = static_cast<unsigned char>(v);
                break;
            }
        }
    }
}

// Rows y to y + n - 1 have all their samples: alpha as format 0 wants it.
void TiffFinishRows(const TiffLayout& l, LImageBuffer& b, long y, long n) {
    for (long row = y; row < y + n; ++row) {
        unsigned char* p = b.GetPictureRow(static_cast<int>(row));
        if (!l.alpha) {
            for (int x = 0; x < b.width; ++x)
                p[4 * x + 3] = 255;
        } else if (!l.associated) {
            LPremultiplyRowBGRA(p, b.width);
        } else {
            // A colour above its alpha is no premultiplied colour.
            for (int x = 0; x < b.width; ++x, p += 4)
                for (int c = 0; c < 3; ++c)
                    p[c] = p[c] < p[3] ? p[c] : p[3];
        }
    }
}

// The pixels in their stored order, a band of rows (a strip, or a row of
// tiles) at a time, every plane of a band before the next band.
LProcessResult TiffDecodeSamples(TIFF* tif, LProcessInterface& process, const TiffLayout& l,
                                 LImageBuffer& b) {
    const bool tiled = TIFFIsTiled(tif);
    const bool planes = l.planar == PLANARCONFIG_SEPARATE && l.samples > 1;
    std::uint32_t blockWidth = l.width, blockRows = 0;
    if (tiled) {
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &blockWidth);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &blockRows);
    } else {
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &blockRows);
    }
    if (blockWidth < 1 || blockRows < 1)
        return LProcessResultError;
    if (blockRows > l.height)
        blockRows = l.height;
    const unsigned long long rowBytes = tiled ? TIFFTileRowSize64(tif) : TIFFScanlineSize64(tif);
    const int perRow = planes ? 1 : l.samples;
    const unsigned long long rowSamples = static_cast<unsigned long long>(blockWidth) * perRow;
    const unsigned long long blockBytes = rowBytes * blockRows;
    // Every sample of a row is unpacked, used or not: narrow samples take
    // more room unpacked than in the file, and are held to the same bound.
    if (rowBytes == 0 || rowBytes * 8 < rowSamples * l.bits || blockBytes > TiffLargestBlock() ||
        rowSamples * sizeof(std::uint16_t) > TiffLargestBlock())
        return LProcessResultError;
    std::unique_ptr<unsigned char[]> block(new (std::nothrow) unsigned char[blockBytes]);
    std::unique_ptr<std::uint16_t[]> levels(new (std::nothrow) std::uint16_t[rowSamples]);
    if (!block || !levels)
        return LProcessResultError;

    const std::uint16_t planeCount = planes ? l.samples : 1;
    const int usedPlanes = planeCount < 5 ? planeCount : 5;
    LCodecProgress progress(process, l.height);
    for (std::uint32_t y = 0; y < l.height; y += blockRows) {
        if (progress.Row(y))
            return LProcessResultStopped;
        const std::uint32_t rows = blockRows < l.height - y ? blockRows : l.height - y;
        for (int plane = 0; plane < usedPlanes; ++plane) {
            for (std::uint32_t x = 0; x < l.width; x += blockWidth) {
                const std::uint32_t columns = blockWidth < l.width - x ? blockWidth : l.width - x;
                // A strip at the bottom holds only the rows that are left.
                const auto sample = static_cast<std::uint16_t>(plane);
                const tmsize_t want = static_cast<tmsize_t>(rowBytes * (tiled ? blockRows : rows));
                const tmsize_t got =
                    tiled ? TIFFReadEncodedTile(tif, TIFFComputeTile(tif, x, y, 0, sample),
                                                block.get(), want)
                          : TIFFReadEncodedStrip(tif, TIFFComputeStrip(tif, y, sample), block.get(),
                                                 want);
                if (got < static_cast<tmsize_t>(rowBytes * rows))
                    return LProcessResultError;
                for (std::uint32_t r = 0; r < rows; ++r) {
                    TiffUnpack(l, block.get() + rowBytes * r, static_cast<long>(columns) * perRow,
                               levels.get());
                    TiffPut(l, levels.get(), columns, perRow, planes ? plane : 0,
                            b.GetPictureRow(static_cast<int>(y + r)) + 4 * x);
                }
            }
        }
        TiffFinishRows(l, b, y, rows);
    }
    return LProcessResultOk;
}

// The library's reading of any photometry into packed red, green, blue,
// alpha words, premultiplied; red in the lowest byte. Rows come as stored:
// the orientation is applied afterwards, as for every other layout.
LProcessResult TiffDecodeRGBA(TIFF* tif, LProcessInterface& process, std::uint16_t orientation,
                              LImageBuffer& b) {
    char message[1024];
    if (!TIFFRGBAImageOK(tif, message))
        return LProcessResultError;
    TIFFRGBAImage image;
    if (!TIFFRGBAImageBegin(&image, tif, 1, message))
        return LProcessResultError;
    // Asking for the file's own orientation asks for no flips.
    image.req_orientation = orientation;

    // Whole strips or tiles are read at a time, so that none is decoded
    // twice; tiny ones would cost a call each, and a few go together.
    std::uint32_t rows = 0;
    if (TIFFIsTiled(tif))
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &rows);
    else
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rows);
    long step = rows >= 1 && rows < static_cast<std::uint32_t>(b.height) ? static_cast<long>(rows)
                                                                        : b.height;
    if (step < 64)
        step = (64 + step - 1) / step * step;
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

    // Red and blue change places: blue, green, red, alpha in memory. A
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
    return LProcessResultOk;
}

LProcessResult TiffDecode(TIFF* tif, LProcessInterface& process, LProcessTIFFLoad& load) {
    TiffLayout l;
    bool refused = false;
    const bool bySamples = TiffReadLayout(tif, l, refused);
    if (refused || !LCodecAllocatePicture(load.buffer, l.width, l.height))
        return LProcessResultError;
    LImageBuffer& b = load.buffer;
    if (LProcessResult r = bySamples ? TiffDecodeSamples(tif, process, l, b)
                                     : TiffDecodeRGBA(tif, process, l.orientation, b))
        return r;
    if (LProcessResult r = LCodecApplyOrientation(process, b, l.orientation))
        return r;
    load.bitsPerPixel = static_cast<unsigned int>(l.bits) * l.samples;
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
