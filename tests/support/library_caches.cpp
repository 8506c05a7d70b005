#include "support/library_caches.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include "foundation/text_layout.h"

namespace kvtest {

void ReleaseThreadFontMap() { LPaintReleaseThreadFonts(); }

// Order matters: the font map holds cairo font faces, which hold fontconfig
// patterns, so each goes before what it holds.
void ReleaseLibraryCaches() {
    ReleaseThreadFontMap();
    cairo_debug_reset_static_data();
    FcFini();
}

} // namespace kvtest
