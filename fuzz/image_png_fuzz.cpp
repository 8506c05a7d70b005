// The PNG reader over any input.
#define KV_FUZZ_CODEC LImageCodecPNG
#include "image_decoder_fuzz.h"
