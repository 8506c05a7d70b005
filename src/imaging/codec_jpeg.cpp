// JPEG through libjpeg-turbo.
//
// libjpeg reports errors by calling error_exit, which must not return: ours
// jumps back to the function that armed it. As with PNG, the functions that
// arm the jump hold nothing with a destructor.

#include <cstdio> // jpeglib.h needs FILE

#include <jpeglib.h>
// After jpeglib.h: which messages exist depends on its configuration.
#include <jerror.h>

#include <csetjmp>
#include <cstring>
#include <memory>

#include "imaging/codec_support.h"
#include "imaging/image_platform.h"

namespace {

constexpr unsigned long kBlock = 65536;
// A progressive file may have any number of scans; past this many it is a
// trap that would keep the decoder busy for ever.
constexpr int kMostScans = 1000;

struct JpegErrors {
    jpeg_error_mgr mgr;
    jmp_buf jump;
};

[[noreturn]] void JpegErrorExit(j_common_ptr cinfo) {
    longjmp(reinterpret_cast<JpegErrors*>(cinfo->err)->jump, 1);
}

// Warnings that mean the picture is damaged end the decoding: a truncated or
// corrupt file is refused rather than shown half grey. The harmless ones
// (stray bytes between markers, unknown versions) are let through.
void JpegEmitMessage(j_common_ptr cinfo, int level) {
    if (level >= 0)
        return;
    switch (cinfo->err->msg_code) {
    case JWRN_ARITH_BAD_CODE:
    case JWRN_BOGUS_PROGRESSION:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC:
    case JWRN_NOT_SEQUENTIAL:
        JpegErrorExit(cinfo);
    default:
        cinfo->err->num_warnings++;
    }
}

void JpegOutputMessage(j_common_ptr) {}

void JpegInitErrors(JpegErrors& errors) {
    jpeg_std_error(&errors.mgr);
    errors.mgr.error_exit = JpegErrorExit;
    errors.mgr.emit_message = JpegEmitMessage;
    errors.mgr.output_message = JpegOutputMessage;
}

struct JpegSource {
    jpeg_source_mgr pub;
    LImageCodecInput* input;
    JOCTET buffer[kBlock];
};

void JpegInitSource(j_decompress_ptr) {}

boolean JpegFillInput(j_decompress_ptr cinfo) {
    auto* src = reinterpret_cast<JpegSource*>(cinfo->src);
    const unsigned long n = src->input->Read(src->buffer, kBlock);
    if (n == 0)
        WARNMS(cinfo, JWRN_JPEG_EOF); // jumps out: the file is cut short
    src->pub.next_input_byte = src->buffer;
    src->pub.bytes_in_buffer = n;
    return TRUE;
}

void JpegSkipInput(j_decompress_ptr cinfo, long count) {
    auto* src = reinterpret_cast<JpegSource*>(cinfo->src);
    if (count <= 0)
        return;
    while (static_cast<unsigned long>(count) > src->pub.bytes_in_buffer) {
        count -= static_cast<long>(src->pub.bytes_in_buffer);
        JpegFillInput(cinfo);
    }
    src->pub.next_input_byte += count;
    src->pub.bytes_in_buffer -= static_cast<size_t>(count);
}

void JpegTermSource(j_decompress_ptr) {}

struct JpegDestination {
    jpeg_destination_mgr pub;
    LImageCodecOutput* output;
    JOCTET buffer[kBlock];
};

void JpegInitDestination(j_compress_ptr cinfo) {
    auto* dst = reinterpret_cast<JpegDestination*>(cinfo->dest);
    dst->pub.next_output_byte = dst->buffer;
    dst->pub.free_in_buffer = kBlock;
}

boolean JpegEmptyOutput(j_compress_ptr cinfo) {
    auto* dst = reinterpret_cast<JpegDestination*>(cinfo->dest);
    if (!dst->output->Write(dst->buffer, kBlock))
        ERREXIT(cinfo, JERR_FILE_WRITE);
    dst->pub.next_output_byte = dst->buffer;
    dst->pub.free_in_buffer = kBlock;
    return TRUE;
}

void JpegTermDestination(j_compress_ptr cinfo) {
    auto* dst = reinterpret_cast<JpegDestination*>(cinfo->dest);
    const unsigned long n = kBlock - static_cast<unsigned long>(dst->pub.free_in_buffer);
    if (n && !dst->output->Write(dst->buffer, n))
        ERREXIT(cinfo, JERR_FILE_WRITE);
}

struct JpegScanGuard {
    jpeg_progress_mgr pub;
};

void JpegProgress(j_common_ptr cinfo) {
    if (cinfo->is_decompressor &&
        reinterpret_cast<j_decompress_ptr>(cinfo)->input_scan_number > kMostScans)
        JpegErrorExit(cinfo);
}

// Four ink bytes to blue, green, red, alpha, in place. Files that carry the
// marker of the program that popularised CMYK JPEG store the inks inverted
// (255 is no ink); the others store them as they are.
void JpegInksToColour(unsigned char* row, long count, bool inverted) {
    for (long i = 0; i < count; ++i, row += 4) {
        unsigned c = row[0], m = row[1], y = row[2], k = row[3];
        if (!inverted) {
            c = 255 - c;
            m = 255 - m;
            y = 255 - y;
            k = 255 - k;
        }
        row[0] = static_cast<unsigned char>((y * k + 127) / 255);
        row[1] = static_cast<unsigned char>((m * k + 127) / 255);
        row[2] = static_cast<unsigned char>((c * k + 127) / 255);
        row[3] = 255;
    }
}

constexpr int kExifMarker = JPEG_APP0 + 1;

// The orientation of the first Exif block; other APP1 blocks (XMP) share
// the marker and are passed over.
int JpegOrientation(const jpeg_decompress_struct& cinfo) {
    static const unsigned char kExif[6] = {'E', 'x', 'i', 'f', 0, 0};
    for (jpeg_saved_marker_ptr m = cinfo.marker_list; m; m = m->next) {
        if (m->marker == kExifMarker && m->data_length >= sizeof kExif &&
            std::memcmp(m->data, kExif, sizeof kExif) == 0)
            return LCodecExifOrientation(m->data + sizeof kExif, m->data_length - sizeof kExif);
    }
    return kLOrientationAsStored;
}

struct JpegDecodeState {
    jpeg_decompress_struct cinfo;
    JpegErrors errors;
    JpegSource source;
    JpegScanGuard guard;
};

LProcessResult JpegDecode(JpegDecodeState& s, LProcessInterface& process, LProcessJPEGLoad& load) {
    jpeg_decompress_struct& cinfo = s.cinfo;
    if (setjmp(s.errors.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return LProcessResultError;
    }
    jpeg_create_decompress(&cinfo);
    cinfo.src = &s.source.pub;
    cinfo.progress = &s.guard.pub;
    jpeg_save_markers(&cinfo, kExifMarker, 0xFFFF);
    jpeg_read_header(&cinfo, TRUE);
    const int orientation = JpegOrientation(cinfo);

    const bool inks = cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK;
    const unsigned int bitsPerPixel = 8u * static_cast<unsigned int>(cinfo.num_components);
    const unsigned long long pixels =
        static_cast<unsigned long long>(cinfo.image_width) * cinfo.image_height;
    if (pixels > LImageGetDecodePixelLimit()) {
        jpeg_destroy_decompress(&cinfo);
        return LProcessResultError;
    }
    cinfo.out_color_space = inks ? JCS_CMYK : JCS_EXT_BGRA;
    jpeg_start_decompress(&cinfo);
    if (cinfo.output_components != 4 ||
        !LCodecAllocatePicture(load.buffer, cinfo.output_width, cinfo.output_height)) {
        jpeg_destroy_decompress(&cinfo);
        return LProcessResultError;
    }
    LImageBuffer& b = load.buffer;
    LCodecProgress progress(process, b.height);
    JSAMPROW rows[16];
    const int batch = cinfo.rec_outbuf_height < 16 ? cinfo.rec_outbuf_height : 16;
    while (cinfo.output_scanline < cinfo.output_height) {
        const int y = static_cast<int>(cinfo.output_scanline);
        if (progress.Row(y)) {
            jpeg_destroy_decompress(&cinfo);
            return LProcessResultStopped;
        }
        int n = 0;
        for (; n < batch && y + n < b.height; ++n)
            rows[n] = b.GetPictureRow(y + n);
        const JDIMENSION got = jpeg_read_scanlines(&cinfo, rows, static_cast<JDIMENSION>(n));
        if (got == 0) { // only a source that suspends gives nothing, and ours never does
            jpeg_destroy_decompress(&cinfo);
            return LProcessResultError;
        }
        if (inks)
            for (JDIMENSION i = 0; i < got; ++i)
                JpegInksToColour(rows[i], b.width, cinfo.saw_Adobe_marker);
    }
    // The markers after the last row are not read: a missing end mark
    // behind a whole picture does no harm.
    jpeg_destroy_decompress(&cinfo);
    if (LProcessResult r = LCodecApplyOrientation(process, b, orientation))
        return r;
    load.bitsPerPixel = bitsPerPixel;
    return LProcessResultOk;
}

struct JpegEncodeState {
    jpeg_compress_struct cinfo;
    JpegErrors errors;
    JpegDestination destination;
};

LProcessResult JpegEncode(JpegEncodeState& s, LProcessInterface& process, const LImageBuffer& b,
                          LCodecRowSource& rows, int quality) {
    jpeg_compress_struct& cinfo = s.cinfo;
    if (setjmp(s.errors.jump)) {
        jpeg_destroy_compress(&cinfo);
        return LProcessResultError;
    }
    jpeg_create_compress(&cinfo);
    cinfo.dest = &s.destination.pub;
    cinfo.image_width = static_cast<JDIMENSION>(b.width);
    cinfo.image_height = static_cast<JDIMENSION>(b.height);
    cinfo.input_components = 4;
    cinfo.in_color_space = JCS_EXT_BGRX; // alpha is not kept
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    if (quality >= 90) {
        cinfo.comp_info[0].h_samp_factor = 1;
        cinfo.comp_info[0].v_samp_factor = 1;
    }
    jpeg_start_compress(&cinfo, TRUE);
    LCodecProgress progress(process, b.height);
    for (int y = 0; y < b.height; ++y) {
        if (progress.Row(y)) {
            jpeg_destroy_compress(&cinfo);
            return LProcessResultStopped;
        }
        JSAMPROW row = const_cast<JSAMPROW>(rows.GetRow(y));
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    return LProcessResultOk;
}

} // namespace

LProcessResult Process(LProcessInterface& process, LProcessJPEGLoad& load) {
    process.SetStatusF(0, "Decoding %s image", "JPEG");
    auto s = std::make_unique<JpegDecodeState>();
    s->cinfo.err = &s->errors.mgr;
    JpegInitErrors(s->errors);
    s->source.input = &load.input;
    s->source.pub.init_source = JpegInitSource;
    s->source.pub.fill_input_buffer = JpegFillInput;
    s->source.pub.skip_input_data = JpegSkipInput;
    s->source.pub.resync_to_restart = jpeg_resync_to_restart;
    s->source.pub.term_source = JpegTermSource;
    s->source.pub.bytes_in_buffer = 0;
    s->source.pub.next_input_byte = nullptr;
    s->guard.pub.progress_monitor = JpegProgress;
    return JpegDecode(*s, process, load);
}

LProcessResult Process(LProcessInterface& process, LProcessJPEGSave& save) {
    process.SetStatusF(0, "Encoding %s image", "JPEG");
    const LImageBuffer& b = save.buffer;
    if (!b.IsValid())
        return LProcessResultError;
    LCodecRowSource rows(b, false);
    auto s = std::make_unique<JpegEncodeState>();
    s->cinfo.err = &s->errors.mgr;
    JpegInitErrors(s->errors);
    s->destination.output = &save.output;
    s->destination.pub.init_destination = JpegInitDestination;
    s->destination.pub.empty_output_buffer = JpegEmptyOutput;
    s->destination.pub.term_destination = JpegTermDestination;
    const int quality = save.quality < 0 ? 0 : save.quality > 100 ? 100 : save.quality;
    return JpegEncode(*s, process, b, rows, quality);
}
