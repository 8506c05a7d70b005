#include "shell/main_dialog.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QAction>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "shell/main_dialog_p.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/canvas_widgets.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

#ifndef KV_VERSION
#define KV_VERSION "0"
#endif

namespace kvshell {

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

} // namespace kvshell

using namespace kvshell;

namespace {

const std::vector<int> kZoomSteps = {10, 25, 50, 75, 100, 200, 400};

} // namespace

float NextZoomStep(int percent, bool in) {
    // The boundaries differ by one between the directions, so that a zoom
    // on a stop moves off it.
    static const float ratios[] = {0.1f, 0.25f, 0.5f, 0.75f, 1.0f, 2.0f, 4.0f};
    static const int inFrom[] = {0, 10, 25, 50, 75, 100, 200};
    static const int outAbove[] = {-1000000, 25, 50, 75, 100, 200, 400};
    int step = 0;
    for (int i = 0; i < 7; ++i)
        if (in ? percent >= inFrom[i] : percent > outAbove[i])
            step = i;
    return ratios[step];
}

MainDialog::MainDialog() : renderQueue(new KVRenderQueue(static_cast<KVRenderQueueClient&>(*this))) {
    uiWindow = new KVUiWindow([this](unsigned id, const KVProject* p) { EvInterWinMessage(id, p); },
                              [this](KVSurfaceMessage id, KVSurfaceMessageData& data) { EvSurfaceMessage(id, data); },
                              this);
    uiWindow->SetLayerSink([this](KVLayerListMessage id, KVLayerListMessageData& data) { EvLayerListMessage(id, data); });
    // A thumbnail reads its layer while the render worker stands still, and
    // waits while it works: the picture on screen comes first, and the
    // autosave after it must not be cut short.
    uiWindow->GetLayerList().SetRenderGuard([this] {
        return renderQueue && renderQueue->IsIdle() ? std::shared_ptr<void>(std::make_shared<Change>(*this)) : nullptr;
    });
    uiWindow->SetPanelSink([this](KVElementWidget* widget) { EvToolPanelHasUpdate(widget); });
    SetContent(uiWindow);
    setWindowTitle(kTitle);
    resize(1100, 800);
}

