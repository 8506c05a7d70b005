// The canvas under the pointer, the pen and the keys: each capture mode's
// treatment of the button, the freehand stroke and its live picture, and
// the selection.

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QTabletEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "surface/canvas_widgets.h"
#include "surface/draw_surface.h"

namespace {

// A pen's pressure from 0 to 1 becomes a level up to this.
constexpr long kPressureMaximum = 1023;
// One notch of a mouse wheel.
constexpr int kWheelNotch = 120;

bool IsArrow(int key) { return key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down; }

} // namespace

QPoint KVDrawSurface::DevicePoint(QPointF logical) const {
    const float ratio = GetDeviceRatio();
    return QPoint(static_cast<int>(std::lround(logical.x() * ratio)), static_cast<int>(std::lround(logical.y() * ratio)));
}

// ---------------------------------------------------------------------------
// Qt's events, in control space

void KVDrawSurface::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint at = DevicePoint(event->position());
    EvLButtonDown(at.x(), at.y(), event->modifiers(), -1);
}

void KVDrawSurface::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = DevicePoint(event->position());
    EvMouseMove(at.x(), at.y(), event->modifiers(), event->buttons() & Qt::LeftButton, -1);
}

void KVDrawSurface::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton && !(event->buttons() & Qt::LeftButton)) {
        // The element under the pointer is what the menu will be about.
        const QPoint at = DevicePoint(event->position());
        float ix = static_cast<float>(at.x()), iy = static_cast<float>(at.y());
        ConvertCoordsForWidget(ix, iy);
        if (captureMode == KVCaptureSelect)
            SelectWidget(FindWidgetAt(ix, iy, nullptr), true);
        KVSurfaceMessageData data;
        data.widget = selectedWidget;
        data.x = at.x();
        data.y = at.y();
        Send(KVMsgRightClick, data);
        return;
    }
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint at = DevicePoint(event->position());
    EvLButtonUp(at.x(), at.y(), event->modifiers(), -1);
}

// A pen feeds the same capture as the mouse, with its pressure. Accepted,
// so that no mouse events are made of it as well.
void KVDrawSurface::tabletEvent(QTabletEvent* event) {
    const QPoint at = DevicePoint(event->position());
    const long level = std::clamp(static_cast<long>(std::lround(event->pressure() * kPressureMaximum)), 0L,
                                  kPressureMaximum);
    switch (event->type()) {
    case QEvent::TabletPress:
        if (event->button() == Qt::LeftButton)
            EvLButtonDown(at.x(), at.y(), event->modifiers(), level);
        break;
    case QEvent::TabletMove:
        EvMouseMove(at.x(), at.y(), event->modifiers(), event->buttons() & Qt::LeftButton, level);
        break;
    case QEvent::TabletRelease:
        if (event->button() == Qt::LeftButton)
            EvLButtonUp(at.x(), at.y(), event->modifiers(), level);
        break;
    default:
        return;
    }
    event->accept();
}

bool KVDrawSurface::viewportEvent(QEvent* event) {
    switch (event->type()) {
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
        tabletEvent(static_cast<QTabletEvent*>(event));
        return true;
    default:
        return QAbstractScrollArea::viewportEvent(event);
    }
}

void KVDrawSurface::wheelEvent(QWheelEvent* event) {
    const int delta = event->angleDelta().y();
    if (!(event->modifiers() & Qt::ControlModifier) || delta == 0) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    // A touchpad sends many small steps: they add up to notches.
    wheelRemainder += delta;
    const int notches = wheelRemainder / kWheelNotch;
    wheelRemainder -= notches * kWheelNotch;
    const QPoint at = DevicePoint(event->position());
    if (notches != 0)
        EvMouseWheel(at.x(), at.y(), notches);
    event->accept();
}

void KVDrawSurface::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space) {
        if (!event->isAutoRepeat()) {
            spaceHeld = true;
            viewport()->setCursor(Qt::OpenHandCursor);
        }
        return;
    }
    if (IsArrow(event->key()) && captureMode == KVCaptureSelect && selectedWidget)
        return; // acted on at the release and at each repeat
    QAbstractScrollArea::keyPressEvent(event);
}

