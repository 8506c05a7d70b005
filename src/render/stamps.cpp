#include "render/stamps.h"

#include <algorithm>
#include <cmath>
#include <cfloat>
#include <cstdlib>

#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/paint_surface.h"
#include "imaging/image_buffer.h"
#include "imaging/image_painter.h"
#include "target/draw_path.h"

namespace {

// How far the parameter may move at an end of a segment, in spacings: small
// enough that a stamp is found within 5 % of its place.
constexpr float kToleranceShare = 1.0f / 15.0f;
// A stamp may fall this much short of the spacing or beyond it.
constexpr double kSpacingLow = 0.95, kSpacingHigh = 1.05;
// Tries of one segment's walk after which it is given up, and how often a
// walk asks whether to stop: a curve of numbers too large to step along must
// not hold the render.
constexpr long kMaxTriesPerSegment = 1L << 24;
constexpr long kStopCheckTries = 1L << 14;

struct Cubic {
    explicit Cubic(const KVDrawCoordBezierSegment& s)
        : p0(s.start), p1(s.control1), p2(s.control2), p3(s.end) {}

    KVPoint At(double t) const {
        const double u = 1.0 - t;
        const double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
        return {static_cast<float>(a * p0.x + b * p1.x + c * p2.x + d * p3.x),
                static_cast<float>(a * p0.y + b * p1.y + c * p2.y + d * p3.y)};
    }

    // The parameter step is found once per segment: halved until a step at
    // either end moves the point by at most `tolerance` in x and in y.
    bool EndStepAbove(double dt, float tolerance) const {
        const KVPoint a = At(dt), b = At(1.0 - dt);
        return std::fabs(a.x - p0.x) > tolerance || std::fabs(p3.x - b.x) > tolerance ||
               std::fabs(a.y - p0.y) > tolerance || std::fabs(p3.y - b.y) > tolerance;
    }

    KVPoint p0, p1, p2, p3;
};

double Distance(KVPoint a, KVPoint b) {
    return std::hypot(static_cast<double>(a.x) - b.x, static_cast<double>(a.y) - b.y);
}

// A speck's offset in tenths of a pixel below `range` / 10, so that the
// specks of a grid never line up. A range of nothing has no offset rather
// than a division by zero.
float Jitter(int range) {
    return range > 0 ? static_cast<float>(std::rand() % range) / 10.0f : 0.0f;
}

// The jitter's range for a grid step: offsets up to a step, in tenths.
// Bounded, so that a stamp of any width has a range an int holds.
int JitterRange(float step) { return static_cast<int>(std::clamp(step * 10.0f, 0.0f, 1e9f)); }

float AsFloat(long v) { return static_cast<float>(v); }

// A stamp too thin to hold a speck, or no number at all, has none: its grid
// would never step on.
bool HasSpecks(float width) { return std::isfinite(width) && width > 0.0f; }

unsigned char CutAlpha(double alpha) {
    return static_cast<unsigned char>(std::clamp(alpha, 0.0, 255.0));
}

unsigned char SprayStamp(LGraphicsPath& path, float& spacing, float width) {
    const float step = width / 10.0f, r = width / 2.0f;
    spacing = 3.75f;
    const int range = JitterRange(step);
    for (float y = -r; y <= r; IncrementFloat(y, step, width))
        for (float x = -r; x <= r; IncrementFloat(x, step, width)) {
            if (x * x + y * y > r * r)
                continue;
            const float j1 = Jitter(range), j2 = Jitter(range);
            const float side = AsFloat(Round(1.0));
            path.AddRectangle(AsFloat(Round(x - 0.5f + j1 - 0.5f)),
                              AsFloat(Round(y - 0.5f + j2 - 0.5f)), side, side);
        }
    const double alpha = width * 0.8533 + 42.66;
    return alpha < 256 ? static_cast<unsigned char>(static_cast<int>(alpha)) : 255;
}

unsigned char SmearStamp(LGraphicsPath& path, float& spacing, float width) {
    const float u = width / 10.0f, step = u * 0.75f, half = u * 0.5f, r = width / 2.25f;
    spacing = half / 1.5f;
    const int range = JitterRange(step);
    const float side = AsFloat(Round(u));
    for (float y = -r; y <= r; y += step)
        for (float x = -r; x <= r; x += step) {
            if (x * x + y * y > r * r)
                continue;
            // One offset for both axes: the smear's squares slip along the diagonal.
            const float j = Jitter(range);
            path.AddRectangle(AsFloat(Round(j - step + x - half)),
                              AsFloat(Round(j - step + y - half)), side, side);
        }
    return 8;
}

unsigned char PaintbrushStamp(LGraphicsPath& path, float& spacing, float width) {
    // Below 20 the stamp is built at 20 and shrunk: a small brush keeps the
    // texture of a large one, made denser by the alpha.
    float k = 3.0f, s = 1.0f;
    const bool scaled = width < 20.0f;
    if (scaled) {
        s = width / 20.0f;
        width = 20.0f;
    } else if (width > 100.0f) {
        k = static_cast<float>(width * 0.00833 + 2.166);
    }
    const float half = width / 2.0f;
    spacing = 0.6666667f;
    const int range = JitterRange(k);
    const float side = AsFloat(Round(2.0));
    for (float y = -half; y <= half; y += k)
        for (float x = -half; x <= half; x += k) {
            if (x * x + y * y > half * half)
                continue;
            const float j = Jitter(range);
            path.AddRectangle(AsFloat(Round(j - k + x - 1.0f)), AsFloat(Round(j - k + y - 1.0f)),
                              side, side);
        }
    double alpha = width > 100.0f ? 8.0 : static_cast<double>(Round(width * -0.2133 + 29.33));
    if (scaled) {
        alpha = static_cast<double>(Round(std::min(alpha / s, 255.0)));
        path.Scale(s, s);
    }
    return CutAlpha(alpha);
}

} // namespace

