#pragma once
// What the controller's files share and nobody else needs.

#include <memory>
#include <string>
#include <vector>

#include "shell/main_dialog.h"
#include "toolkit/dialogs.h"

class LImageBuffer;
class QWidget;

namespace kvshell {

inline constexpr const char* kTitle = "Korvane Graphics Editor";
inline constexpr const char* kAlertTitle = "Korvane";

std::string BaseName(const char* path);
std::string WithoutExtension(const std::string& name);
bool IsRegularFile(const char* path);

// The open dialog's file types: what the codecs read, with their combined
// entry first; with projects, the project type leads and the combined entry
// takes projects too.
std::vector<LFileFilter> OpenFilters(bool withProjects);
// Reads a picture under the "Loading File" progress window, which tells
// the user when the file cannot be read.
bool LoadPicture(QWidget* parent, const char* path, LImageBuffer& picture);

} // namespace kvshell

// Holds the render lock for one change, and lets a waiting render start once
// it is gone.
class MainDialog::Change {
public:
    explicit Change(MainDialog& dialog) : dialog(dialog) { dialog.GetCurrentProject(lock); }
    ~Change() {
        lock.reset();
        dialog.renderQueue->StartWaiting();
    }

private:
    MainDialog& dialog;
    std::unique_ptr<KVRenderLock> lock;
};
