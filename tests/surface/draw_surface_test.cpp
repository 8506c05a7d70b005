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

#include "document/text_elements.h"
#include "support/test_element.h"
#include "surface/canvas_widgets.h"
#include "surface/draw_surface.h"
#include "toolkit/settings.h"

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
        widget = data.widget;
    }
    int Count(KVSurfaceMessage id) const { return static_cast<int>(std::count(ids.begin(), ids.end(), id)); }
    KVDrawSurface* surface = nullptr;
    std::vector<KVSurfaceMessage> ids;
    std::vector<std::unique_ptr<KVDrawPath>> paths;
    LGuiColor picked;
    // Of the last message.
    const KVElementWidget* widget = nullptr;
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

TEST_F(DrawSurface, ARightClickSelectsWhatItIsOverAndSendsItUp) {
    Show(400, 300, 1.0f);
    surface.SetPointCaptureMode(KVCaptureSelect);
    AddBoxes({{10, 10, 50, 50}, {100, 10, 150, 50}, {10, 100, 50, 150}});
    const auto rightClick = [&](QPoint at) {
        QTest::mouseClick(View(), Qt::RightButton, {}, At(at.x(), at.y()));
        EXPECT_EQ(recorder.ids.back(), KVMsgRightClickMenu);
        EXPECT_EQ(recorder.widget, surface.GetSelectedWidget());
    };
    rightClick({120, 20});
    EXPECT_TRUE(surface.GetSelectedWidget()->IsPositionInsideWidget(120, 20)) << "the one under the pointer";
    Drag({{20, 20}});
    Drag({{20, 120}}, Qt::ControlModifier);
    rightClick({30, 30});
    EXPECT_EQ(Selected(), 2u) << "a click within a group keeps the group";
    rightClick({300, 250});
    EXPECT_EQ(Selected(), 2u) << "nothing under the pointer: the selection stays";
}

// Over a group with Option held only the member a click would take out is
// marked; without it every member is.
TEST_F(DrawSurface, OptionOverAGroupMarksOnlyTheMemberAClickWouldTakeOut) {
    Show(400, 300, 1.0f, Qt::white);
    surface.SetPointCaptureMode(KVCaptureSelect);
    AddBoxes({{10, 60, 50, 100}, {100, 60, 150, 100}});
    Drag({{20, 70}});
    Drag({{120, 70}}, Qt::ControlModifier);
    ASSERT_EQ(Selected(), 2u);
    // How blue the left side of a member's outline shows, at its middle.
    const auto marked = [&](int left) {
        const QImage shown = View()->grab().toImage();
        int most = 0;
        for (int x = left - 1; x <= left + 1; ++x) {
            const QRgb p = shown.pixel(x, 80);
            most = std::max(most, qBlue(p) - qRed(p));
        }
        return most > 40;
    };
    QTest::mouseMove(View(), At(30, 80));
    EXPECT_TRUE(marked(10));
    EXPECT_TRUE(marked(100));
    QTest::mouseMove(View(), At(30, 81));
    QTest::keyPress(&surface, Qt::Key_Alt);
    EXPECT_TRUE(marked(10));
    EXPECT_FALSE(marked(100));
    QTest::keyRelease(&surface, Qt::Key_Alt);
    EXPECT_TRUE(marked(100));
}

// What each kind of widget lets the user and the panels do.
TEST(ElementWidgets, EachKindAllowsItsOwnEditsAndEffects) {
    KVInstallCanvasWidgetFactories();
    KVShapeWidgetFactory& shapes = *KVGetShapeWidgetFactory();
    KVPathWidgetFactory& strokes = *KVGetPathWidgetFactory();
    KVBoxShapeProperties box;
    box.bounds = {100, 100, 200, 150};
    struct Row {
        const char* kind;
        bool fill, shadow, bevel, glow, rotate;
        // Just outside the shape, within the frame's margin.
        float margin;
    } const rows[] = {
        {"rectangle", true, true, true, true, true, 3},  {"triangle", true, true, true, true, true, 3},
        {"text", false, true, true, false, true, 25},    {"richtext", false, true, true, false, true, 25},
        {"image", false, false, false, false, true, 3},  {"pen", true, true, true, false, false, 3},
        {"pencil", false, false, false, false, false, 3}, {"line", false, false, false, false, false, 0},
    };
    for (const Row& r : rows) {
        kvtest::BoxElement element("e", box.bounds, r.kind);
        const bool stroke = r.rotate == false && r.margin > 0;
        KVLineElementProperties line;
        line.start = {100, 100};
        line.end = {200, 100};
        std::unique_ptr<KVElementWidget> w(
            std::string(r.kind) == "line" ? shapes.MakeLineWidget(&element, line)
            : stroke                      ? strokes.MakePathWidget(&element, 3, box.bounds, nullptr, 1)
                     : shapes.MakeBoxShapeWidget(&element, r.kind, box, 3, 0));
        EXPECT_EQ(w->CanFillElement(), r.fill) << r.kind;
        EXPECT_EQ(w->CanShadowElement(), r.shadow) << r.kind;
        EXPECT_EQ(w->CanBevelElement(), r.bevel) << r.kind;
        EXPECT_EQ(w->CanGlowElement(), r.glow) << r.kind;
        EXPECT_EQ(w->CanRotate(), r.rotate) << r.kind;
        EXPECT_TRUE(w->CanMove() && w->CanResize()) << r.kind;
        EXPECT_TRUE(w->IsPositionInsideWidget(150, 100 - r.margin)) << r.kind;
        EXPECT_FALSE(w->IsPositionInsideWidget(150, 100 - r.margin - 11)) << r.kind;
    }
    // A text takes its frame's move, turn included, as one change.
    KVTextElementProperties t;
    t.bounds = {100, 100, 200, 150};
    t.rotation = 30;
    KVTextElement text(t);
    std::unique_ptr<KVElementWidget> frame(text.GetWidget());
    ASSERT_NE(frame, nullptr);
    EXPECT_STREQ(frame->GetElementName(), "text");
    frame->Translate(10, 5);
    EXPECT_TRUE(text.Update(frame.get()));
    EXPECT_EQ(text.GetProperties().bounds, (LBoundingBox2T<float>{110, 105, 210, 155}));
    EXPECT_FLOAT_EQ(text.GetProperties().rotation, 30);
    KVElementSelectionDragWidget band(0, 0);
    KVMultiSelectWidget group(new KVRectangleWidgetRotation(nullptr, box.bounds, 0, 0, false));
    for (const KVElementWidget* w : {static_cast<KVElementWidget*>(&band), static_cast<KVElementWidget*>(&group)})
        EXPECT_FALSE(w->CanFillElement() || w->CanShadowElement() || w->CanGlowElement()) << w->GetElementName();
    EXPECT_FALSE(band.CanMove() || band.CanResize());
}

