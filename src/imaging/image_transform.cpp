// Resizing and rotation of whole pictures.

#include <climits>
#include <cmath>

#include "imaging/image_buffer.h"
#include "imaging/image_cairo.h"
#include "imaging/image_iterator.h"
#include "imaging/image_process.h"

namespace LImage {

namespace {

bool CheckSource(LProcessInterface& process, const LImageBuffer& source) {
    if (source.IsValid())
        return true;
    process.SetError("The picture is empty or could not be loaded.");
    return false;
}

// An operation from source to target where both may be the same object
// works on a fresh picture that then replaces the target.
template <class Work>
LProcessResult IntoTarget(const LImageBuffer& source, LImageBuffer& target, Work work) {
    if (&source != &target)
        return work(target);
    LImageBuffer fresh;
    const LProcessResult result = work(fresh);
    if (result == LProcessResultOk)
        target.Assign(fresh);
    return result;
}

LProcessResult NewTarget(LProcessInterface& process, const LImageBuffer& source,
                         LImageBuffer& target, int width, int height, pixelformat_t format) {
    New(target, width, height, format);
    target.reserved1 = source.reserved1;
    target.reserved2 = source.reserved2;
    if (process.IsToStop())
        return LProcessResultStopped;
    if (!target.IsValid()) {
        process.SetErrorF("There is not enough memory for a picture of %d by %d pixels.", width,
                          height);
        return LProcessResultError;
    }
    return LProcessResultOk;
}

LProcessResult ResizeRect(LProcessInterface& process, const LImageBuffer& source,
                          LImageBuffer& target, int width, int height, bool keepAspect,
                          ResizeFilter filter, double x, double y, double w, double h) {
    if (!CheckSource(process, source))
        return LProcessResultError;
    // The rectangle limited to the picture, also in whole pixels for the
    // filters that work on a sub-picture.
    x = std::isfinite(x) ? std::max(0.0, std::min(x, source.width - 1.0)) : 0.0;
    y = std::isfinite(y) ? std::max(0.0, std::min(y, source.height - 1.0)) : 0.0;
    w = std::min(w, source.width - x);
    h = std::min(h, source.height - y);
    if (!(w > 0) || !(h > 0)) {
        process.SetError("The part of the picture to resize is empty.");
        return LProcessResultError;
    }
    const int left = static_cast<int>(x), top = static_cast<int>(y);
    const int right = static_cast<int>(std::ceil(x + w)), bottom = static_cast<int>(std::ceil(y + h));
    const int sourceWidth = right - left, sourceHeight = bottom - top;

    if (keepAspect) {
        const double f = std::min(static_cast<double>(width) / sourceWidth,
                                  static_cast<double>(height) / sourceHeight);
        width = static_cast<int>(std::max(-1.0, std::min<double>(INT_MAX, sourceWidth * f)));
        height = static_cast<int>(std::max(-1.0, std::min<double>(INT_MAX, sourceHeight * f)));
        // A very long or very tall picture keeps one pixel across and is not
        // limited in the other direction any more.
        if (width == 0) {
            width = 1;
            height = sourceHeight / sourceWidth;
        }
        if (height == 0) {
            height = 1;
            width = sourceWidth / sourceHeight;
        }
    }
    if (width <= 0 || height <= 0) {
        target.Destroy();
        return LProcessResultOk;
    }

    return IntoTarget(source, target, [&](LImageBuffer& out) {
        LProcessResult result = NewTarget(process, source, out, width, height, source.format);
        if (result != LProcessResultOk)
            return result;
        switch (filter) {
        case ResizeFilterNearest: {
            LImgProScaleNe scale;
            scale.x = x;
            scale.y = y;
            scale.width = w;
            scale.height = h;
            return LApplyImageProcess(out, source, scale, process);
        }
        case ResizeFilterSmooth:
            if (source.format == LPixelFormatB8G8R8A8) {
                if (CairoScale(source, x, y, w, h, out))
                    return LProcessResultOk;
                process.SetErrorF("A picture of %d by %d pixels is too big to be resampled.",
                                  std::max(width, source.width),
                                  std::max(height, source.height));
                return LProcessResultError;
            }
            if (left == 0 && top == 0 && sourceWidth == source.width &&
                sourceHeight == source.height) {
                LImgProScaleBi scale;
                return LApplyImageProcess(out, source, scale, process);
            } else {
                LImageBuffer part;
                result = NewTarget(process, source, part, sourceWidth, sourceHeight,
                                   source.format);
                if (result != LProcessResultOk)
                    return result;
                Copy(source, part, 0, 0, left, top, sourceWidth, sourceHeight);
                LImgProScaleBi scale;
                return LApplyImageProcess(out, part, scale, process);
            }
        default:
            return LProcessResultOk;
        }
    });
}

// A quarter turn through the scan orders: the source is read row by row and
// written along the walk that turns it.
LProcessResult QuarterTurn(LProcessInterface& process, const LImageBuffer& source,
                           LImageBuffer& target, int quarters) {
    if (quarters == 0) {
        LImageBufferCopy(target, source);
        return LProcessResultOk;
    }
    if (source.GetBitsPerPixel() % 8 != 0) {
        process.SetErrorF("Pictures in pixel format %d cannot be rotated.", source.format);
        return LProcessResultError;
    }
    LImageIterator to(target, quarters);
    for (int y = 0; y < source.height; ++y) {
        if (process.IsToStop())
            return LProcessResultStopped;
        LImageConstIterator from(source, 0, y, source.width, 1, 0);
        for (; from.IsInRange(); from.Next(), to.Next())
            to.SetPacked(from.GetPacked());
    }
    return LProcessResultOk;
}

} // namespace

LProcessResult Resize(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, int width, int height, bool keepAspect,
                      ResizeFilter filter) {
    return ResizeRect(process, source, target, width, height, keepAspect, filter, 0, 0,
                      4294967295.0, 4294967295.0);
}

LProcessResult Resize(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, int width, int height, bool keepAspect,
                      ResizeFilter filter, double x, double y, double w, double h) {
    return ResizeRect(process, source, target, width, height, keepAspect, filter, x, y, w, h);
}

void GetRotatedSize(int width, int height, double angle, int& newWidth, int& newHeight) {
    const double c = std::cos(angle), s = std::sin(angle);
    const double hx = width / 2.0, hy = height / 2.0;
    double xMin = 0, xMax = 0, yMin = 0, yMax = 0;
    const double corners[4][2] = {{-hx, -hy}, {hx, -hy}, {hx, hy}, {-hx, hy}};
    for (int i = 0; i < 4; ++i) {
        const double x = corners[i][0] * c - corners[i][1] * s;
        const double y = corners[i][0] * s + corners[i][1] * c;
        if (i == 0 || x < xMin)
            xMin = x;
        if (i == 0 || x > xMax)
            xMax = x;
        if (i == 0 || y < yMin)
            yMin = y;
        if (i == 0 || y > yMax)
            yMax = y;
    }
    // Sizes no picture can have come out as 0.
    auto size = [](double extent) {
        const double n = std::ceil(extent);
        return n >= 0 && n <= INT_MAX ? static_cast<int>(n) : 0;
    };
    newWidth = size(xMax - xMin);
    newHeight = size(yMax - yMin);
}

LProcessResult Rotate(LProcessInterface& process, const LImageBuffer& source,
                      LImageBuffer& target, double turns) {
    if (!CheckSource(process, source))
        return LProcessResultError;
    if (!std::isfinite(turns)) {
        process.SetError("The angle of rotation is not a number.");
        return LProcessResultError;
    }
    // Only the fraction of a turn counts; a negative one is the same turn
    // the other way round.
    const float fraction = static_cast<float>(turns - std::floor(turns));
    return IntoTarget(source, target, [&](LImageBuffer& out) {
        if (fraction == 0.0f || fraction == 0.25f || fraction == 0.5f || fraction == 0.75f) {
            const int quarters = static_cast<int>(fraction * 4);
            const bool swap = quarters & 1;
            const LProcessResult result =
                NewTarget(process, source, out, swap ? source.height : source.width,
                          swap ? source.width : source.height, source.format);
            if (result != LProcessResultOk)
                return result;
            return QuarterTurn(process, source, out, quarters);
        }
        const double angle = fraction * 360 * 0.01745329251;
        int width, height;
        GetRotatedSize(source.width, source.height, angle, width, height);
        const LProcessResult result =
            NewTarget(process, source, out, width, height, LPixelFormatB8G8R8A8);
        if (result != LProcessResultOk)
            return result;
        out.Clear(LPixelColour(0, 0, 0, 0));
        if (source.format != LPixelFormatB8G8R8A8) {
            process.SetError("Only pictures with 8-bit colour and alpha can be rotated by any "
                             "angle.");
            return LProcessResultError;
        }
        if (!CairoRotate(source, out, angle)) {
            process.SetErrorF("A picture of %d by %d pixels is too big to be rotated.", width,
                              height);
            return LProcessResultError;
        }
        return LProcessResultOk;
    });
}

} // namespace LImage
