// The DNG and camera raw reader over any input.
#define KV_FUZZ_CODEC LImageCodecDNG
#include "image_decoder_fuzz.h"
