#include "foundation/paint_surface.h"

#include <algorithm>
#include <cmath>

#include "foundation/text_layout.h"

namespace {

constexpr double kDegreesToRadians = 0.017453292;

// The context's antialias flag for the life of one operation.
class AntialiasScope {
public:
    AntialiasScope(cairo_t* cr, bool on) : cr(cr), previous(cairo_get_antialias(cr)) {
        cairo_set_antialias(cr, on ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
    }
    ~AntialiasScope() { cairo_set_antialias(cr, previous); }
    AntialiasScope(const AntialiasScope&) = delete;
    AntialiasScope& operator=(const AntialiasScope&) = delete;

private:
    cairo_t* cr;
    cairo_antialias_t previous;
};

bool Ready(const LPaintContext& c) {
    return c.context && !c.singular && cairo_status(c.context) == CAIRO_STATUS_SUCCESS;
}

bool IsUsable(const cairo_matrix_t& m) {
    const double det = m.xx * m.yy - m.yx * m.xy;
    return std::isfinite(m.xx) && std::isfinite(m.yx) && std::isfinite(m.xy) &&
           std::isfinite(m.yy) && std::isfinite(m.x0) && std::isfinite(m.y0) &&
           std::isfinite(det) && det != 0.0;
}

// Concatenates `m` in front of the current transform, unless the result
// could not be inverted: then the context goes singular.
void Concatenate(LPaintContext& c, const cairo_matrix_t& m) {
    if (!c.context || c.singular)
        return;
    cairo_matrix_t current, result;
    cairo_get_matrix(c.context, &current);
    cairo_matrix_multiply(&result, &m, &current);
    if (IsUsable(m) && IsUsable(result))
        cairo_set_matrix(c.context, &result);
    else
        c.singular = true;
}

void SetBaseMatrix(const LPaintContext& c) {
    cairo_matrix_t base;
    cairo_matrix_init(&base, c.baseTransform[0], c.baseTransform[1], c.baseTransform[2],
                      c.baseTransform[3], c.baseTransform[4], c.baseTransform[5]);
    cairo_set_matrix(c.context, &base);
}

// The path as cairo's current path, filled or clipped by non-zero winding.
void SetWindingPath(cairo_t* cr, const LGraphicsPath& path) {
    cairo_new_path(cr);
    path.AppendToContext(cr);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
}

void AppendEllipse(cairo_t* cr, float x, float y, float w, float h) {
    LGraphicsPath path;
    path.AddEllipse(x + w / 2, y + h / 2, w / 2, h / 2);
    path.AppendToContext(cr);
}

void Stroke(LPaintContext& c, const LGuiBrush& brush, float width, const LLineStyle* style,
            bool antialias) {
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, antialias);
    LPaintSurface::ApplyLineStyle(c, width, style);
    brush.Apply(cr, c.alpha);
    cairo_stroke(cr);
    brush.Restore(cr);
}

// Strokes what `append` lays down as a fresh path, leaving the context's
// state as it was.
template <class Append>
void StrokeNewPath(LPaintContext& c, const LGuiBrush& brush, float width, const LLineStyle* style,
                   bool antialias, Append append) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    cairo_save(cr);
    cairo_new_path(cr);
    append(cr);
    Stroke(c, brush, width, style, antialias);
    cairo_restore(cr);
}

// The whole drawing area cleared (null brush) or painted over.
void FillWholeArea(LPaintContext& c, const LGuiBrush* brush) {
    if (!c.context || cairo_status(c.context) != CAIRO_STATUS_SUCCESS)
        return;
    cairo_t* cr = c.context;
    cairo_save(cr);
    SetBaseMatrix(c);
    cairo_new_path(cr);
    cairo_rectangle(cr, c.left - 0.5, c.top - 0.5, c.width, c.height);
    if (brush)
        brush->Apply(cr, c.alpha);
    else
        cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_fill(cr);
    cairo_restore(cr);
}

} // namespace

void LApplyStroke(cairo_t* cr, const LStrokeParameters& s) {
    cairo_set_line_width(cr, s.width);
    cairo_set_line_cap(cr, s.cap == LLineCapSquare  ? CAIRO_LINE_CAP_SQUARE
                           : s.cap == LLineCapRound ? CAIRO_LINE_CAP_ROUND
                                                    : CAIRO_LINE_CAP_BUTT);
    cairo_set_line_join(cr, s.join == LLineJoinBevel  ? CAIRO_LINE_JOIN_BEVEL
                            : s.join == LLineJoinRound ? CAIRO_LINE_JOIN_ROUND
                                                       : CAIRO_LINE_JOIN_MITER);
    // An unbounded limit makes the drawing library lose whole strokes of
    // flattened curves; past a thousand widths a mitre only differs at angles
    // under a tenth of a degree.
    cairo_set_miter_limit(cr, std::min(s.miterLimit, 1000.0));
    if (s.dashCount)
        cairo_set_dash(cr, s.dashes, static_cast<int>(s.dashCount), s.phase);
    else
        cairo_set_dash(cr, nullptr, 0, 0);
}

