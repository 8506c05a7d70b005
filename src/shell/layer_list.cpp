#include "shell/layer_list.h"

#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScrollArea>
#include <QToolTip>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>

#include "document/project.h"
#include "document/widget.h"
#include "render/layer_picture.h"
#include "toolkit/dialogs.h"
#include "toolkit/qt_image.h"

namespace {

constexpr const char* kEntryTip = "The checkbox on the right toggles this layer's visibility. The + on the left "
                                  "expands the list of elements in this layer.";

// A checker under what may be transparent, as the canvas shows it.
void PaintChecker(QPainter& painter, const QRect& box) {
    painter.fillRect(box, QColor(255, 255, 255));
    const int cell = 5;
    for (int y = box.top(); y <= box.bottom(); y += cell)
        for (int x = box.left(); x <= box.right(); x += cell)
            if (((x - box.left()) / cell + (y - box.top()) / cell) % 2)
                painter.fillRect(QRect(x, y, cell, cell).intersected(box), QColor(204, 204, 204));
}

// What a layer's thumbnail is made from: its elements and their stamps,
// and the canvas size.
std::vector<unsigned long> Signature(const KVImage& image, const KVLayer& layer) {
    std::vector<unsigned long> s{image.GetWidth(), image.GetHeight()};
    for (LListIterator<KVElement> e = layer.GetElements(); e; ++e) {
        s.push_back(reinterpret_cast<unsigned long>(e.Get()));
        s.push_back(e->GetCacheHandle().GetStamp());
    }
    return s;
}

} // namespace

// ------------------------------------------------------------ the entry row

KVLayerListEntryDisplay::KVLayerListEntryDisplay(KVLayerList& list, KVLayerListEntry& entry, QWidget* parent)
    : QWidget(parent), entry(&entry), list(list) {
    setMouseTracking(true);
    setToolTip(kEntryTip);
    const int w = KVLayerList::kWidth, h = kHeight;
    expanderRect = QRect(4, (h - 14) / 2, 14, 14);
    eyeRect = QRect(w - 28, (h - 18) / 2, 18, 18);
    thumbRect = QRect(eyeRect.left() - 6 - KVLayerList::kThumbWidth, (h - KVLayerList::kThumbHeight) / 2,
                      KVLayerList::kThumbWidth, KVLayerList::kThumbHeight);
    nameRect = QRect(24, 0, thumbRect.left() - 8 - 24, h);
    resize(w, h);
}

QRect KVLayerListEntryDisplay::GetNameRect() const { return nameRect; }

KVLayerListEntryDisplay::Handle KVLayerListEntryDisplay::WhichHandle(int x, int y) const {
    const QPoint p(x, y);
    if (eyeRect.contains(p))
        return HandleEye;
    if (nameRect.contains(p))
        return HandleName;
    if (expanderRect.contains(p))
        return HandleExpander;
    return HandleGrip;
}

