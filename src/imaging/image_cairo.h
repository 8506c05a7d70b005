#pragma once
// Format-0 pictures seen by the drawing library without a copy: its ARGB32
// on a little-endian machine is blue, green, red, alpha, premultiplied, byte
// for byte. A bottom-up buffer is handed over through a negative stride.

#include <cairo.h>

#include "imaging/image_buffer.h"

// A surface over the buffer's own pixels, or null when the buffer is not a
// valid format-0 picture or is too big for the library. The buffer must
// outlive the surface.
cairo_surface_t* LImageCreateCairoSurface(const LImageBuffer& buffer);

namespace LImage {

// High-quality resampling of the rectangle x, y, w, h of source over all of
// target; both format 0. False when the library refuses the pictures.
bool CairoScale(const LImageBuffer& source, double x, double y, double w, double h,
                LImageBuffer& target);
// Turns source by angle radians, clockwise on screen, centre on centre, over
// the whole target; what lies outside the turned picture becomes
// transparent. Both format 0.
bool CairoRotate(const LImageBuffer& source, LImageBuffer& target, double angle);

} // namespace LImage
