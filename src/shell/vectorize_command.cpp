// Vectorising an image element from its panel: a warning first when the
// picture is large for the detail asked, then the tracing under a progress
// window.

#include "document/image_element.h"
#include "document/vectorize.h"
#include "shell/main_dialog_p.h"
#include "toolkit/dialogs.h"
#include "toolkit/progress_dialog.h"

using namespace kvshell;

namespace {

// The copy at the placement's size and the tracing, as one process for the
// progress window.
struct KVVectorizeJob {
    const KVImageElementProperties& element;
    KVVectorizeImageSettings settings;
};

// Found through the job's namespace by the progress window's thread.
LProcessResult Process(LProcessInterface& process, KVVectorizeJob& job) {
    {
        LProcessInterfaceSubProcess copying(process, 0, 0.05);
        if (LProcessResult r = job.element.CopyForVectorizing(copying, job.settings.input))
            return r;
    }
    LProcessInterfaceSubProcess tracing(process, 0.05, 0.95);
    return KVVectorizeImage(tracing, job.settings);
}

} // namespace

bool MainDialog::EvVectorizeImageElement(KVImageElementProperties& properties) {
    if (KVVectorizeNeedsWarning(properties.width, properties.height, properties.detail) &&
        LAlert(this, kAlertTitle,
               "Using this large of an image at a high detail setting may take a very long time. "
               "You should consider either reducing detail or using a smaller image.",
               {"OK", "Cancel"}) != 0)
        return false;
    KVVectorizeJob job{properties, {}};
    job.settings.detail = properties.detail;
    LProcessDialog<KVVectorizeJob> dialog(this, "Vectorizing Image", job);
    if (dialog.Run() != LProcessResultOk)
        return false;
    properties.SetVectorization(job.settings.output);
    return true;
}
