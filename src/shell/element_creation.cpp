// The controller's side of the canvas: the tools, what a finished drag or
// stroke becomes, the canvas's other messages, and the conversions between
// element kinds.

#include <cmath>
#include <cstdio>
#include <cstring>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/text_elements.h"
#include "document/shapes.h"
#include "shell/main_dialog_p.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/canvas_widgets.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

namespace {

// The ordered box of a drag's first two coordinates; a click has no area.
LBoundingBox2T<float> GetRectangleFromPath(const KVDrawPath& path) {
    const KVDrawCoord* a = path.GetCoords().GetFirst();
    const KVDrawCoord* b = a ? a->GetNext() : nullptr;
    if (!b)
        return {};
    return {std::min(a->x, b->x), std::min(a->y, b->y), std::max(a->x, b->x), std::max(a->y, b->y)};
}

bool IsSeen(const LGuiColorAlpha& line, float width, const KVFillProperties* fill) {
    if (line.alpha > 0 && width > 0)
        return true;
    return fill && (fill->gradient || (fill->fill && fill->fill->alpha > 0));
}

// The conversions' kinds, by command.
const char* const kPathKinds[] = {"pen", "pencil", "marker", "crayon", "brush", "spray"};

} // namespace

void MainDialog::CmChangeTool(unsigned id) {
    const KVTool* tool = KVFindTool(id);
    if (!tool)
        return;
    uiWindow->SetTool(tool->key);
    UpdateCommandStates();
}

void MainDialog::EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data) {
    switch (id) {
    case KVMsgPathComplete:
        EvCreateElement(data.path);
        break;
    case KVMsgWidgetChanged:
        EvWidgetHasUpdate(data.widget);
        break;
    case KVMsgPickColour:
        // The picked colour is the tools' colour now; back to the selection.
        CmChangeTool(KVCmToolSelect);
        break;
    case KVMsgPointerPosition: {
        const float zoom = uiWindow->GetSurface().GetZoom();
        std::snprintf(statusMouse, sizeof statusMouse, "%d, %d", static_cast<int>(data.x / zoom),
                      static_cast<int>(data.y / zoom));
        SetStatusText(StatusText, statusMouse);
        break;
    }
    case KVMsgWheelZoom: {
        // Each notch is a relative step of an eighth.
        const float z = static_cast<float>(GetZoomPercent()) / 100.0f;
        CmZoom(z + static_cast<float>(data.x) * 0.125f * z);
        break;
    }
    case KVMsgZoomChanged:
        SetZoomPercent(data.x);
        break;
    case KVMsgWidgetSelected:
        uiWindow->GetLayerList().SetSelectedElement(data.widget);
        EvGetElementProperties(data.widget);
        UpdateCommandStates();
        break;
    case KVMsgRightClickMenu: // may have selected what it was over
        uiWindow->GetLayerList().SetSelectedElement(data.widget);
        UpdateCommandStates();
        EvRightClickMenu(data.widget, QPoint(data.x, data.y));
        break;
    case KVMsgWidgetPicked:
        uiWindow->GetLayerList().SetSelectedElement(data.widget);
        UpdateCommandStates();
        break;
    case KVMsgSelectionCleared:
        if (data.x)
            uiWindow->GetLayerList().SetSelectedElement(nullptr);
        UpdateCommandStates();
        break;
    case KVMsgEmptyLayerTip:
        if (LUserSettingGet("Options", "EmptyLayerDisplay", true))
            uiWindow->GetLayerList().DisplayBubbleTip(nullptr, "Empty Layer",
                                                      "The current layer is empty, perhaps the item you wish to "
                                                      "select is on a different layer?");
        break;
    }
}

void MainDialog::RefreshWidgets() {
    LList<KVElementWidget> list;
    const KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    const KVLayer* layer = GetSelectedLayer();
    // The elements of a hidden layer are not on the canvas, so not to be picked.
    if (image && layer && layer->IsVisible())
        image->GetLayerWidgets(layer, list);
    uiWindow->GetSurface().AddWidgets(list);
    UpdateCommandStates();
}

