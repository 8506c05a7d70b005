// The JPEG 2000 (JP2 files and bare code streams) reader over any input.
#define KV_FUZZ_CODEC LImageCodecJPEG2000
#include "image_decoder_fuzz.h"
