#include "shell/ui_window.h"

#include <QHBoxLayout>
#include <QTabBar>
#include <QVBoxLayout>

#include "document/freehand.h"
#include "document/shapes.h"
#include "imaging/image_buffer.h"
#include "shell/tools.h"
#include "surface/canvas_widgets.h"
#include "toolkit/qt_image.h"

KVUiWindow::KVUiWindow(MessageSink sink, SurfaceSink surfaceSink, QWidget* parent)
    : QWidget(parent), sink(std::move(sink)), surfaceSink(std::move(surfaceSink)) {
    // The tabs over the canvas on the left, a column on the right.
    auto* columns = new QHBoxLayout(this);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);
    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    tabs = new QTabBar(this);
    tabs->setTabsClosable(true);
    tabs->setExpanding(false);
    tabs->setDocumentMode(true);
    surface = new KVDrawSurface(*this, this);
    layout->addWidget(tabs);
    layout->addWidget(surface, 1);
    columns->addLayout(layout, 1);

    // The right column: the layer list in its top three tenths, then the
    // colours and the tool panel.
    auto* right = new QWidget(this);
    right->setFixedWidth(KVLayerList::kWidth + 20);
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->setSpacing(0);
    layerWindow = new KVLayerListWindow(*this, right);
    colours = new KVColorPicker(right);
    toolPanel = new KVToolPanel(*colours, right);
    rightLayout->addWidget(layerWindow, 3);
    rightLayout->addWidget(colours);
    rightLayout->addWidget(toolPanel, 7);
    columns->addWidget(right);

    toolPanel->onChange = [this](bool size) { EvPanelChanged(size); };
    colours->onForeground = [this] { EvPanelChanged(false); };
    colours->onFill = [this] { EvPanelChanged(false); };
    colours->onEyedropper = [this] { SetTool("eyedropper"); };

    QObject::connect(tabs, &QTabBar::currentChanged, this, [this](int index) {
        if (quiet || index < 0)
            return;
        this->sink(KVMsgSelectProject, static_cast<const KVProject*>(tabs->tabData(index).value<const void*>()));
    });
    QObject::connect(tabs, &QTabBar::tabCloseRequested, this, [this](int index) {
        this->sink(KVMsgCloseProject, static_cast<const KVProject*>(tabs->tabData(index).value<const void*>()));
    });
}

void KVUiWindow::EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data) {
    switch (id) {
    case KVMsgPickColour:
        // The controller goes back to the selection.
        colours->GetForegroundButton().SetColour(LGuiColorAlpha(data.colour, 255));
        UpdateToolLook();
        break;
    case KVMsgWidgetSelected: {
        const bool element = data.widget && data.widget->GetElement();
        toolPanel->SetSelectedElementType(element ? data.widget->GetElementName() : nullptr, tool);
        break;
    }
    case KVMsgSelectionCleared:
        toolPanel->HideEffects();
        toolPanel->SetSelectedElementType(nullptr, tool);
        break;
    default:
        break;
    }
    // The controller reads the selected element's record into the panels.
    surfaceSink(id, data);
    if (id == KVMsgWidgetSelected || id == KVMsgSelectionCleared) {
        EnableFillControl();
        UpdateToolLook();
    }
}

void KVUiWindow::EvPanelChanged(bool size) {
    KVElementWidget* selected = surface->GetSelectedWidget();
    if (selected && selected->GetElement() && panelSink)
        panelSink(selected);
    UpdateNewElementPreview();
    UpdateToolLook();
    (void)size; // the look takes the size along with the rest
    surface->viewport()->update();
}

void KVUiWindow::EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data) {
    if (layerSink)
        layerSink(id, data);
}

int KVUiWindow::FindTab(const KVProject* project) const {
    for (int i = 0; i < tabs->count(); ++i)
        if (tabs->tabData(i).value<const void*>() == project)
            return i;
    return -1;
}

void KVUiWindow::AddProject(const char* name, const KVProject* project) {
    quiet = true;
    const int index = tabs->addTab(QString::fromUtf8(name));
    tabs->setTabData(index, QVariant::fromValue(static_cast<const void*>(project)));
    tabs->setCurrentIndex(index);
    quiet = false;
}

