// The TIFF reader over any input.
#define KV_FUZZ_CODEC LImageCodecTIFF
#include "image_decoder_fuzz.h"