void KVDrawSurface::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space) {
        if (!event->isAutoRepeat()) {
            spaceHeld = false;
            handScrolling = false;
            SetImageCursor();
        }
        return;
    }
    // A held key repeats as releases and presses: each release nudges.
    if (!EvKeyUp(event->key(), event->modifiers()))
        QAbstractScrollArea::keyReleaseEvent(event);
}

// ---------------------------------------------------------------------------
// Button, pointer, wheel and keys

void KVDrawSurface::EvLButtonDown(int x, int y, Qt::KeyboardModifiers keys, long level) {
    setFocus();
    if (spaceHeld) {
        handX = x;
        handY = y;
        handScrolling = true;
        return;
    }
    float ix = static_cast<float>(x), iy = static_cast<float>(y);
    ConvertCoordsForWidget(ix, iy);
    const bool grouping = keys & (Qt::ControlModifier | Qt::AltModifier);
    if (selectedWidget && !grouping && captureMode == KVCaptureSelect && BeginWidgetDrag(ix, iy, keys))
        return;
    if (selectedWidget) {
        auto* group = dynamic_cast<KVMultiSelectWidget*>(selectedWidget);
        if (captureMode == KVCaptureSelect && (keys & Qt::AltModifier) && group) {
            if (KVCanvasWidget* out = group->RemoveElement(ix, iy)) {
                widgets.PushFront(out);
                if (group->GetMembers()->GetCount() == 1) {
                    auto* last = static_cast<KVCanvasWidget*>(group->GetMembers()->PopFront());
                    widgets.PushFront(last);
                    selectedWidget = nullptr;
                    delete group;
                    SelectWidget(last, true);
                    return;
                }
            }
            KVSurfaceMessageData data;
            data.widget = group;
            Send(KVMsgWidgetPicked, data);
            viewport()->update();
            return;
        }
        if (captureMode == KVCaptureSelect && (keys & Qt::ControlModifier)) {
            KVCanvasWidget* added = hoverWidget ? hoverWidget : FindWidgetAt(ix, iy, selectedWidget);
            if (added && widgets.Owns(added)) {
                if (!group) {
                    widgets.Remove(selectedWidget);
                    group = new KVMultiSelectWidget(selectedWidget);
                    selectedWidget = group;
                    KVSurfaceMessageData data;
                    data.widget = group;
                    Send(KVMsgWidgetSelected, data);
                }
                widgets.Remove(added);
                group->Add(added);
                KVSurfaceMessageData data;
                data.widget = group;
                Send(KVMsgWidgetPicked, data);
                hoverWidget = nullptr;
                viewport()->update();
                return;
            }
        }
        DeselectWidget(true);
    }
    const int cx = TranslateToCanvasX(x), cy = TranslateToCanvasY(y);
    switch (captureMode) {
    case KVCaptureEyedropper: {
        const int px = static_cast<int>(std::floor(ix)), py = static_cast<int>(std::floor(iy));
        if (displayImage.isNull() || !displayImage.rect().contains(px, py))
            return;
        const QColor c = QColor::fromRgba(displayImage.pixel(px, py));
        KVSurfaceMessageData data;
        data.colour = LGuiColor::FromBytes(static_cast<unsigned char>(c.red()), static_cast<unsigned char>(c.green()),
                                           static_cast<unsigned char>(c.blue()));
        Send(KVMsgPickColour, data);
        return;
    }
    case KVCaptureSelect: {
        if (KVCanvasWidget* hit = hoverWidget ? hoverWidget : FindWidgetAt(ix, iy, nullptr)) {
            hoverWidget = nullptr;
            SelectWidget(hit, true);
            // A press on a shape picks it up at once: select and move in one.
            BeginWidgetDrag(ix, iy, keys);
            return;
        }
        hoverWidget = nullptr;
        // The rubber band: selected until the button comes up.
        selectedWidget = new KVSelectionDragWidget(ix, iy);
        viewport()->update();
        return;
    }
    case KVCaptureLine:
    case KVCaptureRectangle:
        drawPath.Set(new KVDrawPath(static_cast<unsigned long>(zoomedWidth), static_cast<unsigned long>(zoomedHeight), nullptr));
        drawPath->AddCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        return;
    case KVCaptureFreehand: {
        drawPath.Set(new KVDrawPath(static_cast<unsigned long>(zoomedWidth), static_cast<unsigned long>(zoomedHeight), nullptr));
        pressureLevels.clear();
        tabletStroke = level >= 0;
        strokeLastX = cx;
        strokeLastY = cy;
        KVStrokeStyle style;
        style.type = stampType;
        style.width = lineWidth;
        style.colour = lineColor;
        CreateZoomedScrolledImage();
        strokePreview.Begin(style, {cx / zoomRatio, cy / zoomRatio});
        viewport()->update();
        return;
    }
    default:
        return;
    }
}

