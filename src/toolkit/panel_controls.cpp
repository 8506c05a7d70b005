#include "toolkit/panel_controls.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "toolkit/dialogs.h"

LPanelNumber::LPanelNumber(const char* label, int minimum, int maximum, int value, QWidget* parent)
    : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 2, 0, 2);
    layout->setSpacing(1);
    layout->addWidget(new QLabel(QString::fromUtf8(label), this));
    auto* row = new QHBoxLayout;
    slider = new QSlider(Qt::Horizontal, this);
    spin = new QSpinBox(this);
    slider->setRange(minimum, maximum);
    spin->setRange(minimum, maximum);
    slider->setValue(value);
    spin->setValue(value);
    row->addWidget(slider, 1);
    row->addWidget(spin);
    layout->addLayout(row);
    QObject::connect(slider, &QSlider::valueChanged, this, [this](int v) {
        if (spin->value() != v)
            spin->setValue(v);
    });
    // The box reports, whichever of the two the user moved: one change each.
    QObject::connect(spin, &QSpinBox::valueChanged, this, [this](int v) {
        if (slider->value() != v) {
            const QSignalBlocker quiet(slider);
            slider->setValue(v);
        }
        if (onChange)
            onChange(v);
    });
}

int LPanelNumber::GetValue() const {
    return spin->value();
}

void LPanelNumber::SetValue(int value) {
    const QSignalBlocker quietSlider(slider);
    const QSignalBlocker quietSpin(spin);
    slider->setValue(value);
    spin->setValue(value);
}

LColourButton::LColourButton(const char* tip, LGuiColorAlpha c, QWidget* parent)
    : QToolButton(parent), colour(c) {
    setToolTip(QString::fromUtf8(tip));
    setIconSize(QSize(28, 20));
    setAutoRaise(false);
    Repaint();
    QObject::connect(this, &QToolButton::clicked, this, [this] { Choose(); });
}

void LColourButton::SetColour(const LGuiColorAlpha& c) {
    colour = c;
    none = false;
    Repaint();
}

void LColourButton::SetNone(bool n) {
    none = n;
    Repaint();
}

bool LColourButton::Choose() {
    const std::optional<LGuiColorAlpha> chosen =
        LColourDialog(this, {toolTip().toStdString(), colour});
    if (!chosen)
        return false;
    SetColour(*chosen);
    if (onChange)
        onChange(colour);
    return true;
}

void LColourButton::Repaint() {
    QPixmap swatch(iconSize());
    swatch.fill(Qt::white);
    QPainter painter(&swatch);
    // A checkerboard shows through a colour that is not opaque.
    for (int y = 0; y < swatch.height(); y += 5)
        for (int x = (y / 5 % 2) * 5; x < swatch.width(); x += 10)
            painter.fillRect(x, y, 5, 5, QColor(204, 204, 204));
    if (none) {
        painter.setPen(QPen(Qt::red, 2));
        painter.drawLine(0, swatch.height(), swatch.width(), 0);
    } else {
        painter.fillRect(swatch.rect(),
                         QColor(colour.Red8(), colour.Green8(), colour.Blue8(), colour.alpha));
    }
    painter.setPen(Qt::black);
    painter.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    painter.end();
    setIcon(QIcon(swatch));
}

LPanelSection::LPanelSection(const char* title, bool closable, QWidget* parent) : QFrame(parent) {
    setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 4, 6, 6);
    layout->setSpacing(2);
    auto* head = new QHBoxLayout;
    auto* caption = new QLabel(QString::fromUtf8(title), this);
    QFont bold = caption->font();
    bold.setBold(true);
    caption->setFont(bold);
    head->addWidget(caption, 1);
    if (closable) {
        close = new QToolButton(this);
        close->setText("x");
        close->setAutoRaise(true);
        close->setToolTip("Remove this effect");
        head->addWidget(close);
        QObject::connect(close, &QToolButton::clicked, this, [this] {
            if (onClose)
                onClose();
        });
    }
    layout->addLayout(head);
    body = new QVBoxLayout;
    body->setSpacing(2);
    layout->addLayout(body);
}

namespace {

LPopupResponder& PopupResponder() {
    static LPopupResponder responder;
    return responder;
}

void AddPopupEntries(QMenu& menu, const std::vector<LPopupEntry>& entries) {
    for (const LPopupEntry& e : entries) {
        if (e.label.empty()) {
            menu.addSeparator();
        } else if (!e.submenu.empty()) {
            QMenu* sub = menu.addMenu(QString::fromStdString(e.label));
            sub->setEnabled(e.enabled);
            AddPopupEntries(*sub, e.submenu);
        } else {
            QAction* action = menu.addAction(QString::fromStdString(e.label));
            action->setData(e.id);
            action->setEnabled(e.enabled);
        }
    }
}

} // namespace

void LSetPopupResponder(LPopupResponder responder) {
    PopupResponder() = std::move(responder);
}

unsigned LPopupMenu(QWidget* parent, const std::vector<LPopupEntry>& entries, QPoint at) {
    if (PopupResponder())
        return PopupResponder()(entries);
    QMenu menu(parent);
    AddPopupEntries(menu, entries);
    QAction* chosen = menu.exec(parent ? parent->mapToGlobal(at) : at);
    return chosen ? chosen->data().toUInt() : 0;
}
