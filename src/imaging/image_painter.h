#pragma once
// Drawing into a picture. The paint surface works straight on the buffer's
// own pixels: format 0 is the drawing library's ARGB32 byte for byte, so
// nothing is copied and no channels are exchanged. Drawing reaches the
// buffer at Flush or when the painter ends; whoever else writes to the
// buffer meanwhile calls Flush first and ReloadImageBuffer after.

#include "foundation/paint_surface.h"
#include "imaging/image_buffer.h"

class LImageBufferPainter : public LPaintSurface {
public:
    // Draws on a valid format-0 buffer of at most 32767 pixels a side; on
    // anything else the painter has no context (IsValid() is false) and
    // draws nothing. Integer coordinates hit pixel centres, y grows
    // downwards whichever way the buffer is stored, and antialiasing starts
    // off.
    explicit LImageBufferPainter(LImageBuffer& buffer);
    ~LImageBufferPainter() override;

    // Flush() completes the drawing so far in the buffer.
    // The buffer was written by someone else: drawing goes on from its pixels.
    void ReloadImageBuffer();

    LImageBuffer& GetImageBuffer() const { return buffer; }

private:
    LImageBuffer& buffer;
};

// The same for short jobs on a buffer of one owner.
class LImageBufferPainterDirect : public LImageBufferPainter {
public:
    explicit LImageBufferPainterDirect(LImageBuffer& buffer) : LImageBufferPainter(buffer) {}
};
