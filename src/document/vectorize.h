#pragma once
// Turns a picture into flat-coloured regions, each a closed outline filled
// with the mean colour of the pixels it owns.

#include "document/element.h"
#include "foundation/list.h"
#include "foundation/process.h"
#include "imaging/image_buffer.h"

struct KVVectorizeImageSettings {
    LImageBuffer input;
    // 0 (coarse) to 100 (fine).
    int detail = 50;
    // Simple-path elements in paint order, the first traced region first.
    LList<KVElement> output;
};

// Ok with the regions in `settings.output`, Stopped when cancelled, Error for
// an invalid input or a failed allocation (and then no regions).
LProcessResult KVVectorizeImage(LProcessInterface& process, KVVectorizeImageSettings& settings);

// Whether vectorising a placement of this size at this detail is slow enough
// to ask the user first.
bool KVVectorizeNeedsWarning(int width, int height, int detail);
