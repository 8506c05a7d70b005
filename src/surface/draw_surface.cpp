// The canvas's view: the picture at the zoom, scrolling, the page pictures
// and the paint. Input and selection are in draw_surface_input.cpp.

#include "surface/draw_surface.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#include "document/shapes.h"
#include "imaging/image_buffer.h"
#include "surface/canvas_widgets.h"
#include "toolkit/qt_image.h"

namespace {

constexpr float kMinZoom = 0.1f;
// Room kept free under a fitted image.
constexpr int kFitMargin = 40;
// The cells of the checkerboard behind transparent parts, in device pixels.
constexpr int kCheckerCell = 20;

int RoundToInt(double v) { return static_cast<int>(std::lround(v)); }

QColor ToQColor(const LGuiColor& c, unsigned char alpha) {
    return QColor(c.red >> 8, c.green >> 8, c.blue >> 8, alpha);
}

// What the preview of a box shape needs of its record.
struct ShapeLook {
    LGuiColorAlpha lineColour;
    float lineWidth = 0;
    bool filled = false;
    LGuiColorAlpha fill;
    int corner = 0;
    unsigned long sides = 3;
};

template <class E> bool LookOf(KVElement& element, ShapeLook& look) {
    auto* shape = dynamic_cast<E*>(&element);
    if (!shape)
        return false;
    const auto p = shape->GetProperties();
    look.lineColour = p.lineColour;
    look.lineWidth = p.lineWidth;
    look.filled = static_cast<bool>(p.fill);
    if (p.fill)
        look.fill = *p.fill;
    if constexpr (std::is_same_v<E, KVTriangleElement>)
        look.corner = p.corner;
    if constexpr (std::is_same_v<E, KVPolygonElement>)
        look.sides = p.sides;
    return true;
}

} // namespace

KVDrawSurface::KVDrawSurface(KVDrawSurfaceParent& parent, QWidget* parentWidget)
    : QAbstractScrollArea(parentWidget), parent(parent) {
    KVInstallCanvasWidgetFactories();
    viewport()->setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    viewport()->setAttribute(Qt::WA_TabletTracking);
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
}

KVDrawSurface::~KVDrawSurface() { RemoveWidgets(); }

float KVDrawSurface::GetDeviceRatio() const { return static_cast<float>(viewport()->devicePixelRatioF()); }
int KVDrawSurface::GetControlWidth() const { return RoundToInt(viewport()->width() * GetDeviceRatio()); }
int KVDrawSurface::GetControlHeight() const { return RoundToInt(viewport()->height() * GetDeviceRatio()); }
int KVDrawSurface::GetScrollX() const { return horizontalScrollBar()->value(); }
int KVDrawSurface::GetScrollY() const { return verticalScrollBar()->value(); }

void KVDrawSurface::SetScroll(int x, int y) {
    horizontalScrollBar()->setValue(x);
    verticalScrollBar()->setValue(y);
}

void KVDrawSurface::Send(KVSurfaceMessage id, KVSurfaceMessageData& data) { parent.EvSurfaceMessage(id, data); }

void KVDrawSurface::Send(KVSurfaceMessage id, int x, int y) {
    KVSurfaceMessageData data;
    data.x = x;
    data.y = y;
    Send(id, data);
}

// ---------------------------------------------------------------------------
// Coordinates

int KVDrawSurface::GetVisibleCanvasWidth() const { return std::min(zoomedWidth, GetControlWidth()); }
int KVDrawSurface::GetVisibleCanvasHeight() const { return std::min(zoomedHeight, GetControlHeight()); }

// One offset, in whole device pixels, for painting and for the pointer
// alike: a stroke lands exactly where the picture under it is shown.
int KVDrawSurface::PageOffsetX() const {
    const int control = GetControlWidth();
    return control > zoomedWidth ? (control - zoomedWidth) / 2 : 0;
}

int KVDrawSurface::PageOffsetY() const {
    const int control = GetControlHeight();
    return control > zoomedHeight ? (control - zoomedHeight) / 2 : 0;
}

int KVDrawSurface::TranslateToCanvasX(int x) const { return x + GetScrollX() - PageOffsetX(); }
int KVDrawSurface::TranslateToCanvasY(int y) const { return y + GetScrollY() - PageOffsetY(); }

