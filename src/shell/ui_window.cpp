#include "shell/ui_window.h"

#include <QHBoxLayout>
#include <QTabBar>
#include <QVBoxLayout>

#include "document/freehand.h"
#include "document/shapes.h"
#include "imaging/image_buffer.h"
#include "shell/tools.h"
#include "toolkit/qt_image.h"

KVUiWindow::KVUiWindow(MessageSink sink, SurfaceSink surfaceSink, QWidget* parent)
    : QWidget(parent), sink(std::move(sink)), surfaceSink(std::move(surfaceSink)) {
    // The tabs over the canvas on the left, a column 250 wide on the right.
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
    auto* right = new QVBoxLayout;
    right->setContentsMargins(0, 0, 0, 0);
    layerWindow = new KVLayerListWindow(*this, this);
    layerWindow->setFixedWidth(KVLayerList::kWidth + 20);
    // The layer list takes the top three tenths of the column.
    right->addWidget(layerWindow, 3);
    right->addStretch(7);
    columns->addLayout(right);

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
    if (id == KVMsgPickColour)
        SetForeground(data.colour);
    surfaceSink(id, data);
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

void KVUiWindow::SetDisplayedImage(const KVProject* project, const LImageBuffer& picture) {
    QImage& kept = pictures[project];
    kept = LToQImage(picture);
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
    foreground = colour;
    hasForeground = true;
    SetTool(tool);
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

} // namespace

void KVUiWindow::SetTool(const std::string& key) {
    const KVTool* found = KVFindTool(key);
    tool = found ? key : std::string();
    KVToolLook look;
    previewElement.reset();
    if (tool == "pencil") {
        look = FreehandLook(GetSelectedToolProperties<KVPencilElementProperties>(), KVBrushPencil);
    } else if (tool == "brush") {
        look = FreehandLook(GetSelectedToolProperties<KVBrushElementProperties>(), KVBrushPaintbrush);
    } else if (tool == "spray") {
        const auto p = GetSelectedToolProperties<KVSprayElementProperties>();
        look = FreehandLook(p, static_cast<KVBrushType>(p.brushType));
    } else if (tool == "marker") {
        look = FreehandLook(GetSelectedToolProperties<KVMarkerElementProperties>(), KVBrushMarker);
    } else if (tool == "pen") {
        const auto p = GetSelectedToolProperties<KVPenElementProperties>();
        look = FreehandLook(p, p.penType);
    } else if (tool == "crayon") {
        look = FreehandLook(GetSelectedToolProperties<KVCrayonElementProperties>(), KVBrushCrayon);
    } else if (tool == "line") {
        look = LineLook(GetSelectedToolProperties<KVLineElementProperties>());
    } else if (tool == "rectangle") {
        const auto p = GetSelectedToolProperties<KVRectangleElementProperties>();
        look = LineLook(p);
        previewElement = std::make_unique<KVRectangleElement>(p);
    } else if (tool == "ellipse") {
        const auto p = GetSelectedToolProperties<KVEllipseElementProperties>();
        look = LineLook(p);
        previewElement = std::make_unique<KVEllipseElement>(p);
    } else if (tool == "polygon") {
        const auto p = GetSelectedToolProperties<KVPolygonElementProperties>();
        look = LineLook(p);
        previewElement = std::make_unique<KVPolygonElement>(p);
    } else if (tool == "triangle") {
        const auto p = GetSelectedToolProperties<KVTriangleElementProperties>();
        look = LineLook(p);
        previewElement = std::make_unique<KVTriangleElement>(p);
    }
    surface->SetPreviewElement(previewElement.get());
    surface->SetLineWidth(look.width);
    surface->SetLineColor(look.colour);
    surface->SetStampType(look.stamp);
    surface->SetPointCaptureMode(found ? found->mode : KVCaptureSelect);
}