void KVLayerListEntryDisplay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor back(255, 255, 255);
    if (entry->selected)
        back = QColor(0xD9, 0xDF, 0xF0);
    else if (!entry->visible || !isEnabled())
        back = QColor(0xD4, 0xD4, 0xD4);
    painter.fillRect(rect(), back);
    painter.setPen(QColor(0xB0, 0xB0, 0xB0));
    painter.drawLine(0, height() - 1, width(), height() - 1);

    // The expander: + closed, - open.
    painter.setPen(QColor(0x60, 0x60, 0x60));
    painter.setBrush(Qt::white);
    painter.drawRect(expanderRect.adjusted(0, 0, -1, -1));
    const QPoint c = expanderRect.center();
    painter.drawLine(c.x() - 3, c.y(), c.x() + 3, c.y());
    if (!expanded)
        painter.drawLine(c.x(), c.y() - 3, c.x(), c.y() + 3);

    painter.setPen(entry->visible ? QColor(0, 0, 0) : QColor(0x40, 0x40, 0x40));
    QFont font = painter.font();
    font.setItalic(!entry->visible);
    painter.setFont(font);
    painter.drawText(nameRect.adjusted(4, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(QString::fromUtf8(entry->name), Qt::ElideRight, nameRect.width() - 4));

    PaintChecker(painter, thumbRect);
    const QImage& thumb = list.GetThumbnail(*entry);
    if (!thumb.isNull())
        painter.drawImage(thumbRect.topLeft(), thumb);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QColor(0x80, 0x80, 0x80));
    painter.drawRect(thumbRect.adjusted(-1, -1, 0, 0));

    // The eye: a checkbox with an open eye while the layer shows.
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(0x60, 0x60, 0x60));
    painter.setBrush(hoverHandle == HandleEye ? QColor(0xEE, 0xF2, 0xFF) : QColor(255, 255, 255));
    painter.drawRect(eyeRect.adjusted(0, 0, -1, -1));
    if (entry->visible) {
        const QRectF eye = QRectF(eyeRect).adjusted(2.5, 5.5, -3.5, -6.5);
        painter.setBrush(Qt::white);
        painter.setPen(QPen(QColor(0x20, 0x30, 0x60), 1.2));
        QPainterPath lids;
        lids.moveTo(eye.left(), eye.center().y());
        lids.quadTo(eye.center().x(), eye.top() - 3, eye.right(), eye.center().y());
        lids.quadTo(eye.center().x(), eye.bottom() + 3, eye.left(), eye.center().y());
        painter.drawPath(lids);
        painter.setBrush(QColor(0x20, 0x30, 0x60));
        painter.drawEllipse(eye.center(), 2.2, 2.2);
    }
}

void KVLayerListEntryDisplay::StartDrag() {
    dragging = true;
    setCursor(Qt::SizeVerCursor);
    list.EvSelectLayer(*entry);
}

void KVLayerListEntryDisplay::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint p = event->position().toPoint();
    pressHandle = WhichHandle(p.x(), p.y());
    if (pressHandle == HandleGrip)
        StartDrag();
    buttonDown = true;
}

void KVLayerListEntryDisplay::mouseMoveEvent(QMouseEvent* event) {
    const QPoint p = event->position().toPoint();
    if (dragging) {
        // An open element list between entries widens the way to the neighbour.
        if (p.y() < -topAbove)
            list.EvReorderList(*entry, -1);
        else if (p.y() > extraBelow + kHeight)
            list.EvReorderList(*entry, +1);
        return;
    }
    if (buttonDown && pressHandle == HandleName && (event->buttons() & Qt::LeftButton)) {
        StartDrag();
        return;
    }
    const int handle = WhichHandle(p.x(), p.y());
    if (handle != hoverHandle) {
        hoverHandle = handle;
        update();
    }
}

void KVLayerListEntryDisplay::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const bool wasDown = buttonDown;
    buttonDown = false;
    if (dragging) {
        dragging = false;
        unsetCursor();
        list.EvDragFinished(*entry);
        return;
    }
    if (!wasDown)
        return;
    const QPoint p = event->position().toPoint();
    switch (WhichHandle(p.x(), p.y())) {
    case HandleName:
        if (list.GetCurrentLayer() == entry->layer)
            list.EvStartNameEdit(*entry);
        else
            list.EvSelectLayer(*entry);
        break;
    case HandleGrip:
        list.EvSelectLayer(*entry);
        break;
    case HandleExpander:
        expanded = !expanded;
        update();
        list.EvToggleExpander(*entry, expanded);
        break;
    case HandleEye:
        list.EvToggleVisibility(*entry);
        break;
    }
}

void KVLayerListEntryDisplay::mouseDoubleClickEvent(QMouseEvent* event) {
    const QPoint p = event->position().toPoint();
    if (event->button() == Qt::LeftButton && WhichHandle(p.x(), p.y()) == HandleName)
        list.EvStartNameEdit(*entry);
}

