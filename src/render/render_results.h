#pragma once
// Ties one render to its project: the controller hands it to the render
// thread or to a progress window; only the target and the process differ
// between the screen, raster files and vector exports.

#include "foundation/list.h"
#include "foundation/process.h"
#include "foundation/ptr.h"
#include "render/render_image.h"

class KVProject;

struct KVRenderResults : LListLink<KVRenderResults> {
    bool started = false;
    // The picture is complete; only the autosave after it may still run.
    bool finished = false;
    const KVProject* project = nullptr;
    LPtr<KVRenderImage> target;
};

// 2 without a target; otherwise the project's render into it.
LProcessResult Process(LProcessInterface& process, KVRenderResults& results);
