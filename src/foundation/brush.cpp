#include "foundation/brush.h"

#include <cairo.h>

#include <cmath>

namespace {

constexpr float kStopEpsilon = 1.1920929e-7f;
// Unsorted stop tables are handed to the drawing library as this many samples
// of our own stop function, since it would sort them otherwise.
constexpr int kStopSamples = 256;

void SetTransparent(cairo_t* cr) { cairo_set_source_rgba(cr, 0, 0, 0, 0); }

} // namespace

LColourF LToColourF(const LGuiColorAlpha& c) {
    LColourF f;
    f.red = c.Red8() * kLByteToUnit;
    f.green = c.Green8() * kLByteToUnit;
    f.blue = c.Blue8() * kLByteToUnit;
    f.alpha = c.alpha * kLByteToUnit;
    return f;
}

void LGuiBrush::Apply(cairo_t* cr, float alpha) const {
    const LColourF f = LToColourF(colour);
    cairo_set_source_rgba(cr, f.red, f.green, f.blue, f.alpha * alpha);
}

LGuiBrushGradient::LGuiBrushGradient(LGuiBrushType t, const LGuiColorAlpha& first,
                                     const LGuiColorAlpha& last)
    : LGuiBrush(t, first) {
    for (LGuiColorAlpha& s : stops)
        s = LGuiColorAlpha(0, 0, 0, 255);
    stops[0] = first;
    stops[1] = last;
    positions[0] = 0.0f;
    positions[1] = 1.0f;
    stopCount = 2;
}

void LGuiBrushGradient::ChangeColor(const LGuiColorAlpha* colours, const float* pos,
                                    unsigned long count) {
    if (!colours || !pos)
        count = 0;
    unsigned long n = count > kMaxStops ? kMaxStops : count;
    for (unsigned long i = 0; i < n; ++i) {
        // Past the table, the last slot takes the list's last stop.
        const unsigned long from = (i == n - 1) ? count - 1 : i;
        stops[i] = colours[from];
        positions[i] = pos[from];
    }
    stopCount = n;
}

LColourF LGuiBrushGradient::GetColourAt(float t) const {
    const unsigned long n = stopCount > kMaxStops ? kMaxStops : stopCount;
    if (n == 0)
        return LColourF();
    unsigned long i = 0;
    while (i < n && !(positions[i] >= t))
        ++i;
    if (i == n)
        return LToColourF(stops[n - 1]);
    if (i == 0)
        return LToColourF(stops[0]);
    const float p0 = positions[i - 1], p1 = positions[i];
    const LColourF a = LToColourF(stops[i - 1]);
    if (p1 - p0 < kStopEpsilon)
        return a;
    const LColourF b = LToColourF(stops[i]);
    const float f = (t - p0) / (p1 - p0);
    LColourF r;
    r.red = a.red + (b.red - a.red) * f;
    r.green = a.green + (b.green - a.green) * f;
    r.blue = a.blue + (b.blue - a.blue) * f;
    r.alpha = a.alpha + (b.alpha - a.alpha) * f;
    return r;
}

void LGuiBrushGradient::AddStops(void* p, float alpha) const {
    auto* pattern = static_cast<cairo_pattern_t*>(p);
    const unsigned long n = stopCount > kMaxStops ? kMaxStops : stopCount;
    bool direct = true;
    for (unsigned long i = 0; i < n && direct; ++i)
        direct = positions[i] >= 0.0f && positions[i] <= 1.0f &&
                 (i == 0 || positions[i] >= positions[i - 1]);
    if (direct) {
        for (unsigned long i = 0; i < n; ++i) {
            const LColourF c = LToColourF(stops[i]);
            cairo_pattern_add_color_stop_rgba(pattern, positions[i], c.red, c.green, c.blue,
                                              c.alpha * alpha);
        }
        return;
    }
    for (int i = 0; i < kStopSamples; ++i) {
        const float t = static_cast<float>(i) / (kStopSamples - 1);
        const LColourF c = GetColourAt(t);
        cairo_pattern_add_color_stop_rgba(pattern, t, c.red, c.green, c.blue, c.alpha * alpha);
    }
}

LGuiBrushGradientLinear::LGuiBrushGradientLinear(LPointTemplate<float> s, LPointTemplate<float> e,
                                                 const LGuiColorAlpha& startColour,
                                                 const LGuiColorAlpha& endColour, bool ext)
    : LGuiBrushGradient(LGuiBrushLinearGradient, startColour, endColour), start(s), end(e),
      extend(ext) {}

void LGuiBrushGradientLinear::Apply(cairo_t* cr, float alpha) const {
    if (stopCount == 0) {
        SetTransparent(cr);
        return;
    }
    cairo_pattern_t* pattern = cairo_pattern_create_linear(start.x, start.y, end.x, end.y);
    AddStops(pattern, alpha);
    cairo_pattern_set_extend(pattern, extend ? CAIRO_EXTEND_PAD : CAIRO_EXTEND_NONE);
    if (cairo_pattern_status(pattern) == CAIRO_STATUS_SUCCESS)
        cairo_set_source(cr, pattern);
    else
        SetTransparent(cr);
    cairo_pattern_destroy(pattern);
}

LGuiBrushGradientRadial::LGuiBrushGradientRadial(LPointTemplate<float> c, LPointTemplate<float> s,
                                                 float rx, float ry,
                                                 const LGuiColorAlpha& centreColour,
                                                 const LGuiColorAlpha& rimColour)
    : LGuiBrushGradient(LGuiBrushRadialGradient, rimColour, centreColour), centre(c), second(s),
      radiusX(rx), radiusY(ry) {
    colour = centreColour;
}

void LGuiBrushGradientRadial::Apply(cairo_t* cr, float alpha) const {
    // A gradient squeezed to nothing in either direction paints nothing.
    const double scaleY = radiusX < kStopEpsilon ? 0.0 : static_cast<double>(radiusY) / radiusX;
    if (stopCount == 0 || !std::isfinite(scaleY) || std::fabs(scaleY) < kStopEpsilon ||
        !std::isfinite(centre.x) || !std::isfinite(centre.y)) {
        SetTransparent(cr);
        return;
    }
    cairo_pattern_t* pattern =
        cairo_pattern_create_radial(centre.x, centre.y, radiusX, centre.x, centre.y, 0);
    AddStops(pattern, alpha);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    // The pattern's matrix maps user space to the pattern's: y shrinks about
    // the centre by 1 / scaleY.
    cairo_matrix_t m;
    cairo_matrix_init(&m, 1, 0, 0, 1 / scaleY, 0, centre.y - centre.y / scaleY);
    cairo_pattern_set_matrix(pattern, &m);
    if (cairo_pattern_status(pattern) == CAIRO_STATUS_SUCCESS)
        cairo_set_source(cr, pattern);
    else
        SetTransparent(cr);
    cairo_pattern_destroy(pattern);
}