void KVLayerListEntryDisplay::leaveEvent(QEvent*) {
    hoverHandle = -1;
    update();
}

// ------------------------------------------------------------ the background strip

KVLayerListBackgroundDisplay::KVLayerListBackgroundDisplay(KVLayerList& list, QWidget* parent)
    : QWidget(parent), list(list) {
    setToolTip("Click to change the background color");
    resize(KVLayerList::kWidth, KVLayerListEntryDisplay::kHeight);
}

void KVLayerListBackgroundDisplay::SetColour(const LGuiColorAlpha& c) {
    colour = c;
    update();
}

void KVLayerListBackgroundDisplay::UpdateSize(int width) { resize(width, KVLayerListEntryDisplay::kHeight); }

void KVLayerListBackgroundDisplay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect swatch = rect().adjusted(4, 4, -5, -5);
    painter.fillRect(rect(), QColor(0xF4, 0xF4, 0xF4));
    PaintChecker(painter, swatch);
    painter.fillRect(swatch, QColor(colour.Red8(), colour.Green8(), colour.Blue8(), colour.alpha));
    painter.setPen(QColor(0x80, 0x80, 0x80));
    painter.drawRect(swatch);
    // The label in whichever of black and white reads on the colour.
    const int lightness = colour.alpha < 128 ? 255 : (colour.Red8() * 3 + colour.Green8() * 6 + colour.Blue8()) / 10;
    painter.setPen(lightness > 110 ? QColor(0, 0, 0) : QColor(255, 255, 255));
    painter.drawText(swatch, Qt::AlignCenter, "Background");
}

void KVLayerListBackgroundDisplay::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        RunCommand(CmChangeColor);
    } else if (event->button() == Qt::RightButton) {
        delete menu;
        menu = new QMenu(this);
        menu->addAction("Change Color", this, [this] { RunCommand(CmChangeColor); });
        menu->addSeparator();
        menu->addAction("Transparent Background", this, [this] { RunCommand(CmTransparent); });
        menu->addAction("Black Background", this, [this] { RunCommand(CmBlack); });
        menu->addAction("White Background", this, [this] { RunCommand(CmWhite); });
        menu->popup(event->globalPosition().toPoint());
    }
}

void KVLayerListBackgroundDisplay::RunCommand(int id) {
    switch (id) {
    case CmChangeColor:
        if (std::optional<LGuiColorAlpha> chosen = LColourDialog(this, {"Background Color", colour})) {
            colour = *chosen;
            break;
        }
        return;
    case CmTransparent:
        // The colour stays for when the background is made opaque again.
        colour.alpha = 0;
        break;
    case CmBlack:
        colour = LGuiColorAlpha(0, 0, 0, 255);
        break;
    case CmWhite:
        colour = LGuiColorAlpha(255, 255, 255, 255);
        break;
    default:
        return;
    }
    update();
    Send();
}

void KVLayerListBackgroundDisplay::Send() {
    KVLayerListMessageData data;
    data.colour = colour;
    list.Send(KVMsgBackgroundColour, data);
}

// ------------------------------------------------------------ the list

KVLayerList::KVLayerList(KVLayerListParent& parent, QWidget* parentWidget) : QWidget(parentWidget), parent(parent) {
    background = new KVLayerListBackgroundDisplay(*this, this);
    nameEdit = new QLineEdit(this);
    nameEdit->setObjectName(QString::number(IdNameEdit));
    nameEdit->setMaxLength(259);
    nameEdit->hide();
    QObject::connect(nameEdit, &QLineEdit::returnPressed, this, [this] { EvFinishNameEdit(); });
    QObject::connect(nameEdit, &QLineEdit::editingFinished, this, [this] { EvFinishNameEdit(); });
    elementList = new QTreeWidget(this);
    elementList->setObjectName(QString::number(IdElementList));
    elementList->setHeaderLabels({"Element Type"});
    elementList->setRootIsDecorated(false);
    elementList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    elementList->hide();
    QObject::connect(elementList, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (!quietSelection)
            CmElementListClick();
    });
    QObject::connect(elementList, &QTreeWidget::itemDoubleClicked, this, [this] { CmDoubleClickSelection(); });
    Layout();
}

