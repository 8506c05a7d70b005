// The raster target's drop shadows: the shape in black on a layer of its
// own, blurred, and placed under where the body will be drawn.

#include <algorithm>
#include <cmath>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "imaging/image_blur.h"
#include "render/render_image_buffer.h"
#include "render/render_image_buffer_p.h"
#include "target/draw_path.h"

namespace {

const LGuiColorAlpha kShadowBlack(LGuiColor(), 255);

// How far a shadow moves from its shape, in pixels: its offsets are shares
// of the box, and a grown shadow moves back by half its growth so that it
// stays centred on the shape.
struct ShadowShift {
    long x = 0, y = 0;
    ShadowShift(const KVBox& bounds, const KVDropShadow& shadow) {
        const float w = bounds.GetWidth(), h = bounds.GetHeight();
        if (shadow.horizontalOffset != 0)
            x = Round(w * static_cast<float>(shadow.horizontalOffset) / 100.0f);
        if (shadow.verticalOffset != 0)
            y = Round(h * static_cast<float>(shadow.verticalOffset) / 100.0f);
        if (shadow.size != 0) {
            x -= Round(w * static_cast<float>(shadow.size) / 100.0f * 0.5f);
            y -= Round(h * static_cast<float>(shadow.size) / 100.0f * 0.5f);
        }
    }
};

// The factor a shadow's size grows its shape by; 1 for size 0.
float Growth(const KVDropShadow& shadow) {
    return shadow.size != 0 ? (static_cast<float>(shadow.size) + 100.0f) / 100.0f : 1.0f;
}

LProcessResult MakeLayer(LProcessInterface& process, LImageBuffer& layer, long width, long height) {
    if (width > 0 && height > 0 && width <= 32767 && height <= 32767)
        LImage::New(layer, static_cast<int>(width), static_cast<int>(height),
                    LPixelFormatB8G8R8A8);
    if (!layer.IsValid()) {
        process.SetError("The shadow is too large to draw.");
        return LProcessResultError;
    }
    layer.Clear(LPixelColour());
    return LProcessResultOk;
}

// A stroke's blur is a byte; a larger radius blurs as far as a byte reaches,
// and the shadow's second blur adds the rest of the softness.
unsigned char StrokeBlur(int radius) {
    return static_cast<unsigned char>(std::clamp(radius, 0, 255));
}

} // namespace

LProcessResult KVRenderImageBuffer::BlurAndPlace(LProcessInterface& process, LImageBuffer& layer,
                                                 int radius, float x, float y, double blurStart,
                                                 double blurShare) {
    process.SetProgress(blurStart);
    {
        LProcessInterfaceSubProcess sub(process, blurStart, blurShare);
        LImageBlurSettings settings(layer, static_cast<unsigned long>(std::max(radius, 0)));
        if (LProcessResult r = Process(sub, settings))
            return r;
    }
    LPaintSurface::DrawImage(Surface(), KVPaintPixels(layer), x, y,
                             static_cast<float>(layer.width), static_cast<float>(layer.height),
                             1.0f, LPaintInterpolationLinear);
    Touch(KVBox(x, y, x + static_cast<float>(layer.width), y + static_cast<float>(layer.height)),
          1);
    return LProcessResultOk;
}

template <class Draw>
LProcessResult KVRenderImageBuffer::PlaceShadow(LProcessInterface& process, const KVBox& bounds,
                                                const KVDropShadow& shadow, long width,
                                                long height, int radius, long pad, Draw&& draw) {
    if (!HasSurface())
        return LProcessResultError;
    LImageBuffer layer;
    if (LProcessResult r = MakeLayer(process, layer, width, height))
        return r;
    {
        LImageBufferPainter painter(layer);
        if (!painter.IsValid())
            return LProcessResultError;
        painter.context.antialias = true;
        draw(painter.context);
        painter.Flush();
    }
    const ShadowShift shift(bounds, shadow);
    return BlurAndPlace(process, layer, radius,
                        static_cast<float>(shift.x - pad) + bounds.x1,
                        static_cast<float>(shift.y - pad) + bounds.y1, 0.1, 0.8);
}