void MainDialog::EvWidgetHasUpdate(KVElementWidget* widget) {
    if (!currentProject || !widget)
        return;
    {
        Change change(*this);
        KVImage* image = currentProject->GetCurrentImage();
        if (LList<KVElementWidget>* members = widget->GetMembers()) {
            // The group moved as one, and undoes as one.
            LUndoRedoStack& history = image->GetUndoRedoStack();
            history.BeginGathering("Selection Modification");
            for (KVElementWidget& m : *members)
                image->UpdateElement(&m, GetSelectedLayer());
            history.EndGathering();
        } else {
            image->UpdateElement(widget, GetSelectedLayer());
        }
    }
    RenderCurrentProject();
    UpdateCommandStates();
}

void MainDialog::AddElement(KVElement* element, bool select) {
    KVLayer* layer = GetSelectedLayer();
    if (!layer || !ConfirmVisibleLayer(*layer)) {
        delete element;
        return;
    }
    {
        Change change(*this);
        delete currentProject->GetCurrentImage()->AddNewElement(element, layer, false, true);
    }
    RefreshWidgets();
    if (select)
        SelectElement(element);
}

void MainDialog::SelectElement(const KVElement* element) {
    KVDrawSurface& surface = uiWindow->GetSurface();
    surface.SelectWidget(surface.FindWidgetOf(element), false);
    UpdateCommandStates();
}

template <class E, class P> void MainDialog::CreateStroke(LPtr<KVDrawPath>& path) {
    const P p = uiWindow->GetSelectedToolProperties<P>();
    // Drawing goes on with the same tool: a stroke gets no widget.
    AddElement(new E(path, p), false);
}

template <class E, class P> void MainDialog::CreateShape(const KVDrawPath& path) {
    LBoundingBox2T<float> box = GetRectangleFromPath(path);
    if (!(box.GetWidth() > 0) || !(box.GetHeight() > 0)) {
        // A click makes a shape of a third of the view, centred on it.
        const LBoundingBox2T<float> view = uiWindow->GetSurface().GetCanvasVisibleBounds();
        const float w = view.GetWidth() / 6, h = view.GetHeight() / 6;
        box = {box.x1 - w, box.y1 - h, box.x1 + w, box.y1 + h};
    }
    P p = uiWindow->GetSelectedToolProperties<P>();
    // An element nobody could see is not made.
    if (!IsSeen(p.lineColour, p.lineWidth, &p))
        return;
    p.SetBounds(box);
    AddElement(new E(p), true);
}

void MainDialog::CreateLine(const KVDrawPath& path) {
    const KVDrawCoord* a = path.GetCoords().GetFirst();
    const KVDrawCoord* b = a ? a->GetNext() : nullptr;
    if (!b || (a->x == b->x && a->y == b->y))
        return;
    KVLineElementProperties p = uiWindow->GetSelectedToolProperties<KVLineElementProperties>();
    if (p.lineColour.alpha == 0)
        return;
    p.start = {a->x, a->y};
    p.end = {b->x, b->y};
    AddElement(new KVLineElement(p), true);
}

void MainDialog::CreateText(const KVDrawPath& path) {
    const LBoundingBox2T<float> box = GetRectangleFromPath(path);
    if (!(box.GetWidth() > 0) || !(box.GetHeight() > 0))
        return;
    // Until text is typed in place, the box takes its text from a question.
    const std::optional<std::string> text =
        LTextInput(this, {"Text", "The text of the new box:", "Text"});
    if (!text || text->empty())
        return;
    // The one run takes the text panel's format and the foreground colour.
    KVRichTextElementProperties p;
    KVRichTextSegment run;
    run.text = text->c_str();
    run.bounds = box;
    p.segments.push_back(run);
    uiWindow->GetToolPanel().GetSelectedToolProperties(p);
    p.bounds = box;
    AddElement(new KVRichTextElement(p), true);
}

