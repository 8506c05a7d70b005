#include "toolkit/printer.h"

#include <QImage>
#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include "foundation/color.h"
#include "imaging/image_buffer.h"
#include "toolkit/qt_image.h"

namespace {

LPrintResponder& Responder() {
    static LPrintResponder responder;
    return responder;
}

class QtPrintPage : public LPrintPage {
public:
    QtPrintPage(QPainter& painter, QRectF area) : painter(painter), area(area) {}
    double GetWidth() const override { return area.width(); }
    double GetHeight() const override { return area.height(); }
    void Fill(const LPixelColour& c) override {
        painter.fillRect(QRectF(0, 0, area.width(), area.height()), QColor(c.red, c.green, c.blue, c.alpha));
    }
    void DrawImage(const LImageBuffer& picture, double x, double y) override {
        const QImage image = LToQImage(picture);
        if (image.isNull())
            return;
        painter.setOpacity(1.0);
        painter.drawImage(QRectF(x, y, image.width(), image.height()), image);
    }

private:
    QPainter& painter;
    QRectF area;
};

} // namespace

void LSetPrintResponder(LPrintResponder responder) { Responder() = std::move(responder); }

bool LPrinter::PrintToSelectPrinterWithPageOrientation(QWidget* parent, LPrintable& printable,
                                                        bool landscape) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(landscape ? QPageLayout::Landscape : QPageLayout::Portrait);
    if (Responder()) {
        if (!Responder()(printer))
            return false;
    } else {
        QPrintDialog dialog(&printer, parent);
        if (dialog.exec() != QDialog::Accepted)
            return false;
    }
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    // The page in 1/72 inch, its origin at the printable area's corner.
    const QRectF area = printer.pageLayout().paintRect(QPageLayout::Point);
    const double scale = printer.resolution() / 72.0;
    painter.scale(scale, scale);
    QtPrintPage page(painter, area);
    printable.Print(page);
    return painter.end();
}
