#pragma once
// The tool window: the tabs of the open projects above the canvas, and on
// the right the colour picker, the panel of the tool in use and the effect
// panels. It owns the current tool. Tabs speak to the controller by its
// messages (KVUiMessage): close a project, select one; the canvas's messages
// go up as they come, and a panel change on a selected element goes up with
// its widget.

#include <QImage>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "shell/layer_list.h"
#include "shell/tool_panel.h"
#include "surface/draw_surface.h"

#include "shell/tools.h"

class KVProject;
class LImageBuffer;
class QTabBar;

// What the tool window tells the controller, with the project it is about.
enum KVUiMessage : unsigned {
    KVMsgCloseProject = 30,
    KVMsgSelectProject = 31,
};

// The canvas widgets of the fill, mask and path tools, made by whoever
// provides them. Without one those tools only set the capture mode.
class KVToolWidgetHooks {
public:
    virtual ~KVToolWidgetHooks() = default;
    // The open path of the bezier or poly line tool becomes an element of
    // stroke kind `kind` (message 59).
    virtual void FinishOpenPath(const char* kind) = 0;
    // The widget of a tool just chosen, and what becomes of the mask of a
    // selected selection widget.
    virtual void MakeToolWidget(KVToolWidget widget, KVMaskFate mask) = 0;
};

class KVUiWindow : public QWidget, private KVDrawSurfaceParent, private KVLayerListParent {
public:
    // Message id and the project it is about.
    using MessageSink = std::function<void(unsigned id, const KVProject* project)>;
    using SurfaceSink = std::function<void(KVSurfaceMessage id, KVSurfaceMessageData& data)>;
    using LayerSink = std::function<void(KVLayerListMessage id, KVLayerListMessageData& data)>;
    // A panel changed while `widget` is selected (message 15).
    using PanelSink = std::function<void(KVElementWidget* widget)>;

    KVUiWindow(MessageSink sink, SurfaceSink surfaceSink, QWidget* parent = nullptr);
    void SetPanelSink(PanelSink s) { panelSink = std::move(s); }
    void SetToolWidgetHooks(KVToolWidgetHooks* h) { hooks = h; }

    void AddProject(const char* name, const KVProject* project);
    void RemoveProject(const KVProject* project);
    void RenameProject(const KVProject* project, const char* name);
    // Marks the tab of `project` as the selected one, without a message.
    void ShowProject(const KVProject* project);

    // The picture of a project, taken from `picture`: kept for when its tab
    // is selected again.
    void SetDisplayedImage(const KVProject* project, LImageBuffer& picture);
    bool HasDisplayedImage(const KVProject* project) const;
    // Shows the kept picture of `project`, or nothing.
    void ShowDisplayedImage(const KVProject* project);

    // A negative zoom fits the picture to the window; the ratio used.
    float UpdateZoom(float zoom);

    // The tool by its key ("pencil", "rectangle"; empty for the selection):
    // the canvas takes its capture mode, and its width, colour and stamp
    // kind from the tool's panel; the panel shows. Leaving the bezier or
    // poly line tool first makes the element of an open path.
    void SetTool(const std::string& key);
    // Back to the selection; `removeWidgets` also drops a tool's widget.
    void SetSelectTool(bool removeWidgets);
    const std::string& GetTool() const { return tool; }
    // The record the next element of kind P gets, from the panels.
    template <class P> P GetSelectedToolProperties() const;
    // The eyedropper's colour (message 10): the foreground now.
    void SetForeground(const LGuiColor& colour);
    // The shape tool's unit element, for the canvas's drag feedback.
    void UpdateNewElementPreview();

    // Effect commands: each turns its effect on, for the selected element
    // or the next one drawn; false when it was on or does not apply.
    bool AddGradient();
    bool AddShadow();
    bool AddBevelEmboss();
    bool AddInnerGlow();
    bool AddOuterGlow();

    KVToolPanel& GetToolPanel() const { return *toolPanel; }
    KVColorPicker& GetColorPicker() const { return *colours; }

    KVDrawSurface& GetSurface() const { return *surface; }
    // The layer list at the top of the right column; its messages go to `sink`.
    KVLayerListWindow& GetLayerListWindow() const { return *layerWindow; }
    KVLayerList& GetLayerList() const { return layerWindow->GetList(); }
    void SetLayerSink(LayerSink sink) { layerSink = std::move(sink); }
    QTabBar& GetTabs() const { return *tabs; }
    int FindTab(const KVProject* project) const;

private:
    void EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data) override;
    void EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data) override;
    // A control of a panel, or a colour, changed.
    void EvPanelChanged(bool size);
    // The canvas's width, colour and stamp from the panel of the tool.
    void UpdateToolLook();
    // The element kind the fill control is about: the selected one's, else
    // the tool's.
    void EnableFillControl();

    MessageSink sink;
    SurfaceSink surfaceSink;
    PanelSink panelSink;
    KVToolWidgetHooks* hooks = nullptr;
    KVColorPicker* colours;
    KVToolPanel* toolPanel;
    QTabBar* tabs;
    KVDrawSurface* surface;
    KVLayerListWindow* layerWindow;
    LayerSink layerSink;
    std::map<const KVProject*, QImage> pictures;
    const KVProject* shown = nullptr;
    bool quiet = false; // while tabs change under our own hands
    std::string tool;
    // The unit shape of the shape tool in use, shown while it is dragged.
    std::unique_ptr<KVElement> previewElement;
};

template <class P> P KVUiWindow::GetSelectedToolProperties() const {
    P p;
    toolPanel->GetSelectedToolProperties(p);
    return p;
}
