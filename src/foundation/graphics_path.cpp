#include "foundation/graphics_path.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

#include "foundation/line_style.h"
#include "foundation/paint_surface.h"

using LPointF = LPointTemplate<float>;

bool LGraphicsPathSegment::SetPoints(const LPointF* values, unsigned long count) {
    if (!values || count == 0)
        return false;
    unsigned long keep = count;
    bool whole = true;
    switch (type) {
    case LPathSegmentMoveTo:
    case LPathSegmentLineTo:
    case LPathSegmentText:
        keep = 1;
        whole = count == 1;
        break;
    case LPathSegmentBezierTo:
        if (count < 3)
            return false;
        keep = 3;
        whole = count == 3;
        break;
    case LPathSegmentBeziers:
        keep = count - count % 3;
        whole = keep == count;
        if (keep == 0)
            return false;
        break;
    case LPathSegmentLines:
        break;
    default:
        // A close takes no points.
        return false;
    }
    points.Clear();
    points.Append(values, keep);
    return whole;
}

LGraphicsPathSegment* LGraphicsPath::Append(LPathSegmentType type, const LPointF* values,
                                            unsigned long count) {
    auto* s = new LGraphicsPathSegment(type);
    if (count)
        s->points.Append(values, count);
    segments.PushBack(s);
    return s;
}

void LGraphicsPath::BeginFigure(LPointF point) {
    EndFigure(false);
    Append(LPathSegmentMoveTo, &point, 1);
    figureOpen = true;
}

void LGraphicsPath::EndFigure(bool close) {
    if (!figureOpen)
        return;
    if (close)
        Append(LPathSegmentClose, nullptr, 0);
    figureOpen = false;
}

void LGraphicsPath::LineTo(LPointF point) {
    if (figureOpen)
        Append(LPathSegmentLineTo, &point, 1);
    else
        BeginFigure(point);
}

void LGraphicsPath::BezierTo(LPointF c1, LPointF c2, LPointF end) {
    const LPointF p[3] = {c1, c2, end};
    Append(LPathSegmentBezierTo, p, 3);
}

void LGraphicsPath::AddBezier(LPointF p0, LPointF c1, LPointF c2, LPointF p3) {
    if (figureOpen)
        LineTo(p0);
    else
        BeginFigure(p0);
    BezierTo(c1, c2, p3);
}

void LGraphicsPath::AddLine(float x1, float y1, float x2, float y2) {
    if (figureOpen) {
        const LPointF p[2] = {{x1, y1}, {x2, y2}};
        Append(LPathSegmentLines, p, 2);
    } else {
        BeginFigure({x1, y1});
        LineTo({x2, y2});
    }
}

void LGraphicsPath::AddLines(const LPointF* values, unsigned long count) {
    if (!values || count < 2)
        return;
    if (figureOpen) {
        Append(LPathSegmentLines, values, count);
    } else {
        BeginFigure(values[0]);
        Append(LPathSegmentLines, values + 1, count - 1);
    }
}

void LGraphicsPath::AddRectangle(float x, float y, float width, float height) {
    BeginFigure({x, y});
    const LPointF p[3] = {{x + width, y}, {x + width, y + height}, {x, y + height}};
    Append(LPathSegmentLines, p, 3);
    CloseFigure();
}

void LGraphicsPath::AddEllipse(float cx, float cy, float rx, float ry) {
    EndFigure(false);
    const float k = kLEllipseBezierFactor;
    const float kx = k * rx, ky = k * ry;
    BeginFigure({cx, cy - ry});
    const LPointF p[12] = {
        {cx + kx, cy - ry}, {cx + rx, cy - ky}, {cx + rx, cy},      // top to right
        {cx + rx, cy + ky}, {cx + kx, cy + ry}, {cx, cy + ry},      // right to bottom
        {cx - kx, cy + ry}, {cx - rx, cy + ky}, {cx - rx, cy},      // bottom to left
        {cx - rx, cy - ky}, {cx - kx, cy - ry}, {cx, cy - ry},      // left to top
    };
    Append(LPathSegmentBeziers, p, 12);
    CloseFigure();
}

void LGraphicsPath::AddArc(float x, float y, float width, float height, float start, float sweep,
                           float rotation) {
    LGraphicsPathAddArcWithAngle(*this, x, y, width, height, start, sweep, rotation);
}

