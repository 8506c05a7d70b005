// PNG through libpng.
//
// libpng reports errors by a long jump back to the function that armed it.
// The functions that arm it hold nothing with a destructor, and every object
// that needs one lives in the caller: a jump never skips a destructor.

#include <png.h>

#include <csetjmp>

#include "imaging/codec_support.h"
#include "imaging/image_platform.h"
#include "imaging/pixel_alpha.h"

namespace {

struct PngIO {
    LImageCodecInput* input = nullptr;
    LImageCodecOutput* output = nullptr;
};

void PngError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void PngWarning(png_structp, png_const_charp) {}

void PngRead(png_structp png, png_bytep data, size_t count) {
    auto* io = static_cast<PngIO*>(png_get_io_ptr(png));
    if (io->input->Read(data, static_cast<unsigned long>(count)) != count)
        png_error(png, "the file ends early");
}

void PngWrite(png_structp png, png_bytep data, size_t count) {
    auto* io = static_cast<PngIO*>(png_get_io_ptr(png));
    if (!io->output->Write(data, static_cast<unsigned long>(count)))
        png_error(png, "the file could not be written");
}

void PngFlush(png_structp) {}

// Deflate gives at most about 1032 bytes for one: a file that claims more
// pixels than its size can hold is cut short or a trap, and is refused
// before memory is given to it.
bool PngPlausible(png_structp png, png_infop info, unsigned long long available) {
    const unsigned long long rawBytes =
        (static_cast<unsigned long long>(png_get_rowbytes(png, info)) + 1) *
        png_get_image_height(png, info);
    return rawBytes <= available * 1100 + 65536;
}

LProcessResult PngDecode(png_structp png, png_infop info, LProcessInterface& process,
                         LProcessPNGLoad& load) {
    if (setjmp(png_jmpbuf(png)))
        return LProcessResultError;

    png_read_info(png, info);
    png_uint_32 width, height;
    int depth, colourType, interlace;
    png_get_IHDR(png, info, &width, &height, &depth, &colourType, &interlace, nullptr, nullptr);
    const unsigned int bitsPerPixel = static_cast<unsigned int>(depth) * png_get_channels(png, info);
    if (!PngPlausible(png, info, load.input.GetRemaining()))
        return LProcessResultError;

    int orientation = kLOrientationAsStored;
#ifdef PNG_eXIf_SUPPORTED
    png_uint_32 exifSize = 0;
    png_bytep exif = nullptr;
    if (png_get_eXIf_1(png, info, &exifSize, &exif))
        orientation = LCodecExifOrientation(exif, exifSize);
#endif

    const bool alpha = (colourType & PNG_COLOR_MASK_ALPHA) || png_get_valid(png, info, PNG_INFO_tRNS);
    if (colourType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if (colourType == PNG_COLOR_TYPE_GRAY && depth < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS))
        png_set_tRNS_to_alpha(png);
    if (depth == 16)
        png_set_scale_16(png);
    if (!(colourType & PNG_COLOR_MASK_COLOR))
        png_set_gray_to_rgb(png);
    png_set_bgr(png);
    if (!alpha)
        png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != static_cast<size_t>(width) * 4)
        return LProcessResultError;

    if (!LCodecAllocatePicture(load.buffer, width, height))
        return LProcessResultError;
    LImageBuffer& b = load.buffer;
    const long rows = static_cast<long>(height);
    LCodecProgress progress(process, rows * passes);
    for (int pass = 0; pass < passes; ++pass) {
        for (long y = 0; y < rows; ++y) {
            if (progress.Row(pass * rows + y))
                return LProcessResultStopped;
            unsigned char* row = b.GetPictureRow(static_cast<int>(y));
            png_read_row(png, row, nullptr);
            // Interlaced rows are still being filled until the last pass.
            if (alpha && pass == passes - 1)
                LPremultiplyRowBGRA(row, b.width);
        }
    }
    // What follows the pixels (text, times, the end mark) is not read: a file
    // whose picture is whole loads even when its tail is missing. An Exif
    // block there is missed too, as the format asks it to come first.
    if (LProcessResult r = LCodecApplyOrientation(process, b, orientation))
        return r;
    load.bitsPerPixel = bitsPerPixel;
    return LProcessResultOk;
}

LProcessResult PngEncode(png_structp png, png_infop info, LProcessInterface& process,
                         const LImageBuffer& b, LCodecRowSource& rows) {
    if (setjmp(png_jmpbuf(png)))
        return LProcessResultError;
    const bool opaque = rows.IsOpaque();
    png_set_IHDR(png, info, static_cast<png_uint_32>(b.width), static_cast<png_uint_32>(b.height),
                 8, opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    if (opaque)
        png_set_filler(png, 0, PNG_FILLER_AFTER); // the fourth byte is dropped
    LCodecProgress progress(process, b.height);
    for (int y = 0; y < b.height; ++y) {
        if (progress.Row(y))
            return LProcessResultStopped;
        png_write_row(png, const_cast<png_bytep>(rows.GetRow(y)));
    }
    png_write_end(png, nullptr);
    return LProcessResultOk;
}

} // namespace

LProcessResult Process(LProcessInterface& process, LProcessPNGLoad& load) {
    process.SetStatusF(0, "Decoding %s image", "PNG");
    PngIO io;
    io.input = &load.input;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, PngError, PngWarning);
    if (!png)
        return LProcessResultError;
    png_infop info = png_create_info_struct(png);
    LProcessResult result = LProcessResultError;
    if (info) {
        png_set_read_fn(png, &io, PngRead);
        result = PngDecode(png, info, process, load);
    }
    png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
    return result;
}

LProcessResult Process(LProcessInterface& process, LProcessPNGSave& save) {
    process.SetStatusF(0, "Encoding %s image", "PNG");
    const LImageBuffer& b = save.buffer;
    if (!b.IsValid())
        return LProcessResultError;
    LCodecRowSource rows(b, true);
    PngIO io;
    io.output = &save.output;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, PngError, PngWarning);
    if (!png)
        return LProcessResultError;
    png_infop info = png_create_info_struct(png);
    LProcessResult result = LProcessResultError;
    if (info) {
        png_set_write_fn(png, &io, PngWrite, PngFlush);
        result = PngEncode(png, info, process, b, rows);
    }
    png_destroy_write_struct(&png, info ? &info : nullptr);
    return result;
}
