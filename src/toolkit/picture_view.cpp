#include "toolkit/picture_view.h"

#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "imaging/image_buffer.h"

namespace {

class Canvas : public QWidget {
public:
    explicit Canvas(const LPictureView& view) : view(view) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), palette().color(QPalette::Dark));
        const QImage& picture = view.GetPicture();
        if (picture.isNull())
            return;
        const QRect target(0, 0, static_cast<int>(std::lround(picture.width() * view.GetZoom())),
                           static_cast<int>(std::lround(picture.height() * view.GetZoom())));
        // Transparent parts show as the usual grey and white squares.
        QImage checker(16, 16, QImage::Format_RGB32);
        checker.fill(Qt::white);
        QPainter c(&checker);
        c.fillRect(0, 0, 8, 8, QColor(204, 204, 204));
        c.fillRect(8, 8, 8, 8, QColor(204, 204, 204));
        c.end();
        p.fillRect(target, QBrush(checker));
        p.setRenderHint(QPainter::SmoothPixmapTransform, view.GetZoom() < 1.0);
        p.drawImage(target, picture);
    }

private:
    const LPictureView& view;
};

} // namespace

QImage LToQImage(const LImageBuffer& source) {
    if (!source.IsValid())
        return QImage();
    LImageBuffer converted;
    const LImageBuffer* shown = &source;
    if (source.format != LPixelFormatB8G8R8A8 || source.bottomUp) {
        LImage::New(converted, source.width, source.height, LPixelFormatB8G8R8A8);
        if (!converted.IsValid())
            return QImage();
        LImage::Copy(source, converted, 0, 0, 0, 0, source.width, source.height);
        shown = &converted;
    }
    // Our working format is Qt's premultiplied ARGB on a little-endian machine.
    return QImage(shown->GetData(), shown->width, shown->height, shown->stride,
                  QImage::Format_ARGB32_Premultiplied)
        .copy();
}

LPictureView::LPictureView(QWidget* parent) : QScrollArea(parent) {
    setWidget(new Canvas(*this));
    setWidgetResizable(false);
    setAlignment(Qt::AlignCenter);
    setBackgroundRole(QPalette::Dark);
    Relayout();
}

void LPictureView::SetPicture(const QImage& shown) {
    const bool newSize = shown.size() != picture.size();
    picture = shown;
    Relayout();
    // A picture of another size starts at its top left corner; a new render
    // of the same picture keeps the place the user scrolled to.
    if (newSize) {
        horizontalScrollBar()->setValue(0);
        verticalScrollBar()->setValue(0);
    }
}

void LPictureView::ClearPicture() {
    picture = QImage();
    Relayout();
}

void LPictureView::SetZoom(double z) {
    if (!(z > 0.0))
        return;
    zoom = z;
    Relayout();
}

double LPictureView::GetFitZoom() const {
    if (picture.isNull())
        return 1.0;
    const QSize area = viewport()->size();
    return std::max(0.01, std::min(double(area.width()) / picture.width(),
                                   double(area.height()) / picture.height()));
}

void LPictureView::Relayout() {
    const QSize size = picture.isNull()
                           ? QSize(1, 1)
                           : QSize(std::max(1, static_cast<int>(std::lround(picture.width() * zoom))),
                                   std::max(1, static_cast<int>(std::lround(picture.height() * zoom))));
    widget()->resize(size);
    widget()->update();
}

void LPictureView::wheelEvent(QWheelEvent* event) {
    const int delta = event->angleDelta().y();
    if (!(event->modifiers() & Qt::ControlModifier) || !wheelZoom || delta == 0) {
        QScrollArea::wheelEvent(event);
        return;
    }
    // One notch of a mouse wheel is 120; a touchpad sends many small steps.
    wheelDelta += delta;
    const int steps = wheelDelta / 120;
    wheelDelta -= steps * 120;
    if (steps != 0)
        wheelZoom(steps);
    event->accept();
}
