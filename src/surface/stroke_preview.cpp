#include "surface/stroke_preview.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "imaging/image_painter.h"
#include "render/stamps.h"

namespace {

LPaintPixels Pixels(const LImageBuffer& picture) {
    LPaintPixels pixels;
    pixels.data = picture.GetPictureRow(0);
    pixels.width = picture.width;
    pixels.height = picture.height;
    pixels.stride = picture.GetPictureRowStep();
    return pixels;
}

} // namespace

KVStrokePreview::KVStrokePreview() = default;
KVStrokePreview::~KVStrokePreview() = default;

void KVStrokePreview::SetPage(int canvasX, int canvasY, int width, int height, float z) {
    if (canvasX == pageX && canvasY == pageY && width == pageWidth && height == pageHeight && z == zoom)
        return;
    pageX = canvasX;
    pageY = canvasY;
    pageWidth = width;
    pageHeight = height;
    zoom = z;
    painter.reset();
    page = LImageBuffer();
    if (strokes.empty() || !EnsurePage())
        return;
    for (Stroke& s : strokes)
        LayStroke(s);
}

void KVStrokePreview::Begin(const KVStrokeStyle& style, LPointTemplate<float> at) {
    Stroke& s = strokes.emplace_back();
    s.style = style;
    PrepareStamps(s);
    drawing = true;
    s.points.push_back(at);
    if (EnsurePage())
        LaySegment(s, at, at, true);
}

void KVStrokePreview::Extend(LPointTemplate<float> to) {
    if (!drawing || strokes.empty())
        return;
    Stroke& s = strokes.back();
    const LPointTemplate<float> from = s.points.back();
    if (from == to)
        return;
    s.points.push_back(to);
    if (EnsurePage())
        LaySegment(s, from, to, false);
}

void KVStrokePreview::Clear() {
    // A stroke under way is not in the render yet: only finished ones go.
    if (drawing && !strokes.empty()) {
        strokes.erase(strokes.begin(), strokes.end() - 1);
    } else {
        strokes.clear();
    }
    painter.reset();
    page = LImageBuffer();
    if (!strokes.empty() && EnsurePage())
        LayStroke(strokes.back());
}

void KVStrokePreview::PrepareStamps(Stroke& stroke) const {
    auto add = [&](KVBrushType type) {
        StampPass pass;
        LGraphicsPath specks;
        pass.spacing = 0.5f;
        const LGuiColorAlpha stampColour = GetStamp(specks, pass.spacing, stroke.style.colour, stroke.style.width, type);
        MakeStampPicture(pass.picture, specks, stampColour, stroke.style.width);
        pass.turned = KVIsStampTurned(type);
        // A spacing of nothing would never step on.
        pass.spacing = std::max(pass.spacing, 0.05f);
        if (pass.picture.IsValid())
            stroke.passes.push_back(std::move(pass));
    };
    switch (stroke.style.type) {
    case KVBrushCrayon:
        // As the render lays it: the splotches, the faint smear over them.
        add(KVBrushCrayonSplotch);
        add(KVBrushCrayonSmear);
        break;
    case KVBrushSpray:
    case KVBrushPencil:
    case KVBrushPaintbrush:
        // A width of a pixel or less is a plain line in the render too.
        if (stroke.style.width > 1.0f)
            add(stroke.style.type);
        break;
    default:
        break;
    }
}

bool KVStrokePreview::EnsurePage() {
    if (painter)
        return true;
    if (pageWidth < 1 || pageHeight < 1)
        return false;
    LImage::NewTransparent(page, pageWidth, pageHeight, LPixelFormatB8G8R8A8);
    if (!page.IsValid())
        return false;
    painter = std::make_unique<LImageBufferPainter>(page);
    if (!painter->IsValid()) {
        painter.reset();
        page = LImageBuffer();
        return false;
    }
    painter->context.antialias = true;
    return true;
}

void KVStrokePreview::LayStroke(Stroke& stroke) {
    for (StampPass& pass : stroke.passes)
        pass.walked = 0.0f;
    for (size_t i = 0; i < stroke.points.size(); ++i)
        LaySegment(stroke, stroke.points[i == 0 ? 0 : i - 1], stroke.points[i], i == 0);
}

void KVStrokePreview::LaySegment(Stroke& stroke, LPointTemplate<float> from, LPointTemplate<float> to, bool first) {
    LPaintContext& c = painter->context;
    const float width = stroke.style.width;
    if (stroke.passes.empty()) {
        LLineStyle round;
        round.startCap = round.endCap = round.join = 2;
        LPaintSurface::DrawLine(c, from.x * zoom - pageX, from.y * zoom - pageY, to.x * zoom - pageX,
                                to.y * zoom - pageY, LGuiSolidBrush(stroke.style.colour), width * zoom, &round);
        painter->Flush();
        return;
    }
    const float dx = to.x - from.x, dy = to.y - from.y;
    const float length = std::sqrt(dx * dx + dy * dy);
    for (StampPass& pass : stroke.passes) {
        const float side = static_cast<float>(pass.picture.width) * zoom;
        auto lay = [&](float x, float y) {
            // The picture is drawn from (x - width / 2, y - width / 2), as
            // the render lays it.
            const float left = (x - width * 0.5f) * zoom - pageX, top = (y - width * 0.5f) * zoom - pageY;
            if (left + 2 * side < 0 || top + 2 * side < 0 || left - side > pageWidth || top - side > pageHeight)
                return;
            if (pass.turned) {
                const float cx = left + side * 0.5f, cy = top + side * 0.5f;
                LPaintSurface::TransformTranslate(c, cx, cy);
                LPaintSurface::TransformRotate(c, static_cast<float>(std::rand() % 361));
                LPaintSurface::TransformTranslate(c, -cx, -cy);
            }
            LPaintSurface::DrawImage(c, Pixels(pass.picture), left, top, side, side, 1.0f, LPaintInterpolationLinear);
            if (pass.turned)
                LPaintSurface::TransformReset(c);
        };
        if (first) {
            lay(from.x, from.y);
            pass.walked = 0.0f;
        }
        if (length <= 0.0f)
            continue;
        float at = pass.spacing - pass.walked;
        for (; at <= length; at += pass.spacing)
            lay(from.x + dx * at / length, from.y + dy * at / length);
        pass.walked = length - (at - pass.spacing);
    }
    painter->Flush();
}