KVLayerList::~KVLayerList() { entries.DeleteAll(); }

void KVLayerList::Send(KVLayerListMessage id, KVLayerListMessageData& data) { parent.EvLayerListMessage(id, data); }

void KVLayerList::Send(KVLayerListMessage id, const KVLayer* layer) {
    KVLayerListMessageData data;
    data.layer = layer;
    Send(id, data);
}

KVLayerListEntry* KVLayerList::FindEntry(const KVLayer* layer) const {
    for (KVLayerListEntry& e : entries)
        if (e.layer == layer)
            return &e;
    return nullptr;
}

const KVLayer* KVLayerList::GetLayerBelowCurrent() const {
    return currentEntry && currentEntry->GetNext() ? currentEntry->GetNext()->layer : nullptr;
}

void KVLayerList::UpdateLayerList(const KVLayer* current, const KVImage* shown) {
    image = shown;
    // The entries in the image's order, top first; whatever is left over in
    // `entries` afterwards has lost its layer.
    std::vector<KVLayerListEntry*> order;
    std::vector<KVLayerListEntry*> before;
    for (KVLayerListEntry& e : entries)
        before.push_back(&e);
    if (image) {
        // Layers go bottom first, entries top first.
        for (LListIterator<KVLayer> it = image->GetLayers(); it; ++it) {
            KVLayer& layer = *it;
            KVLayerListEntry* e = FindEntry(&layer);
            if (e) {
                entries.Remove(e);
            } else {
                e = new KVLayerListEntry;
                e->layer = &layer;
                e->controlId = nextControlId++;
                e->display = new KVLayerListEntryDisplay(*this, *e, this);
                e->display->show();
            }
            e->visible = layer.IsVisible();
            LStrCopy(e->name, layer.GetName());
            std::vector<unsigned long> signature = Signature(*image, layer);
            if (signature != e->signature) {
                e->signature = std::move(signature);
                e->thumbnailStale = true;
            }
            e->display->update();
            order.insert(order.begin(), e);
        }
    }
    // A removed current entry hands on to the next one that is still there,
    // or else to the last.
    const bool currentGone = currentEntry && entries.Owns(currentEntry);
    KVLayerListEntry* successor = nullptr;
    if (currentGone) {
        auto at = std::find(before.begin(), before.end(), currentEntry);
        for (++at; at != before.end() && !successor; ++at)
            if (!entries.Owns(*at))
                successor = *at;
        if (!successor && !order.empty())
            successor = order.back();
        currentEntry = nullptr;
    }
    if (expandedEntry && entries.Owns(expandedEntry)) {
        expandedEntry = nullptr;
        elementList->hide();
        ClearList();
    }
    if (editedEntry && entries.Owns(editedEntry)) {
        editedEntry = nullptr;
        nameEditing = false;
        nameEdit->hide();
    }
    while (KVLayerListEntry* gone = entries.PopFront()) {
        delete gone->display;
        delete gone;
    }
    for (KVLayerListEntry* e : order)
        entries.PushBack(e);

    KVLayerListEntry* next = current ? FindEntry(current) : nullptr;
    if (!next)
        next = currentGone ? successor : currentEntry;
    if (!next)
        next = entries.GetFirst();
    if (next)
        MakeCurrent(next);
    else if (currentGone)
        Send(KVMsgCurrentLayerChanged, nullptr);
    Layout();
}

void KVLayerList::MakeCurrent(KVLayerListEntry* entry) {
    if (entry == currentEntry)
        return;
    if (currentEntry) {
        currentEntry->selected = false;
        currentEntry->display->update();
    }
    currentEntry = entry;
    if (entry) {
        entry->selected = true;
        entry->display->update();
    }
    Send(KVMsgCurrentLayerChanged, nullptr);
}

