#pragma once
// Picture operations that work in place or from a source to a target. Each
// is an object with a ProcessImage<T> per pixel layout; LApplyImageProcess
// picks the layout from the source's format.

#include <algorithm>
#include <vector>

#include "imaging/image_buffer.h"
#include "imaging/pixel_types.h"

template <class Operation>
LProcessResult LApplyImageProcess(LImageBuffer& target, const LImageBuffer& source,
                                  Operation& operation, LProcessInterface& process) {
    if (!source.IsValid()) {
        process.SetError("The picture to process is empty or could not be allocated.");
        return LProcessResultError;
    }
    switch (source.format) {
    case LPixelFormatB8G8R8A8:
        return operation.template ProcessImage<LPFB8G8R8A8>(process, target, source);
    case LPixelFormatB8G8R8:
        return operation.template ProcessImage<LPFB8G8R8>(process, target, source);
    case LPixelFormatB5G6R5:
        return operation.template ProcessImage<LPFB5G6R5>(process, target, source);
    case LPixelFormatB5G5R5A1:
        return operation.template ProcessImage<LPFB5G5R5A1>(process, target, source);
    case LPixelFormatB5G5R5X1:
        return operation.template ProcessImage<LPFB5G5R5X1>(process, target, source);
    default:
        process.SetErrorF("Pictures in pixel format %d cannot be processed.", source.format);
        return LProcessResultError;
    }
}

// Typed row access from the top of the picture.
template <class T> T* LImageRow(const LImageBuffer& buffer, int y) {
    return reinterpret_cast<T*>(buffer.GetPictureRow(y));
}

// Nearest neighbour: each target pixel takes the source pixel under its
// centre. The source rectangle is cut to the picture.
struct LImgProScaleNe {
    double x = 0;
    double y = 0;
    double width = 4294967295.0;
    double height = 4294967295.0;

    // target must already have its size and the source's format.
    template <class T>
    LProcessResult ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                const LImageBuffer& source);
};

// Smooth scaling with integer error terms, row by row and then between rows,
// in the manner of Bresenham's line: no floats and no division per pixel.
struct LImgProScaleBi {
    // Entry n is 255 / n; entry 0 is 0.
    const unsigned char* arScaleBiHelperDivTable;

    LImgProScaleBi();

    template <class T>
    LProcessResult ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                const LImageBuffer& source);

    // One row: A target steps from B source steps (one less than the sizes).
    template <class T> void DrawLine(T* out, const T* in, int A, int B) const;
    template <class T> void DrawLineDownscale(T* out, const T* in, int A, int B) const;

    // The skip count n of the walk gives the weight step table[n + 1]; past
    // the table the step is 0, which is what 255 / (n + 1) is there.
    unsigned Step(long n) const { return n + 1 < 256 ? arScaleBiHelperDivTable[n + 1] : 0; }
};

// In place when target and source are the same picture.
struct LImgProFlip {
    enum : int { None = 0, Horizontal = 1, Vertical = 2, Both = 3 };
    int direction = None;

    template <class T>
    LProcessResult ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                const LImageBuffer& source);
};

// What the overlay is told by the user settings of "OverlayEffect"; the
// values are limited when they are applied.
struct LImgProOverlaySettings {
    long alpha = 255;            // "Alpha"
    long horizontalAlign = 2;    // "HorizontalAlign": 0 left, 1 centre, 2 right
    long verticalAlign = 2;      // "VerticalAlign": 0 top, 1 centre, 2 bottom
    double marginXPercent = 0;   // "MarginXPercent", of the base picture's width
    double marginYPercent = 0;   // "MarginYPercent", of its height
    bool overrideAlign = false;  // "OverrideAlign": x, y come from the object
};

