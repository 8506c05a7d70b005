#include "toolkit/color_dialog.h"

#include <QColorDialog>

namespace {

LColorDialogResponder& Responder() {
    static LColorDialogResponder responder;
    return responder;
}

} // namespace

void LSetColorDialogResponder(LColorDialogResponder responder) { Responder() = std::move(responder); }

std::optional<LGuiColorAlpha> LChooseColor(QWidget* parent, const char* title, const LGuiColorAlpha& initial) {
    if (Responder())
        return Responder()(initial);
    const QColor start(initial.Red8(), initial.Green8(), initial.Blue8(), initial.alpha);
    const QColor c = QColorDialog::getColor(start, parent, QString::fromUtf8(title), QColorDialog::ShowAlphaChannel);
    if (!c.isValid())
        return std::nullopt;
    return LGuiColorAlpha(LGuiColor::FromBytes(static_cast<unsigned char>(c.red()), static_cast<unsigned char>(c.green()),
                                               static_cast<unsigned char>(c.blue())),
                          static_cast<unsigned char>(c.alpha()));
}
