#include "render/stamp_files.h"

#include <algorithm>
#include <string>

#include "foundation/app_paths.h"
#include "imaging/image_file.h"
#include "render/stamps.h"

namespace {

// Loading gives up on a picture that takes longer than this, in milliseconds.
constexpr unsigned int kLoadTimeout = 3000;

// The file of a brush and its spacing at `width`; null for brushes without one.
const char* StampFile(KVBrushType type, float width, float& spacing) {
    switch (type) {
    case KVBrushSpray:
        spacing = width / 3.0f;
        return "spray.png";
    case KVBrushCrayonSmear:
        spacing = width / 50.0f;
        return "crayonsmear.png";
    case KVBrushCrayonSplotch:
        spacing = std::max(width / 45.0f, 0.6f);
        return "crayonsplotch.png";
    case KVBrushPencil:
        spacing = width / 100.0f;
        return "pencil.png";
    case KVBrushPaintbrush:
        spacing = width <= 4.0f ? width / 100.0f : std::max(width / 200.0f, 0.15f);
        return "paintbrush.png";
    default:
        return nullptr;
    }
}

} // namespace

void LoadStampImage(KVBrushType type, LImageBuffer& image, float& spacing, float width,
                    const LGuiColor& colour) {
    spacing = 0.5f;
    const char* file = StampFile(type, width, spacing);
    if (!file)
        return;
    image = LImageBuffer();
    const std::string folder = LGetProgramDataFolder("Brushes");
    if (folder.empty())
        return;
    LImageBuffer loaded;
    if (LImage::Load(loaded, (folder + "/" + file).c_str(), kLoadTimeout) == 0 ||
        !loaded.IsValid())
        return;
    const int side = std::max(static_cast<int>(width), 1);
    LProcessInterfaceVoid quiet;
    if (LImage::Resize(quiet, loaded, image, side, side, false, LImage::ResizeFilterSmooth) !=
            LProcessResultOk ||
        !image.IsValid()) {
        image = LImageBuffer();
        return;
    }
    SetStampColor(image, colour);
}