void KVDrawSurface::ConvertCoordsForWidget(float& x, float& y) const {
    x = (x - static_cast<float>(PageOffsetX() - GetScrollX())) / zoomRatio;
    y = (y - static_cast<float>(PageOffsetY() - GetScrollY())) / zoomRatio;
}

LBoundingBox2T<float> KVDrawSurface::GetCanvasVisibleBounds() const {
    const float x = std::max(0.0f, TranslateToCanvasX(0) / zoomRatio);
    const float y = std::max(0.0f, TranslateToCanvasY(0) / zoomRatio);
    const float w = std::max(0.0f, GetVisibleCanvasWidth() / zoomRatio);
    const float h = std::max(0.0f, GetVisibleCanvasHeight() / zoomRatio);
    return {x, y, x + w, y + h};
}

// ---------------------------------------------------------------------------
// Image and zoom

void KVDrawSurface::UpdateDisplayedImage(const LImageBuffer& picture) { UpdateDisplayedImage(LToQImage(picture)); }

void KVDrawSurface::UpdateDisplayedImage(const QImage& shown) {
    // Their strokes are in this picture now.
    strokePreview.Clear();
    if (shown.isNull()) {
        RemoveImage();
        return;
    }
    const bool resized = shown.width() != static_cast<int>(imageWidth) ||
                         shown.height() != static_cast<int>(imageHeight) || displayImage.isNull();
    displayImage = shown.format() == QImage::Format_ARGB32_Premultiplied
                       ? shown
                       : shown.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    imageWidth = static_cast<unsigned long>(displayImage.width());
    imageHeight = static_cast<unsigned long>(displayImage.height());
    zoomedPage = QRect();
    if (nextImageZoom != 0.0f) {
        const float ratio = nextImageZoom > 0 ? nextImageZoom : UpdateZoomFit();
        if (nextImageZoom > 0)
            UpdateZoom(ratio);
        nextImageZoom = 0.0f;
        Send(KVMsgZoomChanged, static_cast<int>(zoomRatio * 100));
    } else if (resized) {
        ApplyZoom();
    }
    viewport()->update();
}

void KVDrawSurface::RemoveImage() {
    displayImage = QImage();
    zoomedImage = QImage();
    backgroundImage = QImage();
    zoomedPage = QRect();
    zoomedWidth = zoomedHeight = 1;
    UpdateScrollRanges();
    viewport()->update();
}

void KVDrawSurface::UpdateZoom(float zoom) {
    if (displayImage.isNull() || !(zoom > 0))
        return;
    const float oldZoom = zoomRatio;
    const int oldWidth = zoomedWidth, oldHeight = zoomedHeight;
    const int pageW = GetControlWidth(), pageH = GetControlHeight();
    // The image point at the centre of the view stays there.
    float centreX = oldWidth < pageW ? imageWidth * 0.5f : (GetScrollX() + pageW / 2) / oldZoom;
    float centreY = oldHeight < pageH ? imageHeight * 0.5f : (GetScrollY() + pageH / 2) / oldZoom;
    float anchorX = -1, anchorY = -1;
    if (zoomAnchorImageX >= 0) {
        centreX = zoomAnchorImageX;
        centreY = zoomAnchorImageY;
        anchorX = zoomAnchorControlX;
        anchorY = zoomAnchorControlY;
        zoomAnchorImageX = zoomAnchorImageY = -1;
    }
    zoomRatio = zoom;
    ApplyZoom();
    SetImageCursor();
    PlaceView(centreX, centreY, anchorX, anchorY);
}

void KVDrawSurface::ApplyZoom() {
    zoomedWidth = std::max(1, RoundToInt(imageWidth * static_cast<double>(zoomRatio)));
    zoomedHeight = std::max(1, RoundToInt(imageHeight * static_cast<double>(zoomRatio)));
    zoomedPage = QRect();
    UpdateScrollRanges();
    viewport()->update();
}

void KVDrawSurface::PlaceView(float centreX, float centreY, float anchorX, float anchorY) {
    auto place = [](float centre, float anchor, int zoomed, int page) {
        if (zoomed <= page)
            return 0;
        const float c = centre - (anchor >= 0 ? anchor : static_cast<float>(page / 2));
        return c + page > zoomed ? zoomed - page : std::max(0, RoundToInt(c));
    };
    SetScroll(place(centreX * zoomRatio, anchorX, zoomedWidth, GetControlWidth()),
              place(centreY * zoomRatio, anchorY, zoomedHeight, GetControlHeight()));
}