void KVDrawSurface::EvMouseMove(int x, int y, Qt::KeyboardModifiers, bool buttonHeld, long level) {
    const int cx = TranslateToCanvasX(x), cy = TranslateToCanvasY(y);
    Send(KVMsgPointerPosition, cx, cy);
    if (handScrolling) {
        SetScroll(handX - x + GetScrollX(), handY - y + GetScrollY());
        handX = x;
        handY = y;
        return;
    }
    float ix = static_cast<float>(x), iy = static_cast<float>(y);
    ConvertCoordsForWidget(ix, iy);
    switch (captureMode) {
    case KVCaptureSelect: {
        if (auto* band = dynamic_cast<KVSelectionDragWidget*>(selectedWidget)) {
            band->DragTo(ix, iy);
            viewport()->update();
            return;
        }
        if (selectedWidget && selectedWidget->IsDragging()) {
            // The frame alone follows; the element waits for the release.
            selectedWidget->DragTo(ix, iy);
            viewport()->update();
            return;
        }
        if (selectedWidget && !buttonHeld)
            viewport()->setCursor(HandleCursor(selectedWidget->WhichHandle(ix, iy, 1 / zoomRatio),
                                               selectedWidget->GetFrame().rotation));
        const bool inside = x >= 0 && y >= 0 && x <= GetControlWidth() && y <= GetControlHeight();
        KVCanvasWidget* hover = inside && !buttonHeld ? FindWidgetAt(ix, iy, selectedWidget) : nullptr;
        if (hover != hoverWidget) {
            hoverWidget = hover;
            viewport()->update();
        }
        return;
    }
    case KVCaptureLine:
    case KVCaptureRectangle:
        if (!drawPath)
            return;
        if (drawPath->GetCoords().GetCount() < 2)
            drawPath->AddCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        else
            drawPath->ReplaceLastCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        viewport()->update();
        return;
    case KVCaptureFreehand: {
        if (!drawPath)
            return;
        drawPath->AddCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        AppendPressure(level);
        CreateZoomedScrolledImage();
        strokePreview.Extend({cx / zoomRatio, cy / zoomRatio});
        // Only the new segment is painted again.
        const int r = static_cast<int>(std::lround(lineWidth * zoomRatio)) + 2;
        const float ratio = GetDeviceRatio();
        const int left = std::min(strokeLastX, cx) - r + PageOffsetX() - GetScrollX();
        const int top = std::min(strokeLastY, cy) - r + PageOffsetY() - GetScrollY();
        const QRectF dirty(left / ratio, top / ratio, (std::abs(cx - strokeLastX) + 2 * r) / ratio,
                           (std::abs(cy - strokeLastY) + 2 * r) / ratio);
        viewport()->update(dirty.toAlignedRect().adjusted(-1, -1, 1, 1));
        strokeLastX = cx;
        strokeLastY = cy;
        return;
    }
    default:
        return;
    }
}

