#include "exchange/render_pdf.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "document/project.h"
#include "foundation/file.h"
#include "foundation/line_style.h"
#include "render/line_cap.h"
#include "render/render_image_buffer.h"
#include "render/render_image_buffer_p.h"
#include "render/render_results.h"

namespace {

// The alpha of the text run over a text's picture: the drawing library
// leaves out whatever is fully transparent, and one step above it moves no
// pixel of the page by more than one level.
constexpr unsigned char kSearchableTextAlpha = 1;

} // namespace

KVRenderImagePDF::KVRenderImagePDF(int width, int height, const char* folder)
    : width(width), height(height) {
    if (!LFile::GetTempFilePathWithExt(tempPath, sizeof tempPath, ".pdf", folder)) {
        tempPath[0] = 0;
        return;
    }
    writer = std::make_unique<LPDFWriter>(tempPath, static_cast<float>(width),
                                          static_cast<float>(height));
    writer->StartPage();
}

KVRenderImagePDF::~KVRenderImagePDF() {
    glowTarget.reset();
    writer.reset();
    if (tempPath[0])
        unlink(tempPath);
}

bool KVRenderImagePDF::SaveAsFile(const char* path) {
    if (!IsValid() || !path || !*path)
        return false;
    const bool written = writer->Finish();
    writer.reset();
    if (written) {
        LFile::GiveModeOf(path, tempPath);
        if (LFile::MoveFile(tempPath, path)) {
            tempPath[0] = 0;
            return true;
        }
    }
    unlink(tempPath);
    tempPath[0] = 0;
    return false;
}

LProcessResult KVRenderImagePDF::NoWriter(LProcessInterface& process) {
    process.SetError(kNoWriterError);
    return LProcessResultError;
}

// ---------------------------------------------------------------- transforms

KVRenderImage* KVRenderImagePDF::BeginRotate(float degrees, KVPoint centre) {
    if (!IsValid())
        return this;
    LPaintContext& c = writer->context;
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::TransformTranslate(c, centre.x, centre.y);
    LPaintSurface::TransformRotate(c, degrees);
    LPaintSurface::TransformTranslate(c, -centre.x, -centre.y);
    return this;
}

KVRenderImage* KVRenderImagePDF::BeginScale(float x, float y) {
    if (IsValid()) {
        LPaintSurface::ClipStackPush(writer->context);
        LPaintSurface::TransformScale(writer->context, x, y);
    }
    return this;
}

KVRenderImage* KVRenderImagePDF::BeginTranslate(float x, float y) {
    if (IsValid()) {
        LPaintSurface::ClipStackPush(writer->context);
        LPaintSurface::TransformTranslate(writer->context, x, y);
    }
    return this;
}

void KVRenderImagePDF::PopState() {
    if (IsValid())
        LPaintSurface::ClipStackPop(writer->context);
}

void KVRenderImagePDF::FinishRotate() {
    PopState();
}
void KVRenderImagePDF::FinishScale() {
    PopState();
}
void KVRenderImagePDF::FinishTranslate() {
    PopState();
}

// ---------------------------------------------------------------- pictures

void KVRenderImagePDF::PlaceCovered(const LImageBuffer& picture) {
    int x1 = picture.width, y1 = picture.height, x2 = -1, y2 = -1;
    for (int y = 0; y < picture.height; ++y) {
        const unsigned char* row = picture.GetPictureRow(y);
        int first = -1, last = -1;
        for (int x = 0; x < picture.width; ++x)
            if (row[x * 4 + 3]) {
                if (first < 0)
                    first = x;
                last = x;
            }
        if (first < 0)
            continue;
        x1 = std::min(x1, first);
        x2 = std::max(x2, last);
        y1 = std::min(y1, y);
        y2 = y;
    }
    if (x2 < 0)
        return;
    LPaintPixels covered = KVPaintPixels(picture);
    covered.data = picture.GetPictureRow(y1) + x1 * 4;
    covered.width = x2 - x1 + 1;
    covered.height = y2 - y1 + 1;
    LPaintSurface::DrawImage(writer->context, covered, static_cast<float>(x1),
                             static_cast<float>(y1), static_cast<float>(covered.width),
                             static_cast<float>(covered.height), 1.0f, LPaintInterpolationLinear);
}