// A frame that does not turn has handles at its corners only, of 6 device
// pixels; with Control its body is no move, so that a click can add to a
// group instead.
TEST(ElementWidgets, AStrokeFrameTakesHoldByItsCornersAndBody) {
    for (float zoom : {0.25f, 1.0f, 4.0f}) {
        const float s = 1 / zoom;
        // A corner's square reaches 2 pixels out, but never past 2 units.
        const float out = std::min(2 * s, 2.0f);
        KVPathWidget frame(nullptr, {100, 100, 200, 150}, 0);
        struct {
            float x, y;
            int handle;
        } const rows[] = {
            {100 - out, 100 - out, KVHandleTopLeft}, {100 + 4 * s, 100 + 4 * s, KVHandleTopLeft},
            {200, 100, KVHandleTopRight},                 {200 + out, 150 + out, KVHandleBottomRight},
            {100, 150, KVHandleBottomLeft},               {150, 100, KVHandleInside},
            {100 + 5 * s, 100 + 5 * s, KVHandleInside},  {150, 97, KVHandleNone},
        };
        for (const auto& r : rows)
            EXPECT_EQ(frame.WhichHandle(r.x, r.y, s), r.handle) << zoom << ": " << r.x << "," << r.y;
        KVWidgetPress press;
        press.scale = s;
        press.control = true;
        EXPECT_FALSE(frame.EvLButtonDown(150, 120, press));
        EXPECT_TRUE(frame.EvLButtonDown(200, 150, press));
        frame.EvMouseMove(90, 90);
        EXPECT_TRUE(frame.EvLButtonUp());
        EXPECT_EQ(frame.GetDimensions(), (LBoundingBox2T<float>{100, 100, 100, 100})) << "stops at nothing";
    }
}

// The user's settings say whether frames snap and how far.
TEST(ElementWidgets, PressesSnapAsTheSettingsSay) {
    struct {
        bool snapping;
        long move, turn;
        int moveSnap, rotationSnap;
    } const rows[] = {{true, 5, 2, 5, 2}, {true, 8, 0, 8, 0}, {false, 8, 3, 0, 0}};
    for (const auto& r : rows) {
        LUserSettingSet("Options", "Snapping", r.snapping);
        LUserSettingSet("Options", "MoveSnapping", r.move);
        LUserSettingSet("Options", "RotationSnapping", r.turn);
        const KVWidgetPress press = KVWidgetPressFromSettings(0.5f, false, false);
        EXPECT_EQ(press.moveSnap, r.moveSnap);
        EXPECT_EQ(press.rotationSnap, r.rotationSnap);
        // 89 degrees snaps to 90 only with a snap of 2 or more.
        KVRectangleWidgetRotation frame(nullptr, {0, 0, 100, 100}, 0, 0, false);
        ASSERT_TRUE(frame.EvLButtonDown(50, -20, press));
        const LPointTemplate<float> at = KVRotatePoint({50, -20}, 50, 50, 89);
        frame.EvMouseMove(at.x, at.y);
        EXPECT_NEAR(frame.GetRotation(), r.rotationSnap >= 2 ? 90 : 89, 0.01f);
    }
    LUserSettingSet("Options", "Snapping", true);
    LUserSettingSet("Options", "MoveSnapping", 5L);
    LUserSettingSet("Options", "RotationSnapping", 2L);
}

} // namespace