// ---------------------------------------------------------------- surface

LPaintSurface::~LPaintSurface() { Close(); }

void LPaintSurface::SetBase(float width, float height) {
    context.left = 0;
    context.top = 0;
    context.width = width;
    context.height = height;
    const float base[6] = {1, 0, 0, 1, 0.5f, 0.5f};
    for (int i = 0; i < 6; ++i)
        context.baseTransform[i] = base[i];
    SetBaseMatrix(context);
}

bool LPaintSurface::Open(cairo_surface_t* target, float width, float height) {
    Close();
    if (!target || cairo_surface_status(target) != CAIRO_STATUS_SUCCESS)
        return false;
    cairo_t* cr = cairo_create(target);
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(cr);
        return false;
    }
    context.context = cr;
    SetBase(width, height);
    return true;
}

bool LPaintSurface::Adopt(cairo_t* cr, float width, float height) {
    Close();
    if (!cr || cairo_status(cr) != CAIRO_STATUS_SUCCESS)
        return false;
    // The owner's state comes back when the surface closes.
    cairo_save(cr);
    context.context = cairo_reference(cr);
    adopted = true;
    SetBase(width, height);
    return true;
}

void LPaintSurface::Close() {
    if (!context.context)
        return;
    while (context.clipCount)
        ClipStackPop(context);
    if (adopted)
        cairo_restore(context.context);
    adopted = false;
    cairo_surface_flush(cairo_get_target(context.context));
    cairo_destroy(context.context);
    context.context = nullptr;
    context.transformStack.Clear();
    context.singular = false;
}

cairo_surface_t* LPaintSurface::GetTarget() const {
    return context.context ? cairo_get_target(context.context) : nullptr;
}

void LPaintSurface::Flush() {
    if (context.context)
        cairo_surface_flush(cairo_get_target(context.context));
}

void LPaintSurface::MarkDirty() {
    if (context.context)
        cairo_surface_mark_dirty(cairo_get_target(context.context));
}

// ---------------------------------------------------------------- drawing

void LPaintSurface::FillPath(LPaintContext& c, const LGuiBrush& brush,
                             const LGraphicsPath& path) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, c.antialias);
    SetWindingPath(cr, path);
    brush.Apply(cr, c.alpha);
    cairo_fill(cr);
    brush.Restore(cr);
}

void LPaintSurface::DrawPath(LPaintContext& c, const LGuiBrush& brush, const LGraphicsPath& path,
                             float width, const LLineStyle* style) {
    StrokeNewPath(c, brush, width, style, c.antialias, [&](cairo_t* cr) { path.AppendToContext(cr); });
}

void LPaintSurface::FillRect(LPaintContext& c, const LGuiBrush& brush, float x, float y, float w,
                             float h) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, c.antialias);
    cairo_new_path(cr);
    cairo_rectangle(cr, x, y, w, h);
    brush.Apply(cr, c.alpha);
    cairo_fill(cr);
    brush.Restore(cr);
}

void LPaintSurface::FillEllipse(LPaintContext& c, float x, float y, float w, float h,
                                const LGuiBrush& brush) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, c.antialias);
    cairo_new_path(cr);
    AppendEllipse(cr, x, y, w, h);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    brush.Apply(cr, c.alpha);
    cairo_fill(cr);
    brush.Restore(cr);
}

void LPaintSurface::DrawEllipse(LPaintContext& c, float x, float y, float w, float h,
                                const LGuiBrush& brush, float width, const LLineStyle* style) {
    StrokeNewPath(c, brush, width, style, true, [&](cairo_t* cr) { AppendEllipse(cr, x, y, w, h); });
}

void LPaintSurface::DrawRectangle(LPaintContext& c, const LBoundingBox2T<float>& box,
                                  const LGuiBrush& brush, float width, const LLineStyle* style) {
    StrokeNewPath(c, brush, width, style, c.antialias, [&](cairo_t* cr) {
        cairo_rectangle(cr, box.x1, box.y1, box.GetWidth(), box.GetHeight());
    });
}

void LPaintSurface::DrawLine(LPaintContext& c, float x1, float y1, float x2, float y2,
                             const LGuiBrush& brush, float width, const LLineStyle* style) {
    StrokeNewPath(c, brush, width, style, c.antialias, [&](cairo_t* cr) {
        cairo_move_to(cr, x1, y1);
        cairo_line_to(cr, x2, y2);
    });
}

