#include "imaging/image_cairo.h"

cairo_surface_t* LImageCreateCairoSurface(const LImageBuffer& buffer) {
    if (!buffer.IsValid() || buffer.format != LPixelFormatB8G8R8A8)
        return nullptr;
    unsigned char* first = buffer.GetPictureRow(0);
    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        first, CAIRO_FORMAT_ARGB32, buffer.width, buffer.height,
        static_cast<int>(buffer.GetPictureRowStep()));
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    return surface;
}

namespace LImage {

namespace {

// Paints source through the transform that the caller sets up on cr.
template <class Transform>
bool Paint(const LImageBuffer& source, LImageBuffer& target, cairo_extend_t extend,
           Transform transform) {
    cairo_surface_t* from = LImageCreateCairoSurface(source);
    cairo_surface_t* to = LImageCreateCairoSurface(target);
    bool ok = false;
    if (from && to) {
        cairo_t* cr = cairo_create(to);
        cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
        transform(cr);
        cairo_set_source_surface(cr, from, 0, 0);
        cairo_pattern_t* pattern = cairo_get_source(cr);
        cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
        cairo_pattern_set_extend(pattern, extend);
        cairo_paint(cr);
        ok = cairo_status(cr) == CAIRO_STATUS_SUCCESS;
        cairo_destroy(cr);
        cairo_surface_flush(to);
    }
    cairo_surface_destroy(from);
    cairo_surface_destroy(to);
    return ok;
}

} // namespace

bool CairoScale(const LImageBuffer& source, double x, double y, double w, double h,
                LImageBuffer& target) {
    if (!(w > 0) || !(h > 0))
        return false;
    // Padding repeats the edge pixels, so the filter finds no dark border.
    return Paint(source, target, CAIRO_EXTEND_PAD, [&](cairo_t* cr) {
        cairo_scale(cr, target.width / w, target.height / h);
        cairo_translate(cr, -x, -y);
    });
}

bool CairoRotate(const LImageBuffer& source, LImageBuffer& target, double angle) {
    return Paint(source, target, CAIRO_EXTEND_NONE, [&](cairo_t* cr) {
        cairo_translate(cr, target.width / 2.0, target.height / 2.0);
        cairo_rotate(cr, angle);
        cairo_translate(cr, -source.width / 2.0, -source.height / 2.0);
    });
}

} // namespace LImage
