#include "render/render_results.h"

#include "document/project.h"

LProcessResult Process(LProcessInterface& process, KVRenderResults& results) {
    if (!results.target || !results.project)
        return LProcessResultError;
    // Rendering reads the tree; the caller keeps edits away meanwhile.
    return const_cast<KVProject*>(results.project)->Render(process, *results.target);
}
