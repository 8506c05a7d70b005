// The raster target's freehand strokes: the plain stroke of the pen and the
// marker, the stamped brushes, and the eraser's strokes.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "imaging/image_blur.h"
#include "render/render_image_buffer.h"
#include "render/render_image_buffer_p.h"
#include "render/stamps.h"
#include "target/draw_path.h"
#include "target/effects.h"

namespace {

// A pressure sample of 512 adds the whole maximum to the size, whatever the device.
constexpr double kPressureBase = 512.0;
// The stamp of the pen and calligraphy pens: half the diagonal of a square `size` across.
constexpr float kInverseSqrt2 = 1.0f / 1.4142135f;

// The pressure levels of a stroke, one per curve point; none without a
// device maximum. Reads past the last level take the last, so a path with
// fewer levels than points still draws.
struct PressureSamples {
    explicit PressureSamples(const KVPressure* pressure) {
        if (pressure && pressure->maximum > 0 && pressure->count > 0 &&
            pressure->levels.GetSize() >= pressure->count)
            source = pressure;
    }
    double Level(unsigned long index) const {
        const unsigned long last = source->count - 1;
        return static_cast<double>(source->levels[std::min(index, last)]);
    }
    // The stamp size at parameter t of segment `index`.
    float Size(float width, unsigned long index, double t) const {
        if (!source)
            return width;
        const double p = Level(index), q = Level(index + 1);
        return static_cast<float>(width * ((p + (q - p) * t + kPressureBase) /
                                           static_cast<double>(source->maximum)));
    }
    const KVPressure* source = nullptr;
};

bool IsPicture(KVBrushType type) {
    return KVIsStampTurned(type) || type == KVBrushCrayonSmear || type == KVBrushPaintbrush;
}

// Lays a stamp picture on the layer at whole pixels. A turned stamp is
// turned once per angle and kept: the turn is a whole number of degrees, so
// a long stroke turns each angle once instead of once a stamp. Turned
// pictures are kept within a memory budget; a stamp too large for all 361
// turns to fit in it takes the nearest of the turns that do, evenly spread,
// which no eye tells from a random turn of its own.
class PictureStamps {
public:
    PictureStamps(const LImageBuffer& stamp, float stampWidth)
        : picture(stamp), width(stampWidth) {
        const double side = picture.width * 1.5 + 2;
        const double bytesPerTurn = side * side * 4;
        kept = static_cast<int>(std::min(static_cast<double>(kTurns), kBudget / bytesPerTurn));
    }

    // At (x, y) of the layer, turned by `degrees` (0 to 360) clockwise.
    void Lay(LImageBuffer& layer, float x, float y, int degrees) {
        // Where the unturned picture's centre falls: the picture is drawn
        // from (x - width / 2, y - width / 2).
        const float cx = x - width / 2 + picture.width * 0.5f;
        const float cy = y - width / 2 + picture.height * 0.5f;
        const LImageBuffer* shown = &picture;
        if (kept < kTurns)
            degrees = kept > 0 ? static_cast<int>(Round(degrees * (kept - 1) / 360.0)) * 360 /
                                     std::max(kept - 1, 1)
                               : 0;
        if (degrees % 360 != 0) {
            LImageBuffer& slot = turned[static_cast<size_t>(degrees)];
            if (!slot.IsValid()) {
                LProcessInterfaceVoid quiet;
                if (LImage::Rotate(quiet, picture, slot, degrees / 360.0) != LProcessResultOk)
                    return;
            }
            shown = &slot;
        }
        LImage::CopyAlphaComposite(*shown, layer, static_cast<int>(Round(cx - shown->width * 0.5f)),
                                   static_cast<int>(Round(cy - shown->height * 0.5f)), 0, 0,
                                   shown->width, shown->height);
    }

private:
    static constexpr int kTurns = 361;
    static constexpr double kBudget = 64.0 * 1024 * 1024;
    const LImageBuffer& picture;
    float width;
    int kept = 0;
    LImageBuffer turned[kTurns];
};

// The stroke's own alpha over the whole layer, once, so that overlapping
// stamps do not add up to more than it.
void ScaleAlpha(LImageBuffer& layer, float alpha) {
    for (int y = 0; y < layer.height; ++y) {
        unsigned char* p = layer.GetPictureRow(y);
        for (int x = 0; x < layer.width; ++x, p += 4) {
            const unsigned a = p[3];
            if (a == 0)
                continue;
            const auto scaled = static_cast<unsigned>(Round(a * alpha));
            // Premultiplied: the colour keeps its hue as the alpha falls.
            for (int i = 0; i < 3; ++i)
                p[i] = static_cast<unsigned char>((p[i] * scaled + a / 2) / a);
            p[3] = static_cast<unsigned char>(scaled);
        }
    }
}

} // namespace