void LGraphicsPathAddArcWithAngle(LGraphicsPath& path, float x, float y, float width,
                                  float height, float startAngle, float sweepAngle,
                                  float rotationAngle) {
    constexpr double kRadians = 0.01745329251;
    double start = startAngle;
    if (start < 0)
        start += 360;
    start = std::clamp(start, 0.0, 360.0);
    const double sweep = std::clamp(static_cast<double>(sweepAngle), -360.0, 360.0);
    const double rotation = std::clamp(static_cast<double>(rotationAngle), -360.0, 360.0);
    // clamp lets a NaN through; an arc of no known size adds nothing.
    if (!(sweep > 0 || sweep < 0) || !std::isfinite(start) || !std::isfinite(rotation))
        return;

    const double rx = std::fabs(width / 2.0), ry = std::fabs(height / 2.0);
    const double cx = x + rx, cy = y + ry;
    if (!std::isfinite(cx) || !std::isfinite(cy) || !std::isfinite(rx) || !std::isfinite(ry))
        return;
    const double step = sweep < 0 ? -45.0 : 45.0;
    const int count = static_cast<int>(std::ceil(sweep / step));

    const double r = rotation * kRadians;
    const double a = rx * std::cos(r), b = ry * std::sin(r);
    const double c = rx * std::sin(r), d = ry * std::cos(r);
    struct Sample {
        double x, y, dx, dy;
    };
    // The point at parameter e and its derivative.
    auto at = [&](double e) {
        const double ce = std::cos(e), se = std::sin(e);
        return Sample{cx + a * ce - b * se, cy + c * ce + d * se, -a * se - b * ce,
                      -c * se + d * ce};
    };
    auto parameter = [&](double t) {
        // Both forms are the same angle; the second stays defined when the
        // box is flat in one direction.
        if (rx > 0 && ry > 0)
            return std::atan2(std::sin(t) / ry, std::cos(t) / rx);
        return std::atan2(std::sin(t) * rx, std::cos(t) * ry);
    };
    auto toFloat = [](double px, double py) {
        return LPointF(static_cast<float>(px), static_cast<float>(py));
    };

    double u = 0;
    for (int i = 0; i < count; ++i) {
        const double t1 = (u + start) * kRadians;
        u += step;
        if (step > 0 ? u > sweep : u < sweep)
            u = sweep;
        const double t2 = (u + start) * kRadians;
        const double e1 = parameter(t1), e2 = parameter(t2);
        const double half = std::tan((e2 - e1) / 2);
        const double alpha = std::sin(e2 - e1) * (std::sqrt(4 + 3 * half * half) - 1) / 3;
        const Sample p1 = at(e1), p2 = at(e2);
        const LPointF c1 = toFloat(p1.x + alpha * p1.dx, p1.y + alpha * p1.dy);
        const LPointF c2 = toFloat(p2.x - alpha * p2.dx, p2.y - alpha * p2.dy);
        if (i == 0)
            path.AddBezier(toFloat(p1.x, p1.y), c1, c2, toFloat(p2.x, p2.y));
        else
            path.BezierTo(c1, c2, toFloat(p2.x, p2.y));
    }
}

void LGraphicsPathAddQuadraticBezier(LGraphicsPath& path, LPointF p0, LPointF q, LPointF p1) {
    const LPointF c1((p0.x + 2 * q.x) / 3, (p0.y + 2 * q.y) / 3);
    const LPointF c2((p1.x + 2 * q.x) / 3, (p1.y + 2 * q.y) / 3);
    path.AddBezier(p0, c1, c2, p1);
}

void LGraphicsPathQuadraticBezierTo(LGraphicsPath& path, LPointF q, LPointF p1) {
    LPointF p0;
    if (path.GetLastPoint(p0))
        LGraphicsPathAddQuadraticBezier(path, p0, q, p1);
}

void LGraphicsPath::AddPath(const LGraphicsPath& other, bool connect) {
    bool dropMove = connect && !segments.IsEmpty();
    for (const LGraphicsPathSegment* s = other.segments.GetFirst(); s; s = s->GetNext()) {
        const LPointF* p = s->points.Data();
        const unsigned long n = s->points.GetSize();
        switch (s->type) {
        case LPathSegmentMoveTo:
            if (dropMove) {
                dropMove = false;
                break;
            }
            if (n)
                BeginFigure(p[0]);
            break;
        case LPathSegmentLineTo:
            if (n)
                LineTo(p[0]);
            break;
        case LPathSegmentLines:
            if (!n)
                break;
            if (figureOpen) {
                Append(LPathSegmentLines, p, n);
            } else {
                BeginFigure(p[0]);
                if (n > 1)
                    Append(LPathSegmentLines, p + 1, n - 1);
            }
            break;
        case LPathSegmentBezierTo:
        case LPathSegmentBeziers:
            Append(s->type, p, n);
            figureOpen = true;
            break;
        case LPathSegmentText: {
            LGraphicsPathSegment* t = Append(LPathSegmentText, p, n);
            t->text = s->text;
            t->font = s->font;
            t->format = s->format;
            break;
        }
        case LPathSegmentClose:
            EndFigure(true);
            break;
        }
        if (s->type != LPathSegmentText)
            dropMove = false;
    }
}

void LGraphicsPath::AddString(const char* text, const LFontAttributes& font,
                              const LDrawTextFormat& format, LPointF point) {
    LGraphicsPathSegment* t = Append(LPathSegmentText, &point, 1);
    t->text.Set(text);
    t->font = font;
    t->format = format;
}

void LGraphicsPath::Reset() {
    segments.DeleteAll();
    figureOpen = false;
}

void LGraphicsPath::Copy(const LGraphicsPath& other) {
    if (this == &other)
        return;
    segments.DeleteAll();
    for (const LGraphicsPathSegment* s = other.segments.GetFirst(); s; s = s->GetNext())
        segments.PushBack(new LGraphicsPathSegment(*s));
    reserved = other.reserved;
    figureOpen = other.figureOpen;
}