template <class Draw>
LProcessResult KVRenderImagePDF::Rasterise(LProcessInterface& process, Draw&& draw) {
    if (!IsValid())
        return NoWriter(process);
    KVRenderImageBuffer layer(width, height, true);
    if (!layer.GetImage().IsValid()) {
        process.SetError("There is not enough memory for a picture of the page.");
        return LProcessResultError;
    }
    if (LProcessResult r = draw(layer))
        return r;
    layer.Flush();
    PlaceCovered(layer.GetImage());
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::DrawImage(LProcessInterface& process, const LImageBuffer& image,
                                           int x, int y, int w, int h) {
    if (!IsValid())
        return NoWriter(process);
    if (!image.IsValid() || image.format != LPixelFormatB8G8R8A8) {
        process.SetError("The picture has no pixels of 8-bit colour and alpha to draw.");
        return LProcessResultError;
    }
    LPaintSurface::DrawImage(writer->context, KVPaintPixels(image), static_cast<float>(x),
                             static_cast<float>(y), static_cast<float>(w), static_cast<float>(h),
                             1.0f, LPaintInterpolationLinear);
    return LProcessResultOk;
}

// ---------------------------------------------------------------- glows

KVRenderImage* KVRenderImagePDF::BeginInnerGlow(LGuiColorAlpha colour, float size) {
    if (!IsValid())
        return this;
    glowTarget = std::make_unique<KVRenderImageBuffer>(width, height, true);
    return glowTarget->BeginInnerGlow(colour, size);
}

KVRenderImage* KVRenderImagePDF::BeginOuterGlow(LGuiColorAlpha colour, float size) {
    if (!IsValid())
        return this;
    glowTarget = std::make_unique<KVRenderImageBuffer>(width, height, true);
    return glowTarget->BeginOuterGlow(colour, size);
}

void KVRenderImagePDF::FinishGlow(LProcessInterface& process, bool inner) {
    if (!glowTarget)
        return;
    if (inner)
        glowTarget->FinishInnerGlow(process);
    else
        glowTarget->FinishOuterGlow(process);
    glowTarget->Flush();
    if (IsValid() && glowTarget->GetImage().IsValid())
        PlaceCovered(glowTarget->GetImage());
    glowTarget.reset();
}

void KVRenderImagePDF::FinishInnerGlow(LProcessInterface& process) {
    FinishGlow(process, true);
}
void KVRenderImagePDF::FinishOuterGlow(LProcessInterface& process) {
    FinishGlow(process, false);
}

// ---------------------------------------------------------------- shapes

LProcessResult KVRenderImagePDF::Clear(LPixelColour colour) {
    if (!IsValid())
        return LProcessResultError;
    const LGuiColorAlpha fill(colour.red, colour.green, colour.blue, colour.alpha);
    LPaintSurface::FillRect(writer->context, LGuiSolidBrush(fill), 0, 0, static_cast<float>(width),
                            static_cast<float>(height));
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillBox(const LGuiBrush& fill, float lineWidth,
                                         const LGuiColorAlpha& lineColour, const KVBox& bounds,
                                         bool ellipse) {
    // The outline first, the fill inset on top of it, as the raster target
    // lays them, so that the two agree where they meet.
    LPaintContext& c = writer->context;
    const KVBox box = KVRenderImageBuffer::GetFillBox(bounds, lineWidth);
    if (lineWidth > 0) {
        const LGuiSolidBrush line(lineColour);
        if (ellipse)
            LPaintSurface::DrawEllipse(c, bounds.x1, bounds.y1, bounds.GetWidth(),
                                       bounds.GetHeight(), line, lineWidth);
        else
            LPaintSurface::DrawRectangle(c, bounds, line, lineWidth);
    }
    if (ellipse)
        LPaintSurface::FillEllipse(c, box.x1, box.y1, box.GetWidth(), box.GetHeight(), fill);
    else
        LPaintSurface::FillRect(c, fill, box.x1, box.y1, box.GetWidth(), box.GetHeight());
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillBoxWithGradient(const KVGradient& gradient, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     const KVBox& bounds, bool ellipse) {
    LPtr<LGuiBrush> brush;
    if (!KVRenderImageBuffer::CreateGradient(brush, gradient, bounds))
        return LProcessResultError;
    return FillBox(*brush, lineWidth, lineColour, bounds, ellipse);
}

LProcessResult KVRenderImagePDF::DrawRect(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour, const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    if (lineWidth != 0)
        LPaintSurface::DrawRectangle(writer->context, bounds, LGuiSolidBrush(lineColour),
                                     lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillRect(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour,
                                          const LGuiColorAlpha& fillColour, const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    return FillBox(LGuiSolidBrush(fillColour), lineWidth, lineColour, bounds, false);
}

LProcessResult KVRenderImagePDF::FillRect(LProcessInterface& process, const KVGradient& gradient,
                                          float lineWidth, const LGuiColorAlpha& lineColour,
                                          const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    return FillBoxWithGradient(gradient, lineWidth, lineColour, bounds, false);
}

LProcessResult KVRenderImagePDF::DrawEllipse(LProcessInterface& process, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    if (lineWidth != 0)
        LPaintSurface::DrawEllipse(writer->context, bounds.x1, bounds.y1, bounds.GetWidth(),
                                   bounds.GetHeight(), LGuiSolidBrush(lineColour), lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillEllipse(LProcessInterface& process, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const LGuiColorAlpha& fillColour,
                                             const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    return FillBox(LGuiSolidBrush(fillColour), lineWidth, lineColour, bounds, true);
}

LProcessResult KVRenderImagePDF::FillEllipse(LProcessInterface& process, const KVGradient& gradient,
                                             float lineWidth, const LGuiColorAlpha& lineColour,
                                             const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    return FillBoxWithGradient(gradient, lineWidth, lineColour, bounds, true);
}

LProcessResult KVRenderImagePDF::DrawPoly(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour, KVPoint* points,
                                          unsigned long pointCount, const KVBox& /*bounds*/) {
    if (!IsValid())
        return NoWriter(process);
    if (lineWidth == 0 || !points || pointCount == 0)
        return LProcessResultOk;
    LGraphicsPath path;
    path.AddLines(points, pointCount);
    path.CloseFigure();
    LPaintSurface::DrawPath(writer->context, LGuiSolidBrush(lineColour), path, lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillPolyWith(const LGuiBrush& fill, float lineWidth,
                                              const LGuiColorAlpha& lineColour, KVPoint* points,
                                              unsigned long pointCount) {
    if (!points || pointCount == 0)
        return LProcessResultOk;
    LGraphicsPath path;
    path.AddLines(points, pointCount);
    path.CloseFigure();
    LPaintSurface::FillPath(writer->context, fill, path);
    if (lineWidth > 0 && lineColour.alpha != 0)
        LPaintSurface::DrawPath(writer->context, LGuiSolidBrush(lineColour), path, lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillPoly(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour,
                                          const LGuiColorAlpha& fillColour, KVPoint* points,
                                          unsigned long pointCount, const KVBox& /*bounds*/) {
    if (!IsValid())
        return NoWriter(process);
    return FillPolyWith(LGuiSolidBrush(fillColour), lineWidth, lineColour, points, pointCount);
}

LProcessResult KVRenderImagePDF::FillPoly(LProcessInterface& process, const KVGradient& gradient,
                                          float lineWidth, const LGuiColorAlpha& lineColour,
                                          KVPoint* points, unsigned long pointCount,
                                          const KVBox& /*bounds*/) {
    if (!IsValid())
        return NoWriter(process);
    if (!points || pointCount == 0)
        return LProcessResultOk;
    // The gradient spans the points themselves, not the element's box.
    KVBox box(points[0].x, points[0].y, points[0].x, points[0].y);
    for (unsigned long i = 1; i < pointCount; ++i) {
        box.x1 = std::min(box.x1, points[i].x);
        box.y1 = std::min(box.y1, points[i].y);
        box.x2 = std::max(box.x2, points[i].x);
        box.y2 = std::max(box.y2, points[i].y);
    }
    LPtr<LGuiBrush> brush;
    if (!KVRenderImageBuffer::CreateGradient(brush, gradient, box))
        return LProcessResultError;
    return FillPolyWith(*brush, lineWidth, lineColour, points, pointCount);
}

LProcessResult KVRenderImagePDF::DrawLine(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour, KVLineCapStyle startCap,
                                          KVLineCapStyle endCap, LLineDashStyle dash, float x1,
                                          float y1, float x2, float y2) {
    if (!IsValid())
        return NoWriter(process);
    LPaintContext& c = writer->context;
    const LGuiSolidBrush brush(lineColour);
    LLineStyle style(dash);
    auto strokeCap = [](KVLineCapStyle cap) {
        return cap == KVLineCapFlat || cap == KVLineCapRound || cap == KVLineCapAsFlat;
    };
    std::unique_ptr<LGraphicsPath> start(GetLineCap(startCap, lineWidth, {x1, y1}, {x2, y2}));
    if (!start && strokeCap(startCap))
        style.startCap = startCap;
    std::unique_ptr<LGraphicsPath> end(GetLineCap(endCap, lineWidth, {x2, y2}, {x1, y1}));
    if (end)
        LPaintSurface::FillPath(c, brush, *end);
    else if (strokeCap(endCap))
        style.endCap = endCap;
    if (start)
        LPaintSurface::FillPath(c, brush, *start);
    LPaintSurface::DrawLine(c, x1, y1, x2, y2, brush, lineWidth, &style);
    return LProcessResultOk;
}

bool KVRenderImagePDF::FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha& colour) {
    if (!IsValid())
        return false;
    const LGuiSolidBrush brush(colour);
    LPaintSurface::DrawPath(writer->context, brush, path, 1.0f);
    LPaintSurface::FillPath(writer->context, brush, path);
    return true;
}

LProcessResult KVRenderImagePDF::FillPathWith(KVSegments segments, const LGuiBrush& fill,
                                              float lineWidth, LGuiColor lineColour) {
    LGraphicsPath path;
    KVAddSegments(path, segments);
    if (lineWidth > 0) {
        LLineStyle style;
        style.join = 2;
        LPaintSurface::DrawPath(writer->context, LGuiSolidBrush(LGuiColorAlpha(lineColour, 255)),
                                path, lineWidth, &style);
    }
    LPaintSurface::FillPath(writer->context, fill, path);
    return LProcessResultOk;
}

LProcessResult KVRenderImagePDF::FillPath(LProcessInterface& process, KVSegments segments,
                                          float lineWidth, LGuiColor lineColour,
                                          LGuiColorAlpha fillColour) {
    if (!IsValid())
        return NoWriter(process);
    return FillPathWith(segments, LGuiSolidBrush(fillColour), lineWidth, lineColour);
}

LProcessResult KVRenderImagePDF::FillPath(LProcessInterface& process, KVSegments segments,
                                          float lineWidth, LGuiColor lineColour,
                                          const KVGradient& gradient, const KVBox& bounds) {
    if (!IsValid())
        return NoWriter(process);
    LPtr<LGuiBrush> brush;
    if (!KVRenderImageBuffer::CreateGradient(brush, gradient, bounds))
        return LProcessResultError;
    return FillPathWith(segments, *brush, lineWidth, lineColour);
}

// ---------------------------------------------------------------- raster effects

LProcessResult KVRenderImagePDF::EraserStroke(LProcessInterface& process,
                                              LListIterator<KVEraserStroke> strokes) {
    // On the page an eraser covers in its canvas colour: there is nothing
    // under a picture to remove. Every element asks, most with no strokes.
    if (!strokes)
        return IsValid() ? LProcessResultOk : NoWriter(process);
    return Rasterise(process, [&](KVRenderImage& r) { return r.EraserStroke(process, strokes); });
}

LProcessResult KVRenderImagePDF::DrawPath(LProcessInterface& process, KVBrushType brushType,
                                          KVSegments segments, const LLineStyle& style, float width,
                                          LGuiColorAlpha colour, const KVBox& bounds,
                                          unsigned char blurRadius, const KVPressure* pressure) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawPath(process, brushType, segments, style, width, colour, bounds, blurRadius,
                          pressure);
    });
}

LProcessResult KVRenderImagePDF::DrawPolyShadow(LProcessInterface& process, KVPoint* points,
                                                unsigned long pointCount, const KVBox& bounds,
                                                float lineWidth, bool hasFill,
                                                const KVDropShadow& shadow) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawPolyShadow(process, points, pointCount, bounds, lineWidth, hasFill, shadow);
    });
}

LProcessResult KVRenderImagePDF::DrawPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     KVPoint* points, unsigned long pointCount,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawPolyBevelEmboss(process, lineWidth, lineColour, points, pointCount, bounds,
                                     bevel);
    });
}

LProcessResult KVRenderImagePDF::FillPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     const LGuiColorAlpha& fillColour,
                                                     KVPoint* points, unsigned long pointCount,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillPolyBevelEmboss(process, lineWidth, lineColour, fillColour, points, pointCount,
                                     bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::FillPolyBevelEmboss(LProcessInterface& process,
                                                     const KVGradient& gradient, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     KVPoint* points, unsigned long pointCount,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillPolyBevelEmboss(process, gradient, lineWidth, lineColour, points, pointCount,
                                     bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::DrawEllipseShadow(LProcessInterface& process, const KVBox& bounds,
                                                   float lineWidth, bool hasFill,
                                                   const KVDropShadow& shadow) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawEllipseShadow(process, bounds, lineWidth, hasFill, shadow);
    });
}

LProcessResult KVRenderImagePDF::DrawEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                                        const LGuiColorAlpha& lineColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawEllipseBevelEmboss(process, lineWidth, lineColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::FillEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                                        const LGuiColorAlpha& lineColour,
                                                        const LGuiColorAlpha& fillColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillEllipseBevelEmboss(process, lineWidth, lineColour, fillColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::FillEllipseBevelEmboss(LProcessInterface& process,
                                                        const KVGradient& gradient, float lineWidth,
                                                        const LGuiColorAlpha& lineColour,
                                                        const KVBox& bounds,
                                                        const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillEllipseBevelEmboss(process, gradient, lineWidth, lineColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::DrawRectShadow(LProcessInterface& process, const KVBox& bounds,
                                                float lineWidth, bool hasFill,
                                                const KVDropShadow& shadow) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawRectShadow(process, bounds, lineWidth, hasFill, shadow);
    });
}

LProcessResult KVRenderImagePDF::DrawRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawRectBevelEmboss(process, lineWidth, lineColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::FillRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     const LGuiColorAlpha& fillColour,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillRectBevelEmboss(process, lineWidth, lineColour, fillColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::FillRectBevelEmboss(LProcessInterface& process,
                                                     const KVGradient& gradient, float lineWidth,
                                                     const LGuiColorAlpha& lineColour,
                                                     const KVBox& bounds,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillRectBevelEmboss(process, gradient, lineWidth, lineColour, bounds, bevel);
    });
}

LProcessResult KVRenderImagePDF::DrawPathShadow(LProcessInterface& process, KVBrushType brushType,
                                                KVSegments segments, float width, bool hasFill,
                                                const KVDropShadow& shadow, const KVBox& bounds,
                                                const KVPressure* pressure) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawPathShadow(process, brushType, segments, width, hasFill, shadow, bounds,
                                pressure);
    });
}

