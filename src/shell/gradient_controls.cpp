#include "shell/gradient_controls.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "toolkit/dialogs.h"

namespace {

QColor ToQColor(const LGuiColorAlpha& c) {
    return QColor(c.Red8(), c.Green8(), c.Blue8(), c.alpha);
}

// Markers hang under the track.
constexpr int kTrackHeight = 18;

} // namespace

KVGradientColorSlider::KVGradientColorSlider(QWidget* parent) : QWidget(parent) {
    setMinimumHeight(sizeHint().height());
    setToolTip("Click to add a color, drag a color to move it");
}

void KVGradientColorSlider::SetGradient(const KVGradient& g) {
    gradient = g;
    selection = -1;
    dragging = false;
    update();
}

bool KVGradientColorSlider::IsEndStop(long index) const {
    return index == 0 || index == static_cast<long>(gradient.GetStopCount()) - 1;
}

void KVGradientColorSlider::Changed() {
    update();
    if (onChange)
        onChange();
}

void KVGradientColorSlider::EvLButtonDown(int x) {
    selection = -1;
    moved = false;
    for (unsigned long i = 0; i < gradient.GetStopCount(); ++i) {
        const int at = static_cast<int>(std::lround(width() * gradient.GetStopPosition(i)));
        if (std::abs(x - at) <= kPickDistance) {
            selection = static_cast<long>(i);
            lastColour = gradient.GetStopColor(i);
            // The ends stay where they are.
            dragging = !IsEndStop(selection);
            break;
        }
    }
    update();
}

void KVGradientColorSlider::EvMouseMove(int x) {
    if (!dragging || selection < 0 || width() <= 0)
        return;
    const LGuiColorAlpha colour = gradient.GetStopColor(static_cast<unsigned long>(selection));
    gradient.RemoveStop(static_cast<unsigned long>(selection));
    selection = static_cast<long>(
        gradient.AddStop(static_cast<float>(x) / static_cast<float>(width()), colour));
    moved = true;
    Changed();
}

void KVGradientColorSlider::EvLButtonUp(int x) {
    const bool wasDragged = dragging && moved;
    dragging = false;
    moved = false;
    if (selection < 0) {
        if (width() > 0) {
            if (const auto chosen = LColourDialog(this, {"Gradient Color", lastColour})) {
                lastColour = *chosen;
                selection = static_cast<long>(
                    gradient.AddStop(static_cast<float>(x) / static_cast<float>(width()), *chosen));
                Changed();
            }
        }
    } else if (!wasDragged) {
        const auto index = static_cast<unsigned long>(selection);
        if (const auto chosen =
                LColourDialog(this, {"Gradient Color", gradient.GetStopColor(index)})) {
            lastColour = *chosen;
            gradient.SetStopColor(index, *chosen);
            Changed();
        }
    }
    update();
}

bool KVGradientColorSlider::RemoveStop() {
    if (selection < 0 || IsEndStop(selection))
        return false;
    gradient.RemoveStop(static_cast<unsigned long>(selection));
    selection = -1;
    Changed();
    return true;
}

void KVGradientColorSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        EvLButtonDown(static_cast<int>(event->position().x()));
}

void KVGradientColorSlider::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton)
        EvMouseMove(static_cast<int>(event->position().x()));
}

void KVGradientColorSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        EvLButtonUp(static_cast<int>(event->position().x()));
}

void KVGradientColorSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect track(0, 0, width(), kTrackHeight);
    for (int y = 0; y < track.height(); y += 6)
        for (int x = (y / 6 % 2) * 6; x < track.width(); x += 12)
            painter.fillRect(x, y, 6, 6, QColor(204, 204, 204));
    QLinearGradient ramp(track.topLeft(), track.topRight());
    for (unsigned long i = 0; i < gradient.GetStopCount(); ++i)
        ramp.setColorAt(std::clamp(gradient.GetStopPosition(i), 0.0f, 1.0f),
                        ToQColor(gradient.GetStopColor(i)));
    painter.fillRect(track, ramp);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(track.adjusted(0, 0, -1, -1));
    painter.setRenderHint(QPainter::Antialiasing);
    for (unsigned long i = 0; i < gradient.GetStopCount(); ++i) {
        const float x = std::clamp(width() * gradient.GetStopPosition(i), 5.0f, width() - 5.0f);
        const QPointF tip(x, kTrackHeight);
        QPolygonF marker({tip, tip + QPointF(-5, 8), tip + QPointF(5, 8)});
        const bool picked = static_cast<long>(i) == selection;
        painter.setPen(QPen(picked ? QColor(0, 90, 220) : QColor(60, 60, 60), picked ? 2 : 1));
        painter.setBrush(ToQColor(gradient.GetStopColor(i)));
        painter.drawPolygon(marker);
        painter.drawRect(QRectF(x - 5, kTrackHeight + 8, 10, 7));
    }
}