void LGraphicsPath::ForEachPoint(void (*change)(LPointF&, const void*), const void* data) {
    for (LGraphicsPathSegment* s = segments.GetFirst(); s; s = s->GetNext())
        for (LPointF& p : s->points)
            change(p, data);
}

void LGraphicsPath::Transform(const LMatrix<float>& matrix) {
    ForEachPoint(
        [](LPointF& p, const void* d) {
            static_cast<const LMatrix<float>*>(d)->TransformPoint(p.x, p.y);
        },
        &matrix);
}

void LGraphicsPath::Translate(float x, float y) {
    const float t[2] = {x, y};
    ForEachPoint(
        [](LPointF& p, const void* d) {
            const float* v = static_cast<const float*>(d);
            p.x += v[0];
            p.y += v[1];
        },
        t);
}

void LGraphicsPath::Scale(float x, float y) {
    const float t[2] = {x, y};
    ForEachPoint(
        [](LPointF& p, const void* d) {
            const float* v = static_cast<const float*>(d);
            p.x *= v[0];
            p.y *= v[1];
        },
        t);
}

void LGraphicsPath::Rotate(float degrees) {
    const float radians = degrees * 0.017453292f;
    const float t[2] = {std::cos(radians), std::sin(radians)};
    ForEachPoint(
        [](LPointF& p, const void* d) {
            const float* v = static_cast<const float*>(d);
            const float x = p.x * v[0] - p.y * v[1];
            const float y = p.x * v[1] + p.y * v[0];
            p.x = x;
            p.y = y;
        },
        t);
}

bool LGraphicsPath::GetLastPoint(LPointF& point) const {
    const LGraphicsPathSegment* last = segments.GetLast();
    if (!last || last->points.IsEmpty())
        return false;
    point = last->points[last->points.GetSize() - 1];
    return true;
}

LBoundingBox2T<float> LGraphicsPath::GetBounds() const {
    bool any = false;
    LBoundingBox2T<float> box;
    for (const LGraphicsPathSegment* s = segments.GetFirst(); s; s = s->GetNext())
        for (const LPointF& p : s->points) {
            if (!any) {
                box = {p.x, p.y, p.x, p.y};
                any = true;
            } else {
                box += LBoundingBox2T<float>(p.x, p.y, p.x, p.y);
            }
        }
    return box;
}

namespace {

// A context of no consequence for questions about geometry.
class ScratchContext {
public:
    ScratchContext()
        : surface(cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1)), cr(cairo_create(surface)) {}
    ~ScratchContext() {
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
    }
    ScratchContext(const ScratchContext&) = delete;
    ScratchContext& operator=(const ScratchContext&) = delete;

    cairo_surface_t* surface;
    cairo_t* cr;
};

} // namespace

LBoundingBox2T<float> LGraphicsPath::GetBounds(float width, const LLineStyle* style) const {
    if (width == 0.0f || segments.IsEmpty())
        return GetBounds();
    ScratchContext scratch;
    AppendToContext(scratch.cr);
    LApplyStroke(scratch.cr, LResolveStroke(style, std::fabs(width), 1.0f));
    double x1, y1, x2, y2;
    cairo_stroke_extents(scratch.cr, &x1, &y1, &x2, &y2);
    if (cairo_status(scratch.cr) != CAIRO_STATUS_SUCCESS || (x1 == 0 && y1 == 0 && x2 == 0 && y2 == 0))
        return GetBounds();
    return LBoundingBox2T<float>(static_cast<float>(x1), static_cast<float>(y1),
                                 static_cast<float>(x2), static_cast<float>(y2));
}

bool LGraphicsPath::IsPointInside(float x, float y) const {
    if (segments.IsEmpty())
        return false;
    ScratchContext scratch;
    AppendToContext(scratch.cr);
    cairo_set_fill_rule(scratch.cr, CAIRO_FILL_RULE_WINDING);
    return cairo_in_fill(scratch.cr, x, y) != 0;
}

void LGraphicsPath::AppendToContext(cairo_t* cr) const {
    for (const LGraphicsPathSegment* s = segments.GetFirst(); s; s = s->GetNext()) {
        const LPointF* p = s->points.Data();
        const unsigned long n = s->points.GetSize();
        switch (s->type) {
        case LPathSegmentMoveTo:
        case LPathSegmentText:
            if (n)
                cairo_move_to(cr, p[0].x, p[0].y);
            break;
        case LPathSegmentLineTo:
        case LPathSegmentLines:
            for (unsigned long i = 0; i < n; ++i)
                cairo_line_to(cr, p[i].x, p[i].y);
            break;
        case LPathSegmentBezierTo:
        case LPathSegmentBeziers:
            for (unsigned long i = 0; i + 2 < n; i += 3)
                cairo_curve_to(cr, p[i].x, p[i].y, p[i + 1].x, p[i + 1].y, p[i + 2].x, p[i + 2].y);
            break;
        case LPathSegmentClose:
            cairo_close_path(cr);
            break;
        }
    }
}