LProcessResult KVRenderImageBuffer::DrawRectShadow(LProcessInterface& process,
                                                   const KVBox& bounds, float lineWidth,
                                                   bool hasFill, const KVDropShadow& shadow) {
    const int r = shadow.GetHardnessRadius(bounds);
    const float f = Growth(shadow);
    const float sw = bounds.GetWidth() * f, sh = bounds.GetHeight() * f;
    const float edge = 2.0f * static_cast<float>(r);
    return PlaceShadow(process, bounds, shadow, Round(sw) + 4L * r + Round(lineWidth),
                       Round(sh) + 4L * r + Round(lineWidth), r, Round(lineWidth / 2) + 2L * r,
                       [&](LPaintContext& c) {
                           const LGuiSolidBrush black(kShadowBlack);
                           if (hasFill)
                               LPaintSurface::FillRect(c, black, edge, edge, sw + lineWidth,
                                                       sh + lineWidth);
                           else
                               LPaintSurface::DrawRectangle(
                                   c,
                                   KVBox(edge + lineWidth / 2, edge + lineWidth / 2,
                                         edge + lineWidth / 2 + sw, edge + lineWidth / 2 + sh),
                                   black, lineWidth);
                       });
}

LProcessResult KVRenderImageBuffer::DrawEllipseShadow(LProcessInterface& process,
                                                      const KVBox& bounds, float lineWidth,
                                                      bool hasFill, const KVDropShadow& shadow) {
    const int r = shadow.GetHardnessRadius(bounds);
    const float f = Growth(shadow);
    const float sw = bounds.GetWidth() * f, sh = bounds.GetHeight() * f;
    const float edge = 2.0f * static_cast<float>(r);
    return PlaceShadow(process, bounds, shadow, Round(sw) + 4L * r + Round(lineWidth),
                       Round(sh) + 4L * r + Round(lineWidth), r, Round(lineWidth / 2) + 2L * r,
                       [&](LPaintContext& c) {
                           const LGuiSolidBrush black(kShadowBlack);
                           if (hasFill)
                               LPaintSurface::FillEllipse(c, edge, edge, sw + lineWidth,
                                                          sh + lineWidth, black);
                           else
                               LPaintSurface::DrawEllipse(c, edge + lineWidth / 2,
                                                          edge + lineWidth / 2, sw, sh, black,
                                                          lineWidth);
                       });
}

LProcessResult KVRenderImageBuffer::DrawPolyShadow(LProcessInterface& process, KVPoint* points,
                                                   unsigned long pointCount, const KVBox& bounds,
                                                   float lineWidth, bool hasFill,
                                                   const KVDropShadow& shadow) {
    if (!points || pointCount == 0)
        return LProcessResultOk;
    const int r = shadow.GetHardnessRadius(bounds);
    const float f = Growth(shadow);
    const float sw = bounds.GetWidth() * f, sh = bounds.GetHeight() * f;
    const float move = 2.0f * static_cast<float>(r) + lineWidth / 2;
    return PlaceShadow(process, bounds, shadow, Round(sw) + 4L * r + Round(lineWidth),
                       Round(sh) + 4L * r + Round(lineWidth), r, Round(lineWidth / 2) + 2L * r,
                       [&](LPaintContext& c) {
                           LArray<KVPoint> placed;
                           for (unsigned long i = 0; i < pointCount; ++i)
                               placed.Add(KVPoint(
                                   static_cast<float>(Round((points[i].x - bounds.x1) * f + move)),
                                   static_cast<float>(Round((points[i].y - bounds.y1) * f + move))));
                           LGraphicsPath path;
                           path.AddLines(&placed[0], pointCount);
                           path.CloseFigure();
                           const LGuiSolidBrush black(kShadowBlack);
                           if (hasFill)
                               LPaintSurface::FillPath(c, black, path);
                           else
                               LPaintSurface::DrawPath(c, black, path, lineWidth);
                       });
}

