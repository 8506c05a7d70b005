// The canvas alone, driven through Qt's events on the offscreen platform as
// a user would drive it; its messages are recorded. Every figure is in
// device pixels, so the tests hold at any screen scale (the suite runs again
// with QT_SCALE_FACTOR=2).

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QPixmap>
#include <QScrollBar>
#include <QTabletEvent>
#include <QTest>
#include <QWheelEvent>

#include <string>
#include <vector>

#include "surface/canvas_widgets.h"
#include "surface/draw_surface.h"

namespace {

struct Recorder : KVDrawSurfaceParent {
    void EvSurfaceMessage(KVSurfaceMessage id, KVSurfaceMessageData& data) override {
        ids.push_back(id);
        if (id == KVMsgPathComplete)
            paths.emplace_back(data.path.Release());
        if (id == KVMsgWheelZoom) // as the controller does: an eighth a notch
            surface->UpdateZoom(surface->GetZoom() * (1 + data.x * 0.125f));
        if (id == KVMsgPickColour)
            picked = data.colour;
    }
    int Count(KVSurfaceMessage id) const { return static_cast<int>(std::count(ids.begin(), ids.end(), id)); }
    KVDrawSurface* surface = nullptr;
    std::vector<KVSurfaceMessage> ids;
    std::vector<std::unique_ptr<KVDrawPath>> paths;
    LGuiColor picked;
};

std::vector<std::pair<float, float>> Points(const KVDrawPath& path) {
    std::vector<std::pair<float, float>> out;
    for (const KVDrawCoord& c : path.GetCoords())
        out.emplace_back(c.x, c.y);
    return out;
}

class DrawSurface : public ::testing::Test {
protected:
    void SetUp() override {
        recorder.surface = &surface;
        surface.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        surface.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        surface.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&surface));
        ratio = surface.GetDeviceRatio();
        // 400 by 300 device pixels at any scale.
        surface.resize(static_cast<int>(400 / ratio), static_cast<int>(300 / ratio));
        QApplication::processEvents();
    }
    void Show(int width, int height, float zoom, QColor colour = Qt::red) {
        QImage picture(width, height, QImage::Format_ARGB32_Premultiplied);
        picture.fill(colour);
        surface.UpdateDisplayedImage(picture);
        surface.UpdateZoom(zoom);
    }
    // A device point as the logical point Qt's events carry.
    QPoint At(int x, int y) const { return QPoint(static_cast<int>(x / ratio), static_cast<int>(y / ratio)); }
    QWidget* View() { return surface.viewport(); }
    void Drag(std::vector<QPoint> trail, Qt::KeyboardModifiers keys = {}) {
        QTest::mousePress(View(), Qt::LeftButton, keys, At(trail[0].x(), trail[0].y()));
        for (size_t i = 1; i < trail.size(); ++i)
            QTest::mouseMove(View(), At(trail[i].x(), trail[i].y()));
        QTest::mouseRelease(View(), Qt::LeftButton, keys, At(trail.back().x(), trail.back().y()));
    }
    void Tablet(QEvent::Type type, QPoint at, double pressure) {
        const QPointF local = At(at.x(), at.y());
        QTabletEvent event(type, QPointingDevice::primaryPointingDevice(), local, View()->mapToGlobal(local), pressure,
                           0, 0, 0, 0, 0, Qt::NoModifier, type == QEvent::TabletMove ? Qt::NoButton : Qt::LeftButton,
                           type == QEvent::TabletRelease ? Qt::NoButton : Qt::LeftButton);
        QApplication::sendEvent(View(), &event);
        EXPECT_TRUE(event.isAccepted());
    }
    void AddBoxes(std::vector<LBoundingBox2T<float>> boxes) {
        LList<KVElementWidget> list;
        for (const auto& b : boxes)
            list.PushBack(new KVRectangleWidgetRotation(nullptr, b, 0, 0, false));
        surface.AddWidgets(list);
    }
    const KVElementWidget& Box(int i) const { return *surface.GetWidgets().GetAt(i); }
    unsigned long Selected() const {
        const KVElementWidget* s = surface.GetSelectedWidget();
        if (!s)
            return 0;
        auto* members = const_cast<KVElementWidget*>(s)->GetMembers();
        return members ? members->GetCount() : 1;
    }

    Recorder recorder;
    KVDrawSurface surface{recorder};
    float ratio = 1;
};

TEST_F(DrawSurface, FitNeverEnlargesNeverGoesBelowATenthAndKeepsFortyPixelsFree) {
    struct Case {
        int width, height;
        float fit;
    } cases[] = {{200, 100, 1.0f}, {800, 300, 0.5f}, {400, 520, 0.5f}, {100000, 100, 0.1f}};
    for (const Case& c : cases) {
        Show(c.width, c.height, 1.0f);
        EXPECT_FLOAT_EQ(surface.UpdateZoomFit(), c.fit) << c.width << "x" << c.height;
        EXPECT_FLOAT_EQ(surface.GetZoom(), c.fit);
    }
}