void KVAddSegments(LGraphicsPath& path, KVSegments segments) {
    path.SetFigureOpen(true);
    for (; segments; segments.Next())
        path.AddBezier(segments->start, segments->control1, segments->control2, segments->end);
}

LProcessResult KVStrokeLayer::Measure(LProcessInterface& process, const KVBox& bounds,
                                      float width, unsigned char blurRadius) {
    const long w = Round(bounds.GetWidth() + 2 * width) + 4 * blurRadius;
    const long h = Round(bounds.GetHeight() + 2 * width) + 4 * blurRadius;
    if (!(w > 0 && h > 0 && w <= 32767 && h <= 32767)) {
        process.SetError("The stroke is too large to draw.");
        return LProcessResultError;
    }
    pixelsWide = static_cast<int>(w);
    pixelsHigh = static_cast<int>(h);
    offsetX = 2.0f * blurRadius - bounds.x1 + width;
    offsetY = 2.0f * blurRadius - bounds.y1 + width;
    return LProcessResultOk;
}

LProcessResult KVStrokeLayer::Make(LProcessInterface& process, const KVBox& bounds, float width,
                                   unsigned char blurRadius) {
    if (LProcessResult r = Measure(process, bounds, width, blurRadius))
        return r;
    LImage::New(picture, pixelsWide, pixelsHigh, LPixelFormatB8G8R8A8);
    if (!picture.IsValid()) {
        process.SetError("The stroke is too large to draw.");
        return LProcessResultError;
    }
    picture.Clear(LPixelColour());
    return LProcessResultOk;
}

KVBox KVStrokeLayer::GetPlace() const {
    // A picture's pixel falls on the surface's pixel of the same
    // coordinates, which is centred on them.
    return KVBox(-offsetX - 0.5f, -offsetY - 0.5f, -offsetX - 0.5f + pixelsWide,
                 -offsetY - 0.5f + pixelsHigh);
}

LProcessResult KVStrokeLayer::Place(LProcessInterface& process, LPaintContext& surface,
                                    unsigned char blurRadius, double blurStart, double blurShare) {
    if (blurRadius > 0) {
        process.SetProgress(blurStart);
        LProcessInterfaceSubProcess sub(process, blurStart, blurShare);
        LImageBlurSettings settings(picture, blurRadius);
        if (LProcessResult r = Process(sub, settings))
            return r;
    }
    LPaintSurface::DrawImage(surface, KVPaintPixels(picture), -offsetX, -offsetY,
                             static_cast<float>(picture.width), static_cast<float>(picture.height),
                             1.0f, LPaintInterpolationLinear);
    return LProcessResultOk;
}

LProcessResult KVRenderImageBuffer::DrawPath(LProcessInterface& process, KVBrushType brushType,
                                             KVSegments segments, const LLineStyle& style,
                                             float width, LGuiColorAlpha colour,
                                             const KVBox& bounds, unsigned char blurRadius,
                                             const KVPressure* pressure) {
    if (!HasSurface())
        return LProcessResultError;
    const float alpha = colour.alpha / 255.0f;
    const int type = static_cast<int>(brushType);
    // Whatever a stroke draws stays on its layer.
    Touch(bounds, 2.0f * blurRadius + std::fabs(width) + 1);
    if (width <= 1.0f || ((type == KVBrushRoundPen || type == KVBrushMarker) && !pressure))
        return RenderPath(process, Surface(), segments, brushType, style, width, colour, alpha,
                          blurRadius, bounds);
    // Types from files that no brush has, and the crayon's two passes,
    // which only the crayon reaches.
    if (type < 0 || type > KVBrushPaintbrush || type == KVBrushCrayonSmear ||
        type == KVBrushCrayonSplotch)
        return LProcessResultError;
    if (type != KVBrushCrayon)
        return StampPath(process, Surface(), segments, brushType, width, colour, alpha,
                         blurRadius, bounds, false, pressure);
    // The crayon: splotches first, the faint smear over them.
    {
        LProcessInterfaceSubProcess splotch(process, 0.0, 0.5);
        if (LProcessResult r = StampPath(splotch, Surface(), segments, KVBrushCrayonSplotch, width,
                                         colour, alpha, blurRadius, bounds, false, pressure))
            return r;
    }
    LProcessInterfaceSubProcess smear(process, 0.5, 0.5);
    return StampPath(smear, Surface(), segments, KVBrushCrayonSmear, width, colour, alpha,
                     blurRadius, bounds, false, pressure);
}

