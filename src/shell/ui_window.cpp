#include "shell/ui_window.h"

#include <QTabBar>
#include <QVBoxLayout>

#include "imaging/image_buffer.h"
#include "toolkit/picture_view.h"

KVUiWindow::KVUiWindow(MessageSink sink, QWidget* parent) : QWidget(parent), sink(std::move(sink)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    tabs = new QTabBar(this);
    tabs->setTabsClosable(true);
    tabs->setExpanding(false);
    tabs->setDocumentMode(true);
    view = new LPictureView(this);
    layout->addWidget(tabs);
    layout->addWidget(view, 1);

    QObject::connect(tabs, &QTabBar::currentChanged, this, [this](int index) {
        if (quiet || index < 0)
            return;
        this->sink(KVMsgSelectProject, static_cast<const KVProject*>(tabs->tabData(index).value<const void*>()));
    });
    QObject::connect(tabs, &QTabBar::tabCloseRequested, this, [this](int index) {
        this->sink(KVMsgCloseProject, static_cast<const KVProject*>(tabs->tabData(index).value<const void*>()));
    });
}

int KVUiWindow::FindTab(const KVProject* project) const {
    for (int i = 0; i < tabs->count(); ++i)
        if (tabs->tabData(i).value<const void*>() == project)
            return i;
    return -1;
}

void KVUiWindow::AddProject(const char* name, const KVProject* project) {
    quiet = true;
    const int index = tabs->addTab(QString::fromUtf8(name));
    tabs->setTabData(index, QVariant::fromValue(static_cast<const void*>(project)));
    tabs->setCurrentIndex(index);
    quiet = false;
}

void KVUiWindow::RemoveProject(const KVProject* project) {
    pictures.erase(project);
    const int index = FindTab(project);
    if (index >= 0) {
        quiet = true;
        tabs->removeTab(index);
        quiet = false;
    }
    if (shown == project) {
        shown = nullptr;
        view->ClearPicture();
    }
}

void KVUiWindow::RenameProject(const KVProject* project, const char* name) {
    const int index = FindTab(project);
    if (index >= 0)
        tabs->setTabText(index, QString::fromUtf8(name));
}

void KVUiWindow::ShowProject(const KVProject* project) {
    const int index = FindTab(project);
    if (index >= 0 && index != tabs->currentIndex()) {
        quiet = true;
        tabs->setCurrentIndex(index);
        quiet = false;
    }
}

void KVUiWindow::SetDisplayedImage(const KVProject* project, const LImageBuffer& picture) {
    QImage& kept = pictures[project];
    kept = LToQImage(picture);
    if (project == shown)
        view->SetPicture(kept);
}

bool KVUiWindow::HasDisplayedImage(const KVProject* project) const {
    auto found = pictures.find(project);
    return found != pictures.end() && !found->second.isNull();
}

void KVUiWindow::ShowDisplayedImage(const KVProject* project) {
    shown = project;
    auto found = pictures.find(project);
    if (found == pictures.end())
        view->ClearPicture();
    else
        view->SetPicture(found->second);
}
