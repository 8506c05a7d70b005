#include "foundation/text_layout.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "foundation/brush.h"
#include "foundation/paint_surface.h"

namespace {

// Beyond this a size only overflows the layout engine's fixed-point units.
constexpr float kMaxTextSize = 10000.0f;
// The wrap width of multi-line text in a box of no width.
constexpr float kUnboundedWrapWidth = 10000.0f;

int ToPangoUnits(double v) {
    const double scaled = v * PANGO_SCALE;
    if (!(scaled < INT_MAX / 2))
        return INT_MAX / 2;
    return scaled < 0 ? 0 : static_cast<int>(scaled);
}

float FromPangoUnits(int v) { return static_cast<float>(v) / PANGO_SCALE; }

// Drops one trailing line break: it ends the last line rather than opening
// another, so "test\n" is one line high.
void StripTrailingBreak(LStringLong& text) {
    unsigned long n = text.GetLength();
    const char* s = text.Get();
    if (n && s[n - 1] == '\n')
        --n;
    else if (n && s[n - 1] == '\r')
        --n;
    else
        return;
    if (s[n] == '\n' && n && s[n - 1] == '\r')
        --n;
    text.SetLength(n);
}

} // namespace

LPaintSurfaceTextLayoutManager::LPaintSurfaceTextLayoutManager(const LPaintContext& context,
                                                               const char* t,
                                                               const LDrawTextFormat& f,
                                                               const LFontAttributes* fa)
    : font(fa ? *fa : context.font.GetAttributes()), format(f) {
    if (!t)
        return;
    // Broken UTF-8 from a file shows replacement characters instead of
    // upsetting the layout engine.
    if (g_utf8_validate(t, -1, nullptr)) {
        text.Set(t);
    } else {
        gchar* valid = g_utf8_make_valid(t, -1);
        text.Set(valid);
        g_free(valid);
    }
    StripTrailingBreak(text);
}

LPaintSurfaceTextLayoutManager::~LPaintSurfaceTextLayoutManager() { Release(); }

void LPaintSurfaceTextLayoutManager::Release() {
    if (layout)
        g_object_unref(layout);
    if (pangoContext)
        g_object_unref(pangoContext);
    layout = nullptr;
    pangoContext = nullptr;
    lines.clear();
}

