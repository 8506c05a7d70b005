#include "target/draw_path.h"

#include <algorithm>
#include <cmath>

void KVDrawCoord::Translate(float dx, float dy) {
    x += dx;
    y += dy;
    beforeX += dx;
    beforeY += dy;
    afterX += dx;
    afterY += dy;
}

void KVDrawCoord::Scale(float sx, float sy) {
    x *= sx;
    y *= sy;
    beforeX *= sx;
    beforeY *= sy;
    afterX *= sx;
    afterY *= sy;
}

KVDrawPath::KVDrawPath(unsigned long w, unsigned long h, LList<KVDrawCoord>* taken)
    : width(w), height(h) {
    if (taken)
        coords.AppendAll(*taken);
}

KVDrawPath::KVDrawPath(const KVDrawPath& other)
    : LListLink<KVDrawPath>(other), widgetFlags{other.widgetFlags[0], other.widgetFlags[1]},
      widgetValues{other.widgetValues[0], other.widgetValues[1]}, width(other.width),
      height(other.height), pressure(other.pressure) {
    CopyCoords(other);
}

KVDrawPath& KVDrawPath::operator=(const KVDrawPath& other) {
    if (this == &other)
        return *this;
    width = other.width;
    height = other.height;
    pressure = other.pressure;
    std::copy(other.widgetFlags, other.widgetFlags + 2, widgetFlags);
    std::copy(other.widgetValues, other.widgetValues + 2, widgetValues);
    coords.DeleteAll();
    CopyCoords(other);
    return *this;
}

void KVDrawPath::CopyCoords(const KVDrawPath& other) {
    for (const KVDrawCoord& c : other.coords)
        coords.PushBack(new KVDrawCoord(c));
}

void KVDrawPath::ConvertPath(unsigned long newWidth, unsigned long newHeight) {
    const float sx = static_cast<float>(newWidth) / static_cast<float>(width);
    const float sy = static_cast<float>(newHeight) / static_cast<float>(height);
    for (KVDrawCoord& c : coords)
        c.Scale(sx, sy);
    width = newWidth;
    height = newHeight;
}

void KVDrawPath::ReplaceLastCoord(KVDrawCoord* coord) {
    if (KVDrawCoord* last = coords.GetLast())
        delete coords.Remove(last);
    coords.PushBack(coord);
}

void KVDrawPath::DeleteCoord(int index) {
    if (index < 0)
        return;
    if (KVDrawCoord* c = coords.GetAt(static_cast<unsigned long>(index)))
        delete coords.Remove(c);
    if (pressure && static_cast<unsigned long>(index) < pressure->count) {
        LSizedArray<long>& levels = pressure->levels;
        for (unsigned long i = static_cast<unsigned long>(index); i + 1 < pressure->count; ++i)
            levels[i] = levels[i + 1];
        --pressure->count;
        levels.SetSize(pressure->count);
    }
}

void KVDrawPath::SetPressureLevels(const long* levels, unsigned long count, unsigned long maximum) {
    auto* p = new KVPressure;
    p->levels.Append(levels, count);
    p->count = count;
    p->maximum = maximum;
    pressure.Set(p);
}

void GetBeziers(const KVDrawPath& path, LList<KVDrawCoordBezierSegment>& segments) {
    segments.DeleteAll();
    const KVDrawCoord* a = path.GetCoords().GetFirst();
    for (const KVDrawCoord* b = a ? a->GetNext() : nullptr; b; a = b, b = b->GetNext())
        segments.PushBack(new KVDrawCoordBezierSegment({a->x, a->y}, {a->afterX, a->afterY},
                                                       {b->beforeX, b->beforeY}, {b->x, b->y}));
}

// ---------------------------------------------------------------- smoothing

namespace {

// The direction of a stretch as an angle of its slope; only the slope counts,
// so a U-turn along one line turns by nothing. A vertical stretch gets a
// stand-in run rather than a division by zero.
float SlopeAngle(float rise, float run) { return std::atan(rise / (run == 0.0f ? 0.0001f : run)); }

// A level the capture may not have delivered: a device that sent fewer levels
// than points leaves the rest out instead of reading past the array.
void KeepLevel(const KVPressure& pressure, unsigned long index, LSizedArray<long>& kept) {
    if (index < pressure.count && index < pressure.levels.GetSize())
        kept.Append(pressure.levels[index]);
}

} // namespace

// One pass: a deleted coordinate is unlinked where the cursor stands, and the
// count the stop test needs is the list's own, so a stroke of any length costs
// the same per point. The read index walks the levels in step with the
// coordinates as drawn, so the levels kept are those of the points kept.
void FilterPathByDistanceSlope(KVDrawPath& path, float c) {
    LList<KVDrawCoord>& coords = path.GetCoords();
    if (coords.GetCount() <= 3)
        return;
    const float farLimit = c * 50.0f;
    const float angleLimit = c * 1.0471976f;
    const float nearLimit = c * 3.0f;

    const KVPressure* pressure = path.GetPressure();
    LSizedArray<long> kept;
    unsigned long read = 0;
    if (pressure) {
        KeepLevel(*pressure, 0, kept);
        read = 1;
    }

    LPointTemplate<float> last = coords.GetFirst()->GetPoint();
    KVDrawCoord* cursor = coords.GetFirst()->GetNext();
    while (cursor) {
        if (coords.GetCount() < 4)
            break;
        KVDrawCoord* next = cursor->GetNext();
        if (!next || !next->GetNext())
            break;
        const LPointTemplate<float> cp = cursor->GetPoint(), np = next->GetPoint();
        const float dx = cp.x - last.x, dy = cp.y - last.y;
        const float d = std::sqrt(dx * dx + dy * dy);
        const float a1 = SlopeAngle(last.y - cp.y, last.x - cp.x);
        const float a2 = SlopeAngle(cp.y - np.y, cp.x - np.x);
        const bool drop = d < nearLimit || (d < farLimit && std::fabs(a1 - a2) < angleLimit);
        if (drop) {
            delete coords.Remove(cursor);
        } else {
            last = cp;
            if (pressure)
                KeepLevel(*pressure, read, kept);
        }
        ++read;
        cursor = next;
    }

    if (pressure) {
        KeepLevel(*pressure, read, kept);
        KeepLevel(*pressure, read + 1, kept);
        const unsigned long maximum = pressure->maximum;
        path.SetPressureLevels(kept.Data(), kept.GetSize(), maximum);
    }
}

