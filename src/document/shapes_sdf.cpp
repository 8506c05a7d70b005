// Shapes in project files arrive with the project file format.

#include "document/shapes.h"

#define KV_NO_FILE_FORMAT_YET(Kind)                                                            \
    LProcessResult Kind::WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>&) { \
        process.SetError("Saving is not available in this build.");                            \
        return LProcessResultError;                                                            \
    }                                                                                          \
    LProcessResult Kind::ReadSDF(LSDFReader<LInputStreamFile>&,                                \
                                 LSDFReaderChunk<LInputStreamFile>&) {                         \
        return LProcessResultError;                                                            \
    }

KV_NO_FILE_FORMAT_YET(KVRectangleElement)
KV_NO_FILE_FORMAT_YET(KVEllipseElement)
KV_NO_FILE_FORMAT_YET(KVTriangleElement)
KV_NO_FILE_FORMAT_YET(KVPolygonElement)
KV_NO_FILE_FORMAT_YET(KVLineElement)
