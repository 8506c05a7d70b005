#include "toolkit/dialogs.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QInputDialog>
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

LTextInputResponder& TextResponder() {
    static LTextInputResponder responder;
    return responder;
}

LColourResponder& ColourResponder() {
    static LColourResponder responder;
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

// The extension that a file type of one pattern ("*.jpg") gives a bare
// name; empty for any other.
std::string FilterExtension(const LFileDialogRequest& request, int index) {
    if (index < 0 || static_cast<size_t>(index) >= request.filters.size())
        return {};
    const std::string& patterns = request.filters[static_cast<size_t>(index)].patterns;
    if (patterns.rfind("*.", 0) != 0 || patterns.find_first_of(";* ", 1) != std::string::npos)
        return {};
    return patterns.substr(2);
}

bool HasExtension(const std::string& path) {
    const size_t slash = path.rfind('/');
    const size_t dot = path.rfind('.');
    return dot != std::string::npos && (slash == std::string::npos || dot > slash + 1);
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
void LSetTextInputResponder(LTextInputResponder responder) { TextResponder() = std::move(responder); }

std::optional<std::string> LTextInput(QWidget* parent, const LTextInputRequest& request) {
    if (TextResponder())
        return TextResponder()(request);
    bool ok = false;
    const QString text = QInputDialog::getText(parent, QString::fromStdString(request.title),
                                               QString::fromStdString(request.label), QLineEdit::Normal,
                                               QString::fromStdString(request.text), &ok);
    if (!ok)
        return std::nullopt;
    return text.toStdString();
}

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
    LFileChoice choice;
    if (FileResponder()) {
        choice = FileResponder()(request);
    } else {
        QFileDialog dialog(parent, QString::fromStdString(request.title));
        dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
        dialog.setFileMode(request.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
        dialog.setDirectory(QString::fromStdString(request.folder));
        QStringList filters;
        for (const LFileFilter& f : request.filters)
            filters << QtFilter(f);
        dialog.setNameFilters(filters);
        // Qt adds the suffix itself, so that its question before replacing a
        // file asks about the name that will be written.
        for (int i = 0; i < static_cast<int>(request.filters.size()); ++i)
            if (!request.defaultExtension.empty() && FilterExtension(request, i) == request.defaultExtension)
                dialog.selectNameFilter(filters[i]);
        dialog.setDefaultSuffix(QString::fromStdString(request.defaultExtension));
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& chosen) {
            const std::string extension = FilterExtension(request, static_cast<int>(filters.indexOf(chosen)));
            dialog.setDefaultSuffix(QString::fromStdString(extension.empty() ? request.defaultExtension : extension));
        });
        if (!request.fileName.empty())
            dialog.selectFile(QString::fromStdString(request.fileName));
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return {};
        choice.path = dialog.selectedFiles().front().toStdString();
        choice.filter = static_cast<int>(filters.indexOf(dialog.selectedNameFilter()));
    }
    if (!request.save || choice.path.empty() || HasExtension(choice.path))
        return choice.path;
    std::string extension = FilterExtension(request, choice.filter);
    if (extension.empty())
        extension = request.defaultExtension;
    return extension.empty() ? choice.path : choice.path + "." + extension;
}

std::string LGetPicturesFolder() { return StandardFolder(QStandardPaths::PicturesLocation); }
std::string LGetDocumentsFolder() { return StandardFolder(QStandardPaths::DocumentsLocation); }

void LSetColourResponder(LColourResponder responder) { ColourResponder() = std::move(responder); }

std::optional<LGuiColorAlpha> LColourDialog(QWidget* parent, const LColourRequest& request) {
    if (ColourResponder())
        return ColourResponder()(request);
    const LGuiColorAlpha& c = request.colour;
    const QColor chosen = QColorDialog::getColor(QColor(c.Red8(), c.Green8(), c.Blue8(), c.alpha), parent,
                                                 QString::fromStdString(request.title),
                                                 QColorDialog::ShowAlphaChannel);
    if (!chosen.isValid())
        return std::nullopt;
    return LGuiColorAlpha(static_cast<unsigned char>(chosen.red()), static_cast<unsigned char>(chosen.green()),
                          static_cast<unsigned char>(chosen.blue()), static_cast<unsigned char>(chosen.alpha()));
}
