#pragma once
// The editor's main window and its controller: it owns the open projects
// and the render queue, and turns every command into changes of the
// document. Its members are defined by role: commands and projects here, the
// file commands, recovery and printing in files of their own.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/project.h"
#include "foundation/list.h"
#include "shell/layer_list.h"
#include "shell/render_queue.h"
#include "surface/draw_surface.h"
#include "toolkit/main_window.h"
#include "toolkit/panel_controls.h"

class KVElementWidget;
class KVElement;
class KVUiWindow;
struct KVImageElementProperties;
class LProcessInterface;

// Command ids of the menus, tool bars and keys.
enum KVCommand : unsigned {
    KVCmOpen = 2001,
    KVCmSave = 2002,
    KVCmSaveAs = 2003,
    KVCmPrint = 2004,
    KVCmNewProject = 2005,
    KVCmInsertImage = 2006,
    KVCmCloseProject = 2110,
    KVCmZoomFit = 2008,
    KVCmZoom10 = 2009,
    KVCmZoom400 = 2015,
    KVCmZoomActual = 2016,
    KVCmZoomIn = 2018,
    KVCmZoomOut = 2019,
    KVCmZoomFromStatus = 2074,
    KVCmDelete = 2038,
    KVCmGradient = 2045,
    KVCmShadow = 2046,
    KVCmBevelEmboss = 2047,
    KVCmFillElement = 2048,
    KVCmInnerGlow = 2049,
    KVCmOuterGlow = 2050,
    KVCmSelectAll = 2076,
    KVCmConvertShapeToPath = 2088,
    // Change Path Type: one command a kind.
    KVCmPathToPen = 2090,
    KVCmPathToPencil = 2091,
    KVCmPathToMarker = 2092,
    KVCmPathToCrayon = 2093,
    KVCmPathToBrush = 2094,
    KVCmPathToSpray = 2095,
    KVCmStartNew = 2100,
    KVCmStartOpen = 2101,
    KVCmQuit = 2103,
    KVCmUndo = 9401,
    KVCmRedo = 9402,
};

// Whether a picture of w x h fits in memory, with room to work; and a size
// of the same aspect that does.
bool CheckSize(unsigned long width, unsigned long height);
void FixSize(int& width, int& height);
// The ratio Zoom In (or Out) goes to from a zoom of `percent`.
float NextZoomStep(int percent, bool in);

class MainDialog : public LMainWindow, private KVRenderQueueClient {
public:
    MainDialog();
    ~MainDialog() override;

    // Menus, tool bars, status bar, and timer 0 (recovery, or a new project).
    void InitDialog();

    void Command(unsigned id) override;
    void EvTimer(int id) override;
    void EvDropFiles(const std::vector<std::string>& paths) override;
    bool CanClose() override;
    // Files handed to the program at start: no start step, each file opened.
    void EvAPICommand(const std::vector<std::string>& paths);
    void EvInterWinMessage(unsigned id, const KVProject* project);

    void CmNewProject();
    void CmNewImage(KVProject* project);
    // Null asks for a file. A path that does not exist does nothing.
    void CmOpenFile(const char* path);
    // Traces the picture of an image element's panel record into its paths,
    // after asking when it may take long; false when cancelled or failed.
    bool EvVectorizeImageElement(KVImageElementProperties& properties);
    // Writes the current project by the extension of `path`; null process
    // gives a progress window.
    LProcessResult SaveFile(LProcessInterface* process, const char* path);
    bool CmSave();
    bool CmSaveAs();
    void CmPrint();
    void CmUndo();
    void CmRedo();
    // Clamped to 0.1 to 4.0; 0 or less fits the picture to the window.
    void CmZoom(float zoom);
    // The tool of a tool bar command (the pencil, the selection...).
    void CmChangeTool(unsigned id);
    // A finished drag or stroke becomes the element of the tool in use, in
    // the selected layer, as one undo step; then a render.
    void EvCreateElement(LPtr<KVDrawPath>& path);
    // The selected element as a pen stroke of its outline.
    void CmConvertShapeToPath();
    void CmInsertImage();
    // The selected stroke as a stroke of another kind (KVCmPathToPen...).
    void CmConvertPathToPath(unsigned id);
    // A panel changed while `widget` was selected: its element takes the
    // panel's record as one undo step, and a render follows.
    void EvToolPanelHasUpdate(KVElementWidget* widget);
    // A panel's record applied to a document, true when it changed it.
    using PanelChange = std::function<bool(KVImage& image, const KVLayer* layer)>;
    // The selected element's record into the panels and effect panels.
    void EvGetElementProperties(const KVElementWidget* widget);
    // The menu of a right click on the canvas, at a point of the canvas.
    void EvRightClickMenu(const KVElementWidget* widget, QPoint at);
    // Its entries, each enabled as the command would work.
    std::vector<LPopupEntry> GetRightClickMenu(const KVElementWidget* widget) const;
    // The selected elements go, as one undo step.
    void CmDeleteElement();
    // The layer new elements go to: the layer list's current one.
    KVLayer* GetSelectedLayer() const;