LProcessResult KVRenderImageBuffer::RenderPath(LProcessInterface& process, LPaintContext& surface,
                                               KVSegments segments, KVBrushType brushType,
                                               const LLineStyle& style, float width,
                                               LGuiColorAlpha colour, float alpha,
                                               unsigned char blurRadius, const KVBox& bounds) {
    KVStrokeLayer layer;
    if (LProcessResult r = layer.Measure(process, bounds, width, blurRadius))
        return r;
    LGraphicsPath path;
    KVAddSegments(path, segments);
    LGuiColorAlpha c = colour;
    c.alpha = static_cast<unsigned char>(std::clamp<long>(Round(alpha * 255.0f), 0, 255));
    LLineStyle stroke = style;
    if (brushType == KVBrushRoundPen)
        stroke.startCap = stroke.endCap = LLineCapRound;
    if (blurRadius == 0) {
        // Without a blur the layer would only be copied: the stroke goes
        // straight on the surface, clipped to where its layer would lie. One
        // stroke covers each pixel once however the path crosses itself, so
        // it is antialiased against the background once, as on a layer, at
        // the cost of neither the layer nor its copy.
        LPaintSurface::ClipStackPush(surface);
        LPaintSurface::ClipIntersect(surface, layer.GetPlace());
        LPaintSurface::DrawPath(surface, LGuiSolidBrush(c), path, width, &stroke);
        LPaintSurface::ClipStackPop(surface);
        return LProcessResultOk;
    }
    if (LProcessResult r = layer.Make(process, bounds, width, blurRadius))
        return r;
    {
        LImageBufferPainter layerPainter(layer.picture);
        if (!layerPainter.IsValid())
            return LProcessResultError;
        layerPainter.context.antialias = true;
        path.Translate(layer.offsetX, layer.offsetY);
        LPaintSurface::DrawPath(layerPainter.context, LGuiSolidBrush(c), path, width, &stroke);
        layerPainter.Flush();
    }
    return layer.Place(process, surface, blurRadius, 0.1, 0.8);
}

LProcessResult KVRenderImageBuffer::StampPath(LProcessInterface& process, LPaintContext& surface,
                                              KVSegments segments, KVBrushType brushType,
                                              float width, LGuiColorAlpha colour, float alpha,
                                              unsigned char blurRadius, const KVBox& bounds,
                                              bool black, const KVPressure* pressure) {
    KVStrokeLayer layer;
    if (LProcessResult r = layer.Make(process, bounds, width, blurRadius))
        return r;
    if (black)
        colour = LGuiColorAlpha(LGuiColor(), colour.alpha);
    {
        LImageBufferPainter painter(layer.picture);
        if (!painter.IsValid())
            return LProcessResultError;
        LPaintContext& c = painter.context;
        c.antialias = true;

        float spacing = 0.5f;
        LGraphicsPath specks;
        const LGuiColorAlpha stampColour = GetStamp(specks, spacing, colour, width, brushType);
        const LGuiSolidBrush stampBrush(stampColour);
        LImageBuffer picture;
        if (IsPicture(brushType))
            MakeStampPicture(picture, specks, stampColour, width);
        // Stamp pictures are composed straight into the layer's pixels;
        // without a picture the specks are filled through the painter.
        std::unique_ptr<PictureStamps> laid;
        if (picture.IsValid())
            laid = std::make_unique<PictureStamps>(picture, width);
        const PressureSamples samples(pressure);

        auto lay = [&](KVPoint at, float size) {
            const float x = at.x + layer.offsetX, y = at.y + layer.offsetY;
            const float r = size * kInverseSqrt2 * 0.5f;
            switch (brushType) {
            case KVBrushRoundPen:
                LPaintSurface::FillEllipse(c, x - r, y - r, 2 * r, 2 * r, stampBrush);
                return;
            case KVBrushCalligraphy:
            case KVBrushCalligraphyReverse:
                DrawCalligraphyStamp(c, x, y, r, stampColour, brushType);
                return;
            default:
                break;
            }
            if (!IsPicture(brushType))
                return;
            if (laid) {
                laid->Lay(layer.picture, x, y, KVIsStampTurned(brushType) ? std::rand() % 361 : 0);
                return;
            }
            if (KVIsStampTurned(brushType)) {
                LPaintSurface::TransformTranslate(c, x, y);
                LPaintSurface::TransformRotate(c, static_cast<float>(std::rand() % 361));
                LPaintSurface::TransformTranslate(c, -x, -y);
            }
            LPaintSurface::TransformTranslate(c, x, y);
            LPaintSurface::FillPath(c, stampBrush, specks);
            LPaintSurface::TransformReset(c);
        };

        // Types that lay nothing here (the marker, should it come with
        // pressure) leave an empty layer.
        const bool lays = brushType == KVBrushRoundPen || brushType == KVBrushCalligraphy ||
                          brushType == KVBrushCalligraphyReverse || IsPicture(brushType);
        if (lays) {
            if (LProcessResult r = PlaceStamps(
                    process, segments, spacing,
                    [&](KVPoint at, unsigned long index, double t) {
                        lay(at, samples.Size(width, index, t));
                    }))
                return r;
        }
        painter.Flush();
        if (laid)
            painter.ReloadImageBuffer();
    }
    if (alpha < 1.0f)
        ScaleAlpha(layer.picture, alpha);
    return layer.Place(process, surface, blurRadius, 0.45, 0.45);
}