MainDialog::~MainDialog() {
    // The renders go first: they read the projects.
    renderQueue.reset();
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
          {KVCmCloseProject, "Close", {}, false},
          {},
          {KVCmInsertImage, "Insert Image", {}, false},
          {},
          {KVCmPrint, "Print", {}, false},
          {},
          {KVCmQuit, "Quit", {}, false}}},
        {"&Edit",
         {{KVCmUndo, "Undo", {}, false}, {KVCmRedo, "Redo", {}, false}, {}, {KVCmDelete, "Delete", {}, false}}},
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
        {"&Select",
         {{KVCmSelectAll, "Select All", {}, false},
          {},
          {KVCmConvertShapeToPath, "Element to Path", {}, false},
          {0,
           "Change Path Type",
           {{KVCmPathToPen, "Pen", {}, false},
            {KVCmPathToPencil, "Pencil", {}, false},
            {KVCmPathToMarker, "Marker", {}, false},
            {KVCmPathToCrayon, "Crayon", {}, false},
            {KVCmPathToBrush, "Brush", {}, false},
            {KVCmPathToSpray, "Spray", {}, false}},
           false}}},
    };
    const std::vector<LAccelerator> keys = {
        {KVCmNewProject, "Ctrl+N"}, {KVCmOpen, "Ctrl+O"},      {KVCmSave, "Ctrl+S"}, {KVCmCloseProject, "Ctrl+W"},
        {KVCmSaveAs, "Ctrl+Shift+S"}, {KVCmPrint, "Ctrl+P"},   {KVCmQuit, "Ctrl+Q"},
        {KVCmUndo, "Ctrl+Z"},       {KVCmRedo, "Ctrl+Y"},      {KVCmRedo, "Ctrl+Shift+Z"},
        {KVCmZoomIn, "Ctrl++"},     {KVCmZoomIn, "Ctrl+="},    {KVCmZoomOut, "Ctrl+-"},
        {KVCmZoomActual, "Ctrl+0"}, {KVCmZoomFit, "Ctrl+9"},   {2014, "Ctrl+2"},
    };
    SetMenu(menus, keys);

    // The tool tabs start with the selection, then their tools in the
    // table's order.
    std::vector<LToolBarTab> toolTabs = {
        {"Home",
         {{KVCmNewProject, "New", "Create a new project"},
          {KVCmOpen, "Open", "Open an existing file"},
          {KVCmSave, "Save", "Save the current project"},
          {KVCmSaveAs, "Save As", "Save As the current project"},
          {KVCmToolSelect, "Select", "Select any element"},
          {KVCmToolPencil, "Pencil", "Draw a free-form shape with the pencil"},
          {KVCmToolText, "Text", "Draw text"}}},
        {"Edit",
         {{KVCmToolSelect, "Select", "Select any element"},
          {KVCmUndo, "Undo", "Undo the last action"},
          {KVCmRedo, "Redo", "Redo the last undone action"},
          {KVCmDelete, "Delete", "Delete the selected element"}}},
        {"Select",
         {{KVCmToolSelect, "Select", "Select any element"},
          {KVCmSelectAll, "Select All", "Select all elements in the current layer"},
          {KVCmConvertShapeToPath, "Element to Path", "Convert the selected element to a path (drawing element)"}}},
        {"Drawing", {}},
        {"Shapes", {}},
        {"Effects",
         {{KVCmToolSelect, "Select", "Select any element"},
          {KVCmGradient, "Gradient", "Fill an element with a gradient"},
          {KVCmShadow, "Drop Shadow", "Add a drop shadow to an element"},
          {KVCmBevelEmboss, "Bevel/Emboss", "Add a bevel/emboss effect to an element"},
          {KVCmInnerGlow, "Inner Glow", "Adds a glow to the interior of an element"},
          {KVCmOuterGlow, "Outer Glow", "Adds a glow outside of an element"}}},
    };
    for (LToolBarTab& tab : toolTabs)
        if (tab.name == "Drawing" || tab.name == "Shapes") {
            const KVTool& select = *KVFindTool(KVCmToolSelect);
            tab.items.push_back({select.command, select.label, select.tip});
            for (const KVTool& t : KVGetTools())
                if (tab.name == t.tab)
                    tab.items.push_back({t.command, t.label, t.tip});
        }
    SetToolBarTabs(toolTabs);
    for (const KVTool& t : KVGetTools())
        if (QAction* action = t.command ? GetAction(t.command) : nullptr)
            action->setCheckable(true);
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
    // The pencil is the first tool.
    CmChangeTool(KVCmToolPencil);
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
    case KVCmCloseProject:
        EvCloseProject(currentProject);
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
    case KVCmZoomOut:
        CmZoom(NextZoomStep(GetZoomPercent(), id == KVCmZoomIn));
        break;
    case KVCmSelectAll:
        CmChangeTool(KVCmToolSelect);
        uiWindow->GetSurface().SelectAll();
        break;
    case KVCmConvertShapeToPath:
        CmConvertShapeToPath();
        break;
    case KVCmInsertImage:
        CmInsertImage();
        break;
    case KVCmZoomFromStatus:
        CmZoom(GetZoomPercent() / 100.0f);
        break;
    case KVCmUndo:
        CmUndo();
        break;
    case KVCmRedo:
        CmRedo();
        break;
    case KVCmDelete:
        CmDeleteElement();
        break;
    case KVCmGradient:
    case KVCmShadow:
    case KVCmBevelEmboss:
    case KVCmFillElement:
    case KVCmInnerGlow:
    case KVCmOuterGlow:
        CmAddEffect(id);
        break;
    default:
        if (KVFindTool(id))
            CmChangeTool(id);
        else if (id >= KVCmPathToPen && id <= KVCmPathToSpray)
            CmConvertPathToPath(id);
        else if (id >= KVCmZoom10 && id <= KVCmZoom400) {
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
    for (unsigned id : {unsigned(KVCmSave), unsigned(KVCmSaveAs), unsigned(KVCmCloseProject), unsigned(KVCmPrint), unsigned(KVCmZoomFit),
                        unsigned(KVCmZoomActual), unsigned(KVCmZoomIn), unsigned(KVCmZoomOut), 2009u, 2010u, 2011u,
                        2012u, 2013u, 2014u, 2015u})
        SetCommandEnabled(id, open);
    for (const KVTool& t : KVGetTools()) {
        if (t.command == 0)
            continue;
        SetCommandEnabled(t.command, open);
        SetCommandChecked(t.command, uiWindow->GetTool() == t.key);
    }
    const KVElementWidget* selected = uiWindow->GetSurface().GetSelectedWidget();
    const bool single = open && selected && !dynamic_cast<const KVMultiSelectWidget*>(selected) && selected->GetElement();
    SetCommandEnabled(KVCmSelectAll, open);
    SetCommandEnabled(KVCmInsertImage, open);
    SetCommandEnabled(KVCmConvertShapeToPath, single);
    for (unsigned id = KVCmPathToPen; id <= KVCmPathToSpray; ++id)
        SetCommandEnabled(id, single);
    SetCommandEnabled(KVCmDelete, open && selected && (selected->GetElement() || dynamic_cast<const KVMultiSelectWidget*>(selected)));
    const KVToolPanel& panel = uiWindow->GetToolPanel();
    const std::pair<unsigned, KVEffectId> effects[] = {{KVCmGradient, KVEffectGradient},
                                                       {KVCmShadow, KVEffectShadow},
                                                       {KVCmBevelEmboss, KVEffectBevel},
                                                       {KVCmInnerGlow, KVEffectInnerGlow},
                                                       {KVCmOuterGlow, KVEffectOuterGlow}};
    for (const auto& [command, effect] : effects)
        SetCommandEnabled(command, open && panel.IsEffectAvailable(effect) && !panel.IsEffectShown(effect));
    SetCommandEnabled(KVCmUndo, open && image->GetUndoRedoStack().CanUndo());
    SetCommandEnabled(KVCmRedo, open && image->GetUndoRedoStack().CanRedo());

    if (!open) {
        setWindowTitle(kTitle);
        setWindowModified(false);
        return;
    }
    const char* name = image->GetName()[0] ? image->GetName() : currentProject->GetName();
    setWindowTitle(QString::fromUtf8(name) + "[*] - " + kTitle);
    setWindowModified(!image->GetUndoRedoStack().IsCurrentStateSaved());
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
    for (const std::string& p : paths) {
        // From the menu a path always exists; from a command line it may not.
        if (!IsRegularFile(p.c_str())) {
            char text[600];
            std::snprintf(text, sizeof text, "The file \"%s\" could not be opened: %s.", p.c_str(),
                          access(p.c_str(), F_OK) == 0 ? "it is not a file" : "it does not exist");
            LAlert(this, kAlertTitle, text);
            continue;
        }
        CmOpenFile(p.c_str());
    }
    // The window is never left without a project to draw on.
    if (projects.IsEmpty())
        CmNewProject();
}

