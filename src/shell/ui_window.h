#pragma once
// The tool window as far as it exists yet: the tabs of the open projects
// above a view of the current project's picture. Tabs speak to the
// controller by its messages (KVUiMessage): close a project, select one.

#include <QImage>
#include <QWidget>

#include <functional>
#include <map>

class KVProject;
class LImageBuffer;
class LPictureView;
class QTabBar;

// What the tool window tells the controller, with the project it is about.
enum KVUiMessage : unsigned {
    KVMsgCloseProject = 30,
    KVMsgSelectProject = 31,
};

class KVUiWindow : public QWidget {
public:
    // Message id and the project it is about.
    using MessageSink = std::function<void(unsigned id, const KVProject* project)>;

    explicit KVUiWindow(MessageSink sink, QWidget* parent = nullptr);

    void AddProject(const char* name, const KVProject* project);
    void RemoveProject(const KVProject* project);
    void RenameProject(const KVProject* project, const char* name);
    // Marks the tab of `project` as the selected one, without a message.
    void ShowProject(const KVProject* project);

    // The picture of a project: kept for when its tab is selected again.
    void SetDisplayedImage(const KVProject* project, const LImageBuffer& picture);
    bool HasDisplayedImage(const KVProject* project) const;
    // Shows the kept picture of `project`, or nothing.
    void ShowDisplayedImage(const KVProject* project);

    LPictureView& GetView() const { return *view; }
    QTabBar& GetTabs() const { return *tabs; }
    int FindTab(const KVProject* project) const;

private:
    MessageSink sink;
    QTabBar* tabs;
    LPictureView* view;
    std::map<const KVProject*, QImage> pictures;
    const KVProject* shown = nullptr;
    bool quiet = false; // while tabs change under our own hands
};
