// JPEG 2000 through openjpeg: the JP2 file format and bare code streams on
// reading, JP2 on writing. openjpeg's messages go to quiet handlers.

#include <openjpeg.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#include "imaging/codec_support.h"
#include "imaging/image_platform.h"
#include "imaging/pixel_alpha.h"

namespace {

constexpr OPJ_SIZE_T kChunk = 65536;

void OpjQuiet(const char*, void*) {}

void OpjSetQuiet(opj_codec_t* codec) {
    opj_set_info_handler(codec, OpjQuiet, nullptr);
    opj_set_warning_handler(codec, OpjQuiet, nullptr);
    opj_set_error_handler(codec, OpjQuiet, nullptr);
}

OPJ_SIZE_T OpjRead(void* buffer, OPJ_SIZE_T count, void* user) {
    auto* input = static_cast<LImageCodecInput*>(user);
    const unsigned long n = input->Read(buffer, static_cast<unsigned long>(count));
    return n ? n : static_cast<OPJ_SIZE_T>(-1);
}

OPJ_OFF_T OpjSkipInput(OPJ_OFF_T count, void* user) {
    auto* input = static_cast<LImageCodecInput*>(user);
    const long long target = static_cast<long long>(input->Tell()) + count;
    if (target < 0 || static_cast<unsigned long long>(target) > input->GetSize() ||
        !input->Seek(static_cast<unsigned long long>(target)))
        return -1;
    return count;
}

OPJ_BOOL OpjSeekInput(OPJ_OFF_T offset, void* user) {
    auto* input = static_cast<LImageCodecInput*>(user);
    return offset >= 0 && static_cast<unsigned long long>(offset) <= input->GetSize() &&
           input->Seek(static_cast<unsigned long long>(offset));
}

OPJ_SIZE_T OpjWrite(void* buffer, OPJ_SIZE_T count, void* user) {
    auto* output = static_cast<LImageCodecOutput*>(user);
    return output->Write(buffer, static_cast<unsigned long>(count)) ? count
                                                                     : static_cast<OPJ_SIZE_T>(-1);
}

OPJ_OFF_T OpjSkipOutput(OPJ_OFF_T count, void* user) {
    auto* output = static_cast<LImageCodecOutput*>(user);
    const long long target = static_cast<long long>(output->Tell()) + count;
    if (target < 0 || !output->Seek(static_cast<unsigned long long>(target)))
        return -1;
    return count;
}

OPJ_BOOL OpjSeekOutput(OPJ_OFF_T offset, void* user) {
    auto* output = static_cast<LImageCodecOutput*>(user);
    return offset >= 0 && output->Seek(static_cast<unsigned long long>(offset));
}

struct OpjStreamCloser {
    void operator()(opj_stream_t* s) const { opj_stream_destroy(s); }
};
struct OpjCodecCloser {
    void operator()(opj_codec_t* c) const { opj_destroy_codec(c); }
};
struct OpjImageCloser {
    void operator()(opj_image_t* i) const { opj_image_destroy(i); }
};
using OpjStream = std::unique_ptr<opj_stream_t, OpjStreamCloser>;
using OpjCodec = std::unique_ptr<opj_codec_t, OpjCodecCloser>;
using OpjImage = std::unique_ptr<opj_image_t, OpjImageCloser>;

// A sample of any precision and sign, as a byte.
struct OpjSampleScale {
    explicit OpjSampleScale(const opj_image_comp_t& c)
        : precision(c.prec < 1 ? 1 : c.prec > 31 ? 31 : c.prec),
          offset(c.sgnd ? std::int64_t(1) << (precision - 1) : 0),
          largest((std::int64_t(1) << precision) - 1) {}
    unsigned char operator()(OPJ_INT32 v) const {
        std::int64_t s = static_cast<std::int64_t>(v) + offset;
        s = s < 0 ? 0 : s > largest ? largest : s;
        if (precision == 8)
            return static_cast<unsigned char>(s);
        return static_cast<unsigned char>((s * 255 + largest / 2) / largest);
    }
    unsigned precision;
    std::int64_t offset;
    std::int64_t largest;
};

unsigned char Clamp8(double v) {
    return static_cast<unsigned char>(v < 0 ? 0 : v > 255 ? 255 : std::lround(v));
}

// Reads the code stream's size marker before openjpeg does: the library sets
// up every tile of the picture while it reads the header, and a few hundred
// bytes can claim tens of thousands of tiles. Each tile has at least one
// tile part of 14 bytes or more, so a stream that claims more tiles than it
// can hold is cut short or a trap; so is a picture beyond the decode limit.
// Leaves the input at 0.
bool OpjPlausible(LImageCodecInput& input, OPJ_CODEC_FORMAT kind) {
    unsigned long long at = 0;
    const unsigned long long size = input.GetSize();
    if (kind == OPJ_CODEC_JP2) {
        // The code stream is the content of the first top-level "jp2c" box.
        for (int boxes = 0;; ++boxes) {
            unsigned char head[16];
            if (boxes > 1000 || !input.Seek(at) || input.Read(head, 8) != 8)
                return false;
            unsigned long long length = LGetUInt32BE(head);
            unsigned long long content = at + 8;
            if (length == 1) {
                if (input.Read(head + 8, 8) != 8)
                    return false;
                length = LGetUInt64BE(head + 8);
                content = at + 16;
            } else if (length == 0) {
                length = size - at;
            }
            if (std::memcmp(head + 4, "jp2c", 4) == 0) {
                at = content;
                break;
            }
            if (length < content - at || length > size - at)
                return false;
            at += length;
        }
    }
    unsigned char siz[42];
    if (!input.Seek(at) || input.Read(siz, sizeof siz) != sizeof siz || !input.Seek(0))
        return false;
    if (siz[0] != 0xFF || siz[1] != 0x4F || siz[2] != 0xFF || siz[3] != 0x51)
        return false;
    const unsigned long long x = LGetUInt32BE(siz + 8), y = LGetUInt32BE(siz + 12);
    const unsigned long long x0 = LGetUInt32BE(siz + 16), y0 = LGetUInt32BE(siz + 20);
    const unsigned long long tw = LGetUInt32BE(siz + 24), th = LGetUInt32BE(siz + 28);
    const unsigned long long tx0 = LGetUInt32BE(siz + 32), ty0 = LGetUInt32BE(siz + 36);
    if (x <= x0 || y <= y0 || tw == 0 || th == 0 || tx0 >= x || ty0 >= y)
        return false;
    if ((x - x0) * (y - y0) > LImageGetDecodePixelLimit())
        return false;
    const unsigned long long tiles = ((x - tx0 + tw - 1) / tw) * ((y - ty0 + th - 1) / th);
    return tiles <= (size - at) / 14;
}

LProcessResult OpjDecode(LProcessInterface& process, LProcessJPEG2000Load& load) {
    LImageCodecInput& input = load.input;
    unsigned char magic[12];
    if (input.Read(magic, sizeof magic) != sizeof magic || !input.Seek(0))
        return LProcessResultError;
    static const unsigned char kJP2[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
    static const unsigned char kCodestream[4] = {0xFF, 0x4F, 0xFF, 0x51};
    OPJ_CODEC_FORMAT kind;
    if (std::memcmp(magic, kJP2, 12) == 0)
        kind = OPJ_CODEC_JP2;
    else if (std::memcmp(magic, kCodestream, 4) == 0)
        kind = OPJ_CODEC_J2K;
    else
        return LProcessResultError;
    if (!OpjPlausible(input, kind))
        return LProcessResultError;

    OpjStream stream(opj_stream_create(kChunk, OPJ_TRUE));
    OpjCodec codec(opj_create_decompress(kind));
    if (!stream || !codec)
        return LProcessResultError;
    opj_stream_set_user_data(stream.get(), &input, nullptr);
    opj_stream_set_user_data_length(stream.get(), input.GetSize());
    opj_stream_set_read_function(stream.get(), OpjRead);
    opj_stream_set_skip_function(stream.get(), OpjSkipInput);
    opj_stream_set_seek_function(stream.get(), OpjSeekInput);
    OpjSetQuiet(codec.get());
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    // A cut file is refused, not shown at whatever quality its first bytes give.
    if (!opj_setup_decoder(codec.get(), &parameters) ||
        !opj_decoder_set_strict_mode(codec.get(), OPJ_TRUE))
        return LProcessResultError;

    opj_image_t* header = nullptr;
    const bool read = opj_read_header(stream.get(), codec.get(), &header);
    OpjImage image(header);
    if (!read || !image)
        return LProcessResultError;
    const long long width = static_cast<long long>(image->x1) - image->x0;
    const long long height = static_cast<long long>(image->y1) - image->y0;
    const unsigned comps = image->numcomps;
    if (comps < 1 || comps > 4 || width < 1 || height < 1 ||
        static_cast<unsigned long long>(width) * static_cast<unsigned long long>(height) >
            LImageGetDecodePixelLimit())
        return LProcessResultError;
    process.SetProgress(0);
    if (!opj_decode(codec.get(), stream.get(), image.get()) ||
        !opj_end_decompress(codec.get(), stream.get()))
        return LProcessResultError;
    if (process.IsToStop())
        return LProcessResultStopped;

    // The decoder may have changed the components (a palette, channel
    // definitions): look at them again.
    const unsigned n = image->numcomps;
    if (n < 1 || n > 4)
        return LProcessResultError;
    unsigned int bitsPerPixel = 0;
    for (unsigned i = 0; i < n; ++i) {
        const opj_image_comp_t& c = image->comps[i];
        if (!c.data || c.w < 1 || c.h < 1 || c.dx < 1 || c.dy < 1)
            return LProcessResultError;
        bitsPerPixel += c.prec;
    }
    // Which component holds what: grey or colour, and alpha where marked (a
    // second or fourth component without marks counts as alpha as well).
    int alphaIndex = -1;
    for (unsigned i = 0; i < n; ++i)
        if (image->comps[i].alpha)
            alphaIndex = static_cast<int>(i);
    if (alphaIndex < 0 && (n == 2 || n == 4) && image->color_space != OPJ_CLRSPC_CMYK)
        alphaIndex = static_cast<int>(n - 1);
    int colour[4] = {-1, -1, -1, -1};
    unsigned found = 0;
    for (unsigned i = 0; i < n && found < 4; ++i)
        if (static_cast<int>(i) != alphaIndex)
            colour[found++] = static_cast<int>(i);
    const bool cmyk = image->color_space == OPJ_CLRSPC_CMYK && found == 4;
    const bool grey = found < 3;
    const bool ycc = image->color_space == OPJ_CLRSPC_SYCC && found >= 3;
    const bool premultiplied = alphaIndex >= 0 && image->comps[alphaIndex].alpha == 2;

    if (!LCodecAllocatePicture(load.buffer, width, height))
        return LProcessResultError;
    LImageBuffer& b = load.buffer;

    // Components may cover the picture at a coarser grid: each pixel takes
    // the sample that covers it.
    struct Plane {
        const OPJ_INT32* data = nullptr;
        long long w = 1, h = 1;
        OpjSampleScale* scale = nullptr;
    };
    std::unique_ptr<OpjSampleScale> scales[4];
    Plane planes[5];
    auto plane = [&](int index, Plane& p) {
        if (index < 0)
            return;
        const opj_image_comp_t& c = image->comps[index];
        p.data = c.data;
        p.w = c.w;
        p.h = c.h;
        scales[index] = std::make_unique<OpjSampleScale>(c);
        p.scale = scales[index].get();
    };
    for (int k = 0; k < 4; ++k)
        plane(colour[k], planes[k]);
    plane(alphaIndex, planes[4]);
    auto sample = [&](const Plane& p, long long x, long long y) -> unsigned char {
        const long long sx = p.w == width ? x : x * p.w / width;
        const long long sy = p.h == height ? y : y * p.h / height;
        return (*p.scale)(p.data[sy * p.w + sx]);
    };

    LCodecProgress progress(process, b.height);
    for (int y = 0; y < b.height; ++y) {
        if (progress.Row(y))
            return LProcessResultStopped;
        unsigned char* row = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, row += 4) {
            unsigned char r, g, bl;
            if (grey) {
                r = g = bl = sample(planes[0], x, y);
            } else if (cmyk) {
                const unsigned k = 255u - sample(planes[3], x, y);
                r = static_cast<unsigned char>((255u - sample(planes[0], x, y)) * k / 255);
                g = static_cast<unsigned char>((255u - sample(planes[1], x, y)) * k / 255);
                bl = static_cast<unsigned char>((255u - sample(planes[2], x, y)) * k / 255);
            } else if (ycc) {
                const double yy = sample(planes[0], x, y);
                const double cb = sample(planes[1], x, y) - 128.0;
                const double cr = sample(planes[2], x, y) - 128.0;
                r = Clamp8(yy + 1.402 * cr);
                g = Clamp8(yy - 0.344136 * cb - 0.714136 * cr);
                bl = Clamp8(yy + 1.772 * cb);
            } else {
                r = sample(planes[0], x, y);
                g = sample(planes[1], x, y);
                bl = sample(planes[2], x, y);
            }
            unsigned char a = alphaIndex >= 0 ? sample(planes[4], x, y) : 255;
            if (premultiplied) { // a colour above its alpha is not a colour
                r = r > a ? a : r;
                g = g > a ? a : g;
                bl = bl > a ? a : bl;
            }
            row[0] = bl;
            row[1] = g;
            row[2] = r;
            row[3] = a;
        }
        if (alphaIndex >= 0 && !premultiplied)
            LPremultiplyRowBGRA(b.GetPictureRow(y), b.width);
    }
    load.bitsPerPixel = bitsPerPixel;
    return LProcessResultOk;
}

LProcessResult OpjEncode(LProcessInterface& process, LProcessJPEG2000Save& save) {
    const LImageBuffer& b = save.buffer;
    LCodecRowSource rows(b, true);
    const unsigned comps = rows.IsOpaque() ? 3 : 4;

    opj_image_cmptparm_t parts[4];
    std::memset(parts, 0, sizeof parts);
    for (unsigned i = 0; i < comps; ++i) {
        parts[i].dx = parts[i].dy = 1;
        parts[i].w = static_cast<OPJ_UINT32>(b.width);
        parts[i].h = static_cast<OPJ_UINT32>(b.height);
        parts[i].prec = 8;
        parts[i].sgnd = 0;
    }
    OpjImage image(opj_image_create(comps, parts, OPJ_CLRSPC_SRGB));
    if (!image)
        return LProcessResultError;
    image->x0 = image->y0 = 0;
    image->x1 = static_cast<OPJ_UINT32>(b.width);
    image->y1 = static_cast<OPJ_UINT32>(b.height);
    if (comps == 4)
        image->comps[3].alpha = 1; // straight alpha, marked in the file

    // Filling the planes is half the work that can be watched; the library's
    // coding itself tells nothing until it is done.
    LCodecProgress progress(process, b.height, 0, 0.5);
    for (int y = 0; y < b.height; ++y) {
        if (progress.Row(y))
            return LProcessResultStopped;
        const unsigned char* from = rows.GetRow(y);
        const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(b.width);
        for (int x = 0; x < b.width; ++x, from += 4) {
            image->comps[0].data[at + x] = from[2];
            image->comps[1].data[at + x] = from[1];
            image->comps[2].data[at + x] = from[0];
            if (comps == 4)
                image->comps[3].data[at + x] = from[3];
        }
    }

    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.cp_disto_alloc = 1;
    if (save.quality >= 100) {
        parameters.irreversible = 0;
        parameters.tcp_rates[0] = 0; // lossless
    } else {
        parameters.irreversible = 1;
        parameters.tcp_rates[0] = static_cast<float>(LImageJPEG2000Ratio(save.quality));
    }
    parameters.tcp_mct = 1;
    // Each further level halves the smallest side; a level with nothing
    // left is refused by the coder.
    const int smallest = b.width < b.height ? b.width : b.height;
    while (parameters.numresolution > 1 && (smallest >> (parameters.numresolution - 1)) < 1)
        --parameters.numresolution;

    OpjCodec codec(opj_create_compress(OPJ_CODEC_JP2));
    OpjStream stream(opj_stream_create(kChunk, OPJ_FALSE));
    if (!codec || !stream)
        return LProcessResultError;
    OpjSetQuiet(codec.get());
    if (!opj_setup_encoder(codec.get(), &parameters, image.get()))
        return LProcessResultError;
    opj_stream_set_user_data(stream.get(), &save.output, nullptr);
    opj_stream_set_write_function(stream.get(), OpjWrite);
    opj_stream_set_skip_function(stream.get(), OpjSkipOutput);
    opj_stream_set_seek_function(stream.get(), OpjSeekOutput);
    if (!opj_start_compress(codec.get(), image.get(), stream.get()) ||
        !opj_encode(codec.get(), stream.get()) || !opj_end_compress(codec.get(), stream.get()))
        return LProcessResultError;
    process.SetProgress(1);
    return LProcessResultOk;
}

} // namespace

double LImageJPEG2000Ratio(int quality) {
    if (quality >= 100)
        return 1;
    if (quality < 0)
        quality = 0;
    return std::pow(2.0, 1.0 + (100 - quality) / 10.0);
}

LProcessResult Process(LProcessInterface& process, LProcessJPEG2000Load& load) {
    process.SetStatusF(0, "Decoding %s image", "JPEG 2000");
    return OpjDecode(process, load);
}

LProcessResult Process(LProcessInterface& process, LProcessJPEG2000Save& save) {
    process.SetStatusF(0, "Encoding %s image", "JPEG 2000");
    if (!save.buffer.IsValid())
        return LProcessResultError;
    return OpjEncode(process, save);
}
