// PNG and JPEG through our layer (streams, dispatch, alpha handling, stop
// and progress checks) against calling libpng and libjpeg-turbo directly with
// the same settings, on a 4000 x 3000 picture. Each iteration runs both in
// turn, so that a change in the machine's load falls on both alike; the
// counter is the ratio of their processor times (at most 1.10 wanted).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

#include <jpeglib.h>
#include <png.h>

#include "imaging/image_codec.h"
#include "imaging/image_file.h"

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr int kJpegQuality = 90;

// Soft gradients with some grain, like a photograph: neither trivially
// compressible nor noise.
const LImageBuffer& Picture() {
    static LImageBuffer b = [] {
        LImageBuffer p;
        LImage::New(p, kWidth, kHeight, LPixelFormatB8G8R8A8);
        std::mt19937 random(7);
        for (int y = 0; y < kHeight; ++y) {
            unsigned char* row = p.GetPictureRow(y);
            for (int x = 0; x < kWidth; ++x, row += 4) {
                const int grain = static_cast<int>(random() % 9) - 4;
                auto c = [&](double v) {
                    const int i = static_cast<int>(v) + grain;
                    return static_cast<unsigned char>(i < 0 ? 0 : i > 255 ? 255 : i);
                };
                row[0] = c(128 + 90 * std::sin(x * 0.003 + y * 0.002));
                row[1] = c(x * 255.0 / kWidth);
                row[2] = c(128 + 100 * std::cos(y * 0.004 - x * 0.001));
                row[3] = 255;
            }
        }
        return p;
    }();
    return b;
}

// --- libpng and libjpeg-turbo called directly -------------------------------

void PngWriteToVector(png_structp png, png_bytep data, size_t n) {
    auto* out = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + n);
}
void PngNoFlush(png_structp) {}

void DirectPngEncode(const LImageBuffer& b, std::vector<unsigned char>& out) {
    out.clear();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return;
    }
    png_set_write_fn(png, &out, PngWriteToVector, PngNoFlush);
    png_set_IHDR(png, info, kWidth, kHeight, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    for (int y = 0; y < kHeight; ++y)
        png_write_row(png, b.GetPictureRow(y));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
}

struct MemoryReader {
    const unsigned char* data;
    size_t left;
};
void PngReadFromMemory(png_structp png, png_bytep data, size_t n) {
    auto* in = static_cast<MemoryReader*>(png_get_io_ptr(png));
    if (n > in->left)
        png_error(png, "short");
    std::memcpy(data, in->data, n);
    in->data += n;
    in->left -= n;
}

void DirectPngDecode(const std::vector<unsigned char>& file, LImageBuffer& b) {
    MemoryReader reader{file.data(), file.size()};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return;
    }
    png_set_read_fn(png, &reader, PngReadFromMemory);
    png_read_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    LImage::New(b, static_cast<int>(png_get_image_width(png, info)),
                static_cast<int>(png_get_image_height(png, info)), LPixelFormatB8G8R8A8);
    for (int y = 0; y < b.height; ++y)
        png_read_row(png, b.GetPictureRow(y), nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

// Into a block kept from one call to the next, as our layer keeps its array:
// neither side pays for growing its output.
void DirectJpegEncode(const LImageBuffer& b, std::vector<unsigned char>& out) {
    static unsigned char* memory = static_cast<unsigned char*>(std::malloc(32u << 20));
    static unsigned long capacity = 32u << 20;
    unsigned long size = capacity;
    jpeg_compress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &memory, &size);
    cinfo.image_width = kWidth;
    cinfo.image_height = kHeight;
    cinfo.input_components = 4;
    cinfo.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, kJpegQuality, TRUE);
    cinfo.comp_info[0].h_samp_factor = 1; // as our layer does from quality 90
    cinfo.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&cinfo, TRUE);
    for (int y = 0; y < kHeight; ++y) {
        JSAMPROW row = b.GetPictureRow(y);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    out.resize(size); // within its capacity after the first call
    std::memcpy(out.data(), memory, size);
}