LProcessResult KVRenderImagePDF::DrawPathBevelEmboss(
    LProcessInterface& process, KVBrushType brushType, KVSegments segments, float width,
    LGuiColor colour, const KVBevelEmboss& bevel, const KVBox& bounds, const KVPressure* pressure) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawPathBevelEmboss(process, brushType, segments, width, colour, bevel, bounds,
                                     pressure);
    });
}

LProcessResult KVRenderImagePDF::FillPathBevelEmboss(LProcessInterface& process,
                                                     KVBrushType brushType, KVSegments segments,
                                                     float width, LGuiColor lineColour,
                                                     LGuiColorAlpha fillColour, const KVBox& bounds,
                                                     const KVBevelEmboss& bevel,
                                                     const KVPressure* pressure) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillPathBevelEmboss(process, brushType, segments, width, lineColour, fillColour,
                                     bounds, bevel, pressure);
    });
}

LProcessResult
KVRenderImagePDF::FillPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                      KVSegments segments, float width, LGuiColor lineColour,
                                      const KVGradient& gradient, const KVBox& bounds,
                                      const KVBevelEmboss& bevel, const KVPressure* pressure) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.FillPathBevelEmboss(process, brushType, segments, width, lineColour, gradient,
                                     bounds, bevel, pressure);
    });
}

