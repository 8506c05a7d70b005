// The controller's projects: new ones from the settings, the tabs, selecting
// and closing with the question about unsaved work.

#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "shell/main_dialog_p.h"
#include "shell/ui_window.h"
#include "toolkit/dialogs.h"
#include "toolkit/progress_dialog.h"
#include "toolkit/settings.h"

using namespace kvshell;

namespace {

// Free memory in bytes, as the system counts what a program can still have.
std::uint64_t FreeHeap() {
    const long pages = sysconf(_SC_AVPHYS_PAGES);
    const long size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? std::uint64_t(pages) * std::uint64_t(size) : 0;
}

} // namespace

bool CheckSize(unsigned long width, unsigned long height) {
    // In 128 bits: a width and height out of a settings file may be anything.
    const unsigned __int128 need = static_cast<unsigned __int128>(width) * height * 48u;
    return need <= FreeHeap() / 2;
}

void FixSize(int& width, int& height) {
    const int h = static_cast<int>(std::floor(std::sqrt(double(FreeHeap()) / 128.0)));
    const float aspect = height > 0 ? float(width) / float(height) : 1.0f;
    width = static_cast<int>(std::floor(float(h) * aspect));
    height = h;
}

void MainDialog::CmNewProject() {
    auto* project = new KVProject("Untitled");
    CmNewImage(project);
}

void MainDialog::CmNewImage(KVProject* project) {
    long width, height;
    LPixelColour background;
    const QImage clip = QApplication::clipboard() ? QApplication::clipboard()->image() : QImage();
    if (!clip.isNull()) {
        width = clip.width();
        height = clip.height();
        background = LPixelColour::FromPacked(0xFFFFFFFFu);
    } else {
        width = LUserSettingGet("Settings", "DefaultWidth", 1024L);
        height = LUserSettingGet("Settings", "DefaultHeight", 768L);
        background = LPixelColour::FromPacked(
            static_cast<std::uint32_t>(LUserSettingGet("Settings", "DefaultBackColor", -1L)));
    }
    // A settings file edited by hand may hold anything.
    width = std::clamp(width, 1L, 32767L);
    height = std::clamp(height, 1L, 32767L);
    if (!CheckSize(static_cast<unsigned long>(width), static_cast<unsigned long>(height))) {
        int w = static_cast<int>(width), h = static_cast<int>(height);
        FixSize(w, h);
        width = std::max(1, w);
        height = std::max(1, h);
    }
    project->AddNewImage(new KVImage("Untitled", static_cast<unsigned long>(width),
                                     static_cast<unsigned long>(height), 72, background));
    AddAndSelect(project, "Untitled");
}

void MainDialog::AddAndSelect(KVProject* project, const char* tabName) {
    projects.PushFront(project);
    uiWindow->AddProject(tabName, project);
    SelectProject(*project);
}

void MainDialog::SelectProject(KVProject& project) {
    if (currentProject && currentProject->GetCurrentImage())
        currentProject->GetCurrentImage()->zoom = static_cast<float>(GetZoomPercent() / 100.0);
    currentProject = &project;
    uiWindow->ShowProject(&project);
    uiWindow->ShowDisplayedImage(&project);
    const KVImage* image = project.GetCurrentImage();
    const float zoom = image && image->zoom > 0 ? image->zoom : 1.0f;
    // Without a picture yet, the zoom waits for the first one.
    KVDrawSurface& surface = uiWindow->GetSurface();
    if (surface.HasImage())
        surface.UpdateZoom(zoom);
    else
        surface.SetNextImageZoom(zoom);
    SetZoomPercent(static_cast<int>(std::lround(zoom * 100)));
    // Another project's layers: the list starts again at its top layer.
    uiWindow->GetLayerList().UpdateLayerList(nullptr, nullptr);
    UpdateLayerList(nullptr);
    RefreshWidgets();
    RenderCurrentProject();
    UpdateCommandStates();
}

bool MainDialog::EvCloseProject(const KVProject* target) {
    if (!target || !projects.Contains(target))
        return false;
    KVProject* project = const_cast<KVProject*>(target);
    // A panel change still waiting belongs to the project on screen.
    ApplyPanelChange();
    renderQueue->StopRenderOf(project);
    KVImage* image = project->GetCurrentImage();
    if (image && !image->GetUndoRedoStack().IsCurrentStateSaved()) {
        char text[600];
        std::snprintf(text, sizeof text, "Save changes to \"%s\" before closing?",
                      image->GetName()[0] ? image->GetName() : project->GetName());
        const int answer = LAlert(this, kAlertTitle, text, {"Save", "Don't Save", "Cancel"});
        if (answer == 0) {
            if (!SaveAs(*project))
                return false;
        } else if (answer != 1) {
            return false;
        }
    }
    LProgressDialog cleaning(this, "Cleaning up Project");
    if (project == currentProject) {
        KVProject* other = nullptr;
        for (KVProject& p : projects)
            if (&p != project) {
                other = &p;
                break;
            }
        if (other)
            SelectProject(*other);
    }
    if (project == currentProject) {
        currentProject = nullptr;
        UpdateLayerList(nullptr);
    }
    // The question and the save let events run, and one of them may have
    // started a render of this project again: stop it now, with nothing run
    // between here and the delete.
    renderQueue->ForgetProject(project);
    uiWindow->RemoveProject(project);
    delete projects.Remove(project);
    cleaning.Finish(LProcessResultOk);
    UpdateCommandStates();
    return true;
}
