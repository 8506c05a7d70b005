// What the canvas's gestures make in the document: each tool's element with
// its record's defaults, in one undo step; the zoom commands; the
// conversions between element kinds.

#include <gtest/gtest.h>

#include <QTest>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "imaging/image_file.h"
#include "shell/main_dialog.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "support/editor_fixture.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"
#include "surface/canvas_widgets.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

namespace {

class Canvas : public kvtest::EditorFixture {
protected:
    // With KV_CANVAS_SHOTS set, the view is saved there to be looked at.
    void Shoot(const std::string& name) {
        if (const char* folder = std::getenv("KV_CANVAS_SHOTS"))
            Surface().viewport()->grab().save(QString("%1/%2.png").arg(folder, QString::fromStdString(name)));
    }

};

TEST_F(Canvas, AFreehandStrokeBecomesOneElementAlongThePointersTrailInOneUndoStep) {
    std::vector<std::pair<float, float>> trail;
    for (int i = 0; i <= 40; ++i)
        trail.emplace_back(50.0f + i * 5, 100.0f + (i % 10) * 8);
    const unsigned long before = UndoItems();
    Drag(trail);
    ASSERT_EQ(Layer().GetElementCount(), 1u);
    EXPECT_EQ(UndoItems(), before + 1);
    const KVPencilElementProperties p = Record<KVPencilElement>();
    EXPECT_EQ(p.width, KVPencilElementProperties().width);
    // Thinning only drops points: every one kept lies on the trail.
    unsigned long kept = 0;
    for (const KVDrawCoord& c : p.path->GetCoords()) {
        ++kept;
        EXPECT_TRUE(std::any_of(trail.begin(), trail.end(), [&](auto t) {
            return std::abs(t.first - c.x) < 1 && std::abs(t.second - c.y) < 1;
        })) << c.x << "," << c.y;
    }
    EXPECT_GT(kept, 3u);
    EXPECT_NEAR(p.path->GetCoords().GetLast()->x, trail.back().first, 1);

    Drag({{300, 250}}); // a click is a dot
    EXPECT_EQ(Layer().GetElementCount(), 2u);
    dialog.Command(KVCmUndo);
    dialog.Command(KVCmUndo);
    EXPECT_EQ(Layer().GetElementCount(), 0u);
}

TEST_F(Canvas, ShapesAndLinesTakeTheirRecordsAndAClickMakesAThirdOfTheView) {
    struct Case {
        unsigned tool;
        std::vector<std::pair<float, float>> gesture;
        const char* made; // null: nothing
        LBoundingBox2T<float> box;
    } cases[] = {
        {KVCmToolRectangle, {{100, 100}, {160, 130}, {200, 150}}, "rectangle", {100, 100, 200, 150}},
        {KVCmToolTriangle, {{200, 150}, {120, 60}}, "triangle", {120, 60, 200, 150}},
        // The whole 400 by 300 image is in view: a sixth each way.
        {KVCmToolEllipse, {{200, 150}}, "ellipse", {200 - 400 / 6.0f, 100, 200 + 400 / 6.0f, 200}},
        {KVCmToolPolygon, {{20, 30}}, "polygon", {20 - 400 / 6.0f, -20, 20 + 400 / 6.0f, 80}},
        {KVCmToolLine, {{10, 20}, {90, 60}}, "line", {10, 20, 90, 60}},
        {KVCmToolLine, {{50, 50}, {80, 80}, {50, 50}}, nullptr, {}},
    };
    for (const Case& c : cases) {
        dialog.Command(c.tool);
        const unsigned long count = Layer().GetElementCount(), items = UndoItems();
        Drag(c.gesture);
        if (!c.made) {
            EXPECT_EQ(Layer().GetElementCount(), count) << "a line of no length makes nothing";
            EXPECT_EQ(UndoItems(), items);
            continue;
        }
        ASSERT_EQ(Layer().GetElementCount(), count + 1) << c.made;
        EXPECT_EQ(UndoItems(), items + 1);
        EXPECT_STREQ(Last()->GetName(), c.made);
        const KVElementWidget* selected = Surface().GetSelectedWidget();
        ASSERT_NE(selected, nullptr) << "a new shape is selected";
        EXPECT_TRUE(selected->IsParentElement(Last()));
        const LBoundingBox2T<float> box = selected->GetDimensions();
        EXPECT_NEAR(box.x1, c.box.x1, 0.5f) << c.made;
        EXPECT_NEAR(box.y1, c.box.y1, 0.5f);
        EXPECT_NEAR(box.x2, c.box.x2, 0.5f);
        EXPECT_NEAR(box.y2, c.box.y2, 0.5f);
    }
    for (KVElement& e : Layer().GetElementList())
        if (auto* polygon = dynamic_cast<KVPolygonElement*>(&e)) {
            EXPECT_EQ(polygon->GetProperties().lineWidth, KVPolygonElementProperties().lineWidth);
            EXPECT_TRUE(polygon->GetProperties().lineColour == KVPolygonElementProperties().lineColour);
        }
}

TEST_F(Canvas, ZoomCommandsClampStepAndFit) {
    struct Step {
        int percent;
        float in, out;
    } steps[] = {{5, 0.1f, 0.1f},   {10, 0.25f, 0.1f}, {25, 0.5f, 0.1f},  {26, 0.5f, 0.25f},
                 {75, 1.0f, 0.5f},  {100, 2.0f, 0.75f}, {101, 2.0f, 1.0f}, {200, 4.0f, 1.0f},
                 {400, 4.0f, 2.0f}, {401, 4.0f, 4.0f}};
    for (const Step& s : steps) {
        EXPECT_FLOAT_EQ(NextZoomStep(s.percent, true), s.in) << s.percent;
        EXPECT_FLOAT_EQ(NextZoomStep(s.percent, false), s.out) << s.percent;
    }
    const std::pair<float, int> zooms[] = {{10.0f, 400}, {0.01f, 10}, {1.5f, 150}, {0.0f, 100}};
    for (auto [zoom, percent] : zooms) {
        dialog.CmZoom(zoom);
        EXPECT_EQ(dialog.GetZoomPercent(), percent) << zoom;
        EXPECT_NEAR(Surface().GetZoom(), percent / 100.0f, 0.005f);
    }
}

TEST_F(Canvas, ElementsTurnIntoPenStrokesAndStrokesIntoOtherKinds) {
    dialog.Command(KVCmToolRectangle);
    Drag({{100, 100}, {200, 150}});
    dialog.Command(KVCmConvertShapeToPath);
    ASSERT_EQ(Layer().GetElementCount(), 1u);
    EXPECT_STREQ(Last()->GetName(), "pen");
    dialog.Command(KVCmPathToMarker);
    EXPECT_STREQ(Last()->GetName(), "marker");
    dialog.Command(KVCmUndo);
    dialog.Command(KVCmUndo);
    EXPECT_STREQ(Last()->GetName(), "rectangle");
}

TEST_F(Canvas, TheTextToolBoxTakesItsTextFromTheUserAndAPictureIsInsertedInTheView) {
    std::optional<std::string> answer = "Grüße";
    LSetTextInputResponder([&](const LTextInputRequest&) { return answer; });
    dialog.Command(KVCmToolText);
    const unsigned long before = UndoItems();
    Drag({{40, 50}, {240, 120}});
    ASSERT_EQ(Layer().GetElementCount(), 1u);
    EXPECT_EQ(UndoItems(), before + 1);
    const KVRichTextElementProperties text = Record<KVRichTextElement>();
    ASSERT_EQ(text.segments.size(), 1u);
    EXPECT_STREQ(text.segments[0].text.Get(), "Grüße");
    EXPECT_EQ(text.segments[0].size, 24);
    EXPECT_NEAR(text.bounds.x1, 40, 1);
    EXPECT_NEAR(text.bounds.y2, 120, 1);
    // A click, or a cancelled question, makes nothing.
    Drag({{60, 60}});
    answer.reset();
    Drag({{40, 50}, {240, 120}});
    LSetTextInputResponder(nullptr);
    EXPECT_EQ(Layer().GetElementCount(), 1u);

    kvtest::TempDir dir;
    LImageBuffer photo;
    LImage::New(photo, 40, 30, LPixelFormatB8G8R8A8);
    photo.Clear(LPixelColour(10, 200, 30, 255));
    const std::string png = dir.File("photo.png");
    ASSERT_TRUE(LImage::Save(photo, png.c_str()));
    LSetFileDialogResponder([&](const LFileDialogRequest& r) {
        EXPECT_EQ(r.title, "Insert Image");
        return LFileChoice(png);
    });
    dialog.Command(KVCmInsertImage);
    LSetFileDialogResponder(nullptr);
    ASSERT_EQ(Layer().GetElementCount(), 2u);
    const KVImageElementProperties placed = Record<KVImageElement>();
    const LBoundingBox2T<float> view = Surface().GetCanvasVisibleBounds();
    EXPECT_EQ(placed.width, 40);
    EXPECT_NEAR(placed.x + 20, (view.x1 + view.x2) / 2, 1);
    EXPECT_NEAR(placed.y + 15, (view.y1 + view.y2) / 2, 1);
}

// The live stroke is drawn with the render's own stamps, at the zoom: when
// the render arrives the stroke must not move or change width. Set
// KV_CANVAS_SHOTS to a folder to keep the pictures of both.
TEST_F(Canvas, ALiveStrokeLiesWhereItsRenderLandsAtEachZoom) {
    for (float zoom : {1.0f, 2.0f}) {
        dialog.CmZoom(zoom);
        Surface().SetScroll(0, 0);
        const float y = 80 + 60 * zoom;
        QWidget* view = Surface().viewport();
        QTest::mousePress(view, Qt::LeftButton, {}, At(40, y));
        for (int x = 40; x <= 160; x += 4)
            QTest::mouseMove(view, At(static_cast<float>(x), y + (x % 40) / 4));
        const QImage live = view->grab().toImage();
        QTest::mouseRelease(view, Qt::LeftButton, {}, At(160, y));
        ASSERT_TRUE(kvtest::WaitFor([&] { return Surface().GetStrokePreview().IsEmpty(); }));
        const QImage rendered = view->grab().toImage();
        if (const char* folder = std::getenv("KV_CANVAS_SHOTS")) {
            const QString name = QString("%1/stroke-%2-").arg(folder).arg(static_cast<int>(zoom * 100));
            live.save(name + "live.png");
            rendered.save(name + "rendered.png");
        }
        // Down a column through the stroke: the dark run starts and ends
        // within a pixel or two of each other.
        auto darkRun = [&](const QImage& shot) {
            const QPoint at = At(100, 0) * Surface().GetDeviceRatio();
            int first = -1, last = -1;
            for (int row = 0; row < shot.height(); ++row)
                if (qGray(shot.pixel(at.x(), row)) < 128) {
                    first = first < 0 ? row : first;
                    last = row;
                }
            return std::make_pair(first, last);
        };
        const auto a = darkRun(live), b = darkRun(rendered);
        ASSERT_GE(a.first, 0) << "the live stroke shows";
        EXPECT_NEAR(a.first, b.first, 2 * zoom) << zoom;
        EXPECT_NEAR(a.second, b.second, 2 * zoom) << zoom;
    }
}

// The element's frame as a fresh widget of it sees it: what the document
// holds, not what the canvas shows.
KVFrame FrameOf(KVElement& element) {
    std::unique_ptr<KVElementWidget> widget(element.GetWidget());
    if (!widget)
        return {};
    const auto* turned = dynamic_cast<const KVShapeWidgetGeometry*>(widget.get());
    return KVFrame::FromBox(widget->GetDimensions(), turned ? turned->GetRotation() : 0.0f);
}

TEST_F(Canvas, ASelectedElementMovesResizesAndTurnsByItsFrameInOneUndoStepEach) {
    // Each shape is drawn from (100, 100) to (200, 150), so its frame is
    // centred on (150, 125); its rotation handle is 20 units over its top.
    struct Case {
        unsigned tool;
        std::vector<std::pair<float, float>> edit;
        KVFrame change; // of centre and size; the rotation it ends at
    } cases[] = {
        {KVCmToolRectangle, {{150, 125}, {160, 130}, {170, 135}}, {20, 10, 0, 0, 0}},
        {KVCmToolEllipse, {{200, 150}, {220, 160}, {240, 170}}, {20, 10, 40, 20, 0}},
        {KVCmToolTriangle, {{100, 100}, {120, 110}, {140, 120}}, {20, 10, -40, -20, 0}},
        {KVCmToolPolygon, {{150, 78}, {200, 100}, {200, 125 - 50 * std::sqrt(3.0f)}}, {0, 0, 0, 0, 30}},
        // A line's end is its handle.
        {KVCmToolLine, {{200, 150}, {220, 150}, {240, 150}}, {20, 0, 40, 0, 0}},
        {KVCmToolPencil, {{150, 125}, {160, 125}, {170, 125}}, {20, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        dialog.Command(c.tool);
        if (c.tool == KVCmToolPencil)
            Drag({{100, 100}, {150, 150}, {200, 100}, {150, 125}});
        else
            Drag({{100, 100}, {150, 125}, {200, 150}});
        KVElement& element = *Last();
        const KVFrame before = FrameOf(element);
        dialog.Command(KVCmToolSelect);
        if (!Surface().GetSelectedWidget())
            Drag({{150, 125}}); // a stroke is not selected as it is drawn
        ASSERT_NE(Surface().GetSelectedWidget(), nullptr) << element.GetName();
        ASSERT_TRUE(kvtest::WaitFor([&] { return Surface().HasImage(); }));
        const QImage drawn = Surface().GetDisplayedImage();
        const unsigned long items = UndoItems();
        QTest::mouseMove(Surface().viewport(), At(c.edit[0].first, c.edit[0].second));
        EXPECT_NE(Surface().viewport()->cursor().shape(), Qt::ArrowCursor) << "the pointer shows the handle";
        Drag(c.edit);
        EXPECT_EQ(UndoItems(), items + 1) << element.GetName();
        const KVFrame after = FrameOf(element);
        EXPECT_NEAR(after.x - before.x, c.change.x, 1.5f) << element.GetName();
        EXPECT_NEAR(after.y - before.y, c.change.y, 1.5f) << element.GetName();
        EXPECT_NEAR(after.width - before.width, c.change.width, 1.5f) << element.GetName();
        EXPECT_NEAR(after.height - before.height, c.change.height, 1.5f) << element.GetName();
        EXPECT_NEAR(after.rotation, c.change.rotation, 0.5f) << element.GetName();
        EXPECT_TRUE(kvtest::WaitFor([&] { return Surface().GetDisplayedImage() != drawn; }))
            << "the picture follows " << element.GetName();
        Shoot(std::string("frame-") + element.GetName());
        dialog.Command(KVCmUndo);
        EXPECT_NEAR(FrameOf(element).x, before.x, 0.01f) << element.GetName();
        EXPECT_NEAR(FrameOf(element).width, before.width, 0.01f);
        EXPECT_NEAR(FrameOf(element).rotation, before.rotation, 0.01f);
        dialog.Command(KVCmRedo);
        EXPECT_NEAR(FrameOf(element).x, after.x, 0.01f) << element.GetName();
        EXPECT_NEAR(FrameOf(element).width, after.width, 0.01f);
        // A click without a drag changes nothing.
        const unsigned long done = UndoItems();
        Drag({{after.x, after.y}});
        EXPECT_EQ(UndoItems(), done) << element.GetName();
    }
    // All of them as a group: one drag moves every member, in one step.
    dialog.Command(KVCmSelectAll);
    KVElementWidget* group = Surface().GetSelectedWidget();
    ASSERT_NE(group, nullptr);
    ASSERT_NE(group->GetMembers(), nullptr);
    std::vector<KVFrame> before;
    for (KVElement& e : Layer().GetElementList())
        before.push_back(FrameOf(e));
    const unsigned long items = UndoItems();
    const KVFrame g = KVFrame::FromBox(group->GetDimensions());
    Drag({{g.x, g.y}, {g.x + 5, g.y + 5}, {g.x + 10, g.y + 10}});
    Shoot("frame-group");
    EXPECT_EQ(UndoItems(), items + 1);
    size_t i = 0;
    for (KVElement& e : Layer().GetElementList()) {
        EXPECT_NEAR(FrameOf(e).x - before[i].x, 10, 1) << e.GetName();
        EXPECT_NEAR(FrameOf(e).y - before[i].y, 10, 1) << e.GetName();
        ++i;
    }
}

} // namespace
