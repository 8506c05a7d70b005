// The controller's side of the panels: a panel change goes to the selected
// element, a selected element's record comes into the panels, the effect
// commands, and the canvas's right-click menu.

#include <cstring>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "shell/main_dialog_p.h"
#include "shell/tool_panel.h"
#include "shell/ui_window.h"
#include "surface/canvas_widgets.h"

namespace {

// The panel's record for the element, read now and applied later: what
// the panel has no control for (geometry, path, erase strokes) stays the
// element's.
template <class E>
bool ReadPanel(KVToolPanel& panel, KVElement* element, MainDialog::PanelChange& change) {
    auto* typed = dynamic_cast<E*>(element);
    if (!typed)
        return false;
    auto p = typed->GetProperties();
    panel.GetSelectedToolProperties(p);
    change = [p = std::move(p), element](KVImage& image, const KVLayer* layer) {
        return image.UpdateElement<E>(p, element, layer);
    };
    return true;
}

template <class E> bool ShowRecord(KVToolPanel& panel, KVElement* element) {
    auto* typed = dynamic_cast<E*>(element);
    if (!typed)
        return false;
    const auto p = typed->GetProperties();
    panel.SetSelectedToolProperties(p);
    panel.SetEffects(p);
    return true;
}

bool IsKind(const char* kind, std::initializer_list<const char*> kinds) {
    for (const char* k : kinds)
        if (std::strcmp(kind, k) == 0)
            return true;
    return false;
}

} // namespace

void MainDialog::EvToolPanelHasUpdate(KVElementWidget* widget) {
    KVElement* element = widget ? widget->GetElement() : nullptr;
    if (!currentProject || !element)
        return;
    KVToolPanel& panel = uiWindow->GetToolPanel();
    PanelChange change;
    if (auto* picture = dynamic_cast<KVImageElement*>(element)) {
        // Tracing runs before the change; cancelled, the panel goes back.
        KVImageElementProperties p = picture->GetProperties();
        const KVImageElementProperties before = p;
        panel.GetSelectedToolProperties(p);
        if (p.vectorized &&
            (!before.vectorized || p.detail != before.detail || !p.GetNumberVectors()) &&
            !EvVectorizeImageElement(p)) {
            panel.SetSelectedToolProperties(before);
            return;
        }
        change = [p, element](KVImage& image, const KVLayer* layer) {
            return image.UpdateElement<KVImageElement>(p, element, layer);
        };
    } else if (!(ReadPanel<KVLineElement>(panel, element, change) ||
                 ReadPanel<KVRectangleElement>(panel, element, change) ||
                 ReadPanel<KVEllipseElement>(panel, element, change) ||
                 ReadPanel<KVPolygonElement>(panel, element, change) ||
                 ReadPanel<KVTriangleElement>(panel, element, change) ||
                 ReadPanel<KVPencilElement>(panel, element, change) ||
                 ReadPanel<KVBrushElement>(panel, element, change) ||
                 ReadPanel<KVSprayElement>(panel, element, change) ||
                 ReadPanel<KVMarkerElement>(panel, element, change) ||
                 ReadPanel<KVPenElement>(panel, element, change) ||
                 ReadPanel<KVCrayonElement>(panel, element, change) ||
                 ReadPanel<KVTextElement>(panel, element, change) ||
                 ReadPanel<KVRichTextElement>(panel, element, change))) {
        return;
    }
    // A slider dragged faster than the pictures come: the change waits for
    // the picture under way, and a newer one replaces it, so that the
    // picture follows the drag instead of each render being cut short.
    pendingPanelChange = std::move(change);
    if (!renderQueue->IsRendering())
        ApplyPanelChange();
}

void MainDialog::ApplyPanelChange() {
    PanelChange change = std::move(pendingPanelChange);
    pendingPanelChange = nullptr;
    KVLayer* layer = GetSelectedLayer();
    if (!change || !currentProject || !layer)
        return;
    bool changed = false;
    {
        Change lock(*this);
        changed = change(*currentProject->GetCurrentImage(), layer);
    }
    if (!changed)
        return;
    RenderCurrentProject();
    UpdateCommandStates();
}

void MainDialog::EvGetElementProperties(const KVElementWidget* widget) {
    KVElement* element = widget ? widget->GetElement() : nullptr;
    if (!element)
        return;
    KVToolPanel& panel = uiWindow->GetToolPanel();
    ShowRecord<KVLineElement>(panel, element) || ShowRecord<KVRectangleElement>(panel, element) ||
        ShowRecord<KVEllipseElement>(panel, element) ||
        ShowRecord<KVPolygonElement>(panel, element) ||
        ShowRecord<KVTriangleElement>(panel, element) ||
        ShowRecord<KVPencilElement>(panel, element) || ShowRecord<KVBrushElement>(panel, element) ||
        ShowRecord<KVSprayElement>(panel, element) || ShowRecord<KVMarkerElement>(panel, element) ||
        ShowRecord<KVPenElement>(panel, element) || ShowRecord<KVCrayonElement>(panel, element) ||
        ShowRecord<KVTextElement>(panel, element) ||
        ShowRecord<KVRichTextElement>(panel, element) || ShowRecord<KVImageElement>(panel, element);
}

