#include "toolkit/dialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QStringList>

namespace {

LAlertResponder& AlertResponder() {
    static LAlertResponder responder;
    return responder;
}

LFileDialogResponder& FileResponder() {
    static LFileDialogResponder responder;
    return responder;
}

// "Name (*.a;*.b)" as Qt wants it: patterns apart by blanks.
QString QtFilter(const LFileFilter& filter) {
    QString patterns = QString::fromStdString(filter.patterns);
    patterns.replace(';', ' ');
    QString name = QString::fromStdString(filter.name);
    const int paren = name.indexOf('(');
    if (paren >= 0)
        name.truncate(paren);
    return name.trimmed() + " (" + patterns.simplified() + ")";
}

std::string StandardFolder(QStandardPaths::StandardLocation where) {
    QString folder = QStandardPaths::writableLocation(where);
    if (folder.isEmpty())
        folder = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);
    return folder.toStdString();
}

} // namespace

void LSetAlertResponder(LAlertResponder responder) { AlertResponder() = std::move(responder); }
void LSetFileDialogResponder(LFileDialogResponder responder) { FileResponder() = std::move(responder); }

int LAlert(QWidget* parent, const char* title, const char* text,
           std::initializer_list<const char*> buttons) {
    LAlertRequest request{title ? title : "", text ? text : "", {}};
    for (const char* b : buttons)
        request.buttons.emplace_back(b);
    if (AlertResponder())
        return AlertResponder()(request);

    QMessageBox box(parent);
    box.setWindowTitle(QString::fromStdString(request.title));
    box.setText(QString::fromStdString(request.text));
    std::vector<QPushButton*> made;
    for (const std::string& label : request.buttons)
        made.push_back(box.addButton(QString::fromStdString(label), QMessageBox::ActionRole));
    if (!made.empty())
        box.setDefaultButton(made.front());
    box.exec();
    for (size_t i = 0; i < made.size(); ++i)
        if (box.clickedButton() == made[i])
            return static_cast<int>(i);
    return -1;
}

std::string LFileDialog(QWidget* parent, const LFileDialogRequest& request) {
    if (FileResponder())
        return FileResponder()(request);

    QFileDialog dialog(parent, QString::fromStdString(request.title));
    dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(request.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setDirectory(QString::fromStdString(request.folder));
    QStringList filters;
    for (const LFileFilter& f : request.filters)
        filters << QtFilter(f);
    dialog.setNameFilters(filters);
    if (!request.defaultExtension.empty())
        dialog.setDefaultSuffix(QString::fromStdString(request.defaultExtension));
    if (!request.fileName.empty())
        dialog.selectFile(QString::fromStdString(request.fileName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().front().toStdString();
}

std::string LGetPicturesFolder() { return StandardFolder(QStandardPaths::PicturesLocation); }
std::string LGetDocumentsFolder() { return StandardFolder(QStandardPaths::DocumentsLocation); }
