#pragma once
// The stamp pictures that ship in the program's "Brushes" data folder, for
// the outputs that lay a finished picture rather than build one from specks
// (the PDF back end, the canvas's stamp cursor).

#include "foundation/color.h"
#include "imaging/image_buffer.h"
#include "target/render_types.h"

// The picture of `type` scaled to a square of `width` pixels (at least 1) in
// `colour`, and the spacing its stamps are laid at. Types without a picture
// leave `image` as it was and the spacing at 0.5; a picture that can't be
// read or scaled leaves `image` invalid.
void LoadStampImage(KVBrushType type, LImageBuffer& image, float& spacing, float width,
                    const LGuiColor& colour);
