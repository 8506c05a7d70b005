// Camera raw files and DNG through libraw: unpacked, developed with the
// camera's white balance into 8-bit sRGB, then made a picture.
//
// Developing takes a while. Called on the main thread, it runs on a thread of
// its own while the main thread keeps serving the caller's progress window.

#include <libraw/libraw.h>

#include <memory>
#include <new>

#include "foundation/main_thread.h"
#include "foundation/process_thread.h"
#include "imaging/codec_support.h"
#include "imaging/image_platform.h"

namespace {

// The largest raw file read into memory.
constexpr unsigned long long kLargestFile = 1ull << 31;

struct RawDevelop {
    const unsigned char* data;
    unsigned long size;
    LImageBuffer& buffer;
    unsigned int bitsPerPixel = 0;
    bool damaged = false;
};

// The library reports a short or broken file here and carries on with
// zeros; such a picture is refused.
void RawDataError(void* user, const char*, const int) { static_cast<RawDevelop*>(user)->damaged = true; }

int RawProgress(void* user, LibRaw_progress, int, int) {
    return static_cast<LProcessInterface*>(user)->IsToStop() ? 1 : 0;
}

struct RawImageFree {
    void operator()(libraw_processed_image_t* image) const { LibRaw::dcraw_clear_mem(image); }
};

LProcessResult Process(LProcessInterface& process, RawDevelop& job) {
    std::unique_ptr<LibRaw> raw(new (std::nothrow) LibRaw(LIBRAW_OPTIONS_NONE));
    if (!raw)
        return LProcessResultError;
    libraw_output_params_t& params = raw->imgdata.params;
    params.output_bps = 8;
    params.use_camera_wb = 1;
    // The library's own cap on what it takes for the raw samples, in line
    // with the largest picture allowed.
    const unsigned long long mb = LImageGetDecodePixelLimit() * 8 >> 20;
    params.max_raw_memory_mb = static_cast<unsigned>(mb < 64 ? 64 : mb > 2048 ? 2048 : mb);
    raw->set_dataerror_handler(RawDataError, &job);
    raw->set_progress_handler(RawProgress, &process);

    const int opened = raw->open_buffer(const_cast<unsigned char*>(job.data), job.size);
    if (process.IsToStop())
        return LProcessResultStopped;
    if (opened != LIBRAW_SUCCESS)
        return LProcessResultError;
    const libraw_image_sizes_t& sizes = raw->imgdata.sizes;
    const unsigned long long limit = LImageGetDecodePixelLimit();
    if (static_cast<unsigned long long>(sizes.raw_width) * sizes.raw_height > limit ||
        static_cast<unsigned long long>(sizes.width) * sizes.height > limit)
        return LProcessResultError;
    process.SetProgress(0.1);
    int status = raw->unpack();
    if (status == LIBRAW_SUCCESS) {
        process.SetProgress(0.3);
        status = raw->dcraw_process();
    }
    if (status == LIBRAW_CANCELLED_BY_CALLBACK || process.IsToStop())
        return LProcessResultStopped;
    if (status != LIBRAW_SUCCESS || job.damaged)
        return LProcessResultError;
    process.SetProgress(0.9);
    int error = 0;
    std::unique_ptr<libraw_processed_image_t, RawImageFree> image(raw->dcraw_make_mem_image(&error));
    if (!image || error != LIBRAW_SUCCESS || image->type != LIBRAW_IMAGE_BITMAP ||
        image->bits != 8 || (image->colors != 3 && image->colors != 1))
        return LProcessResultError;
    const unsigned long long bytes =
        static_cast<unsigned long long>(image->width) * image->height * image->colors;
    if (bytes > image->data_size || !LCodecAllocatePicture(job.buffer, image->width, image->height))
        return LProcessResultError;

    LImageBuffer& b = job.buffer;
    const unsigned colours = image->colors;
    const unsigned char* from = image->data;
    for (int y = 0; y < b.height; ++y) {
        unsigned char* to = b.GetPictureRow(y);
        for (int x = 0; x < b.width; ++x, to += 4, from += colours) {
            to[0] = from[colours == 3 ? 2 : 0];
            to[1] = from[colours == 3 ? 1 : 0];
            to[2] = from[0];
            to[3] = 255;
        }
    }
    const unsigned bps = static_cast<unsigned>(raw->imgdata.color.raw_bps);
    const unsigned colors = static_cast<unsigned>(raw->imgdata.idata.colors);
    job.bitsPerPixel = bps && colors ? bps * colors : 48;
    process.SetProgress(1);
    return LProcessResultOk;
}

} // namespace

LProcessResult Process(LProcessInterface& process, LProcessCamRAWLoad& load) {
    process.SetStatusF(0, "Decoding %s image", "RAW");
    LSizedArray<unsigned char> bytes;
    if (!load.input.ReadRest(bytes, kLargestFile) || bytes.IsEmpty())
        return LProcessResultError;
    RawDevelop job{bytes.Data(), bytes.GetSize(), load.buffer};
    LProcessResult result;
    const LMainThreadQueue* queue = LThreadRunOnMainThread::GetQueue();
    if (queue && queue->IsMainThread()) {
        LProcessThreadData<RawDevelop> threaded(job);
        result = Process(process, threaded);
    } else {
        result = Process(process, job);
    }
    if (result == LProcessResultOk)
        load.bitsPerPixel = job.bitsPerPixel;
    return result;
}
