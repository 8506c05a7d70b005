#pragma once
// The layer list: one entry per layer of the project on screen, top layer
// first, with its thumbnail and eye, and a strip for the background colour
// at the end. The list owns no document data: it mirrors the layers by
// pointer and asks its parent for every change by a numbered message; the
// list changes itself only when UpdateLayerList shows it the new state.

#include <QImage>
#include <QWidget>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/color.h"
#include "foundation/list.h"

class KVElement;
class KVElementWidget;
class KVImage;
class KVLayer;
class KVLayerList;
class QLineEdit;
class QMenu;
class QPushButton;
class QScrollArea;
class QTreeWidget;

// What the list asks of its parent, with the numbers the controller knows
// them by.
enum KVLayerListMessage : unsigned {
    KVMsgLayerReorder = 8,
    KVMsgLayerVisToggle = 9,
    KVMsgCurrentLayerChanged = 12,
    KVMsgNewLayer = 19,
    KVMsgDeleteLayer = 20,
    KVMsgDuplicateLayer = 21,
    KVMsgLayerRename = 32,
    KVMsgGetElementList = 46,
    KVMsgMergeDown = 50,
    KVMsgElementPicked = 51,
    KVMsgElementListCleared = 52,
    KVMsgElementUnpicked = 54,
    KVMsgBackgroundColour = 57,
};

struct KVLayerListMessageData {
    const KVLayer* layer = nullptr;
    // KVMsgLayerReorder: the new index, counted from the bottom.
    int index = 0;
    bool visible = true;
    // KVMsgLayerRename: trimmed, never empty.
    std::string name;
    const KVElement* element = nullptr;
    LGuiColorAlpha colour;
};

class KVLayerListParent {
public:
    virtual ~KVLayerListParent() = default;
    virtual void EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data) = 0;
};

struct KVLayerListEntry;

// The painted row of one entry: expander, name, thumbnail, eye.
class KVLayerListEntryDisplay : public QWidget {
public:
    enum Handle { HandleEye = 0, HandleName = 1, HandleGrip = 2, HandleExpander = 3 };
    static constexpr int kHeight = 30;

    KVLayerListEntryDisplay(KVLayerList& list, KVLayerListEntry& entry, QWidget* parent);
    Handle WhichHandle(int x, int y) const;
    QRect GetNameRect() const;

    bool dragging = false;
    bool buttonDown = false;
    bool expanded = false;
    int hoverHandle = -1;
    KVLayerListEntry* entry;
    // Pixels taken by an open element list above and below, for the drag limits.
    int topAbove = 0;
    int extraBelow = 0;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void StartDrag();

    KVLayerList& list;
    int pressHandle = -1;
    QRect eyeRect, nameRect, expanderRect, thumbRect;
};

struct KVLayerListEntry : LListLink<KVLayerListEntry> {
    bool visible = true;
    bool selected = false;
    char name[260] = "";
    int controlId = 0;
    KVLayerListEntryDisplay* display = nullptr;
    const KVLayer* layer = nullptr;

    // The thumbnail and what it was made from: the elements and their
    // stamps, and the canvas size. A different signature makes it stale.
    QImage thumbnail;
    std::vector<unsigned long> signature;
    bool thumbnailStale = true;
};

// The strip at the end of the list in the project's background colour.
class KVLayerListBackgroundDisplay : public QWidget {
public:
    enum Command { CmChangeColor = 2001, CmTransparent = 2002, CmBlack = 2003, CmWhite = 2004 };

    KVLayerListBackgroundDisplay(KVLayerList& list, QWidget* parent);
    void SetColour(const LGuiColorAlpha& c);
    const LGuiColorAlpha& GetColour() const { return colour; }
    void UpdateSize(int width);
    void RunCommand(int id);
    // The menu of the right button while it is open, for whoever drives it.
    QMenu* GetMenu() const { return menu; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void Send();

    KVLayerList& list;
    LGuiColorAlpha colour{255, 255, 255, 255};
    QMenu* menu = nullptr;
};

class KVLayerList : public QWidget {
public:
    static constexpr int kWidth = 250;
    static constexpr int kElementListHeight = 95;
    static constexpr int kThumbWidth = 40;
    static constexpr int kThumbHeight = 26;
    enum ControlId { IdNameEdit = 2000, IdElementList = 2003 };

    KVLayerList(KVLayerListParent& parent, QWidget* parentWidget);
    ~KVLayerList() override;