void KVDrawSurface::EvLButtonUp(int x, int y, Qt::KeyboardModifiers, long level) {
    if (handScrolling) {
        handScrolling = false;
        return;
    }
    const int cx = TranslateToCanvasX(x), cy = TranslateToCanvasY(y);
    switch (captureMode) {
    case KVCaptureSelect:
        if (dynamic_cast<KVSelectionDragWidget*>(selectedWidget)) {
            FinishRubberBand();
        } else if (selectedWidget && selectedWidget->IsDragging()) {
            if (selectedWidget->EndDrag()) {
                KVSurfaceMessageData data;
                data.widget = selectedWidget;
                Send(KVMsgWidgetChanged, data);
            }
            viewport()->update();
        }
        return;
    case KVCaptureLine:
        if (!drawPath)
            return;
        if (drawPath->GetCoords().GetCount() < 2)
            drawPath->AddCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        else
            drawPath->ReplaceLastCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        ReleasePath();
        return;
    case KVCaptureRectangle:
        if (!drawPath)
            return;
        drawPath->AddCoord(new KVDrawCoord(static_cast<float>(cx), static_cast<float>(cy)));
        ReleasePath();
        return;
    case KVCaptureFreehand:
        if (!drawPath)
            return;
        if (drawPath->GetCoords().GetCount() < 2) {
            // A click makes a dot: a small cross of strokes.
            const float d = std::max(lineWidth / 25.0f, 1.0f) * zoomRatio;
            const float px = static_cast<float>(cx), py = static_cast<float>(cy);
            const float cross[5][2] = {{px, py - d}, {px, py + d}, {px, py}, {px + d, py}, {px - d, py}};
            for (const auto& c : cross) {
                drawPath->AddCoord(new KVDrawCoord(c[0], c[1]));
                AppendPressure(level);
                strokePreview.Extend({c[0] / zoomRatio, c[1] / zoomRatio});
            }
        }
        if (tabletStroke)
            drawPath->SetPressureLevels(pressureLevels.data(), static_cast<unsigned long>(pressureLevels.size()),
                                        static_cast<unsigned long>(kPressureMaximum));
        // The stroke stays on screen until its render arrives.
        strokePreview.End();
        ReleasePath();
        viewport()->update();
        return;
    default:
        return;
    }
}

void KVDrawSurface::AppendPressure(long level) {
    if (tabletStroke)
        pressureLevels.push_back(std::max(0L, level));
}

void KVDrawSurface::ReleasePath() {
    KVSurfaceMessageData data;
    data.path.Set(drawPath.Release());
    Send(KVMsgPathComplete, data);
    viewport()->update();
}

void KVDrawSurface::EvMouseWheel(int x, int y, int notches) {
    float ix = static_cast<float>(x), iy = static_cast<float>(y);
    ConvertCoordsForWidget(ix, iy);
    zoomAnchorImageX = ix;
    zoomAnchorImageY = iy;
    zoomAnchorControlX = static_cast<float>(x);
    zoomAnchorControlY = static_cast<float>(y);
    Send(KVMsgWheelZoom, notches);
    // A zoom that changed nothing leaves no anchor for the next one.
    zoomAnchorImageX = zoomAnchorImageY = zoomAnchorControlX = zoomAnchorControlY = -1;
}

bool KVDrawSurface::EvKeyUp(int key, Qt::KeyboardModifiers keys) {
    if (captureMode != KVCaptureSelect || !selectedWidget || !IsArrow(key) ||
        dynamic_cast<KVSelectionDragWidget*>(selectedWidget))
        return false;
    const float step = (keys & Qt::ShiftModifier) ? 10.0f : 1.0f;
    const float dx = key == Qt::Key_Left ? -step : key == Qt::Key_Right ? step : 0.0f;
    const float dy = key == Qt::Key_Up ? -step : key == Qt::Key_Down ? step : 0.0f;
    selectedWidget->Translate(dx, dy);
    KVSurfaceMessageData data;
    data.widget = selectedWidget;
    Send(KVMsgWidgetChanged, data);
    viewport()->update();
    return true;
}

// ---------------------------------------------------------------------------
// Tools

void KVDrawSurface::SetPointCaptureMode(KV_CAPTURE_MODE mode) {
    drawPath.Reset();
    if (mode != KVCaptureSelect)
        DeselectWidget(true);
    hoverWidget = nullptr;
    captureMode = mode;
    SetImageCursor();
    viewport()->update();
}

void KVDrawSurface::SetLineWidth(float width) {
    lineWidth = width;
    SetImageCursor();
}

void KVDrawSurface::SetLineColor(LGuiColorAlpha colour) {
    lineColor = colour;
    SetImageCursor();
}

