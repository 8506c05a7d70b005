#include "toolkit/main_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QProgressBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimerEvent>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>

LMainWindow::LMainWindow() {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    toolTabs = new QTabWidget(central);
    toolTabs->setDocumentMode(true);
    toolTabs->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    toolTabs->hide();
    layout->addWidget(toolTabs);
    contentHolder = new QWidget(central);
    auto* contentLayout = new QVBoxLayout(contentHolder);
    contentLayout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(contentHolder, 1);
    setCentralWidget(central);

    statusSlots[0] = new QLabel(this);
    statusSlots[1] = new QLabel(this);
    progressSlot = new QProgressBar(this);
    progressSlot->setRange(0, 1000);
    progressSlot->setMaximumWidth(160);
    progressSlot->setTextVisible(false);
    zoomSlot = new QComboBox(this);
    zoomSlot->setEditable(true);
    // A zoom typed in is applied, not added to the list of steps.
    zoomSlot->setInsertPolicy(QComboBox::NoInsert);
    zoomSlot->hide();
    statusBar()->addWidget(statusSlots[0]);
    statusBar()->addWidget(statusSlots[1], 1);
    statusBar()->addPermanentWidget(progressSlot);
    statusBar()->addPermanentWidget(zoomSlot);
}

LMainWindow::~LMainWindow() = default;

QAction* LMainWindow::ActionFor(unsigned id, const std::string& label) {
    auto found = actions.find(id);
    if (found != actions.end())
        return found->second;
    auto* action = new QAction(QString::fromStdString(label), this);
    QObject::connect(action, &QAction::triggered, this, [this, id] { Command(id); });
    actions[id] = action;
    return action;
}

QAction* LMainWindow::GetAction(unsigned id) const {
    auto found = actions.find(id);
    return found == actions.end() ? nullptr : found->second;
}

void LMainWindow::AddEntries(QWidget* menu, const std::vector<LMenuEntry>& entries) {
    auto* m = static_cast<QMenu*>(menu);
    for (const LMenuEntry& e : entries) {
        if (!e.submenu.empty()) {
            AddEntries(m->addMenu(QString::fromStdString(e.label)), e.submenu);
        } else if (e.id == 0 && e.label.empty()) {
            m->addSeparator();
        } else {
            QAction* action = ActionFor(e.id, e.label);
            action->setCheckable(e.checkable);
            m->addAction(action);
        }
    }
}

void LMainWindow::SetMenu(const std::vector<LMenu>& menus, const std::vector<LAccelerator>& keys) {
    menuBar()->clear();
    for (const LMenu& menu : menus)
        AddEntries(menuBar()->addMenu(QString::fromStdString(menu.title)), menu.entries);
    for (const LAccelerator& k : keys) {
        QAction* action = ActionFor(k.id, "");
        QList<QKeySequence> shortcuts = action->shortcuts();
        shortcuts << QKeySequence(QString::fromStdString(k.keys));
        action->setShortcuts(shortcuts);
        // A key of a command without a menu entry still has to reach it.
        if (!action->associatedObjects().contains(this))
            addAction(action);
    }
}

void LMainWindow::SetToolBarTabs(const std::vector<LToolBarTab>& tabs) {
    while (toolTabs->count())
        delete toolTabs->widget(0);
    for (const LToolBarTab& tab : tabs) {
        auto* bar = new QToolBar(toolTabs);
        bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
        for (const LToolItem& item : tab.items) {
            // The button has its own label and tip; pressing it runs the
            // command's action, so enabling follows the command.
            QAction* command = ActionFor(item.id, item.label);
            auto* button = new QToolButton(bar);
            button->setText(QString::fromStdString(item.label));
            button->setToolTip(QString::fromStdString(item.tip));
            QObject::connect(button, &QToolButton::clicked, command, &QAction::trigger);
            QObject::connect(command, &QAction::enabledChanged, button, &QToolButton::setEnabled);
            button->setEnabled(command->isEnabled());
            button->setObjectName(QString::number(item.id));
            bar->addWidget(button);
        }
        toolTabs->addTab(bar, QString::fromStdString(tab.name));
    }
    toolTabs->setVisible(!tabs.empty());
}