void KVLayerList::Layout() {
    int y = 0;
    const int h = KVLayerListEntryDisplay::kHeight;
    for (KVLayerListEntry& e : entries) {
        e.display->setGeometry(0, y, kWidth, h);
        e.display->topAbove = expandedEntry && entries.GetPrevious(&e) == expandedEntry ? kElementListHeight : 0;
        e.display->extraBelow = &e == expandedEntry ? kElementListHeight : 0;
        e.display->expanded = &e == expandedEntry;
        y += h;
        if (&e == expandedEntry) {
            elementList->setGeometry(0, y, kWidth, kElementListHeight);
            elementList->show();
            y += kElementListHeight;
        }
    }
    background->move(0, y);
    background->UpdateSize(kWidth);
    if (nameEditing && editedEntry) {
        const QRect r = editedEntry->display->GetNameRect();
        nameEdit->setGeometry(r.translated(editedEntry->display->pos()).adjusted(0, 3, 0, -3));
        nameEdit->raise();
    }
    setFixedSize(kWidth, h + static_cast<int>(entries.GetCount()) * h + (expandedEntry ? kElementListHeight : 0));
    if (layoutChanged)
        layoutChanged();
}

void KVLayerList::EvReorderList(KVLayerListEntry& entry, int direction) {
    if (direction < 0) {
        KVLayerListEntry* above = entries.GetPrevious(&entry);
        if (!above)
            return;
        entries.Remove(&entry);
        entries.InsertAfter(&entry, entries.GetPrevious(above));
    } else {
        KVLayerListEntry* below = entry.GetNext();
        if (!below)
            return;
        entries.Remove(&entry);
        entries.InsertAfter(&entry, below);
    }
    Layout();
}

void KVLayerList::EvDragFinished(KVLayerListEntry& entry) {
    KVLayerListMessageData data;
    data.layer = entry.layer;
    // Entries go top first, layers bottom first.
    data.index = static_cast<int>(entries.GetCount()) - 1 - static_cast<int>(entries.IndexOf(&entry));
    Send(KVMsgLayerReorder, data);
}

void KVLayerList::EvStartNameEdit(KVLayerListEntry& entry) {
    editedEntry = &entry;
    nameEditing = true;
    nameEdit->setText(QString::fromUtf8(entry.name));
    nameEdit->show();
    Layout();
    nameEdit->selectAll();
    nameEdit->setFocus();
}

void KVLayerList::EvFinishNameEdit() {
    if (!nameEditing)
        return;
    nameEditing = false;
    KVLayerListEntry* entry = editedEntry;
    editedEntry = nullptr;
    nameEdit->hide();
    Layout();
    const std::string name = nameEdit->text().trimmed().toStdString();
    // A blank name is refused without a word; the old one stays.
    if (!entry || name.empty())
        return;
    KVLayerListMessageData data;
    data.layer = entry->layer;
    data.name = name.substr(0, 259);
    Send(KVMsgLayerRename, data);
}

void KVLayerList::EvSelectLayer(KVLayerListEntry& entry) {
    if (nameEditing) {
        EvFinishNameEdit();
        return;
    }
    MakeCurrent(&entry);
}

void KVLayerList::EvToggleVisibility(KVLayerListEntry& entry) {
    entry.visible = !entry.visible;
    quietSelection = true;
    elementList->clearSelection();
    quietSelection = false;
    std::fill(selectedFlags.begin(), selectedFlags.end(), 0);
    entry.display->update();
    KVLayerListMessageData data;
    data.layer = entry.layer;
    data.visible = entry.visible;
    Send(KVMsgLayerVisToggle, data);
}

void KVLayerList::EvToggleExpander(KVLayerListEntry& entry, bool) {
    if (expandedEntry == &entry) {
        CloseElementList();
        return;
    }
    if (expandedEntry)
        expandedEntry->display->update();
    expandedEntry = &entry;
    ClearList();
    Layout();
    Send(KVMsgGetElementList, entry.layer);
}