void KVDrawSurface::SetImageCursor() {
    if (spaceHeld)
        return;
    const bool cross = captureMode == KVCaptureLine || captureMode == KVCaptureRectangle ||
                       captureMode == KVCaptureMask || captureMode == KVCapturePathTool;
    const float ratio = GetDeviceRatio();
    const int size = static_cast<int>(std::lround(lineWidth * zoomRatio));
    // Below a radius of 3 a circle hides the point it marks.
    if (captureMode != KVCaptureFreehand || size < 6) {
        viewport()->setCursor(cross || captureMode == KVCaptureFreehand ? Qt::CrossCursor : Qt::ArrowCursor);
        return;
    }
    const int side = std::min(size + 2, 512);
    QPixmap brush(side, side);
    brush.fill(Qt::transparent);
    {
        QPainter p(&brush);
        p.setRenderHint(QPainter::Antialiasing);
        const QColor colour(lineColor.red >> 8, lineColor.green >> 8, lineColor.blue >> 8);
        // The colour's inverse outlines it on any picture.
        p.setPen(QPen(QColor(255 - colour.red(), 255 - colour.green(), 255 - colour.blue()), 1));
        p.setBrush(QColor(colour.red(), colour.green(), colour.blue(), 96));
        p.drawEllipse(QRectF(0.5, 0.5, side - 1.0, side - 1.0));
    }
    brush.setDevicePixelRatio(ratio);
    viewport()->setCursor(QCursor(brush, static_cast<int>(side / 2 / ratio), static_cast<int>(side / 2 / ratio)));
}

// ---------------------------------------------------------------------------
// Widgets and selection

// The resize arrows turn with the frame, a quarter turn at a time.
Qt::CursorShape KVDrawSurface::HandleCursor(int handle, float rotation) {
    const bool odd = static_cast<int>(std::lround((rotation + 360) / 90)) % 2 != 0;
    switch (handle) {
    case KVHandleTopLeft:
    case KVHandleBottomRight: return odd ? Qt::SizeBDiagCursor : Qt::SizeFDiagCursor;
    case KVHandleTopRight:
    case KVHandleBottomLeft: return odd ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
    case KVHandleLeft:
    case KVHandleRight: return odd ? Qt::SizeVerCursor : Qt::SizeHorCursor;
    case KVHandleTop:
    case KVHandleBottom: return odd ? Qt::SizeHorCursor : Qt::SizeVerCursor;
    case KVHandleInside: return Qt::SizeAllCursor;
    case KVHandleRotation: return Qt::PointingHandCursor;
    default: return Qt::ArrowCursor;
    }
}

bool KVDrawSurface::BeginWidgetDrag(float x, float y, Qt::KeyboardModifiers keys) {
    if (!selectedWidget || dynamic_cast<KVSelectionDragWidget*>(selectedWidget))
        return false;
    // Shift holds the shape's proportions.
    if (!selectedWidget->BeginDrag(x, y, 1 / zoomRatio, keys & Qt::ShiftModifier, rotationSnap))
        return false;
    viewport()->update();
    return true;
}

KVCanvasWidget* KVDrawSurface::FindWidgetOf(const KVElement* element) const {
    for (KVElementWidget& w : widgets)
        if (w.IsParentElement(element))
            return static_cast<KVCanvasWidget*>(&w);
    return nullptr;
}

KVCanvasWidget* KVDrawSurface::FindWidgetAt(float x, float y, const KVCanvasWidget* skip) const {
    for (KVElementWidget& w : widgets) {
        auto& widget = static_cast<KVCanvasWidget&>(w);
        if (&widget != skip && widget.IsPositionInsideWidget(x, y))
            return &widget;
    }
    return nullptr;
}

