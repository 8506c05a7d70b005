#pragma once
// Ties one render to its project: the controller hands it to the render
// thread or to a progress window; only the target and the process differ
// between the screen, raster files and vector exports.

#include "foundation/list.h"
#include "foundation/process.h"
#include "foundation/ptr.h"
#include "imaging/image_buffer.h"
#include "target/render_image.h"

class KVProject;

struct KVRenderResults : LListLink<KVRenderResults> {
    bool started = false;
    // The picture is complete; only the autosave after it may still run.
    bool finished = false;
    const KVProject* project = nullptr;
    LPtr<KVRenderImage> target;
};

// Fails without a target or project; otherwise the project's render into it.
LProcessResult Process(LProcessInterface& process, KVRenderResults& results);

// How every picture of a project is made (the screen, Save As to a picture,
// printing, the command-line export): a raster target the size of its current
// image, cleared to the image's background, into which the project renders
// as it shows on screen. Fails, with a message, when the project has no image
// or no picture of its size can be made.
LProcessResult KVNewProjectPicture(LProcessInterface& process, KVRenderResults& results);
// The picture of a finished render whose target came from KVNewProjectPicture.
LImageBuffer& KVFinishProjectPicture(KVRenderResults& results);

// A whole render into a picture, for a caller that waits for it.
struct KVProjectPicture {
    const KVProject* project = nullptr;
    LImageBuffer picture;
};
LProcessResult Process(LProcessInterface& process, KVProjectPicture& work);
