// The raster target's bevels: the shape's alpha on a layer of its own, lit
// from the upper left, and the highlight drawn over the body already on the
// target. The body's colours stay as painted; a bevel only brightens.

#include <algorithm>
#include <cmath>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "render/lighting.h"
#include "render/render_image_buffer.h"
#include "render/render_image_buffer_p.h"
#include "target/draw_path.h"

namespace {

// The bevel reaches its size, or twice the outline's width when that is more.
int BevelMargin(float lineWidth, const KVBevelEmboss& bevel) {
    return static_cast<int>(std::max(KVWholePixels(2 * lineWidth), static_cast<long>(bevel.size)));
}

LGuiSolidBrush Black(unsigned char alpha) {
    return LGuiSolidBrush(LGuiColorAlpha(LGuiColor(), alpha));
}

} // namespace

template <class Draw>
LProcessResult KVRenderImageBuffer::PlaceBevel(LProcessInterface& process, const KVBox& bounds,
                                               int margin, Draw&& draw) {
    if (!HasSurface())
        return LProcessResultError;
    const long width = Round(bounds.GetWidth()) + 2L * margin;
    const long height = Round(bounds.GetHeight()) + 2L * margin;
    LImageBuffer layer;
    if (width > 0 && height > 0 && width <= 32767 && height <= 32767)
        LImage::New(layer, static_cast<int>(width), static_cast<int>(height),
                    LPixelFormatB8G8R8A8);
    if (!layer.IsValid()) {
        process.SetError("The bevel is too large to draw.");
        return LProcessResultError;
    }
    layer.Clear(LPixelColour());
    {
        LImageBufferPainter painter(layer);
        if (!painter.IsValid())
            return LProcessResultError;
        painter.context.antialias = true;
        if (LProcessResult r = draw(process, painter.context))
            return r;
        painter.Flush();
    }
    process.SetProgress(0.05);
    const LGuiColor white = LGuiColor::FromBytes(255, 255, 255);
    LImageBuffer light;
    KVSpeLgting job;
    job.source = &layer;
    job.target = &light;
    job.blurRadius = static_cast<float>(margin);
    job.colour = &white;
    {
        LProcessInterfaceSubProcess sub(process, 0.05, 0.9);
        if (LProcessResult r = Process(sub, job))
            return r;
    }
    const float x = bounds.x1 - static_cast<float>(margin),
                y = bounds.y1 - static_cast<float>(margin);
    LPaintSurface::DrawImage(Surface(), KVPaintPixels(light), x, y,
                             static_cast<float>(light.width), static_cast<float>(light.height),
                             1.0f, LPaintInterpolationLinear);
    Touch(KVBox(x, y, x + static_cast<float>(light.width), y + static_cast<float>(light.height)),
          1);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::BoxBevel(LProcessInterface& process, unsigned char alpha,
                                             float lineWidth, const KVBox& bounds,
                                             const KVBevelEmboss& bevel, bool fill,
                                             bool ellipse) {
    const int s = BevelMargin(lineWidth, bevel);
    const float at = static_cast<float>(s);
    const float w = static_cast<float>(Round(bounds.GetWidth())),
                h = static_cast<float>(Round(bounds.GetHeight()));
    return PlaceBevel(process, bounds, s, [&](LProcessInterface&, LPaintContext& c) {
        const LGuiSolidBrush black = Black(alpha);
        if (fill) {
            if (ellipse)
                LPaintSurface::FillEllipse(c, at, at, w, h, black);
            else
                LPaintSurface::FillRect(c, black, at, at, w, h);
        }
        if (lineWidth > 0 || !fill) {
            if (ellipse)
                LPaintSurface::DrawEllipse(c, at, at, w, h, black, lineWidth);
            else
                LPaintSurface::DrawRectangle(c, KVBox(at, at, at + w, at + h), black, lineWidth);
        }
        return LProcessResultOk;
    });
}

LProcessResult KVRenderImageBuffer::PolyBevel(LProcessInterface& process, unsigned char alpha,
                                              float lineWidth, KVPoint* points,
                                              unsigned long pointCount, const KVBox& bounds,
                                              const KVBevelEmboss& bevel, bool fill) {
    if (!points || pointCount == 0)
        return LProcessResultOk;
    const int s = BevelMargin(lineWidth, bevel);
    return PlaceBevel(process, bounds, s, [&](LProcessInterface&, LPaintContext& c) {
        LArray<KVPoint> placed;
        for (unsigned long i = 0; i < pointCount; ++i)
            placed.Add(KVPoint(static_cast<float>(Round(points[i].x - bounds.x1 + s)),
                               static_cast<float>(Round(points[i].y - bounds.y1 + s))));
        LGraphicsPath path;
        path.AddLines(&placed[0], pointCount);
        path.CloseFigure();
        const LGuiSolidBrush black = Black(alpha);
        if (fill)
            LPaintSurface::FillPath(c, black, path);
        if (lineWidth > 0 || !fill)
            LPaintSurface::DrawPath(c, black, path, lineWidth);
        return LProcessResultOk;
    });
}

LProcessResult KVRenderImageBuffer::FillPathBevel(LProcessInterface& process, unsigned char alpha,
                                                  KVSegments segments, float lineWidth,
                                                  const KVBox& bounds,
                                                  const KVBevelEmboss& bevel) {
    const int s = BevelMargin(lineWidth, bevel);
    return PlaceBevel(process, bounds, s, [&](LProcessInterface&, LPaintContext& c) {
        LGraphicsPath path;
        KVAddSegments(path, segments);
        path.Translate(static_cast<float>(s) - bounds.x1, static_cast<float>(s) - bounds.y1);
        const LGuiSolidBrush black = Black(alpha);
        LPaintSurface::FillPath(c, black, path);
        LLineStyle style;
        style.join = 2;
        LPaintSurface::DrawPath(c, black, path, lineWidth, &style);
        return LProcessResultOk;
    });
}

LProcessResult KVRenderImageBuffer::DrawRectBevelEmboss(LProcessInterface& process,
                                                        float lineWidth,
                                                        const LGuiColorAlpha& lineColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return BoxBevel(process, lineColour.alpha, lineWidth, bounds, bevel, false, false);
}

LProcessResult KVRenderImageBuffer::FillRectBevelEmboss(LProcessInterface& process,
                                                        float lineWidth, const LGuiColorAlpha&,
                                                        const LGuiColorAlpha& fillColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return BoxBevel(process, fillColour.alpha, lineWidth, bounds, bevel, true, false);
}

LProcessResult KVRenderImageBuffer::FillRectBevelEmboss(LProcessInterface& process,
                                                        const KVGradient&, float lineWidth,
                                                        const LGuiColorAlpha&,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return BoxBevel(process, 255, lineWidth, bounds, bevel, true, false);
}

LProcessResult KVRenderImageBuffer::DrawEllipseBevelEmboss(LProcessInterface& process,
                                                           float lineWidth,
                                                           const LGuiColorAlpha& lineColour,
                                                           const KVBox& bounds,
                                                           const KVBevelEmboss& bevel) {
    return BoxBevel(process, lineColour.alpha, lineWidth, bounds, bevel, false, true);
}

LProcessResult KVRenderImageBuffer::FillEllipseBevelEmboss(LProcessInterface& process,
                                                           float lineWidth,
                                                           const LGuiColorAlpha&,
                                                           const LGuiColorAlpha& fillColour,
                                                           const KVBox& bounds,
                                                           const KVBevelEmboss& bevel) {
    return BoxBevel(process, fillColour.alpha, lineWidth, bounds, bevel, true, true);
}

LProcessResult KVRenderImageBuffer::FillEllipseBevelEmboss(LProcessInterface& process,
                                                           const KVGradient&, float lineWidth,
                                                           const LGuiColorAlpha&,
                                                           const KVBox& bounds,
                                                           const KVBevelEmboss& bevel) {
    return BoxBevel(process, 255, lineWidth, bounds, bevel, true, true);
}

LProcessResult KVRenderImageBuffer::DrawPolyBevelEmboss(LProcessInterface& process,
                                                        float lineWidth,
                                                        const LGuiColorAlpha& lineColour,
                                                        KVPoint* points, unsigned long pointCount,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return PolyBevel(process, lineColour.alpha, lineWidth, points, pointCount, bounds, bevel,
                     false);
}

LProcessResult KVRenderImageBuffer::FillPolyBevelEmboss(LProcessInterface& process,
                                                        float lineWidth, const LGuiColorAlpha&,
                                                        const LGuiColorAlpha& fillColour,
                                                        KVPoint* points, unsigned long pointCount,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return PolyBevel(process, fillColour.alpha, lineWidth, points, pointCount, bounds, bevel,
                     true);
}

LProcessResult KVRenderImageBuffer::FillPolyBevelEmboss(LProcessInterface& process,
                                                        const KVGradient&, float lineWidth,
                                                        const LGuiColorAlpha&, KVPoint* points,
                                                        unsigned long pointCount,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return PolyBevel(process, 255, lineWidth, points, pointCount, bounds, bevel, true);
}

LProcessResult KVRenderImageBuffer::FillPathBevelEmboss(LProcessInterface& process, KVBrushType,
                                                        KVSegments segments, float width,
                                                        LGuiColor, LGuiColorAlpha fillColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel,
                                                        const KVPressure*) {
    return FillPathBevel(process, fillColour.alpha, segments, width, bounds, bevel);
}

LProcessResult KVRenderImageBuffer::FillPathBevelEmboss(LProcessInterface& process, KVBrushType,
                                                        KVSegments segments, float width,
                                                        LGuiColor, const KVGradient&,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel,
                                                        const KVPressure*) {
    return FillPathBevel(process, 255, segments, width, bounds, bevel);
}

LProcessResult KVRenderImageBuffer::DrawPathBevelEmboss(LProcessInterface& process,
                                                        KVBrushType brushType,
                                                        KVSegments segments, float width,
                                                        LGuiColor colour,
                                                        const KVBevelEmboss& bevel,
                                                        const KVBox& bounds,
                                                        const KVPressure* pressure) {
    const int s = BevelMargin(width, bevel);
    const LGuiColorAlpha stroke(colour, 255);
    return PlaceBevel(process, bounds, s, [&](LProcessInterface& p, LPaintContext& c) {
        LPaintSurface::TransformTranslate(c, static_cast<float>(s) - bounds.x1,
                                          static_cast<float>(s) - bounds.y1);
        switch (brushType) {
        case KVBrushCalligraphy:
        case KVBrushCalligraphyReverse:
        case KVBrushSpray:
        case KVBrushPencil:
        case KVBrushPaintbrush:
            return StampPath(p, c, segments, brushType, width, stroke, 1.0f, 0, bounds, false,
                             pressure);
        case KVBrushRoundPen:
        case KVBrushMarker:
            return pressure ? StampPath(p, c, segments, brushType, width, stroke, 1.0f, 0, bounds,
                                        false, pressure)
                            : RenderPath(p, c, segments, brushType, LLineStyle(), width, stroke,
                                         1.0f, 0, bounds);
        default:
            p.SetError("This brush has no bevel.");
            return LProcessResultError;
        }
    });
}

LProcessResult KVRenderImageBuffer::DrawTextBevelEmboss(LProcessInterface& process,
                                                        const char* text, unsigned long size,
                                                        bool bold, bool italic, bool underline,
                                                        const char* face, LAlignmentX align,
                                                        KVBox box, const KVBevelEmboss& bevel) {
    const int s = BevelMargin(0, bevel);
    return PlaceBevel(process, box, s, [&](LProcessInterface& p, LPaintContext& c) {
        LImageBuffer picture;
        if (LProcessResult r = DrawText(p, picture, text, size, bold, italic, underline, face,
                                        align, static_cast<int>(Round(box.GetWidth())),
                                        static_cast<int>(Round(box.GetHeight())),
                                        LGuiColorAlpha(LGuiColor(), 255)))
            return r;
        LPaintSurface::DrawImage(c, KVPaintPixels(picture), static_cast<float>(s),
                                 static_cast<float>(s), static_cast<float>(picture.width),
                                 static_cast<float>(picture.height), 1.0f,
                                 LPaintInterpolationLinear);
        return LProcessResultOk;
    });
}