bool LPaintSurfaceTextLayoutManager::Create(float width, float height) {
    Release();
    const float size = std::fabs(font.size);
    if (!(size > 0) || !std::isfinite(size) || text.IsEmpty())
        return false;
    if (size < kLSmallTextSize) {
        layoutSize = size * 10;
        layoutScale = 0.1f;
    } else {
        layoutSize = std::min(size, kMaxTextSize);
        layoutScale = 1.0f;
    }
    if (!std::isfinite(width) || width < 0)
        width = 0;
    if (!std::isfinite(height) || height < 0)
        height = 0;

    pangoContext = pango_font_map_create_context(pango_cairo_font_map_get_default());
    // Unhinted metrics and unrounded positions: a text measures alike on
    // every surface and at every scale.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    pango_cairo_context_set_font_options(pangoContext, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(pangoContext, FALSE);

    PangoFontDescription* desc = pango_font_description_new();
    pango_font_description_set_family(desc, font.face[0] ? font.face : "Sans");
    pango_font_description_set_absolute_size(desc, layoutSize * PANGO_SCALE);
    pango_font_description_set_weight(desc, font.IsBold() ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_font_description_set_style(desc, font.IsItalic() ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);

    layout = pango_layout_new(pangoContext);
    pango_layout_set_font_description(layout, desc);
    if (font.IsUnderline()) {
        PangoAttrList* attributes = pango_attr_list_new();
        pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
        pango_layout_set_attributes(layout, attributes);
        pango_attr_list_unref(attributes);
    }
    pango_layout_set_text(layout, text.Get(), static_cast<int>(text.GetLength()));

    const bool trimmed = format.IsTrimmed();
    multiLine = !trimmed && std::strpbrk(text.Get(), "\r\n") != nullptr;
    const float layoutWidth = width / layoutScale;
    if (trimmed) {
        pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
        if (width > 0)
            pango_layout_set_width(layout, ToPangoUnits(layoutWidth));
        if (format.lineBreak == 1) {
            pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
            pango_layout_set_height(layout, height > 0 ? ToPangoUnits(height / layoutScale)
                                                       : INT_MAX / 2);
        }
    } else if (format.lineBreak == 1 || multiLine) {
        pango_layout_set_width(layout, ToPangoUnits(width > 0 ? layoutWidth : kUnboundedWrapWidth));
        pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    }

    PangoFontMetrics* metrics = pango_context_get_metrics(pangoContext, desc, nullptr);
    ascent = FromPangoUnits(pango_font_metrics_get_ascent(metrics));
    lineHeight = ascent + FromPangoUnits(pango_font_metrics_get_descent(metrics));
    pango_font_metrics_unref(metrics);
    pango_font_description_free(desc);

    const int count = pango_layout_get_line_count(layout);
    for (int i = 0; i < count; ++i) {
        PangoLayoutLine* line = pango_layout_get_line_readonly(layout, i);
        PangoRectangle ink, logical;
        pango_layout_line_get_extents(line, &ink, &logical);
        lines.push_back({FromPangoUnits(logical.x), FromPangoUnits(logical.width),
                         FromPangoUnits(ink.x), FromPangoUnits(ink.width)});
    }
    return true;
}

std::vector<LPaintSurfaceTextLayoutManager::LineRange>
LPaintSurfaceTextLayoutManager::GetLineRanges() const {
    std::vector<LineRange> ranges;
    if (!layout)
        return ranges;
    const int count = pango_layout_get_line_count(layout);
    for (int i = 0; i < count; ++i) {
        const PangoLayoutLine* line = pango_layout_get_line_readonly(layout, i);
        ranges.push_back({line->start_index, line->length});
    }
    return ranges;
}

void LPaintSurfaceTextLayoutManager::Measure(float& width, float& height) const {
    float widest = 0;
    for (const Line& l : lines) {
        const float left = l.inkWidth > 0 ? std::min(l.logicalX, l.inkX) : l.logicalX;
        const float right = l.inkWidth > 0 ? std::max(l.logicalX + l.logicalWidth, l.inkX + l.inkWidth)
                                           : l.logicalX + l.logicalWidth;
        widest = std::max(widest, right - left);
    }
    width = widest * layoutScale;
    height = static_cast<float>(lines.size()) * lineHeight * layoutScale;
}

// Where a line starts on the surface: aligned in a box of some width, moved
// in when its ink would hang out of the box on the aligned side.
float LPaintSurfaceTextLayoutManager::LineOrigin(const Line& l, float x, float width) const {
    const float s = layoutScale;
    if (width <= 0)
        return x - l.logicalX * s;
    switch (format.alignX) {
    case LAlignmentXCentre:
        return x + (width - l.logicalWidth * s) / 2 - l.logicalX * s;
    case LAlignmentXRight: {
        float origin = x + width - (l.logicalX + l.logicalWidth) * s;
        const float inkRight = origin + (l.inkX + l.inkWidth) * s;
        if (l.inkWidth > 0 && inkRight > x + width)
            origin -= inkRight - (x + width);
        return origin;
    }
    default: {
        float origin = x - l.logicalX * s;
        if (l.inkWidth > 0 && l.inkX < 0)
            origin -= l.inkX * s;
        return origin;
    }
    }
}

void LPaintSurfaceTextLayoutManager::DrawText(LPaintContext& c, float x, float y, float width,
                                              float height, bool noBackground,
                                              const LGuiBrush* brush) {
    if (!layout || !c.context || c.singular || cairo_status(c.context) != CAIRO_STATUS_SUCCESS)
        return;
    float textWidth, textHeight;
    Measure(textWidth, textHeight);
    float top = y;
    if (format.alignY == LAlignmentYMiddle)
        top = y + (height - textHeight) / 2;
    else if (format.alignY == LAlignmentYBottom)
        top = y + height - textHeight;

    const float s = layoutScale;
    const float rowHeight = lineHeight * s;
    cairo_t* cr = c.context;
    cairo_save(cr);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
    if (width > 0) {
        cairo_new_path(cr);
        if (height > 0)
            cairo_rectangle(cr, x, y, width, height);
        else
            cairo_rectangle(cr, x, top - rowHeight, width, textHeight + 2 * rowHeight);
        cairo_clip(cr);
    }

    // How many rows fit: the first always, then while the next stays above
    // the box's bottom.
    size_t rows = lines.size();
    if (height > 0)
        for (size_t i = 1; i < lines.size(); ++i)
            if (top + (i + 1) * rowHeight > y + height + 1e-3f) {
                rows = i;
                break;
            }

    if (!noBackground && rows) {
        float left = 0, right = 0;
        for (size_t i = 0; i < rows; ++i) {
            const Line& l = lines[i];
            const float origin = LineOrigin(l, x, width);
            const float a = origin + std::min(l.logicalX, l.inkX) * s;
            const float b = origin + std::max(l.logicalX + l.logicalWidth, l.inkX + l.inkWidth) * s;
            left = i ? std::min(left, a) : a;
            right = i ? std::max(right, b) : b;
        }
        cairo_new_path(cr);
        cairo_rectangle(cr, left - 1, top - 1, right - left + 2, rows * rowHeight + 2);
        LGuiSolidBrush(c.backgroundColour).Apply(cr, c.alpha);
        cairo_fill(cr);
    }

    if (brush)
        brush->Apply(cr, c.alpha);
    else
        LGuiSolidBrush(c.textColour).Apply(cr, c.alpha);
    for (size_t i = 0; i < rows; ++i) {
        PangoLayoutLine* line = pango_layout_get_line_readonly(layout, static_cast<int>(i));
        if (!line)
            break;
        const float origin = LineOrigin(lines[i], x, width);
        const float baseline = top + i * rowHeight + ascent * s;
        cairo_save(cr);
        cairo_translate(cr, origin, baseline);
        if (s != 1.0f)
            cairo_scale(cr, s, s);
        cairo_new_path(cr);
        cairo_move_to(cr, 0, 0);
        pango_cairo_show_layout_line(cr, line);
        cairo_restore(cr);
    }
    cairo_restore(cr);
}

bool LPaintMeasureTextHeight(float& height, const LBoundingBox2T<float>& box, const char* text,
                             const char* face, float size, bool bold, bool italic, bool underline,
                             LAlignmentX align) {
    height = 0;
    LPaintSurfaceImage scratch(1, 1);
    if (!scratch.IsValid())
        return false;
    LPaintSurface::SetFont(scratch.context, LGuiFont(face, size, bold, italic, underline));
    LDrawTextFormat format;
    format.alignX = align;
    format.alignY = LAlignmentYTop;
    format.lineBreak = 1;
    format.trimming = 0;
    format.option1 = 1;
    format.option2 = 0;
    float width = 0;
    LPaintSurface::MeasureText(scratch.context, width, height, text, box, format);
    return true;
}

bool LPaintMeasureFont(float& ascent, float& spaceWidth, const char* face, float size, bool bold,
                       bool italic, bool underline) {
    ascent = spaceWidth = 0;
    LPaintSurfaceImage scratch(1, 1);
    if (!scratch.IsValid())
        return false;
    LPaintSurface::SetFont(scratch.context, LGuiFont(face, size, bold, italic, underline));
    LDrawTextFormat format;
    format.alignY = LAlignmentYTop;
    LPaintSurfaceTextLayoutManager layout(scratch.context, "n", format);
    if (layout.Create(0))
        ascent = layout.GetAscent();
    // The blank between two letters, not a lone one that layout may trim.
    const LBoundingBox2T<float> box(0, 0, 100000, 100000);
    float spaced = 0, tight = 0, height = 0;
    LPaintSurface::MeasureText(scratch.context, spaced, height, "n s", box, format);
    LPaintSurface::MeasureText(scratch.context, tight, height, "ns", box, format);
    spaceWidth = spaced - tight;
    return true;
}

void LPaintReleaseThreadFonts() {
    // No font map was ever made in this process: making one now would only
    // start the font library's loading for nothing.
    if (g_type_from_name("PangoCairoFcFontMap") == 0)
        return;
    PangoFontMap* map = pango_cairo_font_map_get_default();
    g_object_ref(map);
    pango_cairo_font_map_set_default(nullptr);
    // Each font matching job on the worker holds the map until it is done.
    for (int i = 0; i < 10000 && g_atomic_int_get(&G_OBJECT(map)->ref_count) > 1; ++i)
        g_usleep(1000);
    g_object_unref(map);
}