void NoCurvinessInterpolation(KVDrawPath& path) {
    for (KVDrawCoord& c : path.GetCoords()) {
        c.beforeX = c.afterX = c.x;
        c.beforeY = c.afterY = c.y;
    }
}

namespace {

// The Hermite basis: rows (1, 0, 0, 0), (0, 0, 1, 0), (-3, 3, -2, -1),
// (2, -2, 1, 1) times the column (P0, P1, T0, T1), per axis.
void HermiteCoefficients(double p0, double p1, double t0, double t1, double a[4]) {
    a[0] = p0;
    a[1] = t0;
    a[2] = -3.0 * p0 + 3.0 * p1 - 2.0 * t0 - t1;
    a[3] = 2.0 * p0 - 2.0 * p1 + t0 + t1;
}

void AddHermite(LList<KVDrawCoordEquationCoeff>& out, LPointTemplate<float> p0,
                LPointTemplate<float> p1, LPointTemplate<float> t0, LPointTemplate<float> t1) {
    auto* e = new KVDrawCoordEquationCoeff;
    HermiteCoefficients(p0.x, p1.x, t0.x, t1.x, e->x);
    HermiteCoefficients(p0.y, p1.y, t0.y, t1.y, e->y);
    out.PushBack(e);
}

// Half the chord between two neighbours: the Catmull-Rom tangent at tension 0.5.
LPointTemplate<float> Tangent(const KVDrawCoord& before, const KVDrawCoord& after) {
    return {(after.x - before.x) * 0.5f, (after.y - before.y) * 0.5f};
}

} // namespace

void InterpolatePointsCR(const KVDrawPath& path, LList<KVDrawCoordEquationCoeff>& coefficients) {
    coefficients.DeleteAll();
    const LList<KVDrawCoord>& coords = path.GetCoords();
    if (coords.GetCount() < 3)
        return;
    const KVDrawCoord* p0 = coords.GetFirst();
    const KVDrawCoord* p1 = p0->GetNext();
    const KVDrawCoord* p2 = p1->GetNext();
    // The stroke starts at rest.
    AddHermite(coefficients, p0->GetPoint(), p1->GetPoint(), {0.0f, 0.0f}, Tangent(*p0, *p2));
    for (const KVDrawCoord* p3 = p2->GetNext(); p3; p0 = p1, p1 = p2, p2 = p3, p3 = p3->GetNext())
        AddHermite(coefficients, p1->GetPoint(), p2->GetPoint(), Tangent(*p0, *p2),
                   Tangent(*p1, *p3));
}

namespace {

struct BezierAxis {
    float start, control1, control2, end;
};

BezierAxis ToBezier(const double a[4]) {
    return {static_cast<float>(a[0]), static_cast<float>(a[1] / 3.0 + a[0]),
            static_cast<float>((3.0 * a[0] + a[2] + 2.0 * a[1]) / 3.0),
            static_cast<float>(a[0] + a[1] + a[2] + a[3])};
}

} // namespace

void ComputeBezier(KVDrawPath& path, const LList<KVDrawCoordEquationCoeff>& coefficients) {
    KVDrawCoord* coord = path.GetCoords().GetFirst();
    const KVDrawCoordEquationCoeff* segment = coefficients.GetFirst();
    if (!coord || !segment)
        return;
    // Segment k leaves coordinate k and arrives at k + 1.
    const BezierAxis firstX = ToBezier(segment->x), firstY = ToBezier(segment->y);
    coord->beforeX = firstX.start;
    coord->beforeY = firstY.start;
    float arriveX = 0.0f, arriveY = 0.0f;
    for (; segment && coord; segment = segment->GetNext(), coord = coord->GetNext()) {
        const BezierAxis bx = ToBezier(segment->x), by = ToBezier(segment->y);
        if (segment != coefficients.GetFirst()) {
            coord->beforeX = arriveX;
            coord->beforeY = arriveY;
        }
        coord->afterX = bx.control1;
        coord->afterY = by.control1;
        arriveX = bx.control2;
        arriveY = by.control2;
    }
    if (coord) {
        coord->beforeX = arriveX;
        coord->beforeY = arriveY;
    }
}

void InterpolateDrawPath(KVDrawPath& path, float curviness, bool filter) {
    // Two points make no curve, and the filter must not run with limits the
    // curve would not use.
    if (path.GetCoords().GetCount() < 3)
        curviness = 0.0f;
    if (filter)
        FilterPathByDistanceSlope(path, curviness);
    if (curviness > 0.0f) {
        LList<KVDrawCoordEquationCoeff> coefficients;
        InterpolatePointsCR(path, coefficients);
        ComputeBezier(path, coefficients);
    } else {
        NoCurvinessInterpolation(path);
    }
}