void MainDialog::EvDropFiles(const std::vector<std::string>& paths) {
    for (const std::string& p : paths)
        CmOpenFile(p.c_str());
}

void MainDialog::EvInterWinMessage(unsigned id, const KVProject* project) {
    if (id == KVMsgCloseProject)
        EvCloseProject(project);
    else if (id == KVMsgSelectProject && project && projects.Contains(project))
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
    lock = renderQueue->Lock();
    return currentProject;
}

// ---------------------------------------------------------------------------
// Undo, zoom

void MainDialog::StepHistory(void (KVProject::*step)()) {
    if (!currentProject)
        return;
    // A panel change still waiting comes first, so that undo takes it back.
    ApplyPanelChange();
    {
        Change change(*this);
        (currentProject->*step)();
    }
    UpdateLayerList(nullptr);
    RefreshWidgets();
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
    else if (!(zoom > 0))
        zoom = -1.0f;
    const float applied = uiWindow->UpdateZoom(zoom);
    const int percent = static_cast<int>(std::lround(applied * 100));
    SetZoomPercent(percent);
    char text[64];
    std::snprintf(text, sizeof text, "Zoom: %d%%", percent);
    SetStatusText(StatusText, text);
}

// ---------------------------------------------------------------------------
// Rendering

void MainDialog::RenderCurrentProject() {
    // Whatever asks for a picture changed the document: the thumbnails and
    // the element list follow.
    UpdateLayerList(nullptr);
    if (currentProject && renderQueue)
        renderQueue->Render(*currentProject);
}

void MainDialog::EvRenderedPicture(const KVProject* project, LImageBuffer& picture) {
    uiWindow->SetDisplayedImage(project, picture);
}

void MainDialog::EvRenderProgress(double fraction) { SetStatusProgress(fraction); }

void MainDialog::EvRenderNoticeDone() {
    // The bar shows while a render runs, and goes when none is left.
    if (!renderQueue->IsRendering()) {
        SetStatusProgress(1.0);
        ApplyPanelChange();
    }
    // Every widget repaints what it changed itself; repainting the whole
    // window at each notice took the main thread's time from the picture.
    if (renderQueue->IsIdle())
        uiWindow->GetLayerList().RefreshStaleThumbnails();
}