LProcessResult KVRenderImageBuffer::EraserStroke(LProcessInterface& process,
                                                 LListIterator<KVEraserStroke> strokes) {
    if (!HasSurface())
        return strokes ? LProcessResultError : LProcessResultOk;
    // Round ends and corners, whatever the stroke's own style: the eraser is
    // a round tip dragged along.
    LLineStyle style;
    style.startCap = style.endCap = LLineCapRound;
    style.join = LLineJoinRound;
    for (; strokes; strokes.Next()) {
        const KVEraserStroke& stroke = *strokes;
        if (stroke.path.GetCoords().IsEmpty()) {
            process.SetError("An erase stroke has no path.");
            return LProcessResultError;
        }
        LList<KVDrawCoordBezierSegment> segments;
        GetBeziers(stroke.path, segments);
        LGraphicsPath path;
        KVAddSegments(path, segments.GetIterator());
        if (process.IsToStop())
            return LProcessResultStopped;

        // A soft stroke is drawn on a layer of the target's size and blurred
        // there; a hard one straight on the picture.
        LImageBuffer layer;
        std::unique_ptr<LImageBufferPainter> layerPainter;
        if (stroke.softnessRadius != 0) {
            LImage::New(layer, image.width, image.height, LPixelFormatB8G8R8A8);
            if (layer.IsValid()) {
                layer.Clear(LPixelColour());
                layerPainter = std::make_unique<LImageBufferPainter>(layer);
            }
            if (!layerPainter || !layerPainter->IsValid()) {
                process.SetError("Not enough memory for a soft erase stroke.");
                return LProcessResultError;
            }
            layerPainter->context.antialias = true;
        }
        LPaintContext& c = layerPainter ? layerPainter->context : Surface();
        // A target whose own transform has no inverse shows nothing.
        if (!LPaintSurface::TransformStackPush(c))
            continue;
        LPaintSurface::Transform(c, stroke.transform);
        LPaintSurface::DrawPath(c, LGuiSolidBrush(stroke.colour), path, stroke.width, &style);
        if (!layerPainter)
            Touch(path.GetBounds(), stroke.width + 1);
        LPaintSurface::TransformStackPop(c);
        if (!layerPainter)
            continue;
        layerPainter->Flush();
        layerPainter.reset();
        LImageBlurSettings settings(layer, stroke.softnessRadius);
        if (LProcessResult r = Process(process, settings))
            return r;
        LPaintSurface::DrawImage(Surface(), KVPaintPixels(layer), 0, 0,
                                 static_cast<float>(layer.width), static_cast<float>(layer.height),
                                 1.0f, LPaintInterpolationLinear);
        TouchAll();
    }
    return LProcessResultOk;
}