void MainDialog::CmAddEffect(unsigned id) {
    switch (id) {
    case KVCmGradient:
        uiWindow->AddGradient();
        break;
    case KVCmShadow:
        uiWindow->AddShadow();
        break;
    case KVCmBevelEmboss:
        uiWindow->AddBevelEmboss();
        break;
    case KVCmInnerGlow:
        uiWindow->AddInnerGlow();
        break;
    case KVCmOuterGlow:
        uiWindow->AddOuterGlow();
        break;
    case KVCmFillElement:
        uiWindow->GetColorPicker().GetFillButton().Choose();
        break;
    default:
        break;
    }
}

void MainDialog::CmDeleteElement() {
    KVElementWidget* widget = uiWindow->GetSurface().GetSelectedWidget();
    if (!currentProject || !widget)
        return;
    ApplyPanelChange();
    {
        Change change(*this);
        KVImage* image = currentProject->GetCurrentImage();
        LUndoRedoStack& history = image->GetUndoRedoStack();
        history.BeginGathering("Delete Element");
        if (LList<KVElementWidget>* members = widget->GetMembers()) {
            for (KVElementWidget& m : *members)
                image->DeleteElement(&m, nullptr);
        } else if (widget->GetElement()) {
            image->DeleteElement(widget, nullptr);
        }
        history.EndGathering();
    }
    uiWindow->GetSurface().DeselectWidget(true);
    RefreshWidgets();
    RenderCurrentProject();
}

std::vector<LPopupEntry> MainDialog::GetRightClickMenu(const KVElementWidget* widget) const {
    const KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    const KVElement* element = widget ? widget->GetElement() : nullptr;
    const bool selection = widget && (element || dynamic_cast<const KVMultiSelectWidget*>(widget));
    // Copy, Paste and the effects' copy and paste come with the clipboard.
    std::vector<LPopupEntry> menu = {
        {KVCmDelete, "Delete", selection, {}},
        {},
        {KVCmUndo, "Undo", image && image->GetUndoRedoStack().CanUndo(), {}},
        {KVCmRedo, "Redo", image && image->GetUndoRedoStack().CanRedo(), {}},
    };
    const char* kind = element ? element->GetName() : "";
    const KVToolPanel& panel = uiWindow->GetToolPanel();
    if (IsKind(kind, {"rectangle", "ellipse", "polygon", "triangle", "pen", "text", "richtext"})) {
        menu.push_back({});
        const bool fillable = !IsKind(kind, {"text", "richtext"});
        auto can = [&](KVEffectId id) {
            return panel.IsEffectAvailable(id) && !panel.IsEffectShown(id);
        };
        menu.push_back({KVCmFillElement, "Fill", fillable, {}});
        menu.push_back({KVCmGradient, "Gradient", can(KVEffectGradient), {}});
        menu.push_back({KVCmBevelEmboss, "Bevel/Emboss", can(KVEffectBevel), {}});
        menu.push_back({KVCmShadow, "Shadow", can(KVEffectShadow), {}});
    }
    if (IsKind(kind, {"pencil", "marker", "crayon", "brush", "spray", "pen"})) {
        static const std::pair<unsigned, const char*> kinds[] = {{KVCmPathToPencil, "Pencil"},
                                                                 {KVCmPathToMarker, "Marker"},
                                                                 {KVCmPathToCrayon, "Crayon"},
                                                                 {KVCmPathToBrush, "Brush"},
                                                                 {KVCmPathToSpray, "Spray Paint"}};
        static const char* const keys[] = {"pencil", "marker", "crayon", "brush", "spray"};
        LPopupEntry convert{0, "Convert to Path", true, {}};
        for (size_t i = 0; i < 5; ++i)
            if (std::strcmp(kind, keys[i]) != 0)
                convert.submenu.push_back({kinds[i].first, kinds[i].second, true, {}});
        menu.push_back({});
        menu.push_back(convert);
    } else if (IsKind(kind, {"polygon", "triangle", "rectangle"})) {
        menu.push_back({KVCmConvertShapeToPath, "Convert to Path", true, {}});
    }
    return menu;
}

void MainDialog::EvRightClickMenu(const KVElementWidget* widget, QPoint at) {
    const unsigned chosen = LPopupMenu(&uiWindow->GetSurface(), GetRightClickMenu(widget), at);
    if (chosen)
        Command(chosen);
}
