#include "richtext/text_measurer.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "foundation/text_layout.h"

namespace {

// Beyond this a size only overflows the layout engine's fixed-point units,
// as on the surface.
constexpr float kMaxTextSize = 10000.0f;
constexpr float kUnboundedWrapWidth = 10000.0f;

float FromPango(int v) { return static_cast<float>(v) / PANGO_SCALE; }

// One layout in one font, set up as the surface sets up its own, for the
// length of one call.
class Layout {
public:
    explicit Layout(const LFontAttributes& font) {
        const float size = std::fabs(font.size);
        if (!(size > 0) || !std::isfinite(size))
            return;
        float layoutSize = std::min(size, kMaxTextSize);
        if (size < kLSmallTextSize) {
            layoutSize = size * 10;
            scale = 0.1f;
        }
        context = pango_font_map_create_context(pango_cairo_font_map_get_default());
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        pango_cairo_context_set_font_options(context, options);
        cairo_font_options_destroy(options);
        pango_context_set_round_glyph_positions(context, FALSE);

        desc = pango_font_description_new();
        pango_font_description_set_family(desc, font.face[0] ? font.face : "Sans");
        pango_font_description_set_absolute_size(desc, layoutSize * PANGO_SCALE);
        pango_font_description_set_weight(desc,
                                          font.IsBold() ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
        pango_font_description_set_style(desc,
                                         font.IsItalic() ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
        layout = pango_layout_new(context);
        pango_layout_set_font_description(layout, desc);
    }
    ~Layout() {
        if (layout)
            g_object_unref(layout);
        if (desc)
            pango_font_description_free(desc);
        if (context)
            g_object_unref(context);
    }
    Layout(const Layout&) = delete;
    Layout& operator=(const Layout&) = delete;

    bool IsValid() const { return layout != nullptr; }

    LTextFontMetrics GetMetrics() const {
        LTextFontMetrics m;
        PangoFontMetrics* metrics = pango_context_get_metrics(context, desc, nullptr);
        m.ascent = FromPango(pango_font_metrics_get_ascent(metrics)) * scale;
        m.descent = FromPango(pango_font_metrics_get_descent(metrics)) * scale;
        pango_font_metrics_unref(metrics);
        return m;
    }

    PangoLayout* layout = nullptr;
    float scale = 1.0f;

private:
    PangoContext* context = nullptr;
    PangoFontDescription* desc = nullptr;
};

class PangoMeasurer : public LTextMeasurer {
public:
    LTextFontMetrics GetMetrics(const LFontAttributes& font) const override {
        Layout l(font);
        return l.IsValid() ? l.GetMetrics() : LTextFontMetrics();
    }

    void MeasureRun(const LFontAttributes& font, const char* text, unsigned long length,
                    LArray<float>& offsets) const override {
        offsets.SetCount(length + 1);
        std::fill(offsets.begin(), offsets.end(), 0.0f);
        Layout l(font);
        if (!l.IsValid() || length == 0 || length > INT_MAX ||
            !g_utf8_validate(text, static_cast<gssize>(length), nullptr))
            return;
        pango_layout_set_text(l.layout, text, static_cast<int>(length));
        PangoLayoutIter* it = pango_layout_get_iter(l.layout);
        do {
            const int index = pango_layout_iter_get_index(it);
            PangoRectangle r;
            pango_layout_iter_get_char_extents(it, &r);
            if (index >= 0 && static_cast<unsigned long>(index) < length)
                offsets[static_cast<unsigned long>(index)] = FromPango(r.x) * l.scale;
        } while (pango_layout_iter_next_char(it));
        pango_layout_iter_free(it);
        PangoRectangle logical;
        pango_layout_get_extents(l.layout, nullptr, &logical);
        offsets[length] = FromPango(logical.x + logical.width) * l.scale;
        // The bytes inside a character stand where it starts.
        for (unsigned long i = 1; i < length; ++i)
            if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80)
                offsets[i] = offsets[i - 1];
    }

    void WrapLines(const LFontAttributes& font, const char* text, float width,
                   LArray<unsigned long>& starts) const override {
        starts.Clear();
        starts.Add(0);
        Layout l(font);
        if (!l.IsValid() || !text || !*text || !g_utf8_validate(text, -1, nullptr))
            return;
        pango_layout_set_text(l.layout, text, -1);
        const float w = width > 0 ? width / l.scale : kUnboundedWrapWidth;
        pango_layout_set_width(
            l.layout, static_cast<int>(std::min(static_cast<double>(w) * PANGO_SCALE, INT_MAX / 2.0)));
        pango_layout_set_wrap(l.layout, PANGO_WRAP_WORD_CHAR);
        starts.Clear();
        for (GSList* line = pango_layout_get_lines_readonly(l.layout); line; line = line->next)
            starts.Add(static_cast<unsigned long>(
                static_cast<PangoLayoutLine*>(line->data)->start_index));
    }
};

} // namespace

const LTextMeasurer* GetDefaultMeasurer() {
    static const PangoMeasurer measurer;
    return &measurer;
}
