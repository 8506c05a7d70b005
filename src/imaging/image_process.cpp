#include "imaging/image_process.h"

#include <climits>

#include "imaging/image_iterator.h"

namespace {

struct DivTable {
    unsigned char entries[256];
    DivTable() {
        entries[0] = 0;
        for (int n = 1; n < 256; ++n)
            entries[n] = static_cast<unsigned char>(255 / n);
    }
};
const DivTable kDivTable;

int ClampToInt(double v) {
    if (!(v > INT_MIN))
        return INT_MIN;
    if (!(v < INT_MAX))
        return INT_MAX;
    return static_cast<int>(v);
}
int ClampToInt(long long v) {
    return static_cast<int>(std::max<long long>(INT_MIN, std::min<long long>(INT_MAX, v)));
}
long Limit(long v, long low, long high) { return std::max(low, std::min(high, v)); }

// One aligned position along an axis: 0 start, 1 centre, 2 end.
long long Align(int align, long long base, long long size, long long margin) {
    switch (align) {
    case 0:
        return margin;
    case 1:
        return (base >> 1) - (size >> 1);
    default:
        return base - (margin + size);
    }
}

bool HasAlpha(pixelformat_t format) {
    return format == LPixelFormatB8G8R8A8 || format == LPixelFormatR8G8B8A8 ||
           format == LPixelFormatB5G5R5A1;
}

} // namespace

LImgProScaleBi::LImgProScaleBi() : arScaleBiHelperDivTable(kDivTable.entries) {}

bool LImagePrepareTarget(LProcessInterface& process, LImageBuffer& target,
                         const LImageBuffer& source, int width, int height) {
    if (!target.IsValid() || target.format != source.format || target.width != width ||
        target.height != height) {
        LImage::New(target, width, height, source.format);
        target.reserved1 = source.reserved1;
        target.reserved2 = source.reserved2;
    }
    if (!target.IsValid()) {
        process.SetErrorF("There is not enough memory for a picture of %d by %d pixels.", width,
                          height);
        return false;
    }
    return true;
}

LImgProOverlay::LImgProOverlay(const LImageBuffer& overlayPicture,
                               const LImgProOverlaySettings& settings)
    : marginXPercent(settings.marginXPercent), marginYPercent(settings.marginYPercent),
      overrideAlign(settings.overrideAlign),
      verticalAlign(static_cast<int>(Limit(settings.verticalAlign, 0, 2))),
      horizontalAlign(static_cast<int>(Limit(settings.horizontalAlign, 0, 2))),
      overlay(overlayPicture), alpha(static_cast<int>(Limit(settings.alpha, 0, 255))) {}

LProcessResult LImgProOverlay::Compose(LProcessInterface& process, LImageBuffer& target,
                                       const LImageBuffer& source) {
    if (!overlay.IsValid()) {
        process.SetError("The overlay picture is empty or could not be loaded.");
        return LProcessResultError;
    }
    if (target.GetStore() != source.GetStore()) {
        if (!LImagePrepareTarget(process, target, source, source.width, source.height))
            return LProcessResultError;
        LImageBufferCopy(target, source);
    }
    const long long W = target.width, H = target.height, w = overlay.width, h = overlay.height;
    const long long marginX = ClampToInt(W / 100.0 * marginXPercent);
    const long long marginY = ClampToInt(H / 100.0 * marginYPercent);
    if (!overrideAlign) {
        x = ClampToInt(Align(horizontalAlign, W, w, marginX));
        y = ClampToInt(Align(verticalAlign, H, h, marginY));
    }
    if (!fixedX)
        clipX = x;
    if (!fixedY)
        clipY = y;

    left = ClampToInt(std::max<long long>(0, -static_cast<long long>(clipX)));
    top = ClampToInt(std::max<long long>(0, -static_cast<long long>(clipY)));
    right = ClampToInt(std::min<long long>(w, W - clipX));
    bottom = ClampToInt(std::min<long long>(h, H - clipY));
    if (right <= left || bottom <= top)
        return LProcessResultOk;

    const unsigned a = static_cast<unsigned>(alpha);
    const bool withAlpha = HasAlpha(overlay.format);
    for (int row = top; row < bottom; ++row) {
        if (process.IsToStop())
            return LProcessResultStopped;
        LImageConstIterator over(overlay, left, row, right - left, 1, 0);
        LImageIterator base(target, clipX + left, clipY + row, right - left, 1, 0);
        for (; over.IsInRange() && base.IsInRange(); over.Next(), base.Next()) {
            const std::uint32_t o = over.GetPacked(), b = base.GetPacked();
            std::uint32_t mixed = b & 0xFF000000u; // the base keeps its alpha
            if (withAlpha) {
                const unsigned weight = (o >> 24) * a;
                for (int shift = 0; shift < 24; shift += 8)
                    mixed |= (((o >> shift) & 255) * weight +
                              ((b >> shift) & 255) * (65025 - weight)) /
                                 65025
                             << shift;
            } else {
                for (int shift = 0; shift < 24; shift += 8)
                    mixed |= (((o >> shift) & 255) * a + ((b >> shift) & 255) * (255 - a)) / 255
                             << shift;
            }
            base.SetPacked(mixed);
        }
    }
    return LProcessResultOk;
}
