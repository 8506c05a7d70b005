#pragma once
// Writing a finished picture to a raster file, the last step of Save As to a
// picture and of the command-line export.

#include "foundation/process.h"
#include "imaging/image_buffer.h"
#include "imaging/image_codec.h"

// Saves a finished picture under `path`, in the raster format its extension
// names, through a temporary file. Messages go through SetError.
LProcessResult KVSaveRasterFile(LProcessInterface& process, const LImageBuffer& picture,
                                const char* path,
                                const LImageEncodeSettings& settings = LImageEncodeSettings());
