#pragma once
// What the controller's files share and nobody else needs.

#include <memory>
#include <string>

#include "shell/main_dialog.h"

namespace kvshell {

inline constexpr const char* kTitle = "Korvane Graphics Editor";
inline constexpr const char* kAlertTitle = "Korvane";

std::string BaseName(const char* path);
std::string WithoutExtension(const std::string& name);
bool IsRegularFile(const char* path);

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