void KVUiWindow::RemoveProject(const KVProject* project) {
    pictures.erase(project);
    const int index = FindTab(project);
    if (index >= 0) {
        quiet = true;
        tabs->removeTab(index);
        quiet = false;
    }
    if (shown == project) {
        shown = nullptr;
        surface->RemoveWidgets();
        surface->RemoveImage();
    }
}

void KVUiWindow::RenameProject(const KVProject* project, const char* name) {
    const int index = FindTab(project);
    if (index >= 0)
        tabs->setTabText(index, QString::fromUtf8(name));
}

void KVUiWindow::ShowProject(const KVProject* project) {
    const int index = FindTab(project);
    if (index >= 0 && index != tabs->currentIndex()) {
        quiet = true;
        tabs->setCurrentIndex(index);
        quiet = false;
    }
}

void KVUiWindow::SetDisplayedImage(const KVProject* project, LImageBuffer& picture) {
    QImage& kept = pictures[project];
    kept = LTakeQImage(picture);
    if (project == shown)
        surface->UpdateDisplayedImage(kept);
}

bool KVUiWindow::HasDisplayedImage(const KVProject* project) const {
    auto found = pictures.find(project);
    return found != pictures.end() && !found->second.isNull();
}

void KVUiWindow::ShowDisplayedImage(const KVProject* project) {
    shown = project;
    auto found = pictures.find(project);
    if (found == pictures.end() || found->second.isNull())
        surface->RemoveImage();
    else
        surface->UpdateDisplayedImage(found->second);
}

float KVUiWindow::UpdateZoom(float zoom) {
    if (zoom < 0)
        return surface->UpdateZoomFit();
    surface->UpdateZoom(zoom);
    return surface->GetZoom();
}

void KVUiWindow::SetForeground(const LGuiColor& colour) {
    colours->GetForegroundButton().SetColour(LGuiColorAlpha(colour, 255));
    UpdateToolLook();
}

namespace {

// What the canvas needs of a record: the stroke's width, colour and stamps.
template <class P> KVToolLook FreehandLook(const P& p, KVBrushType stamp) {
    KVToolLook look;
    look.width = p.width;
    look.colour = LGuiColorAlpha(p.colour, 255);
    if constexpr (requires { p.colour.alpha; })
        look.colour.alpha = p.colour.alpha;
    look.stamp = stamp;
    return look;
}

template <class P> KVToolLook LineLook(const P& p) {
    KVToolLook look;
    look.width = p.lineWidth;
    look.colour = p.lineColour;
    return look;
}

template <class E, class P> std::unique_ptr<KVElement> UnitElement(const KVUiWindow& window) {
    return std::make_unique<E>(window.GetSelectedToolProperties<P>());
}

} // namespace

void KVUiWindow::UpdateNewElementPreview() {
    if (tool == "rectangle")
        previewElement = UnitElement<KVRectangleElement, KVRectangleElementProperties>(*this);
    else if (tool == "ellipse")
        previewElement = UnitElement<KVEllipseElement, KVEllipseElementProperties>(*this);
    else if (tool == "polygon")
        previewElement = UnitElement<KVPolygonElement, KVPolygonElementProperties>(*this);
    else if (tool == "triangle")
        previewElement = UnitElement<KVTriangleElement, KVTriangleElementProperties>(*this);
    else
        previewElement.reset();
    surface->SetPreviewElement(previewElement.get());
}

