#pragma once
// A plain scrolling view of one picture at a zoom, over a checkerboard where
// the picture is transparent.

#include <QImage>
#include <QScrollArea>

#include <functional>

class LImageBuffer;

// A copy of the picture as Qt's premultiplied ARGB; null for an invalid one.
QImage LToQImage(const LImageBuffer& picture);

class LPictureView : public QScrollArea {
public:
    explicit LPictureView(QWidget* parent = nullptr);

    // Copies the picture (any format; shown as premultiplied BGRA). An
    // invalid buffer empties the view.
    void SetPicture(const LImageBuffer& picture) { SetPicture(LToQImage(picture)); }
    void SetPicture(const QImage& picture);
    void ClearPicture();
    bool HasPicture() const { return !picture.isNull(); }
    const QImage& GetPicture() const { return picture; }

    // 1.0 is one picture pixel a screen pixel.
    void SetZoom(double zoom);
    double GetZoom() const { return zoom; }
    // The zoom at which the whole picture fits the visible area.
    double GetFitZoom() const;

    // Control and the wheel ask for a zoom step: positive in, negative out.
    void SetWheelZoom(std::function<void(int steps)> handler) { wheelZoom = std::move(handler); }

protected:
    void wheelEvent(QWheelEvent* event) override;

private:
    void Relayout();

    std::function<void(int)> wheelZoom;
    int wheelDelta = 0;

    QImage picture;
    double zoom = 1.0;
};
