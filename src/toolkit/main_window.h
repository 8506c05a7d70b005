#pragma once
// The main window of the toolkit: a menu built from a table, a tool bar with
// tabs, a caption tool bar, a status bar with a progress slot and a zoom
// control, numbered timers and dropped files. Every menu entry, button and
// key ends in Command(id).

#include <QMainWindow>

#include <map>
#include <string>
#include <vector>

class QAction;
class QComboBox;
class QLabel;
class QProgressBar;
class QTabWidget;
class QToolBar;

// Four-letter ids are the platform's standard commands ("copy", "past").
constexpr unsigned LCommandId(const char (&four)[5]) {
    return (unsigned(static_cast<unsigned char>(four[0])) << 24) |
           (unsigned(static_cast<unsigned char>(four[1])) << 16) |
           (unsigned(static_cast<unsigned char>(four[2])) << 8) | unsigned(static_cast<unsigned char>(four[3]));
}

struct LMenuEntry {
    unsigned id = 0;   // 0 with an empty label: a separator
    std::string label; // "&" marks the mnemonic
    std::vector<LMenuEntry> submenu;
    bool checkable = false;
};

struct LMenu {
    std::string title;
    std::vector<LMenuEntry> entries;
};

struct LToolItem {
    unsigned id;
    std::string label;
    std::string tip;
};

struct LToolBarTab {
    std::string name;
    std::vector<LToolItem> items;
};

struct LAccelerator {
    unsigned id;
    std::string keys; // "Ctrl+S"
};

class LMainWindow : public QMainWindow {
public:
    enum StatusSlot { StatusTitle = 0, StatusText = 1, StatusProgress = 2, StatusZoom = 3 };

    LMainWindow();
    ~LMainWindow() override;

    // What every menu entry, tool button and key does.
    virtual void Command(unsigned id) = 0;
    virtual void EvTimer(int /*id*/) {}
    virtual void EvDropFiles(const std::vector<std::string>& /*paths*/) {}
    // Asked before the window closes; false keeps it open.
    virtual bool CanClose() { return true; }

    void SetMenu(const std::vector<LMenu>& menus, const std::vector<LAccelerator>& keys);
    void SetToolBarTabs(const std::vector<LToolBarTab>& tabs);
    void SetCaptionToolBar(const std::vector<LToolItem>& items);
    // The action of a command, shared by its menu entry, buttons and keys.
    QAction* GetAction(unsigned id) const;
    void SetCommandEnabled(unsigned id, bool enabled);
    void SetCommandChecked(unsigned id, bool checked);

    void SetStatusText(int slot, const char* text);
    // 0 to 1.
    void SetStatusProgress(double fraction);
    double GetStatusProgress() const;
    // The zoom control: steps in percent, and the command that a choice sends.
    void SetZoomControl(const std::vector<int>& steps, unsigned command);
    void SetZoomPercent(int percent);
    // What the control shows, in percent; 100 when it is unreadable.
    int GetZoomPercent() const;

    void StartTimer(int id, int milliseconds);
    void KillTimer(int id);
    bool IsTimerRunning(int id) const;

    void EnableDragDrop(bool on) { setAcceptDrops(on); }
    void SetContent(QWidget* content);

    QTabWidget* GetToolBarTabs() const { return toolTabs; }

protected:
    void timerEvent(QTimerEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QAction* ActionFor(unsigned id, const std::string& label);
    void AddEntries(QWidget* menu, const std::vector<LMenuEntry>& entries);

    std::map<unsigned, QAction*> actions;
    std::map<int, int> timers; // our id -> Qt's
    QTabWidget* toolTabs = nullptr;
    QToolBar* captionBar = nullptr;
    QWidget* contentHolder = nullptr;
    QLabel* statusSlots[2] = {nullptr, nullptr};
    QProgressBar* progressSlot = nullptr;
    QComboBox* zoomSlot = nullptr;
    unsigned zoomCommand = 0;
};