// A picture laid over another (a watermark), aligned with margins and faded
// by an alpha.
struct LImgProOverlay {
    int x = 0;
    int y = 0;
    int clipX = 0;
    int clipY = 0;
    bool fixedX = false; // clipX, clipY are taken as they are
    bool fixedY = false;
    int left = 0; // the part of the overlay that lands on the picture
    int right = 0;
    int top = 0;
    int bottom = 0;
    double marginXPercent = 0;
    double marginYPercent = 0;
    bool overrideAlign = false;
    int verticalAlign = 2;
    int horizontalAlign = 2;
    const LImageBuffer& overlay;
    int alpha = 255;

    explicit LImgProOverlay(const LImageBuffer& overlay,
                            const LImgProOverlaySettings& settings = LImgProOverlaySettings());

    // The base picture is source; the result goes to target (the same
    // picture for in place).
    template <class T>
    LProcessResult ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                const LImageBuffer& source);
    LProcessResult Compose(LProcessInterface& process, LImageBuffer& target,
                           const LImageBuffer& source);
};

// The target of a source-to-target operation: the source's format and the
// given size; false with SetError when it cannot be had.
bool LImagePrepareTarget(LProcessInterface& process, LImageBuffer& target,
                         const LImageBuffer& source, int width, int height);

// ---------------------------------------------------------------------------

template <class T>
LProcessResult LImgProScaleNe::ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                            const LImageBuffer& source) {
    if (!target.IsValid() || target.format != source.format) {
        process.SetError("The scaled picture could not be allocated.");
        return LProcessResultError;
    }
    const double rx = std::max(0.0, std::min(x, source.width - 1.0));
    const double ry = std::max(0.0, std::min(y, source.height - 1.0));
    const double rw = std::min(width, source.width - rx);
    const double rh = std::min(height, source.height - ry);
    if (!(rw > 0) || !(rh > 0)) {
        process.SetError("The part of the picture to scale is empty.");
        return LProcessResultError;
    }
    std::vector<int> columns(static_cast<size_t>(target.width));
    for (int i = 0; i < target.width; ++i)
        columns[i] = std::min(source.width - 1,
                              static_cast<int>((i + 0.5) * rw / target.width + rx));
    for (int j = 0; j < target.height; ++j) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const int row =
            std::min(source.height - 1, static_cast<int>((j + 0.5) * rh / target.height + ry));
        const T* in = LImageRow<T>(source, row);
        T* out = LImageRow<T>(target, j);
        for (int i = 0; i < target.width; ++i)
            out[i] = in[columns[i]];
    }
    return LProcessResultOk;
}

namespace LImgProDetail {

inline std::uint8_t Lerp8(int a, int b, unsigned weight) {
    return static_cast<std::uint8_t>((a * 256 + (b - a) * static_cast<int>(weight)) >> 8);
}
inline unsigned LerpField(unsigned a, unsigned b, unsigned weight, int shift, unsigned mask) {
    const int fa = static_cast<int>((a >> shift) & mask), fb = static_cast<int>((b >> shift) & mask);
    return static_cast<unsigned>((fa * 256 + (fb - fa) * static_cast<int>(weight)) >> 8) << shift;
}

inline LPFB8G8R8A8 Lerp(const LPFB8G8R8A8& a, const LPFB8G8R8A8& b, unsigned w) {
    return {Lerp8(a.blue, b.blue, w), Lerp8(a.green, b.green, w), Lerp8(a.red, b.red, w),
            Lerp8(a.alpha, b.alpha, w)};
}
inline LPFB8G8R8 Lerp(const LPFB8G8R8& a, const LPFB8G8R8& b, unsigned w) {
    return {Lerp8(a.blue, b.blue, w), Lerp8(a.green, b.green, w), Lerp8(a.red, b.red, w)};
}
inline LPFB5G6R5 Lerp(const LPFB5G6R5& a, const LPFB5G6R5& b, unsigned w) {
    return {static_cast<std::uint16_t>(LerpField(a.v, b.v, w, 0, 31) |
                                       LerpField(a.v, b.v, w, 5, 63) |
                                       LerpField(a.v, b.v, w, 11, 31))};
}
// The 1-bit alpha comes from whichever end the weight is nearer.
inline std::uint16_t Lerp555(unsigned a, unsigned b, unsigned w) {
    return static_cast<std::uint16_t>(LerpField(a, b, w, 0, 31) | LerpField(a, b, w, 5, 31) |
                                      LerpField(a, b, w, 10, 31) |
                                      ((w < 128 ? a : b) & 0x8000u));
}
inline LPFB5G5R5A1 Lerp(const LPFB5G5R5A1& a, const LPFB5G5R5A1& b, unsigned w) {
    return {Lerp555(a.v, b.v, w)};
}
inline LPFB5G5R5X1 Lerp(const LPFB5G5R5X1& a, const LPFB5G5R5X1& b, unsigned w) {
    return {Lerp555(a.v, b.v, w)};
}

template <class T> void LerpRow(T* out, const T* a, const T* b, unsigned w, int count) {
    for (int i = 0; i < count; ++i)
        out[i] = Lerp(a[i], b[i], w);
}

} // namespace LImgProDetail

