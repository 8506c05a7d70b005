#pragma once
// The box blur under every soft effect: running sums along rows, then along
// columns, a few passes each way, which together come close to a Gaussian.
// The cost does not depend on the radius.

#include "foundation/thread.h"
#include "imaging/image_buffer.h"

// The integer mean sum / count of a window of bytes through one float
// multiply. For count up to kMaxWindow it equals the integer division: the
// sum plus a half lies at least 0.5 / count away from a whole quotient, and
// the float error stays below that.
struct LImageBoxMean {
    static constexpr unsigned kMaxWindow = 16383;
    float inverse = 1.0f;

    LImageBoxMean() = default;
    explicit LImageBoxMean(unsigned count) : inverse(1.0f / static_cast<float>(count)) {}
    // Sums of a window this size fit in an int, which converts in one step.
    unsigned operator()(unsigned sum) const {
        return static_cast<unsigned>(
            static_cast<int>((static_cast<float>(static_cast<int>(sum)) + 0.5f) * inverse));
    }
};

// How many threads share data-parallel work: the processors online, at least 1.
unsigned long LImageProcessorCount();

struct LImageBlurSettings {
    LImageBuffer& image;
    unsigned long radius = 0;
    unsigned long threadCount = LImageProcessorCount();
    unsigned long passes = 3;

    explicit LImageBlurSettings(LImageBuffer& picture, unsigned long blurRadius = 0)
        : image(picture), radius(blurRadius) {}
};

// One pass of the box over count lines (rows when horizontal, otherwise
// columns) from line first. Each output pixel is the mean, in integers, of
// the pixels within radius along its line; near the ends of a line the mean
// is taken over what is there, so there is no dark edge. All four channels
// are treated alike, so a premultiplied picture stays premultiplied. The
// radius is limited to (length - 1) / 2. Lines are written in place and no
// line is shared, so stripes of lines can run at the same time.
// 0, 1 when stopped (asked before the first line and then once per block of
// lines of some thousand pixels), 2 for a picture without pixels.
LProcessResult LImageBoxBlur(LProcessInterface& process, LImageBuffer& image, bool horizontal,
                             unsigned long first, unsigned long count, unsigned long radius);

// A worker for one stripe of lines per round. It is started once for the
// whole blur and runs a round's stripe each time `go` is set, setting `done`
// when the stripe is finished; it is the pass's process interface, so a stop
// reaches the stripe at its next check.
class LImageBlurThread : public LThread {
public:
    LImageBlurThread() { SetThreadName("kv-blur"); }
    ~LImageBlurThread() override { StopThreadNow(); }

    void ThreadFunction() override;

    // The stripe of the coming round, set before `go`.
    bool horizontal = true;
    unsigned long first = 0;
    unsigned long count = 0;
    unsigned long radius = 0;
    LImageBuffer* image = nullptr;
    LProcessResult result = LProcessResultOk;

    LSignalObject go;
    LSignalObject done;
};

// The whole blur: `passes` rounds along rows, then as many along columns,
// each round cut into threadCount stripes that run at the same time. A
// round ends the moment its last stripe does; progress is reported after
// each. 0, 1 when stopped (the picture is left as the rounds reached), 2
// for a picture without pixels.
LProcessResult Process(LProcessInterface& process, LImageBlurSettings& settings);
