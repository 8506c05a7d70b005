#include "render/render_image_buffer.h"

#include <algorithm>
#include <cmath>
#include <cctype>
#include <cstring>
#include <string>

#include "target/draw_path.h"
#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "foundation/text_layout.h"
#include "render/line_cap.h"
#include "render/render_image_buffer_p.h"

namespace {

// How far a radial gradient reaches past its box, in box sizes.
constexpr float kRadialReach = 1.701f;

// Same result as a solid brush; the fill goes through the gradient code path
// like every other fill.
LGuiBrushGradientLinear FlatBrush(const LGuiColorAlpha& colour) {
    return LGuiBrushGradientLinear({0, 0}, {0, 0}, colour, colour, true);
}

} // namespace

KVRenderImageBuffer::KVRenderImageBuffer(int width, int height, bool transparent)
    : clean(transparent) {
    if (transparent)
        LImage::NewTransparent(image, width, height, LPixelFormatB8G8R8A8);
    else
        LImage::New(image, width, height, LPixelFormatB8G8R8A8);
    painter = std::make_unique<LImageBufferPainter>(image);
    // Shapes are smooth on every output; the painter starts without.
    if (painter->IsValid())
        painter->context.antialias = true;
}

KVRenderImageBuffer::~KVRenderImageBuffer() {
    delete child;
    delete spare;
}

void KVRenderImageBuffer::TouchAll() {
    touched = true;
    clean = false;
    touchX1 = touchY1 = 0;
    touchX2 = image.width;
    touchY2 = image.height;
}

void KVRenderImageBuffer::Touch(const KVBox& box, float pad) {
    if (!HasSurface())
        return;
    clean = false;
    cairo_t* cr = Surface().context;
    double xs[4] = {box.x1 - pad, box.x2 + pad, box.x2 + pad, box.x1 - pad};
    double ys[4] = {box.y1 - pad, box.y1 - pad, box.y2 + pad, box.y2 + pad};
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    for (int i = 0; i < 4; ++i) {
        cairo_user_to_device(cr, &xs[i], &ys[i]);
        x1 = i ? std::min(x1, xs[i]) : xs[i];
        x2 = i ? std::max(x2, xs[i]) : xs[i];
        y1 = i ? std::min(y1, ys[i]) : ys[i];
        y2 = i ? std::max(y2, ys[i]) : ys[i];
    }
    if (!std::isfinite(x1) || !std::isfinite(x2) || !std::isfinite(y1) || !std::isfinite(y2)) {
        TouchAll();
        return;
    }
    // Two pixels more for antialiasing and rounding.
    auto clampTo = [](double v, int limit) {
        return static_cast<int>(std::clamp(v, 0.0, static_cast<double>(limit)));
    };
    TouchPixels(clampTo(std::floor(x1) - 2, image.width), clampTo(std::floor(y1) - 2, image.height),
                clampTo(std::ceil(x2) + 2, image.width), clampTo(std::ceil(y2) + 2, image.height));
}

void KVRenderImageBuffer::TouchPixels(int ix1, int iy1, int ix2, int iy2) {
    clean = false;
    ix1 = std::clamp(ix1, 0, image.width);
    ix2 = std::clamp(ix2, 0, image.width);
    iy1 = std::clamp(iy1, 0, image.height);
    iy2 = std::clamp(iy2, 0, image.height);
    if (ix2 <= ix1 || iy2 <= iy1)
        return;
    if (!touched) {
        touched = true;
        touchX1 = ix1;
        touchY1 = iy1;
        touchX2 = ix2;
        touchY2 = iy2;
        return;
    }
    touchX1 = std::min(touchX1, ix1);
    touchY1 = std::min(touchY1, iy1);
    touchX2 = std::max(touchX2, ix2);
    touchY2 = std::max(touchY2, iy2);
}