void DirectJpegDecode(const std::vector<unsigned char>& file, LImageBuffer& b) {
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, file.data(), file.size());
    jpeg_read_header(&cinfo, TRUE);
    cinfo.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&cinfo);
    LImage::New(b, static_cast<int>(cinfo.output_width), static_cast<int>(cinfo.output_height),
                LPixelFormatB8G8R8A8);
    JSAMPROW rows[16];
    while (cinfo.output_scanline < cinfo.output_height) {
        const int y = static_cast<int>(cinfo.output_scanline);
        int n = 0;
        for (; n < cinfo.rec_outbuf_height && y + n < b.height; ++n)
            rows[n] = b.GetPictureRow(y + n);
        jpeg_read_scanlines(&cinfo, rows, static_cast<JDIMENSION>(n));
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
}

// --- through our layer ------------------------------------------------------

LImageEncodeSettings Settings() {
    LImageEncodeSettings s;
    s.jpegQuality = kJpegQuality;
    return s;
}

void OursEncode(int encoding, LSizedArray<unsigned char>& out) {
    LImage::Save(Picture(), out, encoding, Settings());
}

bool Same(const LSizedArray<unsigned char>& a, const std::vector<unsigned char>& b) {
    return a.GetSize() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

void OursDecode(int encoding, const std::vector<unsigned char>& file, LImageBuffer& b) {
    LImage::Load(b, file.data(), file.size(), encoding);
}

// --- measuring --------------------------------------------------------------

double ThreadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + t.tv_nsec * 1e-9;
}

void Interleaved(benchmark::State& state, const std::function<void()>& ours,
                 const std::function<void()>& direct) {
    // One untimed round of each: the picture is made, buffers are grown and
    // their pages touched before anything is measured.
    Picture();
    ours();
    direct();
    double oursTime = 0, directTime = 0;
    bool oursFirst = false;
    for (auto _ : state) {
        for (int k = 0; k < 2; ++k) {
            const double start = ThreadSeconds();
            if ((k == 0) == oursFirst) {
                ours();
                oursTime += ThreadSeconds() - start;
            } else {
                direct();
                directTime += ThreadSeconds() - start;
            }
        }
        oursFirst = !oursFirst;
    }
    state.counters["ours_s"] = oursTime / state.iterations();
    state.counters["direct_s"] = directTime / state.iterations();
    state.counters["ours_over_direct"] = directTime > 0 ? oursTime / directTime : 0;
}

std::vector<unsigned char>& File(int encoding) {
    static std::vector<unsigned char> png, jpeg;
    std::vector<unsigned char>& f = encoding == LImage::EncodingPNG ? png : jpeg;
    if (f.empty()) {
        LSizedArray<unsigned char> bytes;
        OursEncode(encoding, bytes);
        f.assign(bytes.begin(), bytes.end());
    }
    return f;
}

void PngEncode(benchmark::State& state) {
    LSizedArray<unsigned char> a;
    std::vector<unsigned char> b;
    Interleaved(state, [&] { OursEncode(LImage::EncodingPNG, a); },
                [&] { DirectPngEncode(Picture(), b); });
    if (!Same(a, b))
        state.SkipWithError("the two PNG files differ");
}

void PngDecode(benchmark::State& state) {
    LImageBuffer a, b;
    const auto& file = File(LImage::EncodingPNG);
    Interleaved(state, [&] { OursDecode(LImage::EncodingPNG, file, a); },
                [&] { DirectPngDecode(file, b); });
}

void JpegEncode(benchmark::State& state) {
    LSizedArray<unsigned char> a;
    std::vector<unsigned char> b;
    Interleaved(state, [&] { OursEncode(LImage::EncodingJPEG, a); },
                [&] { DirectJpegEncode(Picture(), b); });
    if (!Same(a, b))
        state.SkipWithError("the two JPEG files differ");
}

void JpegDecode(benchmark::State& state) {
    LImageBuffer a, b;
    const auto& file = File(LImage::EncodingJPEG);
    Interleaved(state, [&] { OursDecode(LImage::EncodingJPEG, file, a); },
                [&] { DirectJpegDecode(file, b); });
}

} // namespace

BENCHMARK(PngEncode)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(PngDecode)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(JpegEncode)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(JpegDecode)->Unit(benchmark::kMillisecond)->Iterations(8);

BENCHMARK_MAIN();
