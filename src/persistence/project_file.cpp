#include "persistence/project_file.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "document/shapes.h"
#include "foundation/file.h"

namespace {

std::string FileName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

std::string FolderOf(const char* path) {
    const char* slash = std::strrchr(path, '/');
    if (!slash)
        return ".";
    if (slash == path)
        return "/";
    return std::string(path, static_cast<size_t>(slash - path));
}

// A new file gets the usual permissions, a replaced one keeps its own.
void GiveModeOf(const char* target, const char* fresh) {
    struct stat st;
    mode_t mode = 0666;
    if (stat(target, &st) == 0) {
        mode = st.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode &= ~mask;
    }
    chmod(fresh, mode);
}

} // namespace

// ---------------------------------------------------------------- writing

LProcessResult KVLayer::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    w.WriteBool(KVChunkVisible, IsVisible());
    w.WriteString(KVChunkName, GetName());
    for (LListIterator<KVElement> it = GetElements(); it; ++it) {
        w.StartContainer(KVChunkElement);
        w.WriteString(KVChunkKey, it->GetName());
        const LProcessResult r = it->WriteSDF(process, w);
        w.EndContainer(KVChunkElement);
        if (r)
            return r;
        if (process.IsToStop())
            return LProcessResultStopped;
    }
    return LProcessResultOk;
}

LProcessResult KVImage::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    w.WriteInt(KVChunkWidth, static_cast<int>(width));
    w.WriteInt(KVChunkHeight, static_cast<int>(height));
    w.WriteInt(KVChunkPPI, static_cast<int>(ppi));
    w.WriteString(KVChunkName, name);
    w.WriteInt(KVChunkNextLayerNumber, nextLayerNumber);
    KVProjectFileWriteColor(w, background);
    const double count = static_cast<double>(layers.GetCount());
    unsigned long i = 0;
    for (const KVLayer& layer : layers) {
        LProcessInterfaceSubProcess sub(process, i / count, 1.0 / count);
        w.StartContainer(KVChunkLayer);
        const LProcessResult r = layer.WriteSDF(sub, w);
        w.EndContainer(KVChunkLayer);
        if (r)
            return r;
        sub.SetProgress(1.0);
        ++i;
    }
    return LProcessResultOk;
}

LProcessResult KVProject::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    for (const KVImage& image : images) {
        w.StartContainer(KVChunkImage);
        const LProcessResult r = image.WriteSDF(process, w);
        w.EndContainer(KVChunkImage);
        if (r)
            return r;
    }
    return LProcessResultOk;
}

LProcessResult KVProjectFileSave(LProcessInterface& process, const KVProject& project,
                                 const char* path) {
    const std::string name = FileName(path);
    char temporary[4096];
    LOutputStreamFile stream;
    // Not ".kvp": what a crash leaves half-written must not pass for a
    // project, least of all among the autosaves the next start offers back.
    if (!stream.OpenTemporary(temporary, sizeof temporary, FolderOf(path).c_str(), ".kvp.part")) {
        process.SetErrorF("The file \"%s\" could not be saved: its folder cannot be written to.",
                          name.c_str());
        return LProcessResultError;
    }
    KVSDFWriter writer;
    writer.Open(stream, kKVProjectFormatId, 0);
    writer.StartChunk(KVChunkProject, LSDFChunkContainer, -1);
    LProcessResult result = project.WriteSDF(process, writer);
    writer.EndContainer(KVChunkProject);
    // The container's Close answers true after a failed write: it leaves it to
    // us to ask whether every write went through before it.
    const bool allWritten = writer.IsOk();
    const bool written = writer.Close() && allWritten && stream.Sync();
    const bool closed = stream.Close();
    if (result == LProcessResultOk && !(written && closed)) {
        process.SetErrorF("The file \"%s\" could not be saved: the disk may be full.", name.c_str());
        result = LProcessResultError;
    }
    if (result == LProcessResultOk) {
        GiveModeOf(path, temporary);
        if (!LFile::MoveFile(temporary, path)) {
            process.SetErrorF("The file \"%s\" could not be saved: it cannot be replaced.",
                              name.c_str());
            result = LProcessResultError;
        }
    }
    if (result != LProcessResultOk)
        unlink(temporary);
    return result;
}

// ---------------------------------------------------------------- reading

KVElement* CreateElementSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    for (KVSDFIterator it(reader, chunk); it.IsValid() && s.IsOk(); it.Next()) {
        KVSDFChunk& c = it.Get();
        if (c.id != KVChunkKey) {
            KVEndChunk(s, c);
            continue;
        }
        char key[kLFixedStringSize];
        if (!KVReadName(s, c, key))
            return nullptr;
        KVEndChunk(s, c);
        if (std::strcmp(key, "rectangle") == 0)
            return new KVRectangleElement;
        if (std::strcmp(key, "ellipse") == 0)
            return new KVEllipseElement;
        if (std::strcmp(key, "triangle") == 0)
            return new KVTriangleElement;
        if (std::strcmp(key, "polygon") == 0)
            return new KVPolygonElement;
        if (std::strcmp(key, "line") == 0)
            return new KVLineElement;
        // An unknown key: the rest of the chunk is passed over.
    }
    return nullptr;
}