TEST_F(DrawSurface, PointsTranslateAtEachZoomAndScrollAndASmallImageIsCentred) {
    struct Case {
        int width, height;
        float zoom;
        int scrollX, scrollY;
        int x, y;                 // control point
        int canvasX, canvasY;     // zoomed canvas point
        float imageX, imageY;
    } cases[] = {
        {200, 100, 1.0f, 0, 0, 150, 120, 50, 20, 50, 20},       // centred: page offset (100, 100)
        {200, 100, 2.0f, 0, 0, 150, 120, 150, 70, 75, 35},      // wider than the control: offset (0, 50)
        {1000, 1000, 1.0f, 300, 200, 10, 10, 310, 210, 310, 210},
        {1000, 1000, 0.5f, 50, 100, 10, 10, 60, 110, 120, 220},
        {1000, 1000, 4.0f, 1000, 2000, 2, 6, 1002, 2006, 250.5f, 501.5f},
    };
    for (const Case& c : cases) {
        Show(c.width, c.height, c.zoom);
        surface.SetScroll(c.scrollX, c.scrollY);
        EXPECT_EQ(surface.TranslateToCanvasX(c.x), c.canvasX);
        EXPECT_EQ(surface.TranslateToCanvasY(c.y), c.canvasY);
        float x = static_cast<float>(c.x), y = static_cast<float>(c.y);
        surface.ConvertCoordsForWidget(x, y);
        EXPECT_FLOAT_EQ(x, c.imageX);
        EXPECT_FLOAT_EQ(y, c.imageY);
    }
    const LBoundingBox2T<float> seen = surface.GetCanvasVisibleBounds();
    EXPECT_FLOAT_EQ(seen.x1, 250);
    EXPECT_FLOAT_EQ(seen.GetWidth(), 100);
    EXPECT_FLOAT_EQ(seen.GetHeight(), 75);
}