void KVRenderImageBuffer::Recycle() {
    rotation = 0;
    scaleX = scaleY = 1.0f;
    translateX = translateY = centreX = centreY = 0;
    glowColour = LGuiColorAlpha(0, 0, 0, 255);
    glowSize = 0;
    delete child;
    child = nullptr;
    if (!HasSurface())
        return;
    painter->Flush();
    if (touched) {
        const long bytes = static_cast<long>(touchX2 - touchX1) * 4;
        for (int y = touchY1; y < touchY2; ++y)
            std::memset(image.GetPictureRow(y) + touchX1 * 4, 0, static_cast<size_t>(bytes));
    }
    painter->ReloadImageBuffer();
    LPaintSurface::TransformReset(Surface());
    touched = false;
    clean = true;
}

KVRenderImageBuffer* KVRenderImageBuffer::GetCurrentImage() {
    KVRenderImageBuffer* t = this;
    while (t->child)
        t = t->child;
    return t;
}

KVRenderImageBuffer* KVRenderImageBuffer::GetClosingImage() {
    KVRenderImageBuffer* t = this;
    while (t->child && t->child->child)
        t = t->child;
    return t;
}

bool KVRenderImageBuffer::SaveAsFile(const char* /*path*/) {
    // No picture codecs yet.
    return false;
}

void KVRenderImageBuffer::InstallTransform() {
    LPaintContext& c = Surface();
    if (rotation != 0) {
        LPaintSurface::TransformTranslate(c, centreX, centreY);
        LPaintSurface::TransformRotate(c, rotation);
        LPaintSurface::TransformTranslate(c, -centreX, -centreY);
    }
    if (scaleX != 1.0f || scaleY != 1.0f)
        LPaintSurface::TransformScale(c, scaleX, scaleY);
    if (translateX != 0 || translateY != 0)
        LPaintSurface::TransformTranslate(c, translateX, translateY);
}

LProcessResult KVRenderImageBuffer::Clear(LPixelColour colour) {
    if (!HasSurface())
        return LProcessResultError;
    const bool transparent = colour.alpha == 0 && colour.red == 0 && colour.green == 0 &&
                             colour.blue == 0;
    // A recycled child is transparent already.
    if (!(clean && transparent)) {
        painter->Flush();
        image.Clear(colour);
        painter->ReloadImageBuffer();
        if (transparent) {
            touched = false;
            clean = true;
        } else {
            TouchAll();
        }
    }
    InstallTransform();
    return LProcessResultOk;
}

void KVRenderImageBuffer::Flush() {
    if (!HasSurface())
        return;
    painter->Flush();
    painter->ReloadImageBuffer();
    InstallTransform();
}

KVRenderImageBuffer* KVRenderImageBuffer::NewChild() {
    return NewChild(image.width, image.height, false);
}

KVRenderImageBuffer* KVRenderImageBuffer::NewChild(int width, int height, bool transparent) {
    KVRenderImageBuffer* made = nullptr;
    if (spare && spare->image.width == width && spare->image.height == height) {
        made = spare;
        spare = nullptr;
    } else {
        made = new KVRenderImageBuffer(width, height, transparent);
    }
    delete child;
    child = made;
    return made;
}

KVRenderImage* KVRenderImageBuffer::BeginRotate(float degrees, KVPoint centre) {
    KVRenderImageBuffer* c = NewChild();
    c->rotation = degrees;
    c->centreX = centre.x;
    c->centreY = centre.y;
    c->Clear(LPixelColour());
    return c;
}

KVRenderImage* KVRenderImageBuffer::BeginScale(float x, float y) {
    KVRenderImageBuffer* c = NewChild();
    c->scaleX = x;
    c->scaleY = y;
    c->Clear(LPixelColour());
    return c;
}

KVRenderImage* KVRenderImageBuffer::BeginTranslate(float x, float y) {
    KVRenderImageBuffer* c = NewChild();
    c->translateX = x;
    c->translateY = y;
    c->Clear(LPixelColour());
    return c;
}

