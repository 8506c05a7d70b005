#include "toolkit/qt_image.h"

#include "imaging/image_buffer.h"

QImage LToQImageView(const LImageBuffer& picture) {
    if (!picture.IsValid() || picture.format != LPixelFormatB8G8R8A8 || picture.bottomUp)
        return QImage();
    return QImage(picture.GetData(), picture.width, picture.height, picture.stride,
                  QImage::Format_ARGB32_Premultiplied);
}

QImage LTakeQImage(LImageBuffer& picture) {
    if (LToQImageView(picture).isNull())
        return LToQImage(picture);
    // A picture of the screen is megabytes: copying it on the main thread
    // put off every picture by as much.
    auto* owned = new LImageBuffer(std::move(picture));
    return QImage(
        owned->GetData(), owned->width, owned->height, owned->stride, QImage::Format_ARGB32_Premultiplied,
        [](void* buffer) { delete static_cast<LImageBuffer*>(buffer); }, owned);
}

QImage LToQImage(const LImageBuffer& source) {
    if (!source.IsValid())
        return QImage();
    QImage shown = LToQImageView(source);
    if (!shown.isNull())
        return shown.copy();
    LImageBuffer converted;
    LImage::New(converted, source.width, source.height, LPixelFormatB8G8R8A8);
    if (!converted.IsValid())
        return QImage();
    LImage::Copy(source, converted, 0, 0, 0, 0, source.width, source.height);
    return LToQImageView(converted).copy();
}
