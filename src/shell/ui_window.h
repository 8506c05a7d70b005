#pragma once
// The tool window as far as it exists yet: the tabs of the open projects
// above the canvas, and the tool in use with its record. Tabs speak to the
// controller by its messages (KVUiMessage): close a project, select one;
// the canvas's messages go up as they come.

#include <QImage>
#include <QWidget>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "shell/layer_list.h"
#include "surface/draw_surface.h"

class KVProject;
class LImageBuffer;
class QTabBar;

// What the tool window tells the controller, with the project it is about.
enum KVUiMessage : unsigned {
    KVMsgCloseProject = 30,
    KVMsgSelectProject = 31,
};

class KVUiWindow : public QWidget, private KVDrawSurfaceParent, private KVLayerListParent {
public:
    // Message id and the project it is about.
    using MessageSink = std::function<void(unsigned id, const KVProject* project)>;
    using SurfaceSink = std::function<void(KVSurfaceMessage id, KVSurfaceMessageData& data)>;
    using LayerSink = std::function<void(KVLayerListMessage id, KVLayerListMessageData& data)>;

    KVUiWindow(MessageSink sink, SurfaceSink surfaceSink, QWidget* parent = nullptr);

    void AddProject(const char* name, const KVProject* project);
    void RemoveProject(const KVProject* project);
    void RenameProject(const KVProject* project, const char* name);
    // Marks the tab of `project` as the selected one, without a message.
    void ShowProject(const KVProject* project);

    // The picture of a project: kept for when its tab is selected again.
    void SetDisplayedImage(const KVProject* project, const LImageBuffer& picture);
    bool HasDisplayedImage(const KVProject* project) const;
    // Shows the kept picture of `project`, or nothing.
    void ShowDisplayedImage(const KVProject* project);

    // A negative zoom fits the picture to the window; the ratio used.
    float UpdateZoom(float zoom);

    // The tool by its key ("pencil", "rectangle"; empty for the selection):
    // the canvas takes its capture mode, and its width, colour and stamp
    // kind from the tool's record.
    void SetTool(const std::string& key);
    const std::string& GetTool() const { return tool; }
    // The record of the tool in use, as the panels will give it: for now the
    // kind's defaults, in the picked colour once the eyedropper gave one.
    template <class P> P GetSelectedToolProperties() const;
    void SetForeground(const LGuiColor& colour);

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

    MessageSink sink;
    SurfaceSink surfaceSink;
    QTabBar* tabs;
    KVDrawSurface* surface;
    KVLayerListWindow* layerWindow;
    LayerSink layerSink;
    std::map<const KVProject*, QImage> pictures;
    const KVProject* shown = nullptr;
    bool quiet = false; // while tabs change under our own hands
    std::string tool;
    bool hasForeground = false;
    LGuiColor foreground;
    // The unit shape of the shape tool in use, shown while it is dragged.
    std::unique_ptr<KVElement> previewElement;
};

template <class P> P KVUiWindow::GetSelectedToolProperties() const {
    P p;
    if (hasForeground) {
        if constexpr (requires { p.colour; })
            static_cast<LGuiColor&>(p.colour) = foreground;
        if constexpr (requires { p.lineColour; })
            static_cast<LGuiColor&>(p.lineColour) = foreground;
    }
    return p;
}
