// The controller's file commands: opening projects and pictures, Save, Save As and the
// save by file type, which writes a project or renders a picture.

#include <cstdint>
#include <cstdio>
#include <vector>

#include "document/image_element.h"
#include "exchange/file_types.h"
#include "exchange/render_pdf.h"
#include "exchange/render_svg.h"
#include "exchange/svg_to_elements.h"
#include "foundation/app_paths.h"
#include "foundation/string.h"
#include "imaging/image_export.h"
#include "imaging/image_file.h"
#include "persistence/project_file.h"
#include "shell/main_dialog_p.h"
#include "shell/ui_window.h"
#include "toolkit/dialogs.h"
#include "toolkit/progress_dialog.h"
#include "toolkit/settings.h"

using namespace kvshell;

std::vector<LFileFilter> kvshell::OpenFilters(bool withProjects) {
    std::vector<LFileFilter> filters;
    // Projects and SVG files open as documents of elements; only a new
    // document can come of them, so the picture insert does not list them.
    if (withProjects) {
        filters.push_back({"Korvane Project File(*.kvp)", "*.kvp"});
        filters.push_back({"Scalable Vector Graphics(*.svg)", "*.svg"});
    }
    LImageCodecFilterList list;
    LStringLongTemplate<char> unused;
    if (!list.Init(unused, LImageIOTypeLoad, KVImageCodecVetoer()))
        return filters;
    for (const LImageCodecFilterItem& item : list) {
        if (item.name.IsEmpty() || item.extensions.IsEmpty())
            continue;
        if (item.codec == LImageCodecNone)
            filters.insert(filters.begin(), {item.name.Get(), (withProjects ? std::string("*.kvp;*.svg;") : std::string()) +
                                                                 item.extensions.Get()});
        else
            filters.push_back({item.name.Get(), item.extensions.Get()});
    }
    return filters;
}

bool kvshell::LoadPicture(QWidget* parent, const char* path, LImageBuffer& picture) {
    const KVImageCodecVetoer vetoer;
    LProcessImageLoadFile load(path, 3000, &vetoer, picture);
    LProcessDialog<LProcessImageLoadFile> dialog(parent, "Loading File", load);
    return dialog.Run() == LProcessResultOk && picture.IsValid();
}

void MainDialog::CmOpenFile(const char* path) {
    std::string chosen;
    if (!path) {
        LFileDialogRequest request;
        request.title = "Open File";
        request.folder = LGetPicturesFolder();
        request.filters = OpenFilters(true);
        chosen = LFileDialog(this, request);
        if (chosen.empty())
            return;
        path = chosen.c_str();
    }
    if (!IsRegularFile(path))
        return;
    const std::string fileName = BaseName(path);
    if (KVGetSaveKind(path) == KVExportKindSVG) {
        // A file the reader cannot use says so, with its reason, in the
        // progress window; nothing half-read is opened.
        KVSVGProjectLoad load{path, nullptr};
        LProcessDialog<KVSVGProjectLoad> dialog(this, "Loading File", load);
        if (dialog.Run() != LProcessResultOk || !load.project)
            return;
        KVProject* opened = load.project.release();
        AddAndSelect(opened, opened->GetName());
        return;
    }
    if (KVGetSaveKind(path) != KVExportKindProject) {
        // Any other file is a picture to the codecs; one they cannot read
        // says so in the progress window.
        LImageBuffer picture;
        if (!LoadPicture(this, path, picture))
            return;
        KVProject* opened = KVNewPictureProject(path, picture).release();
        AddAndSelect(opened, opened->GetName());
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
    std::string extension = KVFileExtension(start.c_str());
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
                       {"JPEG Image (*.jpg)", "*.jpg"},
                       {"SVG Image (*.svg)", "*.svg"},
                       {"PDF Document (*.pdf)", "*.pdf"}};
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
    const KVExportKind kind = KVGetSaveKind(path);
    if (kind == KVExportKindNone) {
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
    if (kind == KVExportKindProject) {
        r = SaveProjectFile(*process, *currentProject, path);
    } else if (kind == KVExportKindRaster) {
        r = ExportRaster(*process, *currentProject, path);
    } else if (kind == KVExportKindSVG) {
        Change change(*this);
        KVProjectSVGSave save{currentProject, path};
        LProcessThreadData<KVProjectSVGSave> data(save);
        r = Process(*process, data);
        if (r == LProcessResultOk)
            currentProject->MarkAsSaved();
    } else if (kind == KVExportKindPDF) {
        Change change(*this);
        KVProjectPDFSave save{currentProject, path};
        LProcessThreadData<KVProjectPDFSave> data(save);
        r = Process(*process, data);
        if (r == LProcessResultOk)
            currentProject->MarkAsSaved();
    } else {
        process->SetErrorF("Saving as %s is not available in this version.", KVFileExtension(path).c_str() + 1);
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
    const KVImage* image = project.GetCurrentImage();
    Change change(*this);
    KVProjectPicture work;
    work.project = &project;
    LProcessThreadData<KVProjectPicture> data(work);
    if (LProcessResult r = Process(process, data))
        return r;
    if (LProcessResult r = KVSaveRasterFile(process, work.picture, path))
        return r;
    project.MarkAsSaved();
    // The next new project starts like the last picture the user exported.
    LUserSettingSet("Settings", "DefaultWidth", static_cast<long>(image->GetWidth()));
    LUserSettingSet("Settings", "DefaultHeight", static_cast<long>(image->GetHeight()));
    LUserSettingSet("Settings", "DefaultBackColor",
                    static_cast<long>(static_cast<std::int32_t>(image->GetBackground().GetPacked())));
    return LProcessResultOk;
}
