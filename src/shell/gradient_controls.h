#pragma once
// The gradient panel's two controls: the colour slider, a track with a
// marker for each colour stop, and the direction square with the gradient's
// start and end points.

#include <QWidget>

#include <functional>

#include "target/effects.h"

class KVGradientColorSlider : public QWidget {
public:
    // How near to a marker a click must be to pick it, in pixels.
    static constexpr int kPickDistance = 7;

    explicit KVGradientColorSlider(QWidget* parent = nullptr);

    void SetGradient(const KVGradient& g);
    const KVGradient& GetGradient() const { return gradient; }
    // The selected stop, or -1.
    long GetSelection() const { return selection; }
    // The selected stop goes, unless it is an end stop; true when one went.
    bool RemoveStop();
    // Each change of the stops (command 2003 of the panel).
    std::function<void()> onChange;

    QSize sizeHint() const override { return {220, 34}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void EvLButtonDown(int x);
    void EvMouseMove(int x);
    void EvLButtonUp(int x);
    bool IsEndStop(long index) const;
    void Changed();

    KVGradient gradient;
    long selection = -1;
    bool dragging = false;
    bool moved = false;
    // What the picker opens with for a new stop: the colour last picked up.
    LGuiColorAlpha lastColour{0, 0, 0, 255};
};

class KVGradientDirectionControl : public QWidget {
public:
    // Hover and grab distance of a point, and how near the middle a point
    // snaps to it, in pixels.
    static constexpr int kGrabDistance = 4;
    static constexpr int kSnapDistance = 3;
    // The points keep this far inside the square's edge, so that they show whole.
    static constexpr int kInset = 5;

    explicit KVGradientDirectionControl(QWidget* parent = nullptr);

    // Normalised to the square, 0 to 1.
    LPointTemplate<float> GetStart() const { return start; }
    LPointTemplate<float> GetEnd() const { return end; }
    // The default direction, a new gradient's.
    void ReInitialize();
    void ReInitialize(const KVGradient& g);
    // At each move of a drag.
    std::function<void()> onChange;

    QSize sizeHint() const override { return {80, 80}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    // Clamps a pixel position into the square, snapping to the middle on
    // either axis.
    void SetPointInBounds(LPointTemplate<float>& point, int x, int y) const;
    QPointF ToPixels(const LPointTemplate<float>& p) const;
    // 0 start, 1 end, -1 none.
    int PointAt(int x, int y) const;

    LPointTemplate<float> start = KVGradient().start;
    LPointTemplate<float> end = KVGradient().end;
    int hover = -1;
    int dragged = -1;
};
