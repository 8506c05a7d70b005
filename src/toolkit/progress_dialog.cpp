#include "toolkit/progress_dialog.h"

#include <QProgressDialog>
#include <QTimer>

#include <cmath>

#include "toolkit/dialogs.h"

LProgressDialog::LProgressDialog(QWidget* parent, const char* title)
    : parent(parent), title(title ? title : ""), showTimer(std::make_unique<QTimer>()) {
    showTimer->setSingleShot(true);
    QObject::connect(showTimer.get(), &QTimer::timeout, [this] { Show(); });
    showTimer->start(kShowAfterMilliseconds);
}

LProgressDialog::~LProgressDialog() = default;

void LProgressDialog::Show() {
    if (window)
        return;
    window = std::make_unique<QProgressDialog>(parent);
    window->setWindowTitle(QString::fromStdString(title));
    window->setLabelText(QString::fromStdString(status.empty() ? title : status));
    window->setWindowModality(Qt::WindowModal);
    window->setAutoClose(false);
    window->setAutoReset(false);
    window->setMinimumDuration(0);
    window->setRange(0, indeterminate ? 0 : 1000);
    window->setValue(static_cast<int>(std::lround(progress * 1000)));
    QObject::connect(window.get(), &QProgressDialog::canceled, [this] { RequestStop(); });
    window->show();
}

bool LProgressDialog::IsShown() const { return window && window->isVisible(); }

void LProgressDialog::SetError(const char* message) {
    // The first message says what went wrong; later ones are its echoes.
    if (error.empty() && message)
        error = message;
}

void LProgressDialog::SetStatus(const char* text, int level) {
    if (level != 0 || !text)
        return;
    status = text;
    if (window)
        window->setLabelText(QString::fromStdString(status));
}

void LProgressDialog::SetProgress(double fraction) {
    if (!(fraction >= 0.0))
        fraction = 0.0;
    progress = fraction > 1.0 ? 1.0 : fraction;
    if (window && !indeterminate)
        window->setValue(static_cast<int>(std::lround(progress * 1000)));
}

void LProgressDialog::SetProgressIndeterminateOn() {
    indeterminate = true;
    if (window)
        window->setRange(0, 0);
}

void LProgressDialog::SetProgressIndeterminateOff() {
    indeterminate = false;
    if (window)
        window->setRange(0, 1000);
}

void LProgressDialog::Finish(LProcessResult result) {
    showTimer->stop();
    if (window)
        window->hide();
    window.reset();
    if (result == LProcessResultError && !error.empty())
        LAlert(parent, title.c_str(), error.c_str());
}