void KVDrawSurface::AddWidgets(LList<KVElementWidget>& list) {
    // The selection outlives the rebuild, by its elements.
    std::vector<const KVElement*> chosen;
    if (selectedWidget && !dynamic_cast<KVSelectionDragWidget*>(selectedWidget)) {
        if (LList<KVElementWidget>* members = selectedWidget->GetMembers())
            for (const KVElementWidget& m : *members)
                chosen.push_back(m.GetElement());
        else
            chosen.push_back(selectedWidget->GetElement());
    }
    RemoveWidgets();
    while (KVElementWidget* w = list.PopFront()) {
        if (dynamic_cast<KVCanvasWidget*>(w))
            widgets.PushBack(w);
        else
            delete w;
    }
    KVMultiSelectWidget* group = nullptr;
    KVCanvasWidget* single = nullptr;
    for (const KVElement* e : chosen)
        for (KVElementWidget& w : widgets)
            if (w.IsParentElement(e)) {
                auto* widget = static_cast<KVCanvasWidget*>(&w);
                if (!single) {
                    single = widget;
                } else {
                    if (!group) {
                        widgets.Remove(single);
                        group = new KVMultiSelectWidget(single);
                    }
                    widgets.Remove(widget);
                    group->Add(widget);
                }
                break;
            }
    selectedWidget = group ? group : single;
    viewport()->update();
}

void KVDrawSurface::RemoveWidgets() {
    // A group's members go back first, and die with the rest.
    if (selectedWidget && !widgets.Owns(selectedWidget)) {
        if (LList<KVElementWidget>* members = selectedWidget->GetMembers())
            widgets.AppendAll(*members);
        delete selectedWidget;
    }
    selectedWidget = hoverWidget = nullptr;
    widgets.DeleteAll();
    viewport()->update();
}

void KVDrawSurface::SelectWidget(KVCanvasWidget* widget, bool userAction) {
    if (!widget || widget == selectedWidget)
        return;
    if (selectedWidget)
        DeselectWidget(false);
    selectedWidget = widget;
    KVSurfaceMessageData data;
    data.widget = widget;
    Send(KVMsgWidgetSelected, data);
    if (userAction)
        Send(KVMsgWidgetPicked, data);
    viewport()->update();
}

void KVDrawSurface::DeselectWidget(bool clearList) {
    if (!selectedWidget)
        return;
    // A group gives its members back; it and a rubber band are the
    // surface's own.
    if (!widgets.Owns(selectedWidget)) {
        if (LList<KVElementWidget>* members = selectedWidget->GetMembers())
            widgets.AppendAll(*members);
        delete selectedWidget;
    }
    selectedWidget = nullptr;
    Send(KVMsgSelectionCleared, clearList ? 1 : 0);
    viewport()->update();
}

void KVDrawSurface::SelectAll() {
    if (widgets.IsEmpty())
        return;
    DeselectWidget(false);
    if (widgets.GetCount() == 1) {
        SelectWidget(static_cast<KVCanvasWidget*>(widgets.GetFirst()), true);
        return;
    }
    auto* group = new KVMultiSelectWidget(static_cast<KVCanvasWidget*>(widgets.PopFront()));
    while (KVElementWidget* w = widgets.PopFront())
        group->Add(static_cast<KVCanvasWidget*>(w));
    SelectWidget(group, true);
}

void KVDrawSurface::FinishRubberBand() {
    auto* band = static_cast<KVSelectionDragWidget*>(selectedWidget);
    const LBoundingBox2T<float> box = band->GetBounds();
    selectedWidget = nullptr;
    delete band;
    // Touching counts: two boxes are apart only when one ends before the
    // other begins.
    LList<KVElementWidget> caught;
    for (KVElementWidget* w = widgets.GetFirst(); w;) {
        KVElementWidget* next = w->GetNext();
        const LBoundingBox2T<float> d = w->GetDimensions();
        if (!(d.x2 < box.x1 || box.x2 < d.x1 || d.y2 < box.y1 || box.y2 < d.y1))
            caught.PushBack(widgets.Remove(w));
        w = next;
    }
    if (caught.GetCount() >= 2) {
        auto* group = new KVMultiSelectWidget(static_cast<KVCanvasWidget*>(caught.PopFront()));
        while (KVElementWidget* w = caught.PopFront())
            group->Add(static_cast<KVCanvasWidget*>(w));
        SelectWidget(group, true);
    } else if (KVElementWidget* only = caught.PopFront()) {
        widgets.PushFront(only);
        SelectWidget(static_cast<KVCanvasWidget*>(only), true);
    } else {
        Send(KVMsgSelectionCleared, 1);
    }
    viewport()->update();
}