TEST_F(DrawSurface, AWheelNotchZoomsByAnEighthAboutThePointerExceptOnAnAxisThatFits) {
    Show(1000, 200, 1.0f);
    surface.SetScroll(100, 0);
    float x = 200, y = 150;
    surface.ConvertCoordsForWidget(x, y);
    const QPointF at = At(200, 150);
    QWheelEvent wheel(at, View()->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::ControlModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(View(), &wheel);
    EXPECT_FLOAT_EQ(surface.GetZoom(), 1.125f);
    float after = 200, unused = 150;
    surface.ConvertCoordsForWidget(after, unused);
    EXPECT_NEAR(after, x, 1.0f) << "the point under the pointer stays";
    EXPECT_EQ(surface.GetScrollY(), 0) << "an axis that fits the page does not scroll";
}

TEST_F(DrawSurface, DraggingWithTheSpaceBarHeldScrollsByHand) {
    Show(2000, 2000, 1.0f);
    surface.SetScroll(500, 500);
    surface.SetPointCaptureMode(KVCaptureFreehand);
    QTest::keyPress(&surface, Qt::Key_Space);
    Drag({{200, 150}, {150, 120}, {100, 100}});
    QTest::keyRelease(&surface, Qt::Key_Space);
    EXPECT_EQ(surface.GetScrollX(), 600);
    EXPECT_EQ(surface.GetScrollY(), 550);
    EXPECT_EQ(recorder.Count(KVMsgPathComplete), 0) << "a hand scroll draws nothing";
}

TEST_F(DrawSurface, EachCaptureModeHandsOverThePathOfItsGesture) {
    Show(400, 300, 2.0f); // zoomed 800 by 600: no page offset
    surface.SetScroll(0, 0);
    struct Case {
        KV_CAPTURE_MODE mode;
        std::vector<QPoint> trail;
        std::vector<std::pair<float, float>> path;
    } cases[] = {
        {KVCaptureFreehand, {{10, 10}, {20, 12}, {40, 30}}, {{20, 12}, {40, 30}}},
        // A click is a dot: a small cross of strokes, an image pixel (two
        // device pixels at 200%) each way.
        {KVCaptureFreehand, {{50, 60}}, {{50, 58}, {50, 62}, {50, 60}, {52, 60}, {48, 60}}},
        {KVCaptureLine, {{10, 10}, {30, 30}, {60, 40}}, {{10, 10}, {60, 40}}},
        {KVCaptureLine, {{10, 10}}, {{10, 10}, {10, 10}}},
        {KVCaptureRectangle, {{10, 10}, {70, 90}}, {{10, 10}, {70, 90}, {70, 90}}},
    };
    for (const Case& c : cases) {
        surface.SetPointCaptureMode(c.mode);
        recorder.paths.clear();
        Drag(c.trail);
        ASSERT_EQ(recorder.paths.size(), 1u);
        EXPECT_EQ(Points(*recorder.paths[0]), c.path) << "mode " << c.mode;
        EXPECT_EQ(recorder.paths[0]->GetWidth(), 800u);
        EXPECT_EQ(recorder.paths[0]->GetPressure(), nullptr);
    }
    EXPECT_FALSE(surface.GetStrokePreview().IsEmpty()) << "strokes stay shown until their render arrives";
    Show(400, 300, 2.0f);
    EXPECT_TRUE(surface.GetStrokePreview().IsEmpty());
}

TEST_F(DrawSurface, APenStrokeCarriesItsPressureAndMakesNoMouseEvents) {
    Show(400, 300, 1.0f);
    surface.SetPointCaptureMode(KVCaptureFreehand);
    Tablet(QEvent::TabletPress, {100, 100}, 0.2);
    Tablet(QEvent::TabletMove, {110, 100}, 0.5);
    Tablet(QEvent::TabletMove, {120, 100}, 1.0);
    Tablet(QEvent::TabletRelease, {120, 100}, 0.0);
    ASSERT_EQ(recorder.paths.size(), 1u);
    const KVPressure* pressure = recorder.paths[0]->GetPressure();
    ASSERT_NE(pressure, nullptr);
    EXPECT_EQ(pressure->maximum, 1023u);
    ASSERT_EQ(pressure->count, 2u);
    EXPECT_EQ(pressure->levels[0], 512);
    EXPECT_EQ(pressure->levels[1], 1023);
}

TEST_F(DrawSurface, ClicksBandsControlAndOptionChooseTheSelection) {
    Show(400, 300, 1.0f); // page offset (0, 0)
    surface.SetPointCaptureMode(KVCaptureSelect);
    AddBoxes({{10, 10, 50, 50}, {100, 10, 150, 50}, {10, 100, 50, 150}});
    struct Step {
        std::vector<QPoint> gesture;
        Qt::KeyboardModifiers keys;
        unsigned long selected;
    } steps[] = {
        {{{20, 20}}, {}, 1},                                // a click picks one
        {{{120, 20}}, Qt::ControlModifier, 2},              // Control adds
        {{{20, 120}}, Qt::ControlModifier, 3},
        {{{20, 20}}, Qt::AltModifier, 2},                   // Option takes out
        {{{120, 20}}, Qt::AltModifier, 1},                  // down to one: that one alone
        {{{300, 250}}, {}, 0},                              // empty canvas: nothing
        {{{5, 5}, {60, 200}}, {}, 2},                       // the band catches what it touches
        {{{75, 40}, {100, 60}}, {}, 1},                     // an edge is enough
    };
    for (const Step& s : steps) {
        Drag(s.gesture, s.keys);
        EXPECT_EQ(Selected(), s.selected) << "at " << s.gesture[0].x() << "," << s.gesture[0].y();
    }
}

TEST_F(DrawSurface, ArrowKeysNudgeTheSelectionOnReleaseAndOnEachRepeat) {
    Show(400, 300, 1.0f);
    surface.SetPointCaptureMode(KVCaptureSelect);
    AddBoxes({{10, 10, 50, 50}});
    Drag({{20, 20}});
    QTest::keyPress(&surface, Qt::Key_Right);
    EXPECT_EQ(recorder.Count(KVMsgWidgetChanged), 0) << "nothing moves on the press";
    for (int i = 0; i < 2; ++i) {
        QKeyEvent repeat(QEvent::KeyRelease, Qt::Key_Right, Qt::NoModifier, QString(), true);
        QApplication::sendEvent(&surface, &repeat);
    }
    QTest::keyRelease(&surface, Qt::Key_Right);
    QTest::keyClick(&surface, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(recorder.Count(KVMsgWidgetChanged), 4);
    EXPECT_FLOAT_EQ(Box(0).GetDimensions().x1, 13);
    EXPECT_FLOAT_EQ(Box(0).GetDimensions().y1, 0);
}

TEST_F(DrawSurface, TheEyedropperPicksTheShownColourUnderThePointer) {
    Show(400, 300, 1.0f, QColor(10, 200, 30));
    surface.SetPointCaptureMode(KVCaptureEyedropper);
    Drag({{100, 100}});
    ASSERT_EQ(recorder.Count(KVMsgPickColour), 1);
    EXPECT_EQ(recorder.picked.red >> 8, 10);
    EXPECT_EQ(recorder.picked.green >> 8, 200);
}

TEST_F(DrawSurface, AtActualSizeEachImagePixelIsOneScreenPixelUnblurred) {
    QImage stripes(40, 20, QImage::Format_ARGB32_Premultiplied);
    for (int x = 0; x < 40; ++x)
        for (int y = 0; y < 20; ++y)
            stripes.setPixel(x, y, x % 2 ? 0xFF000000u : 0xFFFFFFFFu);
    surface.UpdateDisplayedImage(stripes);
    surface.UpdateZoom(1.0f);
    const QImage shown = View()->grab().toImage();
    RecordProperty("device_ratio", std::to_string(ratio));
    ASSERT_EQ(shown.width(), 400);
    for (int x = 0; x < 40; ++x)
        EXPECT_EQ(qRed(shown.pixel(180 + x, 145)), x % 2 ? 0 : 255) << x;
}

} // namespace