void KVRenderImageBuffer::FinishTransform(bool flushChild) {
    if (!child)
        return;
    if (flushChild)
        child->Flush();
    if (painter)
        painter->Flush();
    const LImageBuffer& from = child->image;
    const int w = from.width, h = from.height;
    LProcessInterfaceVoid quiet;
    // Pixels the child never drew on are transparent, and composing a
    // transparent pixel changes nothing: only the touched area is composed,
    // wherever the result cannot depend on the rest.
    const bool whole = child->touchX1 == 0 && child->touchY1 == 0 && child->touchX2 == w &&
                       child->touchY2 == h;
    if (from.IsValid() && image.IsValid() && child->touched) {
        if (rotation != 0) {
            LImageBuffer placed;
            LImage::New(placed, w, h, LPixelFormatB8G8R8A8);
            if (placed.IsValid()) {
                placed.Clear(LPixelColour());
                const float dx = 0.5f * w - centreX, dy = 0.5f * h - centreY;
                LImage::Copy(from, placed, static_cast<int>(Round(dx + translateX)),
                             static_cast<int>(Round(dy + translateY)), 0, 0, w, h);
                LImageBuffer turned;
                if (LImage::Rotate(quiet, placed, turned, rotation / 360.0) == LProcessResultOk &&
                    turned.IsValid()) {
                    const int W = turned.width, H = turned.height;
                    LImage::CopyAlphaComposite(turned, image,
                                               static_cast<int>(Round(-dx - (W - w) * 0.5f)),
                                               static_cast<int>(Round(-dy - (H - h) * 0.5f)), 0,
                                               0, W, H);
                }
            }
        } else if (translateX != 0 || translateY != 0) {
            const KVRenderImageBuffer& c = *child;
            LImage::CopyAlphaComposite(from, image,
                                       static_cast<int>(Round(translateX)) + c.touchX1,
                                       static_cast<int>(Round(translateY)) + c.touchY1,
                                       c.touchX1, c.touchY1, c.touchX2 - c.touchX1,
                                       c.touchY2 - c.touchY1);
        } else if (scaleX != 1.0f || scaleY != 1.0f) {
            LImageBuffer scaled;
            if (LImage::Resize(quiet, from, scaled, static_cast<int>(Round(w * scaleX)),
                               static_cast<int>(Round(h * scaleY)), false,
                               LImage::ResizeFilterSmooth) == LProcessResultOk &&
                scaled.IsValid())
                LImage::CopyAlphaComposite(scaled, image, 0, 0, 0, 0, scaled.width,
                                           scaled.height);
        } else {
            const KVRenderImageBuffer& c = *child;
            LImage::CopyAlphaComposite(from, image, c.touchX1, c.touchY1, c.touchX1, c.touchY1,
                                       c.touchX2 - c.touchX1, c.touchY2 - c.touchY1);
        }
        // This target may itself be a child.
        if (rotation != 0 || scaleX != 1.0f || scaleY != 1.0f || whole) {
            TouchAll();
        } else {
            const int ox = static_cast<int>(Round(translateX)),
                      oy = static_cast<int>(Round(translateY));
            TouchPixels(child->touchX1 + ox, child->touchY1 + oy, child->touchX2 + ox,
                        child->touchY2 + oy);
        }
    }
    if (painter)
        painter->ReloadImageBuffer();
    child->Recycle();
    delete spare;
    spare = child;
    child = nullptr;
}

KVBox KVRenderImageBuffer::GetFillBox(const KVBox& bounds, float lineWidth) {
    const float inset = lineWidth * 0.5f - 0.25f;
    const float shrink = lineWidth - 0.5f;
    const float left = bounds.x1 + inset, top = bounds.y1 + inset;
    return KVBox(left, top, left + bounds.GetWidth() - shrink,
                 top + bounds.GetHeight() - shrink);
}

