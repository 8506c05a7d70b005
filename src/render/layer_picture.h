#pragma once
// A small picture of one layer on its own, as the layer list shows it: the
// layer's elements drawn by the raster target at a reduced scale, on
// transparency, whether the layer is shown or not.

#include "foundation/process.h"
#include "imaging/image_buffer.h"

class KVImage;
class KVLayer;

// The layer of `image` scaled to fit `width` by `height`, the image's aspect
// kept and the picture centred; what the canvas leaves free is transparent.
// Fails for a layer the image does not hold, or a size of nothing.
LProcessResult KVRenderLayerPicture(LProcessInterface& process, const KVImage& image,
                                    const KVLayer& layer, int width, int height,
                                    LImageBuffer& picture);
