#pragma once
// What the raster target's files share and nobody else needs.

#include "foundation/graphics_path.h"
#include "imaging/image_buffer.h"
#include "target/render_image.h"

#include "foundation/paint_surface.h"
#include "foundation/text_layout.h"

// Appends the cubic segments as one connected figure: the path is marked
// open from the start, so every segment joins the one before it.
void KVAddSegments(LGraphicsPath& path, KVSegments segments);

// A format-0 picture as the paint surface draws it.
inline LPaintPixels KVPaintPixels(const LImageBuffer& picture) {
    LPaintPixels pixels;
    pixels.data = picture.GetPictureRow(0);
    pixels.width = picture.width;
    pixels.height = picture.height;
    pixels.stride = picture.GetPictureRowStep();
    return pixels;
}

// A length cut to whole pixels, toward zero; lengths from a file that no
// picture could hold (or no number at all) come out as a size that every
// layer refuses, instead of overflowing.
inline long KVWholePixels(float length) {
    constexpr float kBeyondAnyPicture = 1e6f;
    if (!(length > -kBeyondAnyPicture && length < kBeyondAnyPicture))
        return static_cast<long>(kBeyondAnyPicture);
    return static_cast<long>(length);
}

// How a text element lays out its lines: wrapped at the box, not trimmed.
inline LDrawTextFormat KVElementTextFormat(LAlignmentX align) {
    LDrawTextFormat format;
    format.alignX = align;
    format.alignY = static_cast<LAlignmentY>(0);
    format.lineBreak = 1;
    format.trimming = 0;
    format.option1 = 1;
    format.option2 = 0;
    return format;
}

// A text element's font at `size` points.
inline LGuiFont KVElementFont(const char* face, unsigned long size, bool bold, bool italic,
                              bool underline) {
    return LGuiFont(LFontAttributes(face ? face : "", static_cast<float>(size),
                                    (bold ? 1u : 0u) | (italic ? 2u : 0u) |
                                        (underline ? 4u : 0u)));
}

// A freehand stroke is drawn on a layer of its own and placed on the target
// at the end: it can be blurred without mixing in anything but itself, it is
// never antialiased against the background twice, and a stroke stopped
// half-way leaves nothing behind. The layer reaches a stroke's width and two
// blur radii past the path's box on every side.
struct KVStrokeLayer {
    // Sizes the layer and finds its place; 2 with a message when a layer
    // of that size can't be had.
    LProcessResult Measure(LProcessInterface& process, const KVBox& bounds, float width,
                           unsigned char blurRadius);
    // Measures and makes the layer, transparent, not black: with
    // premultiplied pixels a blur then mixes only the stroke's own colour at
    // its edge.
    LProcessResult Make(LProcessInterface& process, const KVBox& bounds, float width,
                        unsigned char blurRadius);
    // Where the layer's pixels fall on the surface.
    KVBox GetPlace() const;
    // Blurs the layer by `blurRadius` on the share `blurShare` of the
    // progress after `blurStart`, then draws it on `surface`. A stop or a
    // failure of the blur leaves the surface as it was.
    LProcessResult Place(LProcessInterface& process, LPaintContext& surface,
                         unsigned char blurRadius, double blurStart, double blurShare);

    LImageBuffer picture;
    int pixelsWide = 0, pixelsHigh = 0;
    // A curve point (x, y) falls on the layer at (x + offsetX, y + offsetY).
    float offsetX = 0, offsetY = 0;
};