LProcessResult KVRenderImageBuffer::DrawRect(LProcessInterface& /*process*/, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const KVBox& bounds) {
    if (!HasSurface())
        return LProcessResultError;
    if (lineWidth == 0)
        return LProcessResultOk;
    LPaintSurface::DrawRectangle(Surface(), bounds, LGuiSolidBrush(lineColour), lineWidth);
    Touch(bounds, lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillBoxShape(LProcessInterface& /*process*/,
                                                 const LGuiBrush& fill, float lineWidth,
                                                 const LGuiColorAlpha& lineColour,
                                                 const KVBox& bounds, bool ellipse) {
    const KVBox box = GetFillBox(bounds, lineWidth);
    LPaintContext& c = Surface();
    if (ellipse)
        LPaintSurface::FillEllipse(c, box.x1, box.y1, box.GetWidth(), box.GetHeight(), fill);
    else
        LPaintSurface::FillRect(c, fill, box.x1, box.y1, box.GetWidth(), box.GetHeight());
    if (lineWidth > 0) {
        const LGuiSolidBrush line(lineColour);
        if (ellipse)
            LPaintSurface::DrawEllipse(c, bounds.x1, bounds.y1, bounds.GetWidth(),
                                       bounds.GetHeight(), line, lineWidth);
        else
            LPaintSurface::DrawRectangle(c, bounds, line, lineWidth);
    }
    Touch(bounds, std::max(lineWidth, 1.0f));
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillBoxShapeWithGradient(LProcessInterface& process,
                                                             const KVGradient& gradient, float lineWidth,
                                                             const LGuiColorAlpha& lineColour,
                                                             const KVBox& bounds, bool ellipse) {
    if (!HasSurface())
        return LProcessResultError;
    LPtr<LGuiBrush> brush;
    if (!CreateGradient(brush, gradient, bounds))
        return LProcessResultError;
    return FillBoxShape(process, *brush, lineWidth, lineColour, bounds, ellipse);
}

LProcessResult KVRenderImageBuffer::FillRect(LProcessInterface& process, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const LGuiColorAlpha& fillColour,
                                             const KVBox& bounds) {
    if (!HasSurface())
        return LProcessResultError;
    return FillBoxShape(process, FlatBrush(fillColour), lineWidth, lineColour, bounds, false);
}

LProcessResult KVRenderImageBuffer::FillRect(LProcessInterface& process,
                                             const KVGradient& gradient, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const KVBox& bounds) {
    return FillBoxShapeWithGradient(process, gradient, lineWidth, lineColour, bounds, false);
}

LProcessResult KVRenderImageBuffer::DrawEllipse(LProcessInterface& /*process*/, float lineWidth,
                                                const LGuiColorAlpha& lineColour,
                                                const KVBox& bounds) {
    if (!HasSurface())
        return LProcessResultError;
    if (lineWidth == 0)
        return LProcessResultOk;
    LPaintSurface::DrawEllipse(Surface(), bounds.x1, bounds.y1, bounds.GetWidth(),
                               bounds.GetHeight(), LGuiSolidBrush(lineColour), lineWidth);
    Touch(bounds, lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillEllipse(LProcessInterface& process, float lineWidth,
                                                const LGuiColorAlpha& lineColour,
                                                const LGuiColorAlpha& fillColour,
                                                const KVBox& bounds) {
    if (!HasSurface())
        return LProcessResultError;
    return FillBoxShape(process, LGuiSolidBrush(fillColour), lineWidth, lineColour, bounds, true);
}

LProcessResult KVRenderImageBuffer::FillEllipse(LProcessInterface& process,
                                                const KVGradient& gradient, float lineWidth,
                                                const LGuiColorAlpha& lineColour,
                                                const KVBox& bounds) {
    return FillBoxShapeWithGradient(process, gradient, lineWidth, lineColour, bounds, true);
}

LProcessResult KVRenderImageBuffer::DrawPoly(LProcessInterface& /*process*/, float lineWidth,
                                             const LGuiColorAlpha& lineColour, KVPoint* points,
                                             unsigned long pointCount, const KVBox& /*bounds*/) {
    if (!HasSurface())
        return LProcessResultError;
    if (lineWidth == 0)
        return LProcessResultOk;
    if (!points || pointCount == 0)
        return LProcessResultOk;
    LGraphicsPath path;
    path.AddLines(points, pointCount);
    path.CloseFigure();
    LPaintSurface::DrawPath(Surface(), LGuiSolidBrush(lineColour), path, lineWidth);
    // A mitre reaches at most its limit of ten half widths out.
    Touch(path.GetBounds(), 5 * lineWidth);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillPolyWith(const LGuiBrush& fill, float lineWidth,
                                                 const LGuiColorAlpha& lineColour,
                                                 KVPoint* points, unsigned long pointCount) {
    if (!points || pointCount == 0)
        return LProcessResultOk;
    LGraphicsPath path;
    path.AddLines(points, pointCount);
    path.CloseFigure();
    LPaintSurface::FillPath(Surface(), fill, path);
    if (lineWidth > 0 && lineColour.alpha != 0)
        LPaintSurface::DrawPath(Surface(), LGuiSolidBrush(lineColour), path, lineWidth);
    Touch(path.GetBounds(), 5 * std::max(lineWidth, 0.0f));
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillPoly(LProcessInterface& /*process*/, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             const LGuiColorAlpha& fillColour, KVPoint* points,
                                             unsigned long pointCount, const KVBox& /*bounds*/) {
    if (!HasSurface())
        return LProcessResultError;
    return FillPolyWith(LGuiSolidBrush(fillColour), lineWidth, lineColour, points, pointCount);
}

LProcessResult KVRenderImageBuffer::FillPoly(LProcessInterface& process,
                                             const KVGradient& gradient, float lineWidth,
                                             const LGuiColorAlpha& lineColour, KVPoint* points,
                                             unsigned long pointCount, const KVBox& /*bounds*/) {
    if (!HasSurface())
        return LProcessResultError;
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
    if (!CreateGradient(brush, gradient, box))
        return LProcessResultError;
    if (process.IsToStop())
        return LProcessResultStopped;
    return FillPolyWith(*brush, lineWidth, lineColour, points, pointCount);
}

LProcessResult KVRenderImageBuffer::DrawLine(LProcessInterface& /*process*/, float lineWidth,
                                             const LGuiColorAlpha& lineColour,
                                             KVLineCapStyle startCap, KVLineCapStyle endCap,
                                             LLineDashStyle dash, float x1, float y1, float x2,
                                             float y2) {
    if (!HasSurface())
        return LProcessResultError;
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
        LPaintSurface::FillPath(Surface(), brush, *end);
    else if (strokeCap(endCap))
        style.endCap = endCap;
    if (start)
        LPaintSurface::FillPath(Surface(), brush, *start);
    LPaintSurface::DrawLine(Surface(), x1, y1, x2, y2, brush, lineWidth, &style);
    // Cap shapes reach a width and a half from the ends.
    Touch(KVBox(std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)),
          2 * std::fabs(lineWidth) + 1);
    return LProcessResultOk;
}

bool KVRenderImageBuffer::FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha& colour) {
    if (!HasSurface())
        return false;
    const LGuiSolidBrush brush(colour);
    LPaintSurface::DrawPath(Surface(), brush, path, 1.0f);
    LPaintSurface::FillPath(Surface(), brush, path);
    Touch(path.GetBounds(), 5);
    return true;
}

LProcessResult KVRenderImageBuffer::FillPathWith(KVSegments segments, const LGuiBrush& fill,
                                                 float lineWidth, LGuiColor lineColour) {
    LGraphicsPath path;
    KVAddSegments(path, segments);
    LPaintSurface::FillPath(Surface(), fill, path);
    if (lineWidth > 0) {
        LLineStyle style;
        style.join = 2;
        LPaintSurface::DrawPath(Surface(), LGuiSolidBrush(LGuiColorAlpha(lineColour, 255)), path,
                                lineWidth, &style);
    }
    Touch(path.GetBounds(), std::max(lineWidth, 0.0f) + 1);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::FillPath(LProcessInterface& /*process*/, KVSegments segments,
                                             float lineWidth, LGuiColor lineColour,
                                             LGuiColorAlpha fillColour) {
    if (!HasSurface())
        return LProcessResultError;
    return FillPathWith(segments, LGuiSolidBrush(fillColour), lineWidth, lineColour);
}

LProcessResult KVRenderImageBuffer::FillPath(LProcessInterface& /*process*/, KVSegments segments,
                                             float lineWidth, LGuiColor lineColour,
                                             const KVGradient& gradient, const KVBox& bounds) {
    if (!HasSurface())
        return LProcessResultError;
    LPtr<LGuiBrush> brush;
    if (!CreateGradient(brush, gradient, bounds))
        return LProcessResultError;
    return FillPathWith(segments, *brush, lineWidth, lineColour);
}

LProcessResult KVRenderImageBuffer::DrawImage(LProcessInterface& process,
                                              const LImageBuffer& picture, int x, int y, int width,
                                              int height) {
    if (!HasSurface())
        return LProcessResultError;
    if (!picture.IsValid() || picture.format != LPixelFormatB8G8R8A8) {
        process.SetError("The picture has no pixels of 8-bit colour and alpha to draw.");
        return LProcessResultError;
    }
    LPaintSurface::DrawImage(Surface(), KVPaintPixels(picture), static_cast<float>(x), static_cast<float>(y),
                             static_cast<float>(width), static_cast<float>(height), 1.0f,
                             LPaintInterpolationLinear);
    Touch(KVBox(static_cast<float>(std::min(x, x + width)), static_cast<float>(std::min(y, y + height)),
                static_cast<float>(std::max(x, x + width)), static_cast<float>(std::max(y, y + height))),
          1);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::DrawText(LProcessInterface& /*process*/, const char* text,
                                             unsigned long size, bool bold, bool italic,
                                             bool underline, const char* face, LAlignmentX align,
                                             LGuiColorAlpha colour, KVBox box) {
    if (!HasSurface())
        return LProcessResultError;
    LPaintSurface::SetFont(Surface(), KVElementFont(face, size, bold, italic, underline));
    const LGuiSolidBrush brush(colour);
    LPaintSurface::DrawText(Surface(), text ? text : "", box, KVElementTextFormat(align), &brush);
    // Wrapped lines may run past the box.
    TouchAll();
    return LProcessResultOk;
}

bool KVRenderImageBuffer::CreateGradient(LPtr<LGuiBrush>& brush, const KVGradient& gradient,
                                         const KVBox& box) {
    const unsigned long count = gradient.GetStopCount();
    if (count == 0)
        return false;
    const float bw = box.GetWidth(), bh = box.GetHeight();
    const LPointTemplate<float> start(box.x1 + bw * gradient.start.x, box.y1 + bh * gradient.start.y);
    const LPointTemplate<float> end(box.x1 + bw * gradient.end.x, box.y1 + bh * gradient.end.y);
    const LGuiColorAlpha& first = gradient.GetStopColor(0);
    const LGuiColorAlpha& last = gradient.GetStopColor(count - 1);
    if (!gradient.radial) {
        auto* linear = new LGuiBrushGradientLinear(start, end, first, last, true);
        if (count > 2) {
            LArray<LGuiColorAlpha> colours;
            LArray<float> positions;
            for (unsigned long i = 0; i < count; ++i) {
                colours.Add(gradient.GetStopColor(i));
                positions.Add(gradient.GetStopPosition(i));
            }
            linear->ChangeColor(&colours[0], &positions[0], count);
        }
        brush.Set(linear);
        return true;
    }
    const float radiusX = bw * gradient.radiusX + bw * kRadialReach;
    const float radiusY = bh * gradient.radiusY + bh * kRadialReach;
    if (!(radiusX > 0) || !(radiusY > 0))
        return false;
    // The share of the radius beyond the gradient proper holds the first colour.
    const float edge = (bw * kRadialReach) / radiusX;
    const float inner = 1.0f - edge;
    auto* radial = new LGuiBrushGradientRadial(start, {0, 0}, radiusX, radiusY, first, last);
    LArray<LGuiColorAlpha> colours;
    LArray<float> positions;
    colours.Add(LGuiColorAlpha(static_cast<const LGuiColor&>(first), first.alpha));
    positions.Add(0.0f);
    for (unsigned long n = 1; n <= count; ++n) {
        const LGuiColorAlpha& c = gradient.GetStopColor(n - 1);
        colours.Add(LGuiColorAlpha(static_cast<const LGuiColor&>(c), c.alpha));
        positions.Add(inner * gradient.GetStopPosition(n - 1) + edge);
    }
    radial->ChangeColor(&colours[0], &positions[0], count + 1);
    brush.Set(radial);
    return true;
}

LProcessResult KVRenderImageBuffer::DrawText(LProcessInterface& process, LImageBuffer& out,
                                             const char* text, unsigned long size, bool bold,
                                             bool italic, bool underline, const char* face,
                                             LAlignmentX align, int width, int height,
                                             LGuiColorAlpha colour) {
    if (width < 1 || height < 1 || width > 32767 || height > 32767) {
        process.SetError("The text picture has no size.");
        return LProcessResultError;
    }
    LImageBuffer scratch;
    LImage::New(scratch, width, height, LPixelFormatB8G8R8A8);
    if (!scratch.IsValid()) {
        process.SetError("Not enough memory for the text picture.");
        return LProcessResultError;
    }
    scratch.Clear(LPixelColour(255, 255, 255, 255));
    {
        LImageBufferPainter p(scratch);
        if (!p.IsValid())
            return LProcessResultError;
        // A negative size asks for the glyphs' height.
        LPaintSurface::SetFont(p.context, LGuiFont(face ? face : "", -static_cast<float>(size),
                                                   bold, italic, underline));
        LPaintSurface::SetTextColor(p.context, LGuiColorAlpha(0, 0, 0, 255));
        std::string trimmed = text ? text : "";
        const auto notSpace = [](unsigned char ch) { return !std::isspace(ch); };
        trimmed.erase(trimmed.begin(), std::find_if(trimmed.begin(), trimmed.end(), notSpace));
        trimmed.erase(std::find_if(trimmed.rbegin(), trimmed.rend(), notSpace).base(), trimmed.end());
        // Left-aligned text is moved in by its size, room for overhangs.
        float x = 0;
        if (align == LAlignmentXLeft)
            x = static_cast<float>(size);
        else if (align == LAlignmentXCentre)
            x = static_cast<float>(size) * 0.5f;
        LDrawTextFormat format;
        format.alignX = align;
        LPaintSurface::DrawText(p.context, trimmed.c_str(),
                                KVBox(x, 0, static_cast<float>(width), static_cast<float>(height)),
                                format);
        p.Flush();
    }
    LImage::New(out, width, height, LPixelFormatB8G8R8A8);
    if (!out.IsValid()) {
        process.SetError("Not enough memory for the text picture.");
        return LProcessResultError;
    }
    const unsigned a = colour.alpha;
    for (int y = 0; y < height; ++y) {
        const unsigned char* s = scratch.GetPictureRow(y);
        unsigned char* d = out.GetPictureRow(y);
        for (int x = 0; x < width; ++x, s += 4, d += 4) {
            if (s[0] == 255 && s[1] == 255 && s[2] == 255) {
                std::memset(d, 0, 4);
                continue;
            }
            const int darkness = 255 - (s[0] + s[1] + s[2]) / 3;
            const auto alpha = static_cast<unsigned char>(Round(darkness * (a / 255.0)));
            // Premultiplied, as every format-0 picture.
            d[0] = static_cast<unsigned char>((colour.Blue8() * alpha + 127) / 255);
            d[1] = static_cast<unsigned char>((colour.Green8() * alpha + 127) / 255);
            d[2] = static_cast<unsigned char>((colour.Red8() * alpha + 127) / 255);
            d[3] = alpha;
        }
    }
    return LProcessResultOk;
}
