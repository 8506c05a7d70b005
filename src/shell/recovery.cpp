// What the last run left: the autosaves in "Recovery", offered back at start.

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "exchange/file_types.h"
#include "foundation/app_paths.h"
#include "shell/main_dialog_p.h"
#include "toolkit/dialogs.h"

bool MainDialog::RecoverProjects() {
    const std::string folder = LGetRecoveryFolder();
    std::vector<std::string> files;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir)) {
            const std::string name = e->d_name;
            if (name.size() > 4 && KVGetSaveKind(name.c_str()) == KVExportKindProject)
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
                // Back with no file of its own, and unsaved until the user
                // saves it somewhere: closing asks, and the next render
                // autosaves it again, for its recovery file goes below.
                if (KVImage* image = projects.GetFirst()->GetCurrentImage()) {
                    Change change(*this);
                    image->SetPath("");
                    image->GetUndoRedoStack().MarkNoStateSaved();
                }
                RenderCurrentProject();
                UpdateCommandStates();
            }
        }
        unlink(file.c_str());
    }
    return opened;
}