LProcessResult KVLayer::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk, KVImage& image) {
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        switch (c.id) {
        case KVChunkVisible:
            KVReadBool(s, c, visible);
            break;
        case KVChunkName:
            KVReadName(s, c, name);
            break;
        case KVChunkElement: {
            KVElement* element = CreateElementSDF(s.reader, c);
            if (!element) {
                s.unknownElement = true;
                result = LProcessResultError;
                break;
            }
            element->SetUndoRedoStack(&image.GetUndoRedoStack());
            AddNewElement(element, false);
            result = element->ReadSDF(s.reader, c);
            if (result)
                s.damaged = true;
            break;
        }
        default:
            break;
        }
        KVEndChunk(s, c);
    }
    return s.IsOk() ? result : LProcessResultError;
}

LProcessResult KVImage::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk) {
    RemoveAllLayers();
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        int v = 0;
        switch (c.id) {
        case KVChunkWidth:
            if (KVReadInt(s, c, v))
                width = static_cast<unsigned long>(static_cast<unsigned int>(v));
            break;
        case KVChunkHeight:
            if (KVReadInt(s, c, v))
                height = static_cast<unsigned long>(static_cast<unsigned int>(v));
            break;
        case KVChunkPPI:
            if (KVReadInt(s, c, v))
                ppi = static_cast<unsigned long>(static_cast<unsigned int>(v));
            break;
        case KVChunkName:
            KVReadName(s, c, name);
            break;
        case KVChunkNextLayerNumber:
            KVReadInt(s, c, nextLayerNumber);
            break;
        case KVChunkColour:
            background = KVProjectFileReadPixelColor(s, c);
            break;
        case KVChunkLayer: {
            auto* layer = new KVLayer("");
            AddNewLayer(layer, false);
            result = layer->ReadSDF(s, c, *this);
            break;
        }
        default:
            break;
        }
        KVEndChunk(s, c);
    }
    // An image always has a layer to draw on.
    if (layers.IsEmpty())
        layers.PushBack(new KVLayer("Layer"));
    return s.IsOk() ? result : LProcessResultError;
}

// Images come newest first in the list; the last one read is current.
LProcessResult KVProject::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk) {
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        if (c.id == KVChunkImage) {
            auto* image = new KVImage(name);
            AddNewImage(image);
            result = image->ReadSDF(s, c);
        }
        KVEndChunk(s, c);
    }
    return s.IsOk() ? result : LProcessResultError;
}

LProcessResult KVProjectFileLoad(LProcessInterface& process, KVProject& project, const char* path) {
    const std::string name = FileName(path);
    LInputStreamFile stream;
    if (!stream.Open(path)) {
        process.SetErrorF("The file \"%s\" could not be opened.", name.c_str());
        return LProcessResultError;
    }
    KVSDFReader reader;
    if (!reader.Open(stream, kKVProjectFormatId)) {
        process.SetErrorF("The file \"%s\" is not a project file.", name.c_str());
        return LProcessResultError;
    }
    KVSDFReadState s(reader);
    LProcessResult result = LProcessResultOk;
    const unsigned long long size = stream.GetFileSizeBytes64();
    for (KVSDFIterator it(reader); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        if (c.id == KVChunkProject)
            result = project.ReadSDF(s, c);
        KVEndChunk(s, c);
        if (size > 0)
            process.SetProgress(static_cast<double>(stream.Tell64()) / static_cast<double>(size));
        if (!result && process.IsToStop())
            return LProcessResultStopped;
    }
    if (s.unknownElement) {
        process.SetErrorF("The file \"%s\" holds an element of a kind this version cannot read.",
                          name.c_str());
        return LProcessResultError;
    }
    // A short read anywhere, or a file cut before its end mark, is damage.
    if (result || !s.IsOk() || !reader.Close()) {
        process.SetErrorF("The file \"%s\" is damaged and could not be read.", name.c_str());
        return result == LProcessResultStopped ? result : LProcessResultError;
    }
    if (KVImage* image = project.GetCurrentImage())
        image->SetPath(path);
    return LProcessResultOk;
}

LProcessResult Process(LProcessInterface& process, KVProjectFileSaveSettings& settings) {
    if (!settings.project)
        return LProcessResultError;
    return KVProjectFileSave(process, *settings.project, settings.path);
}

LProcessResult Process(LProcessInterface& process, KVProjectFileLoadSettings& settings) {
    if (!settings.project)
        return LProcessResultError;
    return KVProjectFileLoad(process, *settings.project, settings.path);
}
