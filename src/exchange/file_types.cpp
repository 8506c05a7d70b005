#include "exchange/file_types.h"

#include <cctype>
#include <cstring>

#include "imaging/image_codec.h"

std::string KVFileExtension(const char* path) {
    if (!path)
        return {};
    const char* slash = std::strrchr(path, '/');
    const char* dot = std::strrchr(slash ? slash : path, '.');
    std::string ext = dot ? dot : "";
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

KVExportKind KVGetSaveKind(const char* path) {
    const std::string ext = KVFileExtension(path);
    for (const KVSaveType& type : kKVSaveTypes)
        if (ext == type.extension)
            return type.kind;
    return KVExportKindNone;
}

KVExportKind KVGetExportKind(const char* path) {
    if (const KVExportKind kind = KVGetSaveKind(path))
        return kind;
    LImageCodec codec;
    if (codec.InitFromFilePath(path) && arImageCodecInfo[codec].canSave)
        return KVExportKindRaster;
    return KVExportKindNone;
}
