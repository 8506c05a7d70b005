// The controller's layer commands, and the layer list's messages: each
// change goes through the document under the render lock, then the list is
// shown the new state, and the canvas gets the current layer's widgets.

#include <cstdio>

#include "shell/main_dialog_p.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/canvas_widgets.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

namespace {

constexpr const char* kHiddenTitle = "Hidden Layer";

} // namespace

KVLayer* MainDialog::GetSelectedLayer() const {
    KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    const KVLayer* layer = uiWindow->GetLayerList().GetCurrentLayer();
    // The list follows the project on screen; a layer it still shows from
    // elsewhere is no place to draw.
    return image && image->IsLayer(layer) ? const_cast<KVLayer*>(layer) : nullptr;
}

void MainDialog::UpdateLayerList(const KVLayer* current) {
    KVLayerList& list = uiWindow->GetLayerList();
    const KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    list.UpdateLayerList(current, image);
    if (!image)
        return;
    const LPixelColour b = image->GetBackground();
    list.SetBackgroundColour(LGuiColorAlpha(b.red, b.green, b.blue, b.alpha));
    if (const KVLayer* open = list.GetExpandedLayer())
        list.UpdateElementList(open, *image);
}

void MainDialog::EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data) {
    KVDrawSurface& surface = uiWindow->GetSurface();
    switch (id) {
    case KVMsgLayerReorder:
        EvLayerReorder(data.layer, data.index);
        break;
    case KVMsgLayerVisToggle:
        EvLayerVisToggle(data.layer, data.visible);
        break;
    case KVMsgCurrentLayerChanged:
        RefreshWidgets();
        break;
    case KVMsgNewLayer:
        surface.RemoveWidgets();
        CmNewLayer();
        break;
    case KVMsgDeleteLayer:
        surface.RemoveWidgets();
        CmDeleteLayer(data.layer);
        break;
    case KVMsgDuplicateLayer:
        surface.RemoveWidgets();
        CmDuplicateLayer(data.layer);
        break;
    case KVMsgLayerRename:
        EvLayerRename(data.layer, data.name);
        break;
    case KVMsgGetElementList:
        EvGetLayerElementList(data.layer);
        break;
    case KVMsgMergeDown:
        CmMergeDown();
        break;
    case KVMsgElementPicked:
        if (!uiWindow->GetTool().empty())
            CmChangeTool(KVCmToolSelect);
        surface.AddElementToSelection(data.element);
        break;
    case KVMsgElementListCleared:
        surface.DeselectWidget(false);
        break;
    case KVMsgElementUnpicked:
        surface.RemoveElementFromSelection(data.element);
        break;
    case KVMsgBackgroundColour:
        SetProjectBackground(data.colour);
        break;
    }
    UpdateCommandStates();
}

void MainDialog::CmNewLayer() {
    if (!currentProject)
        return;
    KVLayer* layer = nullptr;
    {
        Change change(*this);
        KVImage* image = currentProject->GetCurrentImage();
        char name[kLFixedStringSize];
        std::snprintf(name, sizeof name, "Layer %d", image->TakeNextLayerNumber());
        layer = new KVLayer(name);
        image->AddNewLayer(layer, true);
    }
    // An empty layer looks like nothing: no render.
    UpdateLayerList(layer);
}

void MainDialog::CmDeleteLayer(const KVLayer* layer) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        // The only layer stays; the layer itself lives on in the undo step.
        if (!currentProject->GetCurrentImage()->DeleteLayer(layer, true))
            return;
    }
    UpdateLayerList(nullptr);
    RenderCurrentProject();
}

void MainDialog::CmDuplicateLayer(const KVLayer* layer) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        if (!currentProject->GetCurrentImage()->DuplicateLayer(layer))
            return;
    }
    // The copy shows on the next render; none is started for it.
    UpdateLayerList(nullptr);
}

void MainDialog::CmMergeDown() {
    if (!currentProject)
        return;
    KVLayerList& list = uiWindow->GetLayerList();
    const KVLayer* upper = list.GetCurrentLayer();
    const KVLayer* lower = list.GetLayerBelowCurrent();
    if (!upper || !lower)
        return;
    if (!upper->IsVisible() || !lower->IsVisible()) {
        const int answer = LAlert(this, kHiddenTitle,
                                  "One of the layers is not visible, and both layers must be before merging them. Do "
                                  "you want to make all layers visible and proceed?",
                                  {"Make layers visible", "Do not proceed"});
        if (answer != 0)
            return;
        // Asked for now, it starts once the merge below lets go of the
        // lock, and so shows the merged layers.
        RenderCurrentProject();
    }
    KVLayer* merged = nullptr;
    {
        Change change(*this);
        merged = currentProject->GetCurrentImage()->MergeLayers(upper, lower, true);
    }
    if (!merged)
        return;
    uiWindow->GetSurface().RemoveWidgets();
    UpdateLayerList(merged);
    RefreshWidgets();
}

void MainDialog::EvLayerReorder(const KVLayer* layer, int index) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        currentProject->GetCurrentImage()->UpdateLayerOrder(layer, index);
    }
    UpdateLayerList(layer);
    RenderCurrentProject();
}

void MainDialog::EvLayerVisToggle(const KVLayer* layer, bool visible) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        currentProject->GetCurrentImage()->UpdateLayerVisibility(layer, visible);
    }
    UpdateLayerList(nullptr);
    // A hidden current layer offers nothing on the canvas to pick.
    if (layer == GetSelectedLayer())
        RefreshWidgets();
    RenderCurrentProject();
}

void MainDialog::EvLayerRename(const KVLayer* layer, const std::string& name) {
    if (!currentProject || name.empty())
        return;
    {
        Change change(*this);
        currentProject->GetCurrentImage()->UpdateLayerName(layer, name.c_str());
    }
    UpdateLayerList(layer);
}

void MainDialog::EvGetLayerElementList(const KVLayer* layer) {
    const KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    if (!image)
        return;
    KVLayerList& list = uiWindow->GetLayerList();
    list.UpdateElementList(layer, *image);
    // A list opened now shows what the canvas has selected already.
    if (layer == GetSelectedLayer())
        list.SetSelectedElement(uiWindow->GetSurface().GetSelectedWidget());
}

void MainDialog::SetProjectBackground(const LGuiColorAlpha& colour) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        currentProject->SetBackgroundColor(colour);
    }
    RenderCurrentProject();
}

bool MainDialog::ConfirmVisibleLayer(KVLayer& layer) {
    if (layer.IsVisible())
        return true;
    const int answer = LAlert(this, kHiddenTitle,
                              "The current layer is not visible, and what you draw on it would not be seen. Do you "
                              "want to make the layer visible and proceed?",
                              {"Make layer visible", "Do not proceed"});
    if (answer != 0)
        return false;
    EvLayerVisToggle(&layer, true);
    return true;
}
