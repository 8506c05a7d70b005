#pragma once
// The canvas: one scrolling control that shows the rendered picture of the
// current project at any zoom, draws the live feedback of the tool in use
// over it, and turns pointer and key input into finished paths or into
// selections. It never changes the document: everything it learns goes up
// to its parent as a numbered message.
//
// Four spaces: control space (device pixels from the control's top left),
// zoomed canvas space (device pixels from the zoomed image's top left,
// scroll included; what a KVDrawPath holds), image space (image pixels,
// float) and the page offset (where the zoomed image starts when it is
// smaller than the control). Zoom 1.0 is one image pixel to one device
// pixel, whatever the screen's scale.

#include <QAbstractScrollArea>
#include <QImage>

#include <memory>

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/ptr.h"
#include "surface/stroke_preview.h"
#include "document/widget.h"
#include "target/draw_path.h"

class KVElementWidget;
class KVElement;
class LImageBuffer;
class QPainter;

enum KV_CAPTURE_MODE : int {
    KVCaptureNone = 0,
    KVCaptureEyedropper = 1,
    KVCaptureSelect = 2,
    KVCaptureLine = 3,
    KVCaptureRectangle = 4,
    KVCaptureFreehand = 5,
    KVCaptureCrop = 6,
    KVCaptureMask = 7,
    KVCapturePathTool = 8,
};

// The messages the surface sends its parent.
enum KVSurfaceMessage : unsigned {
    KVMsgPathComplete = 1,
    KVMsgWidgetChanged = 7,
    KVMsgPickColour = 10,
    KVMsgWidgetSelected = 14,
    KVMsgSelectionCleared = 16,
    KVMsgPointerPosition = 34,
    KVMsgWheelZoom = 39,
    KVMsgZoomChanged = 40,
    KVMsgWidgetPicked = 48,
    // A right click: the widget under it is selected first, and goes up
    // with the message (null when there is none) so that the window can
    // offer what may be done with it; x, y is the control point.
    KVMsgRightClickMenu = 56,
    // Every third click on nothing while the current layer has no widgets.
    KVMsgEmptyLayerTip = 63,
};

struct KVSurfaceMessageData {
    // KVMsgPathComplete: the path, whose ownership passes.
    LPtr<KVDrawPath> path;
    // KVMsgWidgetChanged, KVMsgWidgetSelected, KVMsgWidgetPicked,
    // KVMsgRightClickMenu.
    KVElementWidget* widget = nullptr;
    // KVMsgPickColour.
    LGuiColor colour;
    // KVMsgPointerPosition: canvas point; KVMsgRightClickMenu: control point; KVMsgWheelZoom: notches in x;
    // KVMsgZoomChanged: percent in x; KVMsgSelectionCleared: 1 in x also
    // clears the layer list's selection.
    int x = 0, y = 0;
};

class KVDrawSurfaceParent {
public:
    virtual ~KVDrawSurfaceParent() = default;
    virtual void EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data) = 0;
};

class KVDrawSurface : public QAbstractScrollArea {
public:
    explicit KVDrawSurface(KVDrawSurfaceParent& parent, QWidget* parentWidget = nullptr);
    ~KVDrawSurface() override;

    // Image and zoom.
    void UpdateDisplayedImage(const LImageBuffer& picture);
    void UpdateDisplayedImage(const QImage& picture);
    void RemoveImage();
    bool HasImage() const { return !displayImage.isNull(); }
    const QImage& GetDisplayedImage() const { return displayImage; }
    // Nothing without an image.
    void UpdateZoom(float zoom);
    // The ratio at which the image fits the control, never above 1.0 nor
    // below 0.1, with 40 pixels kept free under it; applied and returned.
    float UpdateZoomFit();
    // What to do when the next picture arrives: 0 nothing, negative fit,
    // positive this ratio.
    void SetNextImageZoom(float zoom) { nextImageZoom = zoom; }
    float GetZoom() const { return zoomRatio; }
    unsigned long GetImageWidth() const { return imageWidth; }
    unsigned long GetImageHeight() const { return imageHeight; }

    // Coordinates.
    int TranslateToCanvasX(int x) const;
    int TranslateToCanvasY(int y) const;
    // Control point to image point.
    void ConvertCoordsForWidget(float& x, float& y) const;
    int GetVisibleCanvasWidth() const;
    int GetVisibleCanvasHeight() const;
    LBoundingBox2T<float> GetCanvasVisibleBounds() const;
    int GetScrollX() const;
    int GetScrollY() const;
    void SetScroll(int x, int y);
    // The control's size in device pixels.
    int GetControlWidth() const;
    int GetControlHeight() const;
    float GetDeviceRatio() const;

