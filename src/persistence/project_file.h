#pragma once
// The project file (.kvp): the chunk container with format id 21 holding the
// document tree, without undo history, zoom or any rendered picture. It is
// also the autosave format.

#include "document/project.h"
#include "document/project_records.h"
#include "foundation/process.h"

constexpr unsigned long kKVProjectFormatId = 21;

// Writes to a new file beside the target and replaces the target only when
// the whole project is on the disk: a failed or stopped save leaves the old
// file as it was. 0 done, 1 stopped, 2 failed (with a message).
LProcessResult KVProjectFileSave(LProcessInterface& process, const KVProject& project,
                                 const char* path);
// Fills an empty project. A file that cannot be opened, is no project file or
// is damaged anywhere gives 2 with a message saying which, and the caller
// discards the partly built project. On success the current image takes the
// file's path.
LProcessResult KVProjectFileLoad(LProcessInterface& process, KVProject& project, const char* path);

// Adapters for running a save or load through the process framework.
struct KVProjectFileSaveSettings {
    char path[260];
    KVProject* project;
};
struct KVProjectFileLoadSettings {
    char path[260];
    KVProject* project;
};
LProcessResult Process(LProcessInterface& process, KVProjectFileSaveSettings& settings);
LProcessResult Process(LProcessInterface& process, KVProjectFileLoadSettings& settings);