void LPaintSurface::DrawImage(LPaintContext& c, const LPaintPixels& image, float x, float y,
                              float w, float h, float alpha, int interpolation) {
    if (!Ready(c) || !image.data || image.width <= 0 || image.height <= 0)
        return;
    const long minStride = static_cast<long>(image.width) * 4;
    if (std::labs(image.stride) < minStride || image.stride % 4 != 0)
        return;
    if (!(w > 0 || w < 0) || !(h > 0 || h < 0) || !std::isfinite(w) || !std::isfinite(h) ||
        !std::isfinite(x) || !std::isfinite(y))
        return;
    // The drawing library only reads a source; it wants a writable pointer.
    auto* pixels = static_cast<unsigned char*>(const_cast<void*>(image.data));
    cairo_surface_t* source = cairo_image_surface_create_for_data(
        pixels, CAIRO_FORMAT_ARGB32, image.width, image.height, static_cast<int>(image.stride));
    if (cairo_surface_status(source) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(source);
        return;
    }
    cairo_t* cr = c.context;
    cairo_save(cr);
    AntialiasScope aa(cr, c.antialias);
    // The half pixel of the base transform is taken back in device space,
    // so that the picture's pixels fall on the surface's under any transform.
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    m.x0 -= c.baseTransform[4];
    m.y0 -= c.baseTransform[5];
    cairo_set_matrix(cr, &m);
    cairo_translate(cr, x, y);
    cairo_scale(cr, w / image.width, h / image.height);
    cairo_set_source_surface(cr, source, 0, 0);
    cairo_pattern_t* pattern = cairo_get_source(cr);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(pattern, interpolation == LPaintInterpolationNearest ? CAIRO_FILTER_NEAREST
                                      : interpolation == LPaintInterpolationLinear
                                          ? CAIRO_FILTER_BILINEAR
                                          : CAIRO_FILTER_GOOD);
    cairo_new_path(cr);
    cairo_rectangle(cr, 0, 0, image.width, image.height);
    cairo_clip(cr);
    cairo_paint_with_alpha(cr, static_cast<double>(alpha) * c.alpha);
    cairo_restore(cr);
    cairo_surface_finish(source);
    cairo_surface_destroy(source);
}

void LPaintSurface::Clear(LPaintContext& c) {
    FillWholeArea(c, nullptr);
}

void LPaintSurface::Clear(LPaintContext& c, const LGuiColorAlpha& colour) {
    FillWholeArea(c, nullptr);
    const LGuiSolidBrush brush(colour);
    FillWholeArea(c, &brush);
}

// ---------------------------------------------------------------- transforms

void LPaintSurface::TransformTranslate(LPaintContext& c, float x, float y) {
    cairo_matrix_t m;
    cairo_matrix_init_translate(&m, x, y);
    Concatenate(c, m);
}

void LPaintSurface::TransformScale(LPaintContext& c, float x, float y) {
    cairo_matrix_t m;
    cairo_matrix_init_scale(&m, x, y);
    Concatenate(c, m);
}

void LPaintSurface::TransformRotate(LPaintContext& c, float degrees) {
    cairo_matrix_t m;
    cairo_matrix_init_rotate(&m, degrees * kDegreesToRadians);
    Concatenate(c, m);
}

void LPaintSurface::Transform(LPaintContext& c, const LMatrix<float>& matrix) {
    cairo_matrix_t m;
    cairo_matrix_init(&m, matrix.m[0], matrix.m[1], matrix.m[4], matrix.m[5], matrix.m[12],
                      matrix.m[13]);
    Concatenate(c, m);
}

void LPaintSurface::TransformReset(LPaintContext& c) {
    if (!c.context)
        return;
    SetBaseMatrix(c);
    c.singular = false;
}

bool LPaintSurface::TransformStackPush(LPaintContext& c) {
    if (!c.context || c.singular)
        return false;
    cairo_matrix_t m;
    cairo_get_matrix(c.context, &m);
    c.transformStack.Add(LPaintTransform{m.xx, m.yx, m.xy, m.yy, m.x0, m.y0});
    return true;
}

bool LPaintSurface::TransformStackPop(LPaintContext& c) {
    const unsigned long n = c.transformStack.GetCount();
    if (!c.context || n == 0)
        return false;
    const LPaintTransform t = c.transformStack[n - 1];
    c.transformStack.RemoveAt(n - 1);
    cairo_matrix_t m;
    cairo_matrix_init(&m, t.xx, t.yx, t.xy, t.yy, t.x0, t.y0);
    cairo_set_matrix(c.context, &m);
    c.singular = false;
    return true;
}

void LPaintSurface::TransformStackClear(LPaintContext& c) { c.transformStack.Clear(); }

void LPaintSurface::ClipStackPush(LPaintContext& c) {
    if (!c.context)
        return;
    cairo_save(c.context);
    c.clipSingular.Add(c.singular ? 1 : 0);
    ++c.clipCount;
}