template <class T> void LImgProScaleBi::DrawLine(T* out, const T* in, int A, int B) const {
    using LImgProDetail::Lerp;
    if (A < B) {
        DrawLineDownscale(out, in, A, B);
        return;
    }
    long e = 2l * B - A;
    int o = 0, i = 0;
    long n = 0;
    out[0] = in[0];
    for (int k = 0; k < A; ++k) {
        ++o;
        if (e >= 0 && i < B) {
            ++i;
            out[o] = in[i];
            e += 2l * (B - A);
            if (n > 0) {
                const unsigned t = Step(n);
                for (long j = 1; j <= n; ++j)
                    out[o - n - 1 + j] = Lerp(in[i - 1], in[i], static_cast<unsigned>(j * t));
                n = 0;
            }
        } else {
            e += 2l * B;
            ++n;
        }
    }
    // Pixels still skipped at the end take the last input.
    for (long j = 0; j < n; ++j)
        out[A - j] = in[i];
}

template <class T>
void LImgProScaleBi::DrawLineDownscale(T* out, const T* in, int A, int B) const {
    using LImgProDetail::Lerp;
    long e = 2l * A - B;
    int o = 0;
    long n = 0;
    out[0] = in[0];
    for (int i = 0; i < B; ++i) {
        if (e >= 0) {
            e += 2l * (A - B);
            if (o < A) {
                ++o;
                out[o] = n > 0 ? Lerp(in[i], in[i + 1], Step(n)) : in[i + 1];
            }
            n = 0;
        } else {
            ++n;
            e += 2l * A;
        }
    }
    if (e < 0)
        out[o] = n > 0 ? Lerp(in[B - 1], in[B], Step(n)) : in[B];
}