    // Mirrors `image`'s layers, top first; `current` is the layer to make
    // current, or null to keep the current one where it still exists. Null
    // `image` empties the list.
    void UpdateLayerList(const KVLayer* current, const KVImage* image);
    // The rows of the open element list, for `layer`'s elements.
    void UpdateElementList(const KVLayer* layer, const KVImage& image);
    void ClearList();
    // Canvas to list: the rows of the widget's elements, or none.
    void SetSelectedElement(const KVElementWidget* widget);
    void DisplayBubbleTip(const KVLayer* layer, const char* title, const char* text);
    void SetBackgroundColour(const LGuiColorAlpha& colour) { background->SetColour(colour); }

    const KVLayer* GetCurrentLayer() const { return currentEntry ? currentEntry->layer : nullptr; }
    // The layer of the entry below the current one, or null.
    const KVLayer* GetLayerBelowCurrent() const;
    const LList<KVLayerListEntry>& GetEntries() const { return entries; }
    KVLayerListEntry* FindEntry(const KVLayer* layer) const;
    KVLayerListBackgroundDisplay& GetBackground() const { return *background; }
    QLineEdit& GetNameEdit() const { return *nameEdit; }
    QTreeWidget& GetElementListView() const { return *elementList; }
    const KVLayer* GetExpandedLayer() const { return expandedEntry ? expandedEntry->layer : nullptr; }
    // How many thumbnails were made since the list was built.
    unsigned long GetThumbnailRenderCount() const { return thumbnailRenders; }
    const QString& GetLastBubbleTip() const { return lastTip; }
    // Thumbnails are made while the render worker stands still: the guard
    // stops it for as long as the returned token lives. A guard that returns
    // none has a picture under way: stopping it would put off the picture on
    // screen, so the thumbnail stays as it was until RefreshStaleThumbnails.
    void SetRenderGuard(std::function<std::shared_ptr<void>()> guard) { renderGuard = std::move(guard); }
    // Repaints the entries whose thumbnail waits for the layer's new state.
    void RefreshStaleThumbnails();

    // Messages from the entries.
    void EvReorderList(KVLayerListEntry& entry, int direction);
    void EvDragFinished(KVLayerListEntry& entry);
    void EvStartNameEdit(KVLayerListEntry& entry);
    void EvSelectLayer(KVLayerListEntry& entry);
    void EvToggleVisibility(KVLayerListEntry& entry);
    void EvToggleExpander(KVLayerListEntry& entry, bool expanded);
    void EvFinishNameEdit();
    // The picture of an entry, made now if stale.
    const QImage& GetThumbnail(KVLayerListEntry& entry);

    bool HasImage() const { return image != nullptr; }
    // After every layout: the window's buttons follow the list.
    std::function<void()> layoutChanged;

    void Send(KVLayerListMessage id, KVLayerListMessageData& data);
    void Send(KVLayerListMessage id, const KVLayer* layer);

private:
    void Layout();
    void MakeCurrent(KVLayerListEntry* entry);
    void CloseElementList();
    void CmElementListClick();
    void CmDoubleClickSelection();
    void RenderThumbnail(KVLayerListEntry& entry);

    KVLayerListParent& parent;
    bool nameEditing = false;
    int nextControlId = 3000;
    KVLayerListEntry* currentEntry = nullptr;
    KVLayerListEntry* editedEntry = nullptr;
    KVLayerListEntry* expandedEntry = nullptr;
    LList<KVLayerListEntry> entries;
    std::vector<unsigned char> selectedFlags;
    KVLayerListBackgroundDisplay* background;
    QLineEdit* nameEdit;
    QTreeWidget* elementList;
    bool quietSelection = false;
    const KVImage* image = nullptr;
    unsigned long thumbnailRenders = 0;
    QString lastTip;
    std::function<std::shared_ptr<void>()> renderGuard;
};

// The button bar over the scrolling list.
class KVLayerListWindow : public QWidget {
public:
    enum Button { IdNewLayer = 1000, IdDeleteLayer = 1001, IdDuplicateLayer = 1002, IdMergeDown = 1003 };

    KVLayerListWindow(KVLayerListParent& parent, QWidget* parentWidget = nullptr);
    KVLayerList& GetList() const { return *list; }
    QPushButton& GetButton(Button id) const;
    // New with a project; delete and duplicate with a current layer; merge
    // with a layer below it.
    void EnableControls(bool hasProject);
    void Command(Button id);

private:
    KVLayerList* list;
    QScrollArea* scroller;
    QPushButton* buttons[4];
};
