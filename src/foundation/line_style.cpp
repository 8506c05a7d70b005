#include "foundation/line_style.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <initializer_list>

void LLineStyle::SetCustomDash(const LSizedArray<float>& entries) {
    if (entries.IsEmpty()) {
        customDash.Clear();
        return;
    }
    customDash = entries;
    dash = LLineDashCustom;
}

namespace {

void SetPattern(LStrokeParameters& s, std::initializer_list<double> lengths, double phase) {
    s.dashCount = 0;
    for (double v : lengths)
        s.dashes[s.dashCount++] = v;
    s.phase = phase;
}

void SetTablePattern(LStrokeParameters& s, LLineDashStyle dash, bool capsAddToDash, double w) {
    if (!capsAddToDash) {
        switch (dash) {
        case LLineDashDash: SetPattern(s, {3 * w, w}, 0); break;
        // The dots of a flat dotted line start one gap in, unlike every other
        // pattern; drawings rely on it.
        case LLineDashDot: SetPattern(s, {w, w}, w); break;
        case LLineDashDashDot: SetPattern(s, {3 * w, w, w, w}, 0); break;
        case LLineDashDashDotDot: SetPattern(s, {3 * w, w, w, w, w, w}, 0); break;
        default: break;
        }
        return;
    }
    // Round and square caps reach half a width past each end of a dash.
    switch (dash) {
    case LLineDashDash: SetPattern(s, {2 * w, 2 * w}, -0.5 * w); break;
    case LLineDashDot: SetPattern(s, {0, 2 * w}, 0); break;
    case LLineDashDashDot: SetPattern(s, {2 * w, 2 * w, 0, 2 * w}, -0.5 * w); break;
    case LLineDashDashDotDot: SetPattern(s, {2 * w, 2 * w, 0, 2 * w, 0, 2 * w}, -0.5 * w); break;
    default: break;
    }
}

void SetCustomPattern(LStrokeParameters& s, const LSizedArray<float>& entries, bool capsAddToDash,
                      double w) {
    unsigned long n = entries.GetSize();
    if (n > kLMaxDashEntries)
        n = kLMaxDashEntries;
    for (unsigned long i = 0; i < n; ++i) {
        double v = entries[i] * w;
        if (capsAddToDash) {
            if (i % 2 == 0)
                v = std::max(0.0, v - w);
            else
                v += w;
        }
        s.dashes[i] = v;
    }
    s.dashCount = n;
    s.phase = 0;
}

// The drawing library refuses negative lengths and an all-zero pattern, and
// a refusal would spoil the whole context: such a pattern strokes solid.
void DropUndrawablePattern(LStrokeParameters& s) {
    double total = 0;
    for (unsigned long i = 0; i < s.dashCount; ++i) {
        if (!std::isfinite(s.dashes[i]) || s.dashes[i] < 0) {
            s.dashCount = 0;
            break;
        }
        total += s.dashes[i];
    }
    if (s.dashCount && !(total > 0 && std::isfinite(total) && std::isfinite(s.phase)))
        s.dashCount = 0;
    if (!s.dashCount)
        s.phase = 0;
}

} // namespace

LStrokeParameters LResolveStroke(const LLineStyle* style, float width, float deviceScale) {
    LStrokeParameters s;
    // A negative width strokes by its size.
    double w = std::fabs(width);
    if (width == 0.0f) {
        w = deviceScale != 0.0f ? 1.0 / deviceScale : 0.0;
        if (w < 0)
            w = -w;
    }
    if (!std::isfinite(w))
        w = 0;
    s.width = w;
    if (!style)
        return s;

    s.cap = style->startCap == 1 ? LLineCapSquare
            : style->startCap == 2 ? LLineCapRound
                                   : LLineCapFlat;
    const LLineDashStyle dash = style->dash;
    const bool dashed = dash >= LLineDashDash && dash <= LLineDashCustom;
    if (dashed && style->dashCap == 1)
        s.cap = LLineCapRound;

    const bool capsAddToDash = s.cap != LLineCapFlat;
    if (dash == LLineDashCustom)
        SetCustomPattern(s, style->customDash, capsAddToDash, w);
    else if (dashed)
        SetTablePattern(s, dash, capsAddToDash, w);
    DropUndrawablePattern(s);

    switch (style->join) {
    case 0:
        s.join = LLineJoinMiter;
        s.miterLimit = FLT_MAX;
        break;
    case 1: s.join = LLineJoinBevel; break;
    case 2: s.join = LLineJoinRound; break;
    default:
        s.join = LLineJoinMiter;
        s.miterLimit = std::isfinite(style->miterLimit) ? style->miterLimit : 10.0;
        break;
    }
    return s;
}
