#include "persistence/project_file.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

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
// "The file "a.kvp" could not be saved: <why>.", then the path and the
// system's reason.
void Fail(LProcessInterface& process, const char* why, const char* path, int error) {
    const std::string text =
        "The file \"" + FileName(path) + "\" could not be saved: " + why + ".";
    process.SetError(LFile::ErrorText(text.c_str(), path, error).c_str());
}

} // namespace

LProcessResult KVProjectFileSave(LProcessInterface& process, const KVProject& project,
                                 const char* path) {
    char temporary[4096];
    LOutputStreamFile stream;
    // Not ".kvp": what a crash leaves half-written must not pass for a
    // project, least of all among the autosaves the next start offers back.
    if (!stream.OpenTemporary(temporary, sizeof temporary, FolderOf(path).c_str(), ".kvp.part")) {
        const int error = errno;
        Fail(process, "its folder cannot be written to", path, error);
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
        Fail(process, "the disk may be full", path, errno);
        result = LProcessResultError;
    }
    if (result == LProcessResultOk) {
        LFile::GiveModeOf(path, temporary);
        if (!LFile::MoveFile(temporary, path)) {
            Fail(process, "it cannot be replaced", path, errno);
            result = LProcessResultError;
        }
    }
    if (result != LProcessResultOk)
        unlink(temporary);
    return result;
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