void KVLayerList::CloseElementList() {
    if (expandedEntry)
        expandedEntry->display->update();
    expandedEntry = nullptr;
    elementList->hide();
    ClearList();
    Layout();
}

void KVLayerList::ClearList() {
    quietSelection = true;
    elementList->clear();
    quietSelection = false;
    selectedFlags.clear();
}

void KVLayerList::UpdateElementList(const KVLayer* layer, const KVImage& shown) {
    if (!expandedEntry || expandedEntry->layer != layer)
        return;
    quietSelection = true;
    elementList->clear();
    int row = 0;
    for (LListIterator<KVElement> it = shown.GetElementIteratorConst(layer); it; ++it, ++row) {
        auto* item = new QTreeWidgetItem(elementList, {QString::fromUtf8(it->GetDisplayName())});
        item->setData(0, Qt::UserRole, QVariant::fromValue(static_cast<const void*>(it.Get())));
        if (static_cast<size_t>(row) < selectedFlags.size() && selectedFlags[static_cast<size_t>(row)])
            item->setSelected(true);
    }
    selectedFlags.resize(static_cast<size_t>(row), 0);
    quietSelection = false;
}

namespace {

const KVElement* RowElement(const QTreeWidgetItem* item) {
    return static_cast<const KVElement*>(item->data(0, Qt::UserRole).value<const void*>());
}

} // namespace

void KVLayerList::CmElementListClick() {
    if (!expandedEntry)
        return;
    if (expandedEntry != currentEntry)
        EvSelectLayer(*expandedEntry);
    const int rows = elementList->topLevelItemCount();
    selectedFlags.resize(static_cast<size_t>(rows), 0);
    if (elementList->selectedItems().isEmpty()) {
        std::fill(selectedFlags.begin(), selectedFlags.end(), 0);
        Send(KVMsgElementListCleared, nullptr);
        return;
    }
    // Deselections go first, so that the canvas's multi-selection stays
    // valid between the messages.
    for (int i = 0; i < rows; ++i) {
        QTreeWidgetItem* item = elementList->topLevelItem(i);
        if (selectedFlags[static_cast<size_t>(i)] && !item->isSelected()) {
            selectedFlags[static_cast<size_t>(i)] = 0;
            KVLayerListMessageData data;
            data.element = RowElement(item);
            Send(KVMsgElementUnpicked, data);
        }
    }
    for (int i = 0; i < rows; ++i) {
        QTreeWidgetItem* item = elementList->topLevelItem(i);
        if (!selectedFlags[static_cast<size_t>(i)] && item->isSelected()) {
            selectedFlags[static_cast<size_t>(i)] = 1;
            KVLayerListMessageData data;
            data.element = RowElement(item);
            Send(KVMsgElementPicked, data);
        }
    }
}

void KVLayerList::CmDoubleClickSelection() {
    QTreeWidgetItem* item = elementList->currentItem();
    if (!item)
        return;
    // The row alone becomes the canvas's selection.
    Send(KVMsgElementListCleared, nullptr);
    quietSelection = true;
    elementList->clearSelection();
    item->setSelected(true);
    quietSelection = false;
    std::fill(selectedFlags.begin(), selectedFlags.end(), 0);
    selectedFlags[static_cast<size_t>(elementList->indexOfTopLevelItem(item))] = 1;
    KVLayerListMessageData data;
    data.element = RowElement(item);
    Send(KVMsgElementPicked, data);
}

void KVLayerList::SetSelectedElement(const KVElementWidget* widget) {
    quietSelection = true;
    const int rows = elementList->topLevelItemCount();
    selectedFlags.resize(static_cast<size_t>(rows), 0);
    for (int i = 0; i < rows; ++i) {
        QTreeWidgetItem* item = elementList->topLevelItem(i);
        const bool on = widget && widget->IsParentElement(RowElement(item));
        item->setSelected(on);
        selectedFlags[static_cast<size_t>(i)] = on;
    }
    quietSelection = false;
}