float KVDrawSurface::UpdateZoomFit() {
    if (displayImage.isNull())
        return zoomRatio;
    const double aspect = double(imageWidth) / double(imageHeight);
    const int w = GetControlWidth(), h = GetControlHeight();
    const double target = w / aspect <= h - kFitMargin ? w : std::round((h - kFitMargin) * aspect);
    // Fit never enlarges.
    const float ratio = target < imageWidth ? std::max(kMinZoom, static_cast<float>(target / imageWidth)) : 1.0f;
    UpdateZoom(ratio);
    return ratio;
}

void KVDrawSurface::UpdateScrollRanges() {
    const float ratio = GetDeviceRatio();
    QScrollBar* bars[2] = {horizontalScrollBar(), verticalScrollBar()};
    const int zoomed[2] = {zoomedWidth, zoomedHeight};
    const int page[2] = {GetControlWidth(), GetControlHeight()};
    for (int i = 0; i < 2; ++i) {
        bars[i]->setRange(0, std::max(0, zoomed[i] - page[i]));
        bars[i]->setPageStep(std::max(1, page[i]));
        bars[i]->setSingleStep(std::max(1, RoundToInt(20 * ratio)));
    }
}

void KVDrawSurface::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    UpdateScrollRanges();
    zoomedPage = QRect();
}

void KVDrawSurface::scrollContentsBy(int, int) { viewport()->update(); }

// ---------------------------------------------------------------------------
// Painting

void KVDrawSurface::CreateZoomedScrolledImage() {
    if (displayImage.isNull())
        return;
    const QRect page(GetScrollX(), GetScrollY(), GetVisibleCanvasWidth(), GetVisibleCanvasHeight());
    const float ratio = GetDeviceRatio();
    strokePreview.SetPage(page.x(), page.y(), page.width(), page.height(), zoomRatio);
    if (page == zoomedPage && zoomedPageRatio == zoomRatio && !zoomedImage.isNull())
        return;
    zoomedPage = page;
    zoomedPageRatio = zoomRatio;
    if (zoomRatio == 1.0f) {
        zoomedImage = displayImage.copy(page);
    } else if (zoomedWidth <= page.width() && zoomedHeight <= page.height()) {
        zoomedImage = displayImage.scaled(zoomedWidth, zoomedHeight, Qt::IgnoreAspectRatio,
                                          zoomRatio <= 1.0f ? Qt::SmoothTransformation : Qt::FastTransformation);
    } else {
        // Only the visible part is scaled: memory and time follow the
        // window, not the zoom.
        zoomedImage = QImage(page.size(), QImage::Format_ARGB32_Premultiplied);
        zoomedImage.fill(Qt::transparent);
        QPainter p(&zoomedImage);
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.setRenderHint(QPainter::SmoothPixmapTransform, zoomRatio < 1.0f);
        p.translate(-page.x(), -page.y());
        p.scale(zoomRatio, zoomRatio);
        const int x0 = std::max(0, static_cast<int>(std::floor(page.x() / zoomRatio)) - 1);
        const int y0 = std::max(0, static_cast<int>(std::floor(page.y() / zoomRatio)) - 1);
        const int x1 = std::min(displayImage.width(), static_cast<int>(std::ceil(page.right() / zoomRatio)) + 2);
        const int y1 = std::min(displayImage.height(), static_cast<int>(std::ceil(page.bottom() / zoomRatio)) + 2);
        const QRect source(x0, y0, x1 - x0, y1 - y0);
        p.drawImage(QRectF(source), displayImage, QRectF(source));
    }
    zoomedImage.setDevicePixelRatio(ratio);

    // The checkerboard moves with the image.
    backgroundImage = QImage(page.size(), QImage::Format_RGB32);
    QPainter b(&backgroundImage);
    b.fillRect(backgroundImage.rect(), Qt::white);
    const QColor grey(204, 204, 204);
    const int firstX = page.x() / kCheckerCell, firstY = page.y() / kCheckerCell;
    for (int cy = firstY; cy * kCheckerCell < page.bottom() + 1; ++cy)
        for (int cx = firstX + ((firstX + cy) & 1); cx * kCheckerCell < page.right() + 1; cx += 2)
            b.fillRect(cx * kCheckerCell - page.x(), cy * kCheckerCell - page.y(), kCheckerCell, kCheckerCell, grey);
    b.end();
    backgroundImage.setDevicePixelRatio(ratio);
}