LProcessResult KVRenderImagePDF::DrawTextShadow(LProcessInterface& process, const char* text,
                                                unsigned long size, bool bold, bool italic,
                                                bool underline, const char* face, LAlignmentX align,
                                                KVBox box, const KVDropShadow& shadow) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawTextShadow(process, text, size, bold, italic, underline, face, align, box,
                                shadow);
    });
}

LProcessResult KVRenderImagePDF::DrawTextBevelEmboss(LProcessInterface& process, const char* text,
                                                     unsigned long size, bool bold, bool italic,
                                                     bool underline, const char* face,
                                                     LAlignmentX align, KVBox box,
                                                     const KVBevelEmboss& bevel) {
    return Rasterise(process, [&](KVRenderImage& r) {
        return r.DrawTextBevelEmboss(process, text, size, bold, italic, underline, face, align, box,
                                     bevel);
    });
}

// ---------------------------------------------------------------- text

LProcessResult KVRenderImagePDF::DrawText(LProcessInterface& process, const char* text,
                                          unsigned long size, bool bold, bool italic,
                                          bool underline, const char* face, LAlignmentX align,
                                          LGuiColorAlpha colour, KVBox box) {
    if (LProcessResult r = Rasterise(process, [&](KVRenderImage& raster) {
            return raster.DrawText(process, text, size, bold, italic, underline, face, align,
                                   colour, box);
        }))
        return r;
    // The same layout again as text, for selection and search, laid exactly
    // over its picture and all but transparent.
    LPaintContext& c = writer->context;
    LPaintSurface::ClipStackPush(c);
    LPaintSurface::SetFont(c, KVElementFont(face, size, bold, italic, underline));
    const LGuiSolidBrush hidden(LGuiColorAlpha(colour, kSearchableTextAlpha));
    LPaintSurface::DrawText(c, text ? text : "", box, KVElementTextFormat(align), &hidden);
    LPaintSurface::ClipStackPop(c);
    return LProcessResultOk;
}

// ---------------------------------------------------------------- project save

LProcessResult Process(LProcessInterface& process, KVProjectPDFSave& save) {
    const KVImage* image = save.project ? save.project->GetCurrentImage() : nullptr;
    if (!image || !save.path) {
        process.SetError("The project has no picture to save.");
        return LProcessResultError;
    }
    auto* target = new KVRenderImagePDF(image->GetWidth(), image->GetHeight());
    KVRenderResults render;
    render.project = save.project;
    render.target = LPtr<KVRenderImage>(target);
    if (!target->IsValid()) {
        process.SetError(KVRenderImagePDF::kNoWriterError);
        return LProcessResultError;
    }
    target->Clear(image->GetBackground());
    if (LProcessResult r = Process(process, render))
        return r;
    if (!target->SaveAsFile(save.path)) {
        process.SetError(
            LFile::ErrorText("The PDF file could not be written.", save.path, errno).c_str());
        return LProcessResultError;
    }
    return LProcessResultOk;
}
