#include "app/export_command.h"

#include <cerrno>
#include <memory>

#include "document/project.h"
#include "exchange/file_types.h"
#include "exchange/render_pdf.h"
#include "exchange/render_svg.h"
#include "exchange/svg_to_elements.h"
#include "foundation/file.h"
#include "imaging/image_export.h"
#include "imaging/image_file.h"
#include "persistence/project_file.h"
#include "render/render_results.h"

volatile std::sig_atomic_t KVConsoleProcess::stopRequested = 0;

void KVConsoleProcess::SetStatus(const char* text, int level) {
    if (level < 0 || level > 2)
        return;
    status[level] = text ? text : "";
    for (int deeper = level + 1; deeper < 3; ++deeper)
        status[deeper].clear();
    Draw();
}

void KVConsoleProcess::SetProgress(double fraction) {
    const int p = fraction <= 0 ? 0 : fraction >= 1 ? 100 : static_cast<int>(fraction * 100);
    if (p == percent)
        return;
    percent = p;
    Draw();
}

void KVConsoleProcess::Draw() {
    if (!showProgress)
        return;
    std::string line;
    for (const std::string& s : status) {
        if (s.empty())
            continue;
        if (!line.empty())
            line += ": ";
        line += s;
    }
    // Clears the rest of the line, so that a shorter text leaves nothing behind.
    std::fprintf(out, "\r%s %3d%%\033[K", line.c_str(), percent < 0 ? 0 : percent);
    std::fflush(out);
    drawn = true;
}

void KVConsoleProcess::Finish() {
    if (drawn) {
        std::fputc('\n', out);
        std::fflush(out);
        drawn = false;
    }
}

namespace {

// Inputs that are documents of elements: projects, and SVG files read as
// the editor opens them.
bool IsDocument(const char* input) {
    const KVExportKind kind = KVGetExportKind(input);
    return kind == KVExportKindProject || kind == KVExportKindSVG;
}

LProcessResult LoadDocument(LProcessInterface& process, const char* input,
                            std::unique_ptr<KVProject>& project) {
    if (KVGetExportKind(input) == KVExportKindSVG) {
        KVSVGProjectLoad load{input, nullptr};
        if (LProcessResult r = Process(process, load))
            return r;
        project = std::move(load.project);
        return LProcessResultOk;
    }
    project = std::make_unique<KVProject>();
    return KVProjectFileLoad(process, *project, input);
}

// Makes the picture that is to be saved: a raster file is that picture; a
// document is loaded and rendered as on screen.
LProcessResult KVExportMakePicture(LProcessInterface& process, const char* input,
                                   LImageBuffer& picture) {
    if (IsDocument(input)) {
        std::unique_ptr<KVProject> project;
        {
            LProcessInterfaceSubProcess loading(process, 0, 0.3);
            if (LProcessResult r = LoadDocument(loading, input, project))
                return r;
        }
        KVProjectPicture work;
        work.project = project.get();
        LProcessInterfaceSubProcess rendering(process, 0.3, 0.7);
        if (LProcessResult r = Process(rendering, work))
            return r;
        picture.Assign(work.picture);
        return LProcessResultOk;
    }
    if (!LFile::Exists(input)) {
        process.SetError(LFile::ErrorText("The file could not be found.", input, ENOENT).c_str());
        return LProcessResultError;
    }
    // Everything the library can read, not only what the open dialog offers.
    const LImageCodecVetoer vetoer;
    LProcessImageLoadFile load(input, 3000, &vetoer, picture);
    return Process(process, load);
}

} // namespace

LProcessResult KVExportFile(LProcessInterface& process, const char* output, const char* input) {
    // The target is checked first, so that an export that cannot be written
    // does not spend time on rendering.
    const KVExportKind kind = KVGetExportKind(output);
    switch (kind) {
    case KVExportKindRaster:
    case KVExportKindSVG:
    case KVExportKindPDF:
        break;
    case KVExportKindProject:
        process.SetError("A project cannot be written by an export.");
        return LProcessResultError;
    case KVExportKindEPS:
        process.SetError("EPS export is not available in this version.");
        return LProcessResultError;
    default:
        process.SetError("The file type is not recognized.");
        return LProcessResultError;
    }

    const bool vector = kind == KVExportKindSVG || kind == KVExportKindPDF;
    if (vector && IsDocument(input)) {
        // A document goes into the file as the shapes it is made of.
        std::unique_ptr<KVProject> project;
        {
            LProcessInterfaceSubProcess loading(process, 0, 0.3);
            if (LProcessResult r = LoadDocument(loading, input, project))
                return r;
        }
        LProcessInterfaceSubProcess writing(process, 0.3, 0.7);
        if (kind == KVExportKindPDF) {
            KVProjectPDFSave save{project.get(), output};
            return Process(writing, save);
        }
        KVProjectSVGSave save{project.get(), output};
        return Process(writing, save);
    }
    LImageBuffer picture;
    LProcessResult result;
    {
        LProcessInterfaceSubProcess part(process, 0, 0.5);
        result = KVExportMakePicture(part, input, picture);
    }
    if (result != LProcessResultOk)
        return result;

    LProcessInterfaceSubProcess part(process, 0.5, 0.5);
    if (kind == KVExportKindSVG) {
        // A picture has nothing for the vector back ends to draw but itself:
        // it goes into the SVG file whole.
        LImageEncodeSettings settings;
        LProcessImageSaveFile save(picture, output, settings, 3000, nullptr);
        return Process(part, save);
    }
    if (kind == KVExportKindPDF) {
        // A picture on a page of its size.
        KVRenderImagePDF pdf(picture.width, picture.height);
        if (LProcessResult r = pdf.DrawImage(part, picture, 0, 0, picture.width, picture.height))
            return r;
        if (!pdf.SaveAsFile(output)) {
            part.SetError(LFile::ErrorText("The PDF file could not be written.", output, errno).c_str());
            return LProcessResultError;
        }
        return LProcessResultOk;
    }
    return KVSaveRasterFile(part, picture, output);
}