void KVDrawSurface::paintEvent(QPaintEvent*) {
    QPainter p(viewport());
    const float ratio = GetDeviceRatio();
    p.fillRect(viewport()->rect(), QColor(128, 128, 128));
    if (displayImage.isNull())
        return;
    CreateZoomedScrolledImage();
    const int offsetX = PageOffsetX(), offsetY = PageOffsetY();
    const QPointF at(offsetX / ratio, offsetY / ratio);
    p.drawImage(at, backgroundImage);
    p.drawImage(at, zoomedImage);

    // From zoomed canvas space to the painter's logical pixels.
    const float originX = static_cast<float>(offsetX - GetScrollX());
    const float originY = static_cast<float>(offsetY - GetScrollY());
    auto logical = [&](float cx, float cy) { return QPointF((cx + originX) / ratio, (cy + originY) / ratio); };

    if (!strokePreview.IsEmpty() && strokePreview.GetPage().IsValid()) {
        QImage strokes = LToQImageView(strokePreview.GetPage());
        strokes.setDevicePixelRatio(ratio);
        p.drawImage(at, strokes);
    }

    p.setRenderHint(QPainter::Antialiasing, true);
    const unsigned long count = drawPath ? drawPath->GetCoords().GetCount() : 0;
    if (captureMode == KVCaptureLine && count == 2) {
        const KVDrawCoord& a = *drawPath->GetCoords().GetFirst();
        const KVDrawCoord& b = *drawPath->GetCoords().GetLast();
        QPen pen(ToQColor(lineColor, lineColor.alpha), lineWidth * zoomRatio / ratio);
        pen.setCapStyle(Qt::FlatCap);
        p.setPen(pen);
        p.drawLine(logical(a.x, a.y), logical(b.x, b.y));
    } else if (captureMode == KVCaptureRectangle && count >= 2) {
        const KVDrawCoord& a = *drawPath->GetCoords().GetFirst();
        const KVDrawCoord& b = *drawPath->GetCoords().GetFirst()->GetNext();
        const QRectF box(logical(std::round(std::min(a.x, b.x)), std::round(std::min(a.y, b.y))),
                         logical(std::round(std::max(a.x, b.x)), std::round(std::max(a.y, b.y))));
        PaintShapePreview(p, box);
    }

    KVWidgetPaint paint{p, originX, originY, zoomRatio, ratio, optionHeld && captureMode == KVCaptureSelect};
    if (selectedWidget)
        selectedWidget->Draw(paint);
    if (hoverWidget && hoverWidget != selectedWidget)
        hoverWidget->DrawDisabled(paint);
}

void KVDrawSurface::PaintShapePreview(QPainter& p, const QRectF& box) const {
    ShapeLook look;
    const bool known = previewElement && (LookOf<KVRectangleElement>(*previewElement, look) ||
                                          LookOf<KVEllipseElement>(*previewElement, look) ||
                                          LookOf<KVTriangleElement>(*previewElement, look) ||
                                          LookOf<KVPolygonElement>(*previewElement, look));
    if (!known) {
        p.setPen(QPen(Qt::black, 0));
        p.setBrush(Qt::NoBrush);
        p.drawRect(box);
        return;
    }
    const float ratio = GetDeviceRatio();
    // The unit shape scaled to the box: the outline the element will have.
    const QPainterPath outline =
        KVShapeOutline(previewElement->GetName(),
                       std::strcmp(previewElement->GetName(), "triangle") == 0 ? look.corner : look.sides, box);
    if (look.filled)
        p.fillPath(outline, ToQColor(look.fill, look.fill.alpha));
    const LGuiColorAlpha& c = look.lineColour;
    if (look.lineWidth > 0 && c.alpha > 0) {
        p.setPen(QPen(ToQColor(c, c.alpha), look.lineWidth * zoomRatio / ratio));
        p.setBrush(Qt::NoBrush);
        p.drawPath(outline);
    }
}
