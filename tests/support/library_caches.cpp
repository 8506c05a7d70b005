#include "support/library_caches.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

namespace kvtest {

void ReleaseThreadFontMap() {
    // No font map was ever made in this process: making one now would only
    // start the font library's loading for nothing.
    if (g_type_from_name("PangoCairoFcFontMap") == 0)
        return;
    PangoFontMap* map = pango_cairo_font_map_get_default();
    g_object_ref(map);
    pango_cairo_font_map_set_default(nullptr);
    // Fonts are matched and sorted on a worker of the layout library's own,
    // and each job holds the font map until it is done. Wait (at most ten
    // seconds) until ours is the last reference, so that the map and the
    // fonts it holds are finished here and now, not on that worker later.
    for (int i = 0; i < 10000 && g_atomic_int_get(&G_OBJECT(map)->ref_count) > 1; ++i)
        g_usleep(1000);
    g_object_unref(map);
}

// Order matters: the font map holds cairo font faces, which hold fontconfig
// patterns, so each goes before what it holds.
void ReleaseLibraryCaches() {
    ReleaseThreadFontMap();
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace kvtest
