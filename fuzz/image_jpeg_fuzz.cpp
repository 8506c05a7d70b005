// The JPEG reader over any input.
#define KV_FUZZ_CODEC LImageCodecJPEG
#include "image_decoder_fuzz.h"
