#include "shell/main_dialog.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "foundation/app_paths.h"
#include "foundation/string.h"
#include "imaging/image_export.h"
#include "persistence/project_file.h"
#include "render/render_image_buffer.h"
#include "shell/print.h"
#include "shell/ui_window.h"
#include "toolkit/dialogs.h"
#include "toolkit/picture_view.h"
#include "toolkit/progress_dialog.h"
#include "toolkit/settings.h"

#ifndef KV_VERSION
#define KV_VERSION "0"
#endif

namespace {

constexpr const char* kTitle = "Korvane Graphics Editor";
constexpr const char* kAlertTitle = "Korvane";
const std::vector<int> kZoomSteps = {10, 25, 50, 75, 100, 200, 400};

std::string LowerExtension(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* dot = std::strrchr(slash ? slash : path, '.');
    std::string ext = dot ? dot : "";
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

std::string BaseName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

std::string WithoutExtension(const std::string& name) {
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

bool IsRegularFile(const char* path) {
    struct stat st;
    return path && stat(path, &st) == 0 && S_ISREG(st.st_mode);
}

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

class MainDialog::Change {
public:
    explicit Change(MainDialog& dialog) : dialog(dialog) { dialog.GetCurrentProject(lock); }
    ~Change() {
        lock.reset();
        dialog.StartWaitingRender();
    }

private:
    MainDialog& dialog;
    std::unique_ptr<KVRenderLock> lock;
};

MainDialog::MainDialog() : renderThread(std::make_unique<KVRenderThread>()) {
    renderThread->SetNotifyHandler(this);
    uiWindow = new KVUiWindow([this](unsigned id, const KVProject* p) { EvInterWinMessage(id, p); }, this);
    SetContent(uiWindow);
    setWindowTitle(kTitle);
    resize(1100, 800);
}

MainDialog::~MainDialog() {
    // Nothing the worker posted may reach a half-destroyed window.
    GetRunOnMainThread().Close();
    renderThread->SetClosing();
    renderThread->StopThreadNow();
    renderThread.reset();
    results.DeleteAll();
    // Each project deletes its recovery file: a clean exit leaves none.
    currentProject = nullptr;
    projects.DeleteAll();
}

void MainDialog::InitDialog() {
    std::vector<LMenu> menus = {
        {"&File",
         {{KVCmNewProject, "New Project", {}, false},
          {KVCmOpen, "Open", {}, false},
          {KVCmSave, "Save", {}, false},
          {KVCmSaveAs, "Save As...", {}, false},
          {},
          {KVCmPrint, "Print", {}, false},
          {},
          {KVCmQuit, "Quit", {}, false}}},
        {"&Edit", {{KVCmUndo, "Undo", {}, false}, {KVCmRedo, "Redo", {}, false}}},
        {"&View",
         {{KVCmZoomFit, "Zoom Fit", {}, false},
          {KVCmZoomActual, "Zoom Actual Size", {}, false},
          {},
          {2009, "Zoom 10%", {}, false},
          {2010, "Zoom 25%", {}, false},
          {2011, "Zoom 50%", {}, false},
          {2012, "Zoom 75%", {}, false},
          {2013, "Zoom 100%", {}, false},
          {2014, "Zoom 200%", {}, false},
          {2015, "Zoom 400%", {}, false},
          {},
          {KVCmZoomIn, "Zoom In", {}, false},
          {KVCmZoomOut, "Zoom Out", {}, false}}},
    };
    // Fifteen keys.
    const std::vector<LAccelerator> keys = {
        {KVCmNewProject, "Ctrl+N"}, {KVCmOpen, "Ctrl+O"},      {KVCmSave, "Ctrl+S"},
        {KVCmSaveAs, "Ctrl+Shift+S"}, {KVCmPrint, "Ctrl+P"},   {KVCmQuit, "Ctrl+Q"},
        {KVCmUndo, "Ctrl+Z"},       {KVCmRedo, "Ctrl+Y"},      {KVCmRedo, "Ctrl+Shift+Z"},
        {KVCmZoomIn, "Ctrl++"},     {KVCmZoomIn, "Ctrl+="},    {KVCmZoomOut, "Ctrl+-"},
        {KVCmZoomActual, "Ctrl+0"}, {KVCmZoomFit, "Ctrl+9"},   {2014, "Ctrl+2"},
    };
    SetMenu(menus, keys);

    SetToolBarTabs({
        {"Home",
         {{KVCmNewProject, "New", "Create a new project"},
          {KVCmOpen, "Open", "Open an existing file"},
          {KVCmSave, "Save", "Save the current project"},
          {KVCmSaveAs, "Save As", "Save As the current project"}}},
        {"Edit",
         {{KVCmUndo, "Undo", "Undo the last action"}, {KVCmRedo, "Redo", "Redo the last undone action"}}},
    });
    char title[kLFixedStringSize];
    std::snprintf(title, sizeof title, "%s %s", kTitle, KV_VERSION);
    SetStatusText(StatusTitle, title);
    SetStatusProgress(1.0);
    SetZoomControl(kZoomSteps, KVCmZoomFromStatus);
    SetZoomPercent(100);
    SetCaptionToolBar({{KVCmUndo, "Undo", ""}, {KVCmRedo, "Redo", ""}});

    if (!LUserSettingExists("Options", "UnitDefault"))
        LUserSettingSet("Options", "UnitDefault", QLocale::system().measurementSystem() == QLocale::MetricSystem);

    StartTimer(0, 200);
    EnableDragDrop(true);
    UpdateCommandStates();
}

// ---------------------------------------------------------------------------
// Commands

void MainDialog::Command(unsigned id) {
    switch (id) {
    case KVCmOpen:
    case KVCmStartOpen:
        CmOpenFile(nullptr);
        break;
    case KVCmSave:
        if (!CmSave())
            CmSaveAs();
        break;
    case KVCmSaveAs:
        CmSaveAs();
        break;
    case KVCmPrint:
        CmPrint();
        break;
    case KVCmNewProject:
    case KVCmStartNew:
        CmNewProject();
        break;
    case KVCmQuit:
        close();
        break;
    case KVCmZoomFit:
        CmZoom(-1.0f);
        break;
    case KVCmZoomActual:
        CmZoom(1.0f);
        break;
    case KVCmZoomIn:
    case KVCmZoomOut: {
        const int now = GetZoomPercent();
        int next = now;
        if (id == KVCmZoomIn) {
            auto up = std::upper_bound(kZoomSteps.begin(), kZoomSteps.end(), now);
            next = up == kZoomSteps.end() ? kZoomSteps.back() : *up;
        } else {
            auto down = std::lower_bound(kZoomSteps.begin(), kZoomSteps.end(), now);
            next = down == kZoomSteps.begin() ? kZoomSteps.front() : *(down - 1);
        }
        CmZoom(next / 100.0f);
        break;
    }
    case KVCmZoomFromStatus:
        CmZoom(GetZoomPercent() / 100.0f);
        break;
    case KVCmUndo:
        CmUndo();
        break;
    case KVCmRedo:
        CmRedo();
        break;
    default:
        if (id >= KVCmZoom10 && id <= KVCmZoom400) {
            static const float zooms[] = {0.1f, 0.25f, 0.5f, 0.75f, 1.0f, 2.0f, 4.0f};
            CmZoom(zooms[id - KVCmZoom10]);
        }
        break;
    }
    UpdateCommandStates();
}

void MainDialog::UpdateCommandStates() {
    const KVImage* image = currentProject ? currentProject->GetCurrentImage() : nullptr;
    const bool open = image != nullptr;
    for (unsigned id : {unsigned(KVCmSave), unsigned(KVCmSaveAs), unsigned(KVCmPrint), unsigned(KVCmZoomFit),
                        unsigned(KVCmZoomActual), unsigned(KVCmZoomIn), unsigned(KVCmZoomOut), 2009u, 2010u, 2011u,
                        2012u, 2013u, 2014u, 2015u})
        SetCommandEnabled(id, open);
    SetCommandEnabled(KVCmUndo, open && image->GetUndoRedoStack().CanUndo());
    SetCommandEnabled(KVCmRedo, open && image->GetUndoRedoStack().CanRedo());
}

void MainDialog::EvTimer(int id) {
    if (id != 0)
        return;
    KillTimer(0);
    // Files given at start cancel this timer, so none were given.
    if (!RecoverProjects())
        CmNewProject();
}

void MainDialog::EvAPICommand(const std::vector<std::string>& paths) {
    KillTimer(0);
    for (const std::string& p : paths)
        CmOpenFile(p.c_str());
}

void MainDialog::EvDropFiles(const std::vector<std::string>& paths) {
    for (const std::string& p : paths)
        CmOpenFile(p.c_str());
}

void MainDialog::EvInterWinMessage(unsigned id, const KVProject* project) {
    if (id == 30)
        EvCloseProject(project);
    else if (id == 31 && project && projects.Contains(project))
        SelectProject(*const_cast<KVProject*>(project));
    UpdateCommandStates();
    update();
}

bool MainDialog::CanClose() {
    // Each project with unsaved work asks; one kept open keeps the window.
    while (KVProject* p = projects.GetFirst()) {
        if (!EvCloseProject(p))
            return false;
    }
    return true;
}

KVProject* MainDialog::GetCurrentProject(std::unique_ptr<KVRenderLock>& lock) {
    lock = std::make_unique<KVRenderLock>(*renderThread);
    return currentProject;
}

// ---------------------------------------------------------------------------
// Projects

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

void MainDialog::CmOpenFile(const char* path) {
    std::string chosen;
    if (!path) {
        LFileDialogRequest request;
        request.title = "Open File";
        request.folder = LGetPicturesFolder();
        request.filters = {{"Korvane Project File(*.kvp)", "*.kvp"}};
        chosen = LFileDialog(this, request);
        if (chosen.empty())
            return;
        path = chosen.c_str();
    }
    if (!IsRegularFile(path))
        return;
    const std::string fileName = BaseName(path);
    if (LowerExtension(path) != ".kvp") {
        char text[600];
        std::snprintf(text, sizeof text,
                      "\"%s\" can't be opened: this version opens Korvane projects (.kvp) only.",
                      fileName.c_str());
        LAlert(this, kAlertTitle, text);
        return;
    }
    auto project = std::make_unique<KVProject>(WithoutExtension(fileName).c_str());
    KVProjectFileLoadSettings load{};
    LStrCopy(load.path, path);
    load.project = project.get();
    LProcessDialog<KVProjectFileLoadSettings> dialog(this, "Loading File", load);
    if (dialog.Run() != LProcessResultOk)
        return;
    KVProject* opened = project.release();
    AddAndSelect(opened, opened->GetName());
}

void MainDialog::SelectProject(KVProject& project) {
    if (currentProject && currentProject->GetCurrentImage())
        currentProject->GetCurrentImage()->zoom = static_cast<float>(GetZoomPercent() / 100.0);
    currentProject = &project;
    uiWindow->ShowProject(&project);
    uiWindow->ShowDisplayedImage(&project);
    const KVImage* image = project.GetCurrentImage();
    const float zoom = image && image->zoom > 0 ? image->zoom : 1.0f;
    uiWindow->GetView().SetZoom(zoom);
    SetZoomPercent(static_cast<int>(std::lround(zoom * 100)));
    RenderCurrentProject();
    UpdateCommandStates();
}

bool MainDialog::EvCloseProject(const KVProject* target) {
    if (!target || !projects.Contains(target))
        return false;
    KVProject* project = const_cast<KVProject*>(target);
    renderThread->CloseProject(project);
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
    if (project == currentProject)
        currentProject = nullptr;
    // The question and the save let events run, and one of them may have
    // started a render of this project again: stop it now, with nothing run
    // between here and the delete. Renders still waiting for it would read a
    // project that is gone; a stopped one goes when its notification comes.
    renderThread->CloseProject(project);
    for (KVRenderResults* r = results.GetFirst(); r;) {
        KVRenderResults* next = r->GetNext();
        if (r->project == project && !r->started)
            DeleteRecord(r);
        r = next;
    }
    uiWindow->RemoveProject(project);
    delete projects.Remove(project);
    cleaning.Finish(LProcessResultOk);
    UpdateCommandStates();
    return true;
}

// ---------------------------------------------------------------------------
// Saving

bool MainDialog::CmSave() {
    if (!currentProject)
        return false;
    KVImage* image = currentProject->GetCurrentImage();
    if (!image || !image->GetName()[0] || !image->GetPath()[0])
        return false;
    return SaveFile(nullptr, image->GetPath()) == LProcessResultOk;
}

bool MainDialog::CmSaveAs() { return currentProject && SaveAs(*currentProject); }

bool MainDialog::SaveAs(KVProject& project) {
    KVImage* image = project.GetCurrentImage();
    if (!image || !image->GetName()[0])
        return false;
    std::string start;
    if (image->GetPath()[0]) {
        start = image->GetPath();
        const size_t slash = start.rfind('/');
        const std::string file = slash == std::string::npos ? start : start.substr(slash + 1);
        if (file != image->GetName())
            start = (slash == std::string::npos ? std::string() : start.substr(0, slash + 1)) + image->GetName();
    } else {
        std::string folder = LEnsureFolder(LGetDocumentsFolder() + "/Korvane");
        if (folder.empty())
            folder = LGetDocumentsFolder();
        start = folder + "/" + image->GetName();
    }
    std::string extension = LowerExtension(start.c_str());
    extension = extension.empty() ? "kvp" : extension.substr(1);

    LFileDialogRequest request;
    request.save = true;
    request.title = "Save As";
    const size_t slash = start.rfind('/');
    request.folder = slash == std::string::npos ? std::string() : start.substr(0, slash);
    request.fileName = slash == std::string::npos ? start : start.substr(slash + 1);
    request.defaultExtension = extension;
    request.filters = {{"Korvane Project File (*.kvp)", "*.kvp"},
                       {"PNG Image (*.png)", "*.png"},
                       {"JPEG Image (*.jpg)", "*.jpg"}};
    std::string path = LFileDialog(this, request);
    if (path.empty())
        return false;
    if (path.size() >= kLFixedStringSize) {
        LAlert(this, kAlertTitle, "That file name is too long.");
        return false;
    }
    image->SetName("");
    image->SetPath(path.c_str());
    uiWindow->RenameProject(&project, image->GetName());
    KVProject* previous = currentProject;
    currentProject = &project;
    const LProcessResult r = SaveFile(nullptr, path.c_str());
    currentProject = previous;
    return r == LProcessResultOk;
}

LProcessResult MainDialog::SaveFile(LProcessInterface* process, const char* path) {
    if (!currentProject || !currentProject->GetCurrentImage() || !path)
        return LProcessResultError;
    const std::string ext = LowerExtension(path);
    const bool project = ext == ".kvp";
    const bool raster = ext == ".jpg" || ext == ".png" || ext == ".bmp" || ext == ".ico";
    const bool vector = ext == ".svg" || ext == ".eps" || ext == ".pdf";
    if (!project && !raster && !vector) {
        LAlert(this, kAlertTitle,
               "That file type is not supported. Please select a file extension from the listed options.");
        return LProcessResultError;
    }
    std::unique_ptr<LProgressDialog> own;
    if (!process) {
        own = std::make_unique<LProgressDialog>(this, "Saving File");
        process = own.get();
    }
    LProcessResult r;
    if (project) {
        r = SaveProjectFile(*process, *currentProject, path);
    } else if (raster) {
        r = ExportRaster(*process, *currentProject, path);
    } else {
        process->SetErrorF("Saving as %s is not available in this version.", ext.c_str() + 1);
        r = LProcessResultError;
    }
    if (own)
        own->Finish(r);
    UpdateCommandStates();
    return r;
}

LProcessResult MainDialog::SaveProjectFile(LProcessInterface& process, KVProject& project, const char* path) {
    Change change(*this);
    KVProjectFileSaveSettings save{};
    LStrCopy(save.path, path);
    save.project = &project;
    LProcessThreadData<KVProjectFileSaveSettings> data(save);
    const LProcessResult r = Process(process, data);
    if (r == LProcessResultOk)
        project.MarkAsSaved();
    return r;
}

LProcessResult MainDialog::ExportRaster(LProcessInterface& process, KVProject& project, const char* path) {
    KVImage* image = project.GetCurrentImage();
    Change change(*this);
    KVRenderResults render;
    render.project = &project;
    auto* target = new KVRenderImageBuffer(static_cast<int>(image->GetWidth()), static_cast<int>(image->GetHeight()));
    render.target = LPtr<KVRenderImage>(target);
    LProcessResult r = target->Clear(image->GetBackground());
    if (r == LProcessResultOk) {
        LProcessThreadData<KVRenderResults> data(render);
        r = Process(process, data);
    }
    if (r != LProcessResultOk)
        return r;
    target->Flush();
    r = KVSaveRasterFile(process, target->GetImage(), path);
    if (r != LProcessResultOk)
        return r;
    project.MarkAsSaved();
    // The next new project starts like the last picture the user exported.
    LUserSettingSet("Settings", "DefaultWidth", static_cast<long>(image->GetWidth()));
    LUserSettingSet("Settings", "DefaultHeight", static_cast<long>(image->GetHeight()));
    LUserSettingSet("Settings", "DefaultBackColor",
                    static_cast<long>(static_cast<std::int32_t>(image->GetBackground().GetPacked())));
    return LProcessResultOk;
}

void MainDialog::CmPrint() {
    if (!currentProject || !currentProject->GetCurrentImage())
        return;
    KVImage* image = currentProject->GetCurrentImage();
    const int w = static_cast<int>(image->GetWidth()), h = static_cast<int>(image->GetHeight());
    KVRenderResults render;
    render.project = currentProject;
    auto* target = new KVRenderImageBuffer(w, h);
    render.target = LPtr<KVRenderImage>(target);
    {
        Change change(*this);
        LProgressDialog progress(this, "Preparing image for printing...");
        LProcessResult r = target->Clear(image->GetBackground());
        if (r == LProcessResultOk) {
            LProcessThreadData<KVRenderResults> data(render);
            r = Process(progress, data);
        }
        progress.Finish(r);
        if (r != LProcessResultOk)
            return;
    }
    target->Flush();
    LImageBuffer page;
    LImage::New(page, w, h, LPixelFormatB8G8R8A8);
    if (!page.IsValid())
        return;
    std::memset(page.GetData(), 0xFF, static_cast<size_t>(page.CalculateBufferSize64()));
    LImage::CopyAlphaComposite(target->GetImage(), page, 0, 0, 0, 0, w, h);
    KVPrint print(page, image->GetPPI());
    LPrinter::PrintToSelectPrinterWithPageOrientation(this, print, w > h);
}

// ---------------------------------------------------------------------------
// Undo, zoom

void MainDialog::StepHistory(void (KVProject::*step)()) {
    if (!currentProject)
        return;
    {
        Change change(*this);
        (currentProject->*step)();
    }
    RenderCurrentProject();
}

void MainDialog::CmUndo() { StepHistory(&KVProject::Undo); }

void MainDialog::CmRedo() { StepHistory(&KVProject::Redo); }

void MainDialog::CmZoom(float zoom) {
    if (!currentProject)
        return;
    if (zoom > 0 && zoom < 0.1f)
        zoom = 0.1f;
    else if (zoom > 4.0f)
        zoom = 4.0f;
    double applied = zoom;
    if (zoom == -1.0f)
        applied = uiWindow->GetView().GetFitZoom();
    else if (!(zoom > 0))
        return;
    uiWindow->GetView().SetZoom(applied);
    SetZoomPercent(static_cast<int>(std::lround(applied * 100)));
}

// ---------------------------------------------------------------------------
// Rendering

void MainDialog::RenderCurrentProject() {
    if (!currentProject || !renderThread)
        return;
    KVImage* image = currentProject->GetCurrentImage();
    if (!image)
        return;
    for (KVRenderResults& r : results) {
        if (r.project != currentProject)
            continue;
        // A render still waiting will read the newest state when it starts.
        if (!r.started && !r.finished) {
            StartWaitingRender();
            return;
        }
        if (r.started && renderThread->GetCurrentProject() == currentProject)
            renderThread->StopThreadSoon();
    }
    auto* record = new KVRenderResults;
    record->project = currentProject;
    auto* target = new KVRenderImageBuffer(static_cast<int>(image->GetWidth()), static_cast<int>(image->GetHeight()));
    record->target = LPtr<KVRenderImage>(target);
    target->Clear(image->GetBackground());
    results.PushFront(record);
    renderThread->StartRender(*record);
}

void MainDialog::StartWaitingRender() {
    if (renderThread->IsRunning() || renderThread->GetRenderLockCount() > 0)
        return;
    KVRenderResults* waiting = nullptr;
    for (KVRenderResults& r : results)
        if (!r.started && !r.finished && (!waiting || r.project == currentProject))
            waiting = &r;
    if (waiting)
        renderThread->StartRender(*waiting);
}

KVRenderResults* MainDialog::FindRecord(const void* record) const {
    for (KVRenderResults& r : results)
        if (&r == record)
            return &r;
    return nullptr;
}

void MainDialog::DeleteRecord(KVRenderResults* record) {
    renderThread->ForgetRecord(record);
    delete results.Remove(record);
}

void MainDialog::EvQueuedNotifyData(unsigned int id, const void*, unsigned long size) {
    if (id == KVRenderNotifyProgress) {
        SetStatusProgress(static_cast<double>(size) / 1000.0);
        return;
    }
    KVRenderResults* record = FindRecord(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(size)));
    if (!record)
        return;
    switch (id) {
    case KVRenderNotifyFinished: {
        record->started = false;
        record->finished = true;
        auto* target = static_cast<KVRenderImageBuffer*>(record->target.Get());
        target->Flush();
        uiWindow->SetDisplayedImage(record->project, target->GetImage());
        SetStatusProgress(1.0);
        break;
    }
    case KVRenderNotifyFailed:
    case KVRenderNotifyStopped:
    case KVRenderNotifyAutosaved: {
        const KVProject* project = record->project;
        const bool stopped = id == KVRenderNotifyStopped;
        DeleteRecord(record);
        // A render of the shown project that was stopped with nothing after
        // it (a save stops it too) would leave the picture behind.
        bool another = false;
        for (KVRenderResults& r : results)
            another = another || r.project == currentProject;
        if (stopped && project == currentProject && !another)
            RenderCurrentProject();
        else
            StartWaitingRender();
        break;
    }
    default:
        break;
    }
    update();
}

// ---------------------------------------------------------------------------
// Recovery

bool MainDialog::RecoverProjects() {
    const std::string folder = LGetRecoveryFolder();
    std::vector<std::string> files;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir)) {
            const std::string name = e->d_name;
            if (name.size() > 4 && LowerExtension(name.c_str()) == ".kvp")
                files.push_back(folder + "/" + name);
        }
        closedir(dir);
    }
    std::sort(files.begin(), files.end());
    bool opened = false;
    int answer = -1;
    for (const std::string& file : files) {
        if (answer < 0)
            answer = LAlert(this, "File Recovery",
                            "There are one or more projects that can be recovered from the last time the "
                            "program was run. Would you like to recover them?",
                            {"Yes", "No"}) == 0
                         ? 1
                         : 0;
        if (answer == 1) {
            const unsigned long before = projects.GetCount();
            CmOpenFile(file.c_str());
            if (projects.GetCount() > before) {
                opened = true;
                // Back under its number, with no file of its own: a save asks where.
                if (KVImage* image = projects.GetFirst()->GetCurrentImage())
                    image->SetPath("");
            }
        }
        unlink(file.c_str());
    }
    return opened;
}
