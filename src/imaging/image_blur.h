#pragma once
// The box blur under every soft effect: running sums along rows, then along
// columns, a few passes each way, which together come close to a Gaussian.
// The cost does not depend on the radius.

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
// 0, 1 when stopped (tested once a line), 2 for a picture without pixels.
LProcessResult LImageBoxBlur(LProcessInterface& process, LImageBuffer& image, bool horizontal,
                             unsigned long first, unsigned long count, unsigned long radius);
