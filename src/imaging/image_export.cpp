#include "imaging/image_export.h"

#include "imaging/image_file.h"

LProcessResult KVSaveRasterFile(LProcessInterface& process, const LImageBuffer& picture,
                                const char* path, const LImageEncodeSettings& settings) {
    const KVImageCodecVetoer vetoer;
    LProcessImageSaveFile save(picture, path, settings, 3000, &vetoer);
    return Process(process, save);
}
