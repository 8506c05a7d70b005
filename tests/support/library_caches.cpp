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
    GWeakRef map;
    g_weak_ref_init(&map, pango_cairo_font_map_get_default());
    pango_cairo_font_map_set_default(nullptr);
    // Fonts are matched and sorted on a worker of the layout library's own,
    // and each job keeps the font map alive until it is done. Wait (at most
    // ten seconds) until the map, and the fonts it holds, are gone.
    for (int i = 0; i < 10000; ++i) {
        GObject* alive = static_cast<GObject*>(g_weak_ref_get(&map));
        if (!alive)
            break;
        g_object_unref(alive);
        g_usleep(1000);
    }
    g_weak_ref_clear(&map);
}

// Order matters: the font map holds cairo font faces, which hold fontconfig
// patterns, so each goes before what it holds.
void ReleaseLibraryCaches() {
    ReleaseThreadFontMap();
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace kvtest