void LMainWindow::SetCaptionToolBar(const std::vector<LToolItem>& items) {
    if (!captionBar) {
        captionBar = addToolBar("Caption");
        captionBar->setMovable(false);
        captionBar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    }
    captionBar->clear();
    for (const LToolItem& item : items) {
        QAction* action = ActionFor(item.id, item.label);
        if (!item.tip.empty())
            action->setToolTip(QString::fromStdString(item.tip));
        captionBar->addAction(action);
    }
}

void LMainWindow::SetCommandEnabled(unsigned id, bool enabled) {
    if (QAction* a = GetAction(id))
        a->setEnabled(enabled);
}

void LMainWindow::SetCommandChecked(unsigned id, bool checked) {
    if (QAction* a = GetAction(id)) {
        a->setCheckable(true);
        a->setChecked(checked);
    }
}

void LMainWindow::SetStatusText(int slot, const char* text) {
    if (slot == StatusTitle || slot == StatusText)
        statusSlots[slot]->setText(QString::fromUtf8(text ? text : ""));
}

void LMainWindow::SetStatusProgress(double fraction) {
    if (!(fraction >= 0.0))
        fraction = 0.0;
    progressSlot->setValue(static_cast<int>(std::lround(std::min(fraction, 1.0) * 1000)));
    // Only a running operation shows its bar.
    progressSlot->setVisible(fraction < 1.0);
}

double LMainWindow::GetStatusProgress() const { return progressSlot->value() / 1000.0; }

void LMainWindow::SetZoomControl(const std::vector<int>& steps, unsigned command) {
    zoomSlot->clear();
    for (int s : steps)
        zoomSlot->addItem(QString::number(s) + "%");
    zoomCommand = command;
    QObject::connect(zoomSlot, &QComboBox::activated, this, [this] {
        if (zoomCommand)
            Command(zoomCommand);
    });
    // A step of the list comes through `activated`; anything else typed, here.
    QObject::connect(zoomSlot->lineEdit(), &QLineEdit::returnPressed, this, [this] {
        if (zoomCommand && zoomSlot->findText(zoomSlot->currentText()) < 0)
            Command(zoomCommand);
    });
    zoomSlot->show();
}

void LMainWindow::SetZoomPercent(int percent) {
    zoomSlot->setEditText(QString::number(percent) + "%");
}

int LMainWindow::GetZoomPercent() const {
    QString text = zoomSlot->currentText();
    text.remove('%');
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok && value > 0 ? value : 100;
}

void LMainWindow::StartTimer(int id, int milliseconds) {
    KillTimer(id);
    timers[id] = startTimer(milliseconds);
}

void LMainWindow::KillTimer(int id) {
    auto found = timers.find(id);
    if (found == timers.end())
        return;
    killTimer(found->second);
    timers.erase(found);
}

bool LMainWindow::IsTimerRunning(int id) const { return timers.count(id) != 0; }

void LMainWindow::timerEvent(QTimerEvent* event) {
    for (const auto& [id, qtId] : timers)
        if (qtId == event->timerId()) {
            EvTimer(id);
            return;
        }
    QMainWindow::timerEvent(event);
}

void LMainWindow::SetContent(QWidget* content) {
    contentHolder->layout()->addWidget(content);
}

void LMainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void LMainWindow::dropEvent(QDropEvent* event) {
    std::vector<std::string> paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile())
            paths.push_back(url.toLocalFile().toStdString());
    if (paths.empty())
        return;
    event->acceptProposedAction();
    EvDropFiles(paths);
}

void LMainWindow::closeEvent(QCloseEvent* event) {
    if (CanClose())
        event->accept();
    else
        event->ignore();
}