    // Tools.
    void SetPointCaptureMode(KV_CAPTURE_MODE mode);
    KV_CAPTURE_MODE GetCaptureMode() const { return captureMode; }
    // Image pixels; the brush cursor follows.
    void SetLineWidth(float width);
    void SetLineColor(LGuiColorAlpha colour);
    void SetStampType(KVBrushType type) { stampType = type; }
    KVBrushType GetStampType() const { return stampType; }
    // The unit shape of the shape tool in use, or null; the caller keeps it.
    void SetPreviewElement(KVElement* element) { previewElement = element; }
    const KVStrokePreview& GetStrokePreview() const { return strokePreview; }

    // Widgets and selection. The surface owns its widgets.
    void AddWidgets(LList<KVElementWidget>& list);
    void RemoveWidgets();
    // Null does nothing.
    void SelectWidget(KVElementWidget* widget, bool userAction);
    // The widget of `element` among the unselected ones, or null.
    KVElementWidget* FindWidgetOf(const KVElement* element) const;
    void DeselectWidget(bool clearList);
    void SelectAll();
    // The element's widget joins the selection, a group when there was one
    // already; and leaves it again.
    void AddElementToSelection(const KVElement* element);
    void RemoveElementFromSelection(const KVElement* element);
    KVElementWidget* GetSelectedWidget() const { return selectedWidget; }
    const LList<KVElementWidget>& GetWidgets() const { return widgets; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void tabletEvent(QTabletEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    // The events in control space, device pixels. `level` is a pen's
    // pressure level, or -1 for a mouse.
    void EvLButtonDown(int x, int y, Qt::KeyboardModifiers keys, long level);
    void EvMouseMove(int x, int y, Qt::KeyboardModifiers keys, bool buttonHeld, long level);
    void EvLButtonUp(int x, int y, Qt::KeyboardModifiers keys, long level);
    void EvRButtonUp(int x, int y);
    void EvMouseWheel(int x, int y, int notches);
    // Arrow keys nudge the selection on release and on each repeat.
    bool EvKeyUp(int key, Qt::KeyboardModifiers keys);

    void Send(KVSurfaceMessage id, KVSurfaceMessageData& data);
    void Send(KVSurfaceMessage id, int x = 0, int y = 0);
    // Recomputes the zoomed size and places the view after a zoom.
    void ApplyZoom();
    void UpdateScrollRanges();
    void PlaceView(float centreX, float centreY, float anchorX, float anchorY);
    int PageOffsetX() const;
    int PageOffsetY() const;
    // Rebuilds the page pictures (zoomed image, checkerboard) when the page moved.
    void CreateZoomedScrolledImage();
    void AppendPressure(long level);
    void ReleasePath();
    KVElementWidget* FindWidgetAt(float x, float y, const KVElementWidget* skip) const;
    // Starts a drag of the selected frame from the handle at (x, y), in
    // image space; false when the point is on none.
    bool BeginWidgetDrag(float x, float y, Qt::KeyboardModifiers keys);
    static Qt::CursorShape HandleCursor(int handle, float rotation);
    void FinishRubberBand();
    QPoint DevicePoint(QPointF logical) const;
    void PaintShapePreview(QPainter& painter, const QRectF& box) const;
    // A freehand tool shows its brush as a circle of its size at the zoom;
    // the others their standard cursor.
    void SetImageCursor();

    KVDrawSurfaceParent& parent;

    bool handScrolling = false;
    int handX = 0, handY = 0;
    unsigned long imageWidth = 500, imageHeight = 500;
    float zoomRatio = 1.0f;
    float nextImageZoom = 0.0f;
    float lineWidth = 1.0f;
    LGuiColorAlpha lineColor{0, 0, 0, 255};
    KVBrushType stampType = KVBrushRoundPen;
    int zoomedWidth = 1, zoomedHeight = 1;
    int strokeLastX = 0, strokeLastY = 0;
    int wheelRemainder = 0;
    // The image point under the pointer at a wheel zoom, and its control
    // point; negative: no anchor.
    float zoomAnchorImageX = -1, zoomAnchorImageY = -1;
    float zoomAnchorControlX = -1, zoomAnchorControlY = -1;
    KV_CAPTURE_MODE captureMode = KVCaptureSelect;
    KVElement* previewElement = nullptr;

    // The last render at image size; the visible page of it at the zoom,
    // and the checkerboard behind it, keyed by where the page was made.
    QImage displayImage;
    QImage zoomedImage;
    QImage backgroundImage;
    QRect zoomedPage;
    float zoomedPageRatio = 0.0f;
    KVStrokePreview strokePreview;

    LPtr<KVDrawPath> drawPath;
    std::vector<long> pressureLevels;
    bool spaceHeld = false;
    int emptyClicks = 0;
    bool tabletStroke = false;

    LList<KVElementWidget> widgets;
    KVElementWidget* selectedWidget = nullptr;
    // Option (Alt) is down: a group marks only the member a click with it
    // would take out.
    bool optionHeld = false;
    KVElementWidget* hoverWidget = nullptr;
};