template <class T>
LProcessResult LImgProScaleBi::ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                            const LImageBuffer& source) {
    using LImgProDetail::LerpRow;
    if (!target.IsValid() || target.format != source.format) {
        process.SetError("The scaled picture could not be allocated.");
        return LProcessResultError;
    }
    if (source.width < 2 || source.height < 2 || target.width < 2 || target.height < 2) {
        process.SetError("Smooth scaling needs pictures of at least 2 by 2 pixels.");
        return LProcessResultError;
    }
    const int W = target.width, A = target.width - 1, B = source.width - 1;
    const int H = target.height - 1, S = source.height - 1;

    // Source rows scaled to the target's width, the last two kept.
    std::vector<T> slots[2] = {std::vector<T>(static_cast<size_t>(W)),
                               std::vector<T>(static_cast<size_t>(W))};
    int slotRow[2] = {-1, -1};
    int nextSlot = 0;
    auto scaled = [&](int row) -> const T* {
        for (int k = 0; k < 2; ++k)
            if (slotRow[k] == row)
                return slots[k].data();
        const int k = nextSlot;
        nextSlot ^= 1;
        DrawLine(slots[k].data(), LImageRow<T>(source, row), A, B);
        slotRow[k] = row;
        return slots[k].data();
    };
    auto put = [&](int row, const T* from) { std::copy(from, from + W, LImageRow<T>(target, row)); };

    put(0, scaled(0));
    if (H < S) {
        long e = 2l * H - S, n = 0;
        int o = 0;
        for (int i = 0; i < S; ++i) {
            if (process.IsToStop())
                return LProcessResultStopped;
            if (e >= 0) {
                e += 2l * (H - S);
                if (o < H) {
                    ++o;
                    if (n > 0) {
                        const T* a = scaled(i);
                        const T* b = scaled(i + 1);
                        LerpRow(LImageRow<T>(target, o), a, b, Step(n), W);
                    } else {
                        put(o, scaled(i + 1));
                    }
                }
                n = 0;
            } else {
                ++n;
                e += 2l * H;
            }
        }
        if (e < 0) {
            if (n > 0) {
                const T* a = scaled(S - 1);
                const T* b = scaled(S);
                LerpRow(LImageRow<T>(target, o), a, b, Step(n), W);
            } else {
                put(o, scaled(S));
            }
        }
        return LProcessResultOk;
    }

    long e = 2l * S - H, n = 0;
    int o = 0, i = 0;
    for (int k = 0; k < H; ++k) {
        if (process.IsToStop())
            return LProcessResultStopped;
        ++o;
        if (e >= 0 && i < S) {
            ++i;
            const T* b = scaled(i);
            put(o, b);
            e += 2l * (S - H);
            if (n > 0) {
                const T* a = scaled(i - 1);
                const unsigned t = Step(n);
                for (long j = 1; j <= n; ++j)
                    LerpRow(LImageRow<T>(target, static_cast<int>(o - n - 1 + j)), a, b,
                            static_cast<unsigned>(j * t), W);
                n = 0;
            }
        } else {
            e += 2l * S;
            ++n;
        }
    }
    for (long j = 0; j < n; ++j)
        put(static_cast<int>(H - j), scaled(i));
    return LProcessResultOk;
}

template <class T>
LProcessResult LImgProFlip::ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                         const LImageBuffer& source) {
    if (direction < None || direction > Both) {
        process.SetErrorF("Unknown flip direction %d.", direction);
        return LProcessResultError;
    }
    const bool inPlace = &target == &source || target.GetStore() == source.GetStore();
    if (!inPlace && !LImagePrepareTarget(process, target, source, source.width, source.height))
        return LProcessResultError;
    if (direction == None) {
        if (!inPlace)
            LImageBufferCopy(target, source);
        return LProcessResultOk;
    }
    const int w = source.width, h = source.height;
    const bool mirror = direction & Horizontal;
    const bool upsideDown = direction & Vertical;
    std::vector<T> line(static_cast<size_t>(w));
    // Row y of the target comes from row y or h - 1 - y of the source, read
    // forwards or backwards. In place the pairs of rows are exchanged.
    const int rows = inPlace && upsideDown ? (h + 1) / 2 : h;
    for (int y = 0; y < rows; ++y) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const int fromY = upsideDown ? h - 1 - y : y;
        const T* in = LImageRow<T>(source, fromY);
        T* out = LImageRow<T>(target, y);
        if (!inPlace) {
            if (mirror)
                std::reverse_copy(in, in + w, out);
            else
                std::copy(in, in + w, out);
        } else if (!upsideDown) {
            std::reverse(out, out + w);
        } else {
            T* other = LImageRow<T>(target, fromY);
            if (other == out) { // the middle row of an odd height
                if (mirror)
                    std::reverse(out, out + w);
            } else {
                std::copy(out, out + w, line.begin());
                if (mirror) {
                    std::reverse_copy(other, other + w, out);
                    std::reverse_copy(line.begin(), line.end(), other);
                } else {
                    std::copy(other, other + w, out);
                    std::copy(line.begin(), line.end(), other);
                }
            }
        }
    }
    return LProcessResultOk;
}

template <class T>
LProcessResult LImgProOverlay::ProcessImage(LProcessInterface& process, LImageBuffer& target,
                                            const LImageBuffer& source) {
    // Pixels are mixed through the iterators, whose words already carry
    // every layout.
    return Compose(process, target, source);
}