void MainDialog::CmInsertImage() {
    KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    if (!image)
        return;
    LFileDialogRequest request;
    request.title = "Insert Image";
    request.folder = LGetPicturesFolder();
    request.defaultExtension = "jpg";
    request.filters = kvshell::OpenFilters(false);
    const std::string path = LFileDialog(this, request);
    if (path.empty())
        return;
    LImageBuffer picture;
    if (!kvshell::LoadPicture(this, path.c_str(), picture))
        return;
    auto* element = new KVImageElement(picture);
    KVImageElementProperties p = element->GetProperties();
    // Centred in the view when it fits there, else at the view's corner;
    // never scaled.
    const LBoundingBox2T<float> view = uiWindow->GetSurface().GetCanvasVisibleBounds();
    if (p.width < view.GetWidth() && p.height < view.GetHeight()) {
        p.x = static_cast<int>(std::lround(view.x1 + (view.GetWidth() - p.width) / 2));
        p.y = static_cast<int>(std::lround(view.y1 + (view.GetHeight() - p.height) / 2));
    } else {
        p.x = static_cast<int>(std::lround(view.x1));
        p.y = static_cast<int>(std::lround(view.y1));
    }
    element->SetProperties(p, false, nullptr);
    AddElement(element, true);
    RenderCurrentProject();
}

void MainDialog::EvCreateElement(LPtr<KVDrawPath>& path) {
    KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    if (!image || !path)
        return;
    // From the zoomed canvas to image pixels.
    path->ConvertPath(image->GetWidth(), image->GetHeight());
    const std::string& tool = uiWindow->GetTool();
    if (tool == "line")
        CreateLine(*path);
    else if (tool == "pencil")
        CreateStroke<KVPencilElement, KVPencilElementProperties>(path);
    else if (tool == "rectangle")
        CreateShape<KVRectangleElement, KVRectangleElementProperties>(*path);
    else if (tool == "ellipse")
        CreateShape<KVEllipseElement, KVEllipseElementProperties>(*path);
    else if (tool == "polygon")
        CreateShape<KVPolygonElement, KVPolygonElementProperties>(*path);
    else if (tool == "triangle")
        CreateShape<KVTriangleElement, KVTriangleElementProperties>(*path);
    else if (tool == "brush")
        CreateStroke<KVBrushElement, KVBrushElementProperties>(path);
    else if (tool == "text")
        CreateText(*path);
    else if (tool == "spray")
        CreateStroke<KVSprayElement, KVSprayElementProperties>(path);
    else if (tool == "marker")
        CreateStroke<KVMarkerElement, KVMarkerElementProperties>(path);
    else if (tool == "pen")
        CreateStroke<KVPenElement, KVPenElementProperties>(path);
    else if (tool == "crayon")
        CreateStroke<KVCrayonElement, KVCrayonElementProperties>(path);
    RenderCurrentProject();
    UpdateCommandStates();
}

void MainDialog::CmConvertShapeToPath() {
    KVElementWidget* widget = uiWindow->GetSurface().GetSelectedWidget();
    KVLayer* layer = GetSelectedLayer();
    if (!currentProject || !widget || !layer || widget->GetMembers())
        return;
    KVImage* image = currentProject->GetCurrentImage();
    float lineWidth = 1.0f;
    LGuiColor lineColour;
    LPtr<KVDrawPath> path(image->ConvertToPath(*layer, *widget, lineWidth, lineColour));
    // Ellipses, lines, text, pictures and paths give none.
    if (!path)
        return;
    KVPenElementProperties pen;
    pen.width = lineWidth;
    pen.colour = LGuiColorAlpha(lineColour, 255);
    // The shape's fill, shadow and bevel come along; a pen has no glow.
    auto take = [&](const KVBoxShapeProperties& p) {
        pen.width = p.lineWidth;
        pen.colour = p.lineColour;
        pen.TakeFill(p);
        static_cast<KVShadowProperties&>(pen) = p;
        static_cast<KVBevelEmbossProperties&>(pen) = p;
    };
    KVElement* element = widget->GetElement();
    if (auto* r = dynamic_cast<KVRectangleElement*>(element))
        take(r->GetProperties());
    else if (auto* t = dynamic_cast<KVTriangleElement*>(element))
        take(t->GetProperties());
    else if (auto* g = dynamic_cast<KVPolygonElement*>(element))
        take(g->GetProperties());
    pen.path.Set(path.Release());
    auto* fresh = new KVPenElement(pen);
    {
        Change change(*this);
        delete image->ReplaceElement(fresh, *widget, layer, false, true);
    }
    RefreshWidgets();
    SelectElement(fresh);
    RenderCurrentProject();
}

