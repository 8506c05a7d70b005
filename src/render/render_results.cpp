#include "render/render_results.h"

#include "document/project.h"
#include "render/render_image_buffer.h"

LProcessResult Process(LProcessInterface& process, KVRenderResults& results) {
    if (!results.target || !results.project)
        return LProcessResultError;
    // Rendering reads the tree; the caller keeps edits away meanwhile.
    return const_cast<KVProject*>(results.project)->Render(process, *results.target);
}

LProcessResult KVNewProjectPicture(LProcessInterface& process, KVRenderResults& results) {
    const KVImage* image = results.project ? results.project->GetCurrentImage() : nullptr;
    if (!image) {
        process.SetError("The project has no picture to make.");
        return LProcessResultError;
    }
    const unsigned long width = image->GetWidth(), height = image->GetHeight();
    // The largest picture the drawing library takes.
    const unsigned long limit = 32767;
    LProcessResult r = LProcessResultError;
    if (width > 0 && height > 0 && width <= limit && height <= limit) {
        auto* target = new KVRenderImageBuffer(static_cast<int>(width), static_cast<int>(height));
        results.target = LPtr<KVRenderImage>(target);
        r = target->Clear(image->GetBackground());
    }
    if (r != LProcessResultOk) {
        results.target.Reset();
        process.SetErrorF("The picture of %lu by %lu pixels cannot be made.", width, height);
    }
    return r;
}

LImageBuffer& KVFinishProjectPicture(KVRenderResults& results) {
    auto* target = static_cast<KVRenderImageBuffer*>(results.target.Get());
    target->Flush();
    return target->GetImage();
}

LProcessResult Process(LProcessInterface& process, KVProjectPicture& work) {
    KVRenderResults render;
    render.project = work.project;
    if (LProcessResult r = KVNewProjectPicture(process, render))
        return r;
    if (LProcessResult r = Process(process, render))
        return r;
    work.picture.Assign(KVFinishProjectPicture(render));
    return LProcessResultOk;
}
