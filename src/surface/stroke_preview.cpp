#include "surface/stroke_preview.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "foundation/process.h"
#include "imaging/image_painter.h"
#include "render/stamps.h"

namespace {

// At most this many turns of a stamp are kept, within this many bytes: a
// turn picked from a few dozen looks as random as one of its own, and is
// laid by a plain copy instead of a turned drawing.
constexpr int kMaxTurns = 72;
constexpr double kTurnBudget = 32.0 * 1024 * 1024;

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
    const bool rezoom = z != zoom;
    zoom = z;
    if (rezoom)
        for (Stroke& s : strokes)
            for (StampPass& pass : s.passes)
                ZoomStamps(pass);
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
        if (!pass.picture.IsValid())
            return;
        ZoomStamps(pass);
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

void KVStrokePreview::ZoomStamps(StampPass& pass) const {
    pass.turns.clear();
    LProcessInterfaceVoid quiet;
    const int side = std::max(1, static_cast<int>(std::lround(pass.picture.width * zoom)));
    if (LImage::Resize(quiet, pass.picture, pass.zoomed, side, side, false, LImage::ResizeFilterSmooth) !=
        LProcessResultOk)
        pass.zoomed = LImageBuffer();
    if (pass.turned) {
        const double bytesPerTurn = (side * 1.5 + 2) * (side * 1.5 + 2) * 4;
        pass.turns.resize(static_cast<size_t>(std::clamp(kTurnBudget / bytesPerTurn, 1.0, double(kMaxTurns))));
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
        if (!pass.zoomed.IsValid())
            continue;
        auto lay = [&](float x, float y) {
            // Where the picture's centre falls: it is drawn from
            // (x - width / 2, y - width / 2), as the render lays it.
            const float cx = (x - width * 0.5f + pass.picture.width * 0.5f) * zoom - pageX;
            const float cy = (y - width * 0.5f + pass.picture.height * 0.5f) * zoom - pageY;
            const LImageBuffer* shown = &pass.zoomed;
            if (!pass.turns.empty()) {
                const size_t turn = static_cast<size_t>(std::rand() % 361) * pass.turns.size() / 361;
                LImageBuffer& kept = pass.turns[turn];
                if (turn != 0 && !kept.IsValid()) {
                    LProcessInterfaceVoid quiet;
                    if (LImage::Rotate(quiet, pass.zoomed, kept, double(turn) / double(pass.turns.size())) !=
                        LProcessResultOk)
                        kept = LImageBuffer();
                }
                if (kept.IsValid())
                    shown = &kept;
            }
            LImage::CopyAlphaComposite(*shown, page, static_cast<int>(std::lround(cx - shown->width * 0.5f)),
                                       static_cast<int>(std::lround(cy - shown->height * 0.5f)), 0, 0, shown->width,
                                       shown->height);
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
    // The stamps went straight into the pixels.
    painter->MarkDirty();
}