// ---------------------------------------------------------------------------

KVGradientDirectionControl::KVGradientDirectionControl(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
    setFixedSize(sizeHint());
    setToolTip("Drag the points to set the direction of the gradient");
}

void KVGradientDirectionControl::ReInitialize() {
    ReInitialize(KVGradient());
}

void KVGradientDirectionControl::ReInitialize(const KVGradient& g) {
    start = g.start;
    end = g.end;
    update();
}

QPointF KVGradientDirectionControl::ToPixels(const LPointTemplate<float>& p) const {
    return {kInset + p.x * (width() - 1 - 2 * kInset), kInset + p.y * (height() - 1 - 2 * kInset)};
}

int KVGradientDirectionControl::PointAt(int x, int y) const {
    // The end is on top, so it is found first.
    const LPointTemplate<float>* points[2] = {&end, &start};
    for (int i = 0; i < 2; ++i) {
        const QPointF at = ToPixels(*points[i]);
        if (std::abs(at.x() - x) <= kGrabDistance && std::abs(at.y() - y) <= kGrabDistance)
            return i == 0 ? 1 : 0;
    }
    return -1;
}

void KVGradientDirectionControl::SetPointInBounds(LPointTemplate<float>& point, int x,
                                                  int y) const {
    const int w = std::max(1, width() - 1 - 2 * kInset), h = std::max(1, height() - 1 - 2 * kInset);
    x = std::clamp(x - kInset, 0, w);
    y = std::clamp(y - kInset, 0, h);
    const float mx = w / 2.0f, my = h / 2.0f;
    point.x = std::abs(x - mx) <= kSnapDistance ? 0.5f : static_cast<float>(x) / w;
    point.y = std::abs(y - my) <= kSnapDistance ? 0.5f : static_cast<float>(y) / h;
}

void KVGradientDirectionControl::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    dragged =
        PointAt(static_cast<int>(event->position().x()), static_cast<int>(event->position().y()));
}

void KVGradientDirectionControl::mouseMoveEvent(QMouseEvent* event) {
    const int x = static_cast<int>(event->position().x()),
              y = static_cast<int>(event->position().y());
    if (dragged >= 0 && (event->buttons() & Qt::LeftButton)) {
        SetPointInBounds(dragged == 0 ? start : end, x, y);
        update();
        if (onChange)
            onChange();
        return;
    }
    const int over = PointAt(x, y);
    if (over != hover) {
        hover = over;
        update();
    }
}

void KVGradientDirectionControl::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        dragged = -1;
}

void KVGradientDirectionControl::leaveEvent(QEvent*) {
    hover = -1;
    update();
}

void KVGradientDirectionControl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setPen(QPen(QColor(200, 200, 200), 1, Qt::DotLine));
    painter.drawLine(width() / 2, 0, width() / 2, height());
    painter.drawLine(0, height() / 2, width(), height() / 2);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF a = ToPixels(start), b = ToPixels(end);
    painter.setPen(QPen(QColor(60, 60, 60), 1.5));
    painter.drawLine(a, b);
    const QPointF* points[2] = {&a, &b};
    for (int i = 0; i < 2; ++i) {
        painter.setBrush(i == hover ? QColor(0, 120, 255)
                                    : (i == 0 ? Qt::white : QColor(60, 60, 60)));
        painter.setPen(QColor(60, 60, 60));
        painter.drawEllipse(*points[i], kGrabDistance, kGrabDistance);
    }
}
