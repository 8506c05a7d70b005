#include "imaging/image_export.h"

#include <strings.h>
#include <cstring>

#include "imaging/image_file.h"

KVExportKind KVGetExportKind(const char* path) {
    if (!path)
        return KVExportKindNone;
    const char* dot = std::strrchr(path, '.');
    if (!dot || std::strchr(dot, '/'))
        return KVExportKindNone;
    if (strcasecmp(dot, ".kvp") == 0)
        return KVExportKindProject;
    if (strcasecmp(dot, ".svg") == 0)
        return KVExportKindSVG;
    if (strcasecmp(dot, ".pdf") == 0)
        return KVExportKindPDF;
    if (strcasecmp(dot, ".eps") == 0)
        return KVExportKindEPS;
    LImageCodec codec;
    if (codec.InitFromFilePath(path) && arImageCodecInfo[codec].canSave)
        return KVExportKindRaster;
    return KVExportKindNone;
}

LProcessResult KVSaveRasterFile(LProcessInterface& process, const LImageBuffer& picture,
                                const char* path, const LImageEncodeSettings& settings) {
    const KVImageCodecVetoer vetoer;
    LProcessImageSaveFile save(picture, path, settings, 3000, &vetoer);
    return Process(process, save);
}