void IncrementFloat(float& x, float step, float size) {
    x = static_cast<float>(x + step * 0.75 * std::fabs(x) / (size * 0.5) + step * 0.25);
}

LGuiColorAlpha GetStamp(LGraphicsPath& path, float& spacing, const LGuiColor& colour, float width,
                        KVBrushType type) {
    const bool specks = HasSpecks(width);
    switch (type) {
    case KVBrushSpray:
        return LGuiColorAlpha(colour, specks ? SprayStamp(path, spacing, width) : 255);
    case KVBrushCrayonSmear:
        return LGuiColorAlpha(colour, specks ? SmearStamp(path, spacing, width) : 255);
    case KVBrushPaintbrush:
        return LGuiColorAlpha(colour, specks ? PaintbrushStamp(path, spacing, width) : 255);
    case KVBrushPencil: {
        // A paintbrush's specks, a quarter more opaque.
        const LGuiColorAlpha brush = GetStamp(path, spacing, colour, width, KVBrushPaintbrush);
        return LGuiColorAlpha(colour, CutAlpha(std::min(brush.alpha * 1.25, 255.0)));
    }
    case KVBrushCrayonSplotch: {
        const LGuiColorAlpha pencil = GetStamp(path, spacing, colour, width, KVBrushPencil);
        return LGuiColorAlpha(colour, CutAlpha(std::min(pencil.alpha * 0.9, 255.0)));
    }
    default:
        return LGuiColorAlpha(colour, 255);
    }
}

void SetStampColor(LImageBuffer& image, const LGuiColor& colour) {
    if (!image.IsValid() || image.format != LPixelFormatB8G8R8A8)
        return;
    const unsigned blue = colour.Blue8(), green = colour.Green8(), red = colour.Red8();
    for (int y = 0; y < image.height; ++y) {
        unsigned char* p = image.GetPictureRow(y);
        for (int x = 0; x < image.width; ++x, p += 4) {
            const unsigned a = p[3];
            if (a == 0)
                continue;
            p[0] = static_cast<unsigned char>((blue * a + 127) / 255);
            p[1] = static_cast<unsigned char>((green * a + 127) / 255);
            p[2] = static_cast<unsigned char>((red * a + 127) / 255);
        }
    }
}

void DrawCalligraphyStamp(LPaintContext& surface, float x, float y, float r,
                          const LGuiColorAlpha& colour, KVBrushType type) {
    LPointTemplate<float> corners[4];
    if (type == KVBrushCalligraphy) {
        corners[0] = {x - r, y + r};
        corners[1] = {x + r, y - r};
        corners[2] = {x + r + 2, y - r};
        corners[3] = {x - r + 2, y + r};
    } else if (type == KVBrushCalligraphyReverse) {
        corners[0] = {x + r, y + r};
        corners[1] = {x - r, y - r};
        corners[2] = {x - r + 2, y - r};
        corners[3] = {x + r + 2, y + r};
    }
    LGraphicsPath bar;
    bar.AddLines(corners, 4);
    bar.CloseFigure();
    const bool antialias = surface.antialias;
    surface.antialias = true;
    LPaintSurface::FillPath(surface, LGuiSolidBrush(colour), bar);
    surface.antialias = antialias;
}

