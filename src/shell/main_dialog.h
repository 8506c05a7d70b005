#pragma once
// The editor's main window and its controller: it owns the open projects
// and the render queue, and turns every command into changes of the
// document. Its members are defined by role: commands and projects here, the
// file commands, recovery and printing in files of their own.

#include <memory>
#include <string>
#include <vector>

#include "document/project.h"
#include "foundation/list.h"
#include "shell/render_queue.h"
#include "toolkit/main_window.h"

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
    KVCmCloseProject = 2090,
    KVCmZoomFit = 2008,
    KVCmZoom10 = 2009,
    KVCmZoom400 = 2015,
    KVCmZoomActual = 2016,
    KVCmZoomIn = 2018,
    KVCmZoomOut = 2019,
    KVCmZoomFromStatus = 2074,
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
    void CmZoom(float zoom);
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

    const KVProject* GetShownProject() const override { return currentProject; }
    void EvRenderedPicture(const KVProject* project, const LImageBuffer& picture) override;
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

    KVProject* currentProject = nullptr;
    LList<KVProject> projects;
    std::unique_ptr<KVRenderQueue> renderQueue;
    KVUiWindow* uiWindow = nullptr;
    char statusMouse[260] = "";
    char statusObject[260] = "";
};