namespace {

// What a stroke of any kind passes on to a stroke of another.
struct StrokeCore {
    LPtr<KVDrawPath> path;
    float curviness = 0.5f;
    float width = 1.0f;
    LGuiColorAlpha colour;
};

template <class E, class P> bool ReadStroke(KVElement* element, StrokeCore& core) {
    auto* e = dynamic_cast<E*>(element);
    if (!e)
        return false;
    const P p = e->GetProperties();
    if (p.path)
        core.path.Set(new KVDrawPath(*p.path));
    core.curviness = p.curviness;
    core.width = p.width;
    core.colour = LGuiColorAlpha(p.colour, 255);
    if constexpr (requires { p.colour.alpha; })
        core.colour.alpha = p.colour.alpha;
    return true;
}

template <class E, class P> KVElement* MakeStroke(StrokeCore& core) {
    P p;
    p.path.Set(core.path.Release());
    p.curviness = core.curviness;
    p.width = core.width;
    static_cast<LGuiColor&>(p.colour) = core.colour;
    if constexpr (requires { p.colour.alpha; })
        p.colour.alpha = core.colour.alpha;
    return new E(p);
}

} // namespace

void MainDialog::CmConvertPathToPath(unsigned id) {
    KVElementWidget* widget = uiWindow->GetSurface().GetSelectedWidget();
    KVLayer* layer = GetSelectedLayer();
    if (!currentProject || !widget || !layer || widget->GetMembers() || id < KVCmPathToPen || id > KVCmPathToSpray)
        return;
    KVElement* element = widget->GetElement();
    const char* kind = element ? element->GetName() : "";
    if (std::strcmp(kind, kPathKinds[id - KVCmPathToPen]) == 0)
        return;
    StrokeCore core;
    const bool read = ReadStroke<KVPenElement, KVPenElementProperties>(element, core) ||
                      ReadStroke<KVPencilElement, KVPencilElementProperties>(element, core) ||
                      ReadStroke<KVMarkerElement, KVMarkerElementProperties>(element, core) ||
                      ReadStroke<KVCrayonElement, KVCrayonElementProperties>(element, core) ||
                      ReadStroke<KVBrushElement, KVBrushElementProperties>(element, core) ||
                      ReadStroke<KVSprayElement, KVSprayElementProperties>(element, core);
    if (!read || !core.path)
        return;
    KVElement* fresh = nullptr;
    switch (id) {
    case KVCmPathToPen: fresh = MakeStroke<KVPenElement, KVPenElementProperties>(core); break;
    case KVCmPathToPencil: fresh = MakeStroke<KVPencilElement, KVPencilElementProperties>(core); break;
    case KVCmPathToMarker: fresh = MakeStroke<KVMarkerElement, KVMarkerElementProperties>(core); break;
    case KVCmPathToCrayon: fresh = MakeStroke<KVCrayonElement, KVCrayonElementProperties>(core); break;
    case KVCmPathToBrush: fresh = MakeStroke<KVBrushElement, KVBrushElementProperties>(core); break;
    default: fresh = MakeStroke<KVSprayElement, KVSprayElementProperties>(core); break;
    }
    {
        Change change(*this);
        delete currentProject->GetCurrentImage()->ReplaceElement(fresh, *widget, layer, false, true);
    }
    RefreshWidgets();
    SelectElement(fresh);
    RenderCurrentProject();
}
