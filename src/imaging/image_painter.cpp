#include "imaging/image_painter.h"

#include "imaging/image_cairo.h"

LImageBufferPainter::LImageBufferPainter(LImageBuffer& target) : buffer(target) {
    cairo_surface_t* surface = LImageCreateCairoSurface(buffer);
    if (!surface)
        return;
    // The context keeps its own reference to the surface.
    Open(surface, static_cast<float>(buffer.width), static_cast<float>(buffer.height));
    cairo_surface_destroy(surface);
    context.antialias = false;
}

LImageBufferPainter::~LImageBufferPainter() {
    context.antialias = true;
    Close(); // flushes
}

void LImageBufferPainter::ReloadImageBuffer() { MarkDirty(); }