double GetAngle(LPointTemplate<float> a, LPointTemplate<float> b, LPointTemplate<float> c) {
    auto length = [](LPointTemplate<float> p, LPointTemplate<float> q) {
        return std::hypot(static_cast<double>(p.x) - q.x, static_cast<double>(p.y) - q.y);
    };
    const double ab = length(a, b), bc = length(b, c), ac = length(a, c);
    return std::acos((bc * bc - ac * ac + ab * ab) / (ab * (bc + bc)));
}

bool KVIsStampTurned(KVBrushType type) {
    return type == KVBrushSpray || type == KVBrushCrayonSplotch || type == KVBrushPencil;
}

void MakeStampPicture(LImageBuffer& picture, const LGraphicsPath& specks,
                      const LGuiColorAlpha& stampColour, float width) {
    picture = LImageBuffer();
    const long side = Round(width + 0.5f);
    if (side < 1 || side > 32767)
        return;
    LImage::New(picture, static_cast<int>(side), static_cast<int>(side), LPixelFormatB8G8R8A8);
    if (!picture.IsValid())
        return;
    picture.Clear(LPixelColour());
    {
        LImageBufferPainter painter(picture);
        if (!painter.IsValid()) {
            picture = LImageBuffer();
            return;
        }
        // Hard specks: each square lights whole pixels.
        painter.context.antialias = false;
        LPaintSurface::TransformTranslate(painter.context, 0.5f * width, 0.5f * width);
        LPaintSurface::FillPath(painter.context, LGuiSolidBrush(stampColour), specks);
        painter.Flush();
    }
    SetStampColor(picture, stampColour);
}

LProcessResult PlaceStamps(LProcessInterface& process, KVSegments segments, float spacing,
                           const std::function<void(KVPoint, unsigned long, double)>& place) {
    const float tolerance = spacing * kToleranceShare;
    bool first = true;
    KVPoint last;
    unsigned long index = 0;
    for (; segments; segments.Next(), ++index) {
        if (process.IsToStop())
            return LProcessResultStopped;
        const Cubic curve(*segments);
        double dt = 0.5;
        while (dt > FLT_MIN && curve.EndStepAbove(dt, tolerance)) {
            dt *= 0.5;
            if (process.IsToStop())
                return LProcessResultStopped;
        }
        double t = 0.0;
        long n = 1;
        long tries = 0;
        bool done = false;
        while (!done) {
            // The search for the next stamp: forward while it falls
            // short, back while it overshoots, never both ways.
            bool forward = false, back = false;
            KVPoint at;
            for (;;) {
                if (++tries > kMaxTriesPerSegment) {
                    done = true;
                    break;
                }
                if (tries % kStopCheckTries == 0 && process.IsToStop())
                    return LProcessResultStopped;
                at = curve.At(t);
                // A point of no number is no place for a stamp, and no
                // distance from it can be measured: the segment is given up.
                if (!std::isfinite(at.x) || !std::isfinite(at.y)) {
                    done = true;
                    break;
                }
                if (first)
                    break;
                const double d = Distance(at, last);
                if (d < spacing && !back) {
                    if (d / spacing > kSpacingLow)
                        break;
                    // A step too small to move the parameter would never end.
                    if (t + dt == t) {
                        done = true;
                        break;
                    }
                    t += dt;
                    ++n;
                    forward = true;
                    if (t > 1.0) {
                        done = true;
                        break;
                    }
                    continue;
                }
                if (d > spacing && !forward) {
                    if (d / spacing < kSpacingHigh || t <= 0.0 || t - dt == t)
                        break;
                    t -= dt;
                    --n;
                    back = true;
                    continue;
                }
                break;
            }
            if (done)
                break;
            first = false;
            place(at, index, t);
            last = at;
            // The steps keep the size that worked.
            t += static_cast<double>(n) * dt;
            done = t >= 1.0;
        }
    }
    return LProcessResultOk;
}