    // The layer commands; each change is one undo step where the document
    // keeps one (new, delete, duplicate, merge, background), none for the
    // order, visibility and name.
    void CmNewLayer();
    void CmDeleteLayer(const KVLayer* layer);
    void CmDuplicateLayer(const KVLayer* layer);
    void CmMergeDown();
    void EvLayerReorder(const KVLayer* layer, int index);
    void EvLayerVisToggle(const KVLayer* layer, bool visible);
    void EvLayerRename(const KVLayer* layer, const std::string& name);
    void EvGetLayerElementList(const KVLayer* layer);
    void SetProjectBackground(const LGuiColorAlpha& colour);
    // The list again from the current project; `current` null keeps the
    // current layer where it still exists.
    void UpdateLayerList(const KVLayer* current);
    // False keeps the project open.
    bool EvCloseProject(const KVProject* project);
    void SelectProject(KVProject& project);
    void RenderCurrentProject();
    // Opens what the last run left in "Recovery" if the user wants it, and
    // deletes the files either way; true when something was opened.
    bool RecoverProjects();

    // The gate of every change: the render under way stops, and no render
    // starts while the lock lives.
    KVProject* GetCurrentProject(std::unique_ptr<KVRenderLock>& lock);
    KVProject* PeekCurrentProject() const { return currentProject; }
    const LList<KVProject>& GetProjects() const { return projects; }
    const LList<KVRenderResults>& GetRenderResults() const { return renderQueue->GetRecords(); }
    KVRenderThread& GetRenderThread() { return renderQueue->GetThread(); }
    KVUiWindow& GetUiWindow() const { return *uiWindow; }

private:
    // Holds the render lock for one change, and lets a waiting render start
    // once it is gone.
    class Change;

    void AddAndSelect(KVProject* project, const char* tabName);
    void EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data);
    void EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data);
    // Drawing on a hidden layer asks first; false when the user declined.
    bool ConfirmVisibleLayer(KVLayer& layer);
    // The canvas's widgets again, from the selected layer.
    void RefreshWidgets();
    // The selection moved by the keys: its elements follow, then a render.
    void EvWidgetHasUpdate(KVElementWidget* widget);
    // Gradient, shadow, bevel and the glows, by command.
    void CmAddEffect(unsigned id);
    // Adds `element` to the selected layer with undo, and selects it when
    // `select`; drops it without a layer.
    void AddElement(KVElement* element, bool select);
    void SelectElement(const KVElement* element);
    template <class E, class P> void CreateStroke(LPtr<KVDrawPath>& path);
    template <class E, class P> void CreateShape(const KVDrawPath& path);
    void CreateLine(const KVDrawPath& path);
    void CreateText(const KVDrawPath& path);

    const KVProject* GetShownProject() const override { return currentProject; }
    void EvRenderedPicture(const KVProject* project, LImageBuffer& picture) override;
    void EvRenderProgress(double fraction) override;
    void EvRenderNoticeDone() override;

    // Undo or redo on the current project, then its new picture.
    void StepHistory(void (KVProject::*step)());
    // The commands that apply, and the title: the project's name, marked
    // while it has unsaved changes.
    void UpdateCommandStates();
    LProcessResult SaveProjectFile(LProcessInterface& process, KVProject& project, const char* path);
    LProcessResult ExportRaster(LProcessInterface& process, KVProject& project, const char* path);
    bool SaveAs(KVProject& project);

    // The newest panel change not yet applied: it waits for the picture
    // under way.
    void ApplyPanelChange();
    PanelChange pendingPanelChange;

    KVProject* currentProject = nullptr;
    LList<KVProject> projects;
    std::unique_ptr<KVRenderQueue> renderQueue;
    KVUiWindow* uiWindow = nullptr;
    char statusMouse[260] = "";
    char statusObject[260] = "";
};
