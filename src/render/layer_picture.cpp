#include "render/layer_picture.h"

#include <algorithm>
#include <cmath>

#include "document/project.h"
#include "render/render_image_buffer.h"

LProcessResult KVRenderLayerPicture(LProcessInterface& process, const KVImage& image,
                                    const KVLayer& layer, int width, int height,
                                    LImageBuffer& picture) {
    if (!image.IsLayer(&layer) || width <= 0 || height <= 0 || image.GetWidth() == 0 ||
        image.GetHeight() == 0)
        return LProcessResultError;
    // At the image's own size: an element drawn through a transform of its
    // own (a rotation, a placed picture) is composed in the target's pixels,
    // so only a target of scale 1 shows it where the canvas does.
    const int w = static_cast<int>(std::min(image.GetWidth(), 32767ul));
    const int h = static_cast<int>(std::min(image.GetHeight(), 32767ul));
    KVRenderImageBuffer target(w, h);
    if (LProcessResult r = target.Clear(LPixelColour()))
        return r;
    // Rendering reads the layer; the caller keeps edits away meanwhile.
    if (LProcessResult r = const_cast<KVLayer&>(layer).Render(process, target))
        return r;
    target.Flush();
    const float scale = std::min(static_cast<float>(width) / static_cast<float>(w),
                                 static_cast<float>(height) / static_cast<float>(h));
    const int sw = std::max(1, static_cast<int>(std::lround(w * scale)));
    const int sh = std::max(1, static_cast<int>(std::lround(h * scale)));
    LImageBuffer small;
    if (LProcessResult r = LImage::Resize(process, target.GetImage(), small, sw, sh, false,
                                          LImage::ResizeFilterSmooth))
        return r;
    LImage::New(picture, width, height, LPixelFormatB8G8R8A8);
    if (!picture.IsValid() || !small.IsValid())
        return LProcessResultError;
    picture.Clear(LPixelColour());
    LImage::Copy(small, picture, (width - sw) / 2, (height - sh) / 2, 0, 0, sw, sh);
    return LProcessResultOk;
}
