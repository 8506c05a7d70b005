#pragma once
// What a file name asks the editor to write, decided in one place for the
// Save As command and the command-line export alike.

#include "foundation/process.h"
#include "imaging/image_buffer.h"
#include "imaging/image_codec.h"

enum KVExportKind : int {
    KVExportKindNone = 0,    // nothing the editor writes
    KVExportKindProject = 1, // ".kvp"
    KVExportKindSVG = 2,     // the vector back ends
    KVExportKindPDF = 3,
    KVExportKindEPS = 4,
    KVExportKindRaster = 5, // a raster format the codec table can save
};

// By the extension, whatever its case.
KVExportKind KVGetExportKind(const char* path);

// Saves a finished picture under `path`, in the raster format its extension
// names, through a temporary file. Messages go through SetError.
LProcessResult KVSaveRasterFile(LProcessInterface& process, const LImageBuffer& picture,
                                const char* path,
                                const LImageEncodeSettings& settings = LImageEncodeSettings());