bool LPaintSurface::ClipStackPop(LPaintContext& c) {
    if (!c.context || c.clipCount == 0)
        return false;
    cairo_restore(c.context);
    --c.clipCount;
    const unsigned long n = c.clipSingular.GetCount();
    c.singular = c.clipSingular[n - 1] != 0;
    c.clipSingular.RemoveAt(n - 1);
    return true;
}

void LPaintSurface::ClipIntersect(LPaintContext& c, const LGraphicsPath& path) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, c.antialias);
    SetWindingPath(cr, path);
    cairo_clip(cr);
}

void LPaintSurface::ClipIntersect(LPaintContext& c, const LBoundingBox2T<float>& box) {
    if (!Ready(c))
        return;
    cairo_t* cr = c.context;
    AntialiasScope aa(cr, c.antialias);
    cairo_new_path(cr);
    cairo_rectangle(cr, box.x1, box.y1, box.GetWidth(), box.GetHeight());
    cairo_clip(cr);
}

void LPaintSurface::GetScale(const LPaintContext& c, float& x, float& y) {
    x = y = 0;
    if (!c.context || c.singular)
        return;
    cairo_matrix_t m;
    cairo_get_matrix(c.context, &m);
    x = static_cast<float>(std::hypot(m.xx, m.yx));
    y = static_cast<float>(std::hypot(m.xy, m.yy));
}

void LPaintSurface::ApplyLineStyle(LPaintContext& c, float width, const LLineStyle* style) {
    if (!c.context)
        return;
    float sx, sy;
    GetScale(c, sx, sy);
    LApplyStroke(c.context, LResolveStroke(style, width, std::min(sx, sy)));
}

// ---------------------------------------------------------------- text

void LPaintSurface::SetFont(LPaintContext& c, const LGuiFont& font) { c.font = font; }

void LPaintSurface::SetTextColor(LPaintContext& c, const LGuiColorAlpha& colour) {
    c.textColour = colour;
}

void LPaintSurface::DrawText(LPaintContext& c, const char* text, const LBoundingBox2T<float>& box,
                             const LDrawTextFormat& format, const LGuiBrush* brush,
                             bool noBackground) {
    if (!Ready(c) || !text || !*text)
        return;
    LPaintSurfaceTextLayoutManager layout(c, text, format);
    if (layout.Create(box.GetWidth(), box.GetHeight()))
        layout.DrawText(c, box.x1, box.y1, box.GetWidth(), box.GetHeight(), noBackground, brush);
}

bool LPaintSurface::MeasureText(LPaintContext& c, float& width, float& height, const char* text,
                                const LBoundingBox2T<float>& box, const LDrawTextFormat& format) {
    width = height = 0;
    if (!text || !*text)
        return false;
    LPaintSurfaceTextLayoutManager layout(c, text, format);
    if (!layout.Create(box.GetWidth()))
        return false;
    layout.Measure(width, height);
    return true;
}

void LPaintSurface::_DrawPathStrings(LPaintContext& c, const LGuiBrush* brush,
                                     const LGraphicsPath& path) {
    if (!Ready(c))
        return;
    for (LGraphicsPathConstIterator it(path); it; ++it) {
        if (it.GetSegmentType() != LPathSegmentText || it.GetPointCount() == 0)
            continue;
        const char* text = it.GetText();
        if (!text || !*text)
            continue;
        LPaintSurfaceTextLayoutManager layout(c, text, it.GetTextFormat(),
                                              &it.GetFontAttributes());
        if (layout.Create(0))
            layout.DrawText(c, it.GetPoints()[0].x, it.GetPoints()[0].y, 0, 0, true, brush);
    }
}

// ---------------------------------------------------------------- image

LPaintSurfaceImage::LPaintSurfaceImage(int w, int h) : width(w), height(h) {
    if (w <= 0 || h <= 0)
        return;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    Open(surface, static_cast<float>(w), static_cast<float>(h));
    cairo_surface_destroy(surface);
}

LPixelColour LPaintSurfaceImage::GetPixel(int x, int y) {
    const unsigned char* data = GetData();
    if (!data || x < 0 || y < 0 || x >= width || y >= height)
        return LPixelColour();
    const unsigned char* p = data + y * GetStride() + x * 4;
    LPixelColour c;
    c.blue = p[0];
    c.green = p[1];
    c.red = p[2];
    c.alpha = p[3];
    return c;
}

const unsigned char* LPaintSurfaceImage::GetData() {
    cairo_surface_t* s = GetTarget();
    if (!s)
        return nullptr;
    cairo_surface_flush(s);
    return cairo_image_surface_get_data(s);
}

long LPaintSurfaceImage::GetStride() const {
    cairo_surface_t* s = GetTarget();
    return s ? cairo_image_surface_get_stride(s) : 0;
}