void KVLayerList::DisplayBubbleTip(const KVLayer* layer, const char* title, const char* text) {
    KVLayerListEntry* entry = layer ? FindEntry(layer) : currentEntry;
    if (!entry)
        return;
    lastTip = QString::fromUtf8(text);
    const QString tip = QString("<b>%1</b><br>%2").arg(QString::fromUtf8(title).toHtmlEscaped(), lastTip.toHtmlEscaped());
    QToolTip::showText(entry->display->mapToGlobal(entry->display->rect().center()), tip, entry->display);
}

const QImage& KVLayerList::GetThumbnail(KVLayerListEntry& entry) {
    if (entry.thumbnailStale && image && image->IsLayer(entry.layer))
        RenderThumbnail(entry);
    return entry.thumbnail;
}

void KVLayerList::RefreshStaleThumbnails() {
    for (KVLayerListEntry& e : entries)
        if (e.thumbnailStale)
            e.display->update();
}

void KVLayerList::RenderThumbnail(KVLayerListEntry& entry) {
    const std::shared_ptr<void> guard = renderGuard ? renderGuard() : nullptr;
    if (renderGuard && !guard)
        return;
    LProcessInterfaceVoid process;
    LImageBuffer picture;
    entry.thumbnailStale = false;
    ++thumbnailRenders;
    if (KVRenderLayerPicture(process, *image, *entry.layer, kThumbWidth, kThumbHeight, picture) == LProcessResultOk)
        entry.thumbnail = LToQImage(picture);
    else
        entry.thumbnail = QImage();
}

// ------------------------------------------------------------ the window

KVLayerListWindow::KVLayerListWindow(KVLayerListParent& parent, QWidget* parentWidget) : QWidget(parentWidget) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* bar = new QGridLayout;
    bar->setSpacing(2);
    const char* labels[] = {"New Layer", "Delete Layer", "Duplicate Layer", "Merge Layer Down"};
    for (int i = 0; i < 4; ++i) {
        buttons[i] = new QPushButton(labels[i], this);
        buttons[i]->setObjectName(QString::number(IdNewLayer + i));
        const Button id = static_cast<Button>(IdNewLayer + i);
        QObject::connect(buttons[i], &QPushButton::clicked, this, [this, id] { Command(id); });
        bar->addWidget(buttons[i], i / 2, i % 2);
    }
    layout->addLayout(bar);
    scroller = new QScrollArea(this);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setWidgetResizable(false);
    list = new KVLayerList(parent, nullptr);
    scroller->setWidget(list);
    list->layoutChanged = [this] { EnableControls(list->HasImage()); };
    layout->addWidget(scroller, 1);
    EnableControls(false);
}

QPushButton& KVLayerListWindow::GetButton(Button id) const { return *buttons[id - IdNewLayer]; }

void KVLayerListWindow::EnableControls(bool hasProject) {
    buttons[0]->setEnabled(hasProject);
    buttons[1]->setEnabled(hasProject && list->GetCurrentLayer());
    buttons[2]->setEnabled(hasProject && list->GetCurrentLayer());
    buttons[3]->setEnabled(hasProject && list->GetLayerBelowCurrent());
}

void KVLayerListWindow::Command(Button id) {
    const KVLayer* layer = list->GetCurrentLayer();
    switch (id) {
    case IdNewLayer:
        list->Send(KVMsgNewLayer, nullptr);
        break;
    case IdDeleteLayer:
        list->Send(KVMsgDeleteLayer, layer);
        break;
    case IdDuplicateLayer:
        list->Send(KVMsgDuplicateLayer, layer);
        break;
    case IdMergeDown:
        list->Send(KVMsgMergeDown, layer);
        break;
    }
}