LProcessResult KVRenderImageBuffer::DrawPathShadow(LProcessInterface& process,
                                                   KVBrushType brushType, KVSegments segments,
                                                   float width, bool hasFill,
                                                   const KVDropShadow& shadow, const KVBox& bounds,
                                                   const KVPressure* pressure) {
    if (!HasSurface())
        return LProcessResultError;
    const int r = shadow.GetHardnessRadius(bounds);
    const float f = static_cast<float>(shadow.size) / 100.0f + 1.0f;
    const float grow = shadow.size != 0 ? f : 1.0f;
    const long pad = KVWholePixels(width) + 2L * r;
    LImageBuffer layer;
    if (LProcessResult res = MakeLayer(process, layer,
                                       Round((bounds.GetWidth() + 2 * width) * grow) + 4L * r,
                                       Round((bounds.GetHeight() + 2 * width) * grow) + 4L * r))
        return res;
    {
        LImageBufferPainter painter(layer);
        if (!painter.IsValid())
            return LProcessResultError;
        LPaintContext& c = painter.context;
        c.antialias = true;
        LPaintSurface::TransformScale(c, f, f);
        LPaintSurface::TransformTranslate(c, static_cast<float>(pad) - bounds.x1,
                                          static_cast<float>(pad) - bounds.y1);
        if (process.IsToStop())
            return LProcessResultStopped;
        {
            LProcessInterfaceSubProcess stroke(process, 0.1, 0.3);
            LProcessResult res = LProcessResultError;
            switch (brushType) {
            case KVBrushCalligraphy:
            case KVBrushCalligraphyReverse:
            case KVBrushSpray:
            case KVBrushPencil:
            case KVBrushPaintbrush:
                res = StampPath(stroke, c, segments, brushType, width, kShadowBlack, 1.0f,
                                StrokeBlur(r), bounds, true, pressure);
                break;
            case KVBrushRoundPen:
            case KVBrushMarker:
                res = pressure ? StampPath(stroke, c, segments, brushType, width, kShadowBlack,
                                           1.0f, StrokeBlur(r), bounds, true, pressure)
                               : RenderPath(stroke, c, segments, brushType, LLineStyle(), width,
                                            kShadowBlack, 1.0f, StrokeBlur(r), bounds);
                break;
            default:
                // The crayon's passes have no shadow of their own.
                process.SetError("This brush has no shadow.");
                break;
            }
            if (res)
                return res;
        }
        if (hasFill) {
            LGraphicsPath path;
            KVAddSegments(path, segments);
            LPaintSurface::FillPath(c, LGuiSolidBrush(kShadowBlack), path);
            process.SetProgress(0.41);
        }
        painter.Flush();
    }
    const ShadowShift shift(bounds, shadow);
    return BlurAndPlace(process, layer, r, static_cast<float>(shift.x - pad) + bounds.x1,
                        static_cast<float>(shift.y - pad) + bounds.y1, 0.41, 0.5);
}

LProcessResult KVRenderImageBuffer::DrawTextShadow(LProcessInterface& process, const char* text,
                                                   unsigned long size, bool bold, bool italic,
                                                   bool underline, const char* face,
                                                   LAlignmentX align, KVBox box,
                                                   const KVDropShadow& shadow) {
    if (!HasSurface())
        return LProcessResultError;
    const int r = shadow.GetHardnessRadius(box);
    // The wrapped lines may run anywhere on the picture: the layer is the
    // target's own size and has its coordinates.
    LImageBuffer layer;
    if (LProcessResult res = MakeLayer(process, layer, image.width, image.height))
        return res;
    const float f = Growth(shadow);
    KVBox grown = box;
    grown.x2 = box.x1 + box.GetWidth() * f;
    grown.y2 = box.y1 + box.GetHeight() * f;
    const unsigned long grownSize =
        shadow.size != 0 ? static_cast<unsigned long>(Round(static_cast<float>(size) * f)) : size;
    {
        LImageBufferPainter painter(layer);
        if (!painter.IsValid())
            return LProcessResultError;
        painter.context.antialias = true;
        LPaintSurface::SetFont(painter.context,
                               KVElementFont(face, grownSize, bold, italic, underline));
        const LGuiSolidBrush black(kShadowBlack);
        LPaintSurface::DrawText(painter.context, text ? text : "", grown,
                                KVElementTextFormat(align), &black);
        painter.Flush();
    }
    const ShadowShift shift(box, shadow);
    return BlurAndPlace(process, layer, r, static_cast<float>(shift.x),
                        static_cast<float>(shift.y), 0.1, 0.8);
}