void KVUiWindow::UpdateToolLook() {
    const KVTool* found = KVFindTool(tool);
    const KVBrushType stamp = static_cast<KVBrushType>(found && found->stamp >= 0 ? found->stamp : 0);
    KVToolLook look;
    look.colour = colours->GetForegroundButton().GetColour();
    if (tool == "pencil") {
        look = FreehandLook(GetSelectedToolProperties<KVPencilElementProperties>(), stamp);
    } else if (tool == "brush") {
        look = FreehandLook(GetSelectedToolProperties<KVBrushElementProperties>(), stamp);
    } else if (tool == "spray") {
        look = FreehandLook(GetSelectedToolProperties<KVSprayElementProperties>(), stamp);
    } else if (tool == "marker") {
        look = FreehandLook(GetSelectedToolProperties<KVMarkerElementProperties>(), stamp);
    } else if (tool == "pen") {
        const auto p = GetSelectedToolProperties<KVPenElementProperties>();
        look = FreehandLook(p, p.penType);
    } else if (tool == "crayon") {
        look = FreehandLook(GetSelectedToolProperties<KVCrayonElementProperties>(), stamp);
    } else if (tool == "eraser") {
        // The eraser paints in the background colour.
        const KVPanel* panel = toolPanel->GetPanel("eraser");
        look.width = static_cast<float>(panel->GetValue(KVIdSize));
        const QColor background = surface->palette().color(QPalette::Base);
        look.colour = LGuiColorAlpha(static_cast<unsigned char>(background.red()),
                                     static_cast<unsigned char>(background.green()),
                                     static_cast<unsigned char>(background.blue()), 255);
        look.stamp = stamp;
    } else if (tool == "line") {
        look = LineLook(GetSelectedToolProperties<KVLineElementProperties>());
    } else if (tool == "rectangle" || tool == "ellipse" || tool == "polygon" || tool == "triangle") {
        look = LineLook(GetSelectedToolProperties<KVRectangleElementProperties>());
    }
    surface->SetLineWidth(look.width);
    surface->SetLineColor(look.colour);
    surface->SetStampType(look.stamp);
}

void KVUiWindow::EnableFillControl() {
    const KVTool* found = KVFindTool(tool);
    const KVFillControl rule = found ? found->fill : KVFillControl::BySelection;
    const std::string& type = toolPanel->GetSelectedElementType();
    if (!type.empty() || rule == KVFillControl::BySelection)
        colours->SetFillEnabled(toolPanel->IsEffectAvailable(KVEffectGradient));
    else if (rule != KVFillControl::Unchanged)
        colours->SetFillEnabled(rule == KVFillControl::Enabled);
}

void KVUiWindow::SetTool(const std::string& key) {
    const KVTool* found = KVFindTool(key);
    // An unknown key selects nothing; choosing the bezier again keeps its path.
    if (!found || (key == tool && key == "beziertool"))
        return;
    if (key.empty()) {
        SetSelectTool(true);
        return;
    }
    if (KVIsPathTool(tool) && key != tool && hooks)
        hooks->FinishOpenPath("pen");
    surface->SetPointCaptureMode(found->mode);
    if (hooks && found->widget != KVToolWidget::None)
        hooks->MakeToolWidget(found->widget, KVMaskFateForTool(key));
    tool = key;
    const KVElementWidget* selected = surface->GetSelectedWidget();
    toolPanel->UpdatePanelVisibility(tool, selected && selected->GetElement());
    EnableFillControl();
    UpdateNewElementPreview();
    UpdateToolLook();
}

void KVUiWindow::SetSelectTool(bool removeWidgets) {
    if (KVIsPathTool(tool) && hooks)
        hooks->FinishOpenPath("pen");
    const KV_CAPTURE_MODE mode = surface->GetCaptureMode();
    tool.clear();
    if (!removeWidgets || mode == KVCaptureCrop || mode == KVCaptureMask || mode == KVCapturePathTool)
        toolPanel->SetSelectedElementType(nullptr, tool);
    surface->SetPointCaptureMode(KVCaptureSelect);
    const KVElementWidget* selected = surface->GetSelectedWidget();
    toolPanel->UpdatePanelVisibility(tool, selected && selected->GetElement());
    EnableFillControl();
    UpdateNewElementPreview();
    UpdateToolLook();
}

bool KVUiWindow::AddGradient() { return toolPanel->ShowEffect(KVEffectGradient); }
bool KVUiWindow::AddShadow() { return toolPanel->ShowEffect(KVEffectShadow); }
bool KVUiWindow::AddBevelEmboss() { return toolPanel->ShowEffect(KVEffectBevel); }
bool KVUiWindow::AddInnerGlow() { return toolPanel->ShowEffect(KVEffectInnerGlow); }
bool KVUiWindow::AddOuterGlow() { return toolPanel->ShowEffect(KVEffectOuterGlow); }
