// The tool window's right column through real events: each tool's capture
// mode, stamp and panel; a panel change on a selected element as one undo
// step and a render; what the next element takes from the panels; the
// gradient controls; a group resize; the right-click menu.

#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <array>
#include <filesystem>

#include "document/freehand.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "persistence/project_file.h"
#include "shell/main_dialog.h"
#include "shell/tool_panel.h"
#include "shell/ui_window.h"
#include "support/editor_fixture.h"
#include "support/qt_wait.h"
#include "surface/canvas_widgets.h"
#include "surface/frame_geometry.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

namespace {

class ToolPanels : public kvtest::EditorFixture {
protected:
    void TearDown() override {
        LSetColourResponder(nullptr);
        LSetPopupResponder(nullptr);
    }
    KVToolPanel& Panels() { return dialog.GetUiWindow().GetToolPanel(); }
    // A wavy stroke from (60, y) to (300, y).
    void Stroke(float y) {
        std::vector<std::pair<float, float>> trail;
        for (int i = 0; i <= 48; ++i)
            trail.emplace_back(60.0f + i * 5, y + (i % 8) * 4);
        Drag(trail);
    }
    // A panel change waits for the picture under way: tests let it come first.
    void Idle() {
        kvtest::WaitFor([&] { return !RenderAsked(); });
    }
    // The user types a value into a panel's number.
    void Give(int id, int value) {
        Idle();
        auto* number = dynamic_cast<LPanelNumber*>(Panels().GetShownPanel()->GetControl(id));
        ASSERT_TRUE(number);
        number->GetSpinBox().setValue(value);
    }
    bool RenderAsked() { return !dialog.GetRenderResults().IsEmpty(); }
    void ColorPickerClick(LColourButton& button) {
        Idle();
        QTest::mouseClick(&button, Qt::LeftButton);
        Idle();
    }

};

TEST_F(ToolPanels, EachToolSetsItsCaptureModeStampAndPanel) {
    struct Case {
        unsigned command;
        const char* key;
        KV_CAPTURE_MODE mode;
        int stamp;         // -1: not a freehand tool
        const char* panel; // its panel's title; null: none
        int fill;          // the fill colour control: 1 on, 0 off, -1 as it was
    } cases[] = {
        {KVCmToolPencil, "pencil", KVCaptureFreehand, KVBrushPencil, "Pencil", 0},
        {KVCmToolBrush, "brush", KVCaptureFreehand, KVBrushPaintbrush, "Brush", 0},
        {KVCmToolSpray, "spray", KVCaptureFreehand, KVBrushSpray, "Spray Paint", 0},
        {KVCmToolMarker, "marker", KVCaptureFreehand, KVBrushMarker, "Marker", 0},
        {KVCmToolCrayon, "crayon", KVCaptureFreehand, KVBrushCrayon, "Crayon", 0},
        {KVCmToolPen, "pen", KVCaptureFreehand, KVBrushRoundPen, "Pen", 1},
        {KVCmToolEraser, "eraser", KVCaptureFreehand, KVBrushRoundPen, "Eraser", -1},
        {KVCmToolRectangle, "rectangle", KVCaptureRectangle, -1, "Rectangle", 1},
        {KVCmToolEllipse, "ellipse", KVCaptureRectangle, -1, "Ellipse", 1},
        {KVCmToolPolygon, "polygon", KVCaptureRectangle, -1, "Polygon", 1},
        {KVCmToolTriangle, "triangle", KVCaptureRectangle, -1, "Triangle", 1},
        {KVCmToolText, "text", KVCaptureRectangle, -1, "Text", 0},
        {KVCmToolLine, "line", KVCaptureLine, -1, "Line", 0},
        {KVCmToolCrop, "crop", KVCaptureCrop, -1, "Crop", -1},
        {KVCmToolRectSelect, "rectselect", KVCaptureMask, -1, nullptr, -1},
        {KVCmToolWand, "wand", KVCaptureMask, -1, "Magic Wand", -1},
        {KVCmToolFill, "fill", KVCaptureMask, -1, "Magic Wand", 1},
        {KVCmToolPolyLine, "polyline", KVCapturePathTool, -1, "Poly Line", 1},
        {KVCmToolBezier, "beziertool", KVCapturePathTool, -1, "Bezier", 1},
        {KVCmToolSelect, "", KVCaptureSelect, -1, nullptr, 0},
    };
    for (const Case& c : cases) {
        dialog.Command(c.command);
        EXPECT_EQ(dialog.GetUiWindow().GetTool(), c.key) << c.command;
        EXPECT_EQ(Surface().GetCaptureMode(), c.mode) << c.key;
        if (c.stamp >= 0) {
            EXPECT_EQ(Surface().GetStampType(), c.stamp) << c.key;
        }
        const KVPanel* shown = Panels().GetShownPanel();
        EXPECT_EQ(shown ? shown->findChild<QLabel*>()->text().toStdString() : "",
                  c.panel ? c.panel : "")
            << c.key;
        if (c.fill >= 0) {
            EXPECT_EQ(Panels().GetColours().IsFillEnabled(), c.fill == 1) << c.key;
        }
    }
    // The pen's stamp is its pen type.
    dialog.Command(KVCmToolPen);
    Give(KVIdSize, 4);
    auto* type = dynamic_cast<QComboBox*>(Panels().GetShownPanel()->GetControl(KVIdPenType));
    type->setCurrentIndex(KVBrushCalligraphy);
    EXPECT_EQ(Surface().GetStampType(), KVBrushCalligraphy);
}

// Stands for the bezier, poly line and mask widgets.
struct Hooks : KVToolWidgetHooks {
    std::vector<std::string> calls;
    void FinishOpenPath(const char* kind) override {
        calls.push_back(std::string("finish ") + kind);
    }
    void MakeToolWidget(KVToolWidget widget, KVMaskFate mask) override {
        calls.push_back("make " + std::to_string(static_cast<int>(widget)) + " mask " +
                        std::to_string(static_cast<int>(mask)));
    }
};

TEST_F(ToolPanels, LeavingAPathToolFinishesThePathFirstAndMaskToolsKeepTheMask) {
    Hooks hooks;
    KVUiWindow& window = dialog.GetUiWindow();
    window.SetToolWidgetHooks(&hooks);
    dialog.Command(KVCmToolBezier);
    dialog.Command(KVCmToolBezier); // again: the path stays open
    dialog.Command(KVCmToolPencil);
    dialog.Command(KVCmToolPolyLine);
    dialog.Command(KVCmToolSelect);
    dialog.Command(KVCmToolLasso);
    const std::vector<std::string> expected = {"make 7 mask 2", "finish pen", "make 6 mask 2",
                                               "finish pen", "make 4 mask 0"};
    EXPECT_EQ(hooks.calls, expected);
    window.SetToolWidgetHooks(nullptr);

    const std::pair<const char*, KVMaskFate> fates[] = {
        {"rectselect", KVMaskFate::Keep},  {"wand", KVMaskFate::Keep},
        {"lasso", KVMaskFate::Keep},       {"pencil", KVMaskFate::KeepAsClip},
        {"brush", KVMaskFate::KeepAsClip}, {"rectangle", KVMaskFate::Drop},
        {"text", KVMaskFate::Drop},        {"", KVMaskFate::Drop}};
    for (const auto& [tool, fate] : fates)
        EXPECT_EQ(KVMaskFateForTool(tool), fate) << tool;
}

TEST_F(ToolPanels, APanelChangeOnASelectedElementIsOneUndoStepAndARender) {
    struct Case {
        unsigned tool;
        int control;
        int value;
        std::function<float(KVElement&)> read;
    } cases[] = {
        {KVCmToolRectangle, KVIdSize, 7,
         [](KVElement& e) {
             return dynamic_cast<KVRectangleElement&>(e).GetProperties().lineWidth;
         }},
        {KVCmToolPolygon, KVIdSides, 7,
         [](KVElement& e) {
             return static_cast<float>(dynamic_cast<KVPolygonElement&>(e).GetProperties().sides);
         }},
        {KVCmToolLine, KVIdSize, 9,
         [](KVElement& e) { return dynamic_cast<KVLineElement&>(e).GetProperties().lineWidth; }},
        {KVCmToolBrush, KVIdSoftness, 50,
         [](KVElement& e) {
             return static_cast<float>(dynamic_cast<KVBrushElement&>(e).GetProperties().softness);
         }},
        {KVCmToolMarker, KVIdSize, 33,
         [](KVElement& e) { return dynamic_cast<KVMarkerElement&>(e).GetProperties().width; }},
    };
    for (const Case& c : cases) {
        dialog.Command(c.tool);
        if (c.tool == KVCmToolBrush || c.tool == KVCmToolMarker) {
            Stroke(100);
            dialog.Command(KVCmToolSelect);
            Drag({{160, 100 + 4 * 4}});
        } else {
            Drag({{100, 100}, {220, 180}});
        }
        ASSERT_TRUE(Surface().GetSelectedWidget()) << c.tool;
        KVElement* element = Surface().GetSelectedWidget()->GetElement();
        const float before = c.read(*element);
        Idle();
        const unsigned long items = UndoItems();
        Give(c.control, c.value);
        EXPECT_EQ(UndoItems(), items + 1) << c.tool;
        EXPECT_TRUE(RenderAsked()) << c.tool;
        EXPECT_EQ(c.read(*element), c.value) << c.tool;
        // The element stays selected, and the panel still shows its value.
        ASSERT_TRUE(Surface().GetSelectedWidget());
        EXPECT_EQ(Panels().GetShownPanel()->GetValue(c.control), c.value);
        dialog.Command(KVCmUndo);
        EXPECT_EQ(c.read(*element), before) << c.tool;
        Surface().DeselectWidget(true);
    }
}

TEST_F(ToolPanels, SmoothingFitsASelectedStrokeAgain) {
    dialog.Command(KVCmToolPencil);
    Stroke(120);
    dialog.Command(KVCmToolSelect);
    Drag({{160, 120 + 4 * 4}});
    ASSERT_TRUE(Surface().GetSelectedWidget());
    auto controls = [&] {
        LList<KVDrawCoordBezierSegment> segments;
        Record<KVPencilElement>().GetBezierSegments(segments);
        std::vector<float> out;
        for (const KVDrawCoordBezierSegment& s : segments)
            out.insert(out.end(), {s.control1.x, s.control1.y, s.control2.x, s.control2.y});
        return out;
    };
    const std::vector<float> fitted = controls();
    const unsigned long items = UndoItems();
    Give(KVIdPencilSmoothing, 0);
    EXPECT_EQ(UndoItems(), items + 1);
    EXPECT_EQ(Record<KVPencilElement>().curviness, 0.0f);
    EXPECT_NE(controls(), fitted);
    dialog.Command(KVCmUndo);
    EXPECT_EQ(controls(), fitted);
}

TEST_F(ToolPanels, TheNextElementTakesThePanelsColoursAndEffects) {
    LSetColourResponder([](const LColourRequest&) { return LGuiColorAlpha(200, 30, 40, 255); });
    QTest::mouseClick(&Panels().GetColours().GetForegroundButton(), Qt::LeftButton);
    dialog.Command(KVCmToolBrush);
    Give(KVIdSoftness, 50);
    Give(KVIdSize, 24);
    Stroke(60);
    const KVBrushElementProperties brush = Record<KVBrushElement>();
    EXPECT_EQ(brush.softness, 50);
    EXPECT_EQ(brush.width, 24);
    EXPECT_EQ(brush.colour, LGuiColorAlpha(200, 30, 40, 255));

    dialog.Command(KVCmToolPolygon);
    Give(KVIdSides, 7);
    dialog.Command(KVCmShadow);
    dialog.Command(KVCmOuterGlow);
    dialog.Command(KVCmGradient);
    EXPECT_FALSE(dialog.GetUiWindow().AddShadow()); // already on
    Drag({{100, 100}, {250, 220}});
    const KVPolygonElementProperties polygon = Record<KVPolygonElement>();
    EXPECT_EQ(polygon.sides, 7u);
    ASSERT_TRUE(polygon.shadow);
    EXPECT_EQ(polygon.shadow->softness, 5);
    EXPECT_EQ(polygon.shadow->horizontalOffset, 5);
    ASSERT_TRUE(polygon.outerGlow);
    // A glow from the panel starts at the panel's strength, not the record's.
    EXPECT_EQ(polygon.outerGlow->strength, 5.0f);
    EXPECT_FALSE(polygon.innerGlow);
    ASSERT_TRUE(polygon.gradient);
    EXPECT_EQ(polygon.gradient->GetStopCount(), 2u);

    // Its effect panel's close button takes the shadow off the selected
    // polygon, in one step.
    Idle();
    const unsigned long items = UndoItems();
    QTest::mouseClick(Panels().GetEffectPanel(KVEffectShadow).GetCloseButton(), Qt::LeftButton);
    EXPECT_FALSE(Record<KVPolygonElement>().shadow);
    EXPECT_EQ(UndoItems(), items + 1);
    // A glow is not offered for a stroke.
    dialog.Command(KVCmToolPen);
    EXPECT_FALSE(Panels().IsEffectAvailable(KVEffectInnerGlow));
    EXPECT_TRUE(Panels().IsEffectAvailable(KVEffectBevel));
}

TEST(GradientControls, EndStopsStayAClickNearAStopPicksItAndTheMiddleSnaps) {
    KVGradientColorSlider slider;
    slider.resize(200, 34);
    slider.show();
    int asked = 0;
    std::optional<LGuiColorAlpha> answer = LGuiColorAlpha(255, 0, 0, 255);
    LSetColourResponder([&](const LColourRequest&) {
        ++asked;
        return answer;
    });
    auto drag = [&](int from, int to) {
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(from, 10));
        QTest::mouseMove(&slider, QPoint(to, 10));
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(to, 10));
    };
    struct Step {
        int from, to;
        unsigned long stops; // after the step
        int asked;           // pickers opened so far
        long selection;
    } steps[] = {
        {3, 120, 2, 1, 0},   // an end stop does not move; the click opens the picker
        {100, 100, 3, 2, 1}, // empty track: a new stop in the colour chosen
        {106, 150, 3, 2, 1}, // within 7 pixels: picked and dragged, no picker
        {140, 140, 4, 3, 1}, // 10 pixels off: a new stop
    };
    for (const Step& s : steps) {
        drag(s.from, s.to);
        EXPECT_EQ(slider.GetGradient().GetStopCount(), s.stops) << s.from;
        EXPECT_EQ(asked, s.asked) << s.from;
        EXPECT_EQ(slider.GetSelection(), s.selection) << s.from;
    }
    EXPECT_FLOAT_EQ(slider.GetGradient().GetStopPosition(0), 0.0f);
    EXPECT_FLOAT_EQ(slider.GetGradient().GetStopPosition(2), 0.75f);
    EXPECT_EQ(slider.GetGradient().GetStopColor(1), LGuiColorAlpha(255, 0, 0, 255));
    // "Remove Marker" takes the selected stop, never an end.
    EXPECT_TRUE(slider.RemoveStop());
    EXPECT_EQ(slider.GetGradient().GetStopCount(), 3u);
    answer.reset();
    drag(199, 199);
    EXPECT_EQ(slider.GetSelection(), 2);
    EXPECT_FALSE(slider.RemoveStop());
    EXPECT_EQ(slider.GetGradient().GetStopCount(), 3u);
    LSetColourResponder(nullptr);

    KVGradientDirectionControl direction;
    direction.show();
    const int inset = KVGradientDirectionControl::kInset;
    const int far = direction.width() - 1 - 2 * inset, mid = inset + far / 2;
    const struct {
        QPoint to;
        float x, y;
    } moves[] = {{{mid + 2, mid - 2}, 0.5f, 0.5f},
                 {{inset + 10, inset + 60}, 10.0f / far, 60.0f / far},
                 {{-30, 500}, 0.0f, 1.0f}};
    QPoint from(inset, inset);
    for (const auto& m : moves) {
        QTest::mousePress(&direction, Qt::LeftButton, {}, from);
        QTest::mouseMove(&direction, m.to);
        QTest::mouseRelease(&direction, Qt::LeftButton, {}, m.to);
        EXPECT_NEAR(direction.GetStart().x, m.x, 1e-4) << m.to.x();
        EXPECT_NEAR(direction.GetStart().y, m.y, 1e-4) << m.to.y();
        from = QPoint(inset + static_cast<int>(std::lround(m.x * far)),
                      inset + static_cast<int>(std::lround(m.y * far)));
    }
    EXPECT_EQ(direction.GetEnd().x, 1.0f);
}

TEST_F(ToolPanels, AGroupResizeMovesAndScalesEachMemberAboutTheFrameInOneStep) {
    dialog.Command(KVCmToolRectangle);
    Drag({{100, 100}, {150, 140}});
    Drag({{200, 160}, {250, 200}});
    dialog.Command(KVCmSelectAll);
    KVElementWidget* group = Surface().GetSelectedWidget();
    ASSERT_TRUE(group && group->GetMembers());
    const LBoundingBox2T<float> frame = group->GetDimensions();
    // The bottom right handle, wherever the frame's margin puts it.
    QPoint handle;
    for (int d = -30; d <= 30 && handle.isNull(); ++d)
        if (group->WhichHandle(frame.x2 + d, frame.y2 + d, 1.0f / Surface().GetZoom()) ==
            KVHandleBottomRight)
            handle = At(frame.x2 + d, frame.y2 + d);
    ASSERT_FALSE(handle.isNull());
    Idle();
    const unsigned long items = UndoItems();
    // Twice as wide and high.
    const QPoint to = handle + At(frame.GetWidth(), frame.GetHeight()) - At(0, 0);
    QTest::mousePress(Surface().viewport(), Qt::LeftButton, {}, handle);
    QTest::mouseMove(Surface().viewport(), to);
    QTest::mouseRelease(Surface().viewport(), Qt::LeftButton, {}, to);
    EXPECT_EQ(UndoItems(), items + 1);
    EXPECT_TRUE(RenderAsked());
    // About the frame's top left: the first stays there, the second moves
    // twice as far from it.
    const auto first = dynamic_cast<KVRectangleElement&>(*Layer().GetElementList().GetFirst())
                           .GetProperties()
                           .bounds;
    const auto second = Record<KVRectangleElement>().bounds;
    EXPECT_NEAR(first.x1, 100, 2);
    EXPECT_NEAR(first.GetWidth(), 100, 3);
    EXPECT_NEAR(second.x1, 100 + 2 * 100, 3);
    EXPECT_NEAR(second.y2, 100 + 2 * 100, 3);
}

TEST_F(ToolPanels, TheRightClickMenuOffersWhatTheElementAllows) {
    auto labels = [](const std::vector<LPopupEntry>& menu) {
        std::string out;
        for (const LPopupEntry& e : menu) {
            out += e.label.empty() ? "|" : e.label + (e.enabled ? "" : "-");
            for (const LPopupEntry& s : e.submenu)
                out += "<" + s.label + ">";
            out += " ";
        }
        return out;
    };
    EXPECT_EQ(labels(dialog.GetRightClickMenu(nullptr)), "Delete- | Undo- Redo- ");
    dialog.Command(KVCmToolRectangle);
    Drag({{100, 100}, {200, 160}});
    EXPECT_EQ(labels(dialog.GetRightClickMenu(Surface().GetSelectedWidget())),
              "Delete | Undo Redo- | Fill Gradient Bevel/Emboss Shadow Convert to Path ");
    dialog.Command(KVCmToolCrayon);
    Stroke(220);
    dialog.Command(KVCmToolSelect);
    Drag({{160, 220 + 4 * 4}});
    EXPECT_EQ(labels(dialog.GetRightClickMenu(Surface().GetSelectedWidget())),
              "Delete | Undo Redo- | Convert to Path<Pencil><Marker><Brush><Spray Paint> ");

    // A right click selects the rectangle under it; "Delete" takes it away.
    Surface().DeselectWidget(true);
    LSetPopupResponder([](const std::vector<LPopupEntry>&) { return unsigned(KVCmDelete); });
    QTest::mouseClick(Surface().viewport(), Qt::RightButton, {}, At(150, 100));
    EXPECT_EQ(Layer().GetElementCount(), 1u);
    EXPECT_STREQ(Last()->GetName(), "crayon");
    dialog.Command(KVCmUndo);
    EXPECT_EQ(Layer().GetElementCount(), 2u);
}

TEST_F(ToolPanels, EffectsAreOfferedOnlyWhereTheyApply) {
    // Gradient, shadow, bevel, inner glow, outer glow.
    const std::pair<unsigned, std::array<bool, 5>> cases[] = {
        {KVCmToolRectangle, {true, true, true, true, true}},
        {KVCmToolPolygon, {true, true, true, true, true}},
        {KVCmToolPen, {true, true, true, false, false}},
        {KVCmToolText, {false, true, true, false, false}},
        {KVCmToolPencil, {false, false, false, false, false}},
        {KVCmToolLine, {false, false, false, false, false}},
        {KVCmToolSelect, {false, false, false, false, false}},
    };
    const std::pair<unsigned, KVEffectId> effects[] = {{KVCmGradient, KVEffectGradient},
                                                       {KVCmShadow, KVEffectShadow},
                                                       {KVCmBevelEmboss, KVEffectBevel},
                                                       {KVCmInnerGlow, KVEffectInnerGlow},
                                                       {KVCmOuterGlow, KVEffectOuterGlow}};
    for (const auto& [tool, offered] : cases) {
        dialog.Command(tool);
        for (size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(dialog.GetAction(effects[i].first)->isEnabled(), offered[i])
                << tool << " " << i;
            // The command turns it on where it is offered, and only once.
            dialog.Command(effects[i].first);
            EXPECT_EQ(Panels().IsEffectShown(effects[i].second), offered[i]) << tool << " " << i;
            EXPECT_FALSE(dialog.GetAction(effects[i].first)->isEnabled());
        }
        Panels().HideEffects();
    }
}

TEST_F(ToolPanels, ColourChangesGoToTheSelectedElementAndSwapTradesThem) {
    dialog.Command(KVCmToolRectangle);
    Drag({{100, 100}, {200, 160}});
    ASSERT_TRUE(Surface().GetSelectedWidget());
    LGuiColorAlpha next(10, 120, 250, 255);
    LSetColourResponder([&](const LColourRequest&) { return next; });
    ColorPickerClick(Panels().GetColours().GetForegroundButton());
    next = LGuiColorAlpha(250, 240, 10, 255);
    ColorPickerClick(Panels().GetColours().GetFillButton());
    KVRectangleElementProperties r = Record<KVRectangleElement>();
    EXPECT_EQ(r.lineColour, LGuiColorAlpha(10, 120, 250, 255));
    ASSERT_TRUE(r.fill);
    EXPECT_EQ(*r.fill, LGuiColorAlpha(250, 240, 10, 255));
    const unsigned long items = UndoItems();
    Idle();
    QTest::mouseClick(&Panels().GetColours().GetSwapButton(), Qt::LeftButton);
    Idle();
    r = Record<KVRectangleElement>();
    EXPECT_EQ(r.lineColour, LGuiColorAlpha(250, 240, 10, 255));
    EXPECT_EQ(*r.fill, LGuiColorAlpha(10, 120, 250, 255));
    EXPECT_GE(UndoItems(), items + 1);
    // The next stroke draws in the foreground.
    Surface().DeselectWidget(true);
    dialog.Command(KVCmToolCrayon);
    Stroke(220);
    EXPECT_EQ(Record<KVCrayonElement>().colour, LGuiColorAlpha(250, 240, 10, 255));
}

TEST_F(ToolPanels, TheTextPanelFormatsANewTextAndEveryRunOfAText) {
    LSetTextInputResponder(
        [](const LTextInputRequest&) { return std::optional<std::string>("Panels"); });
    dialog.Command(KVCmToolText);
    Give(KVIdFontSize, 30);
    dynamic_cast<QCheckBox*>(Panels().GetShownPanel()->GetControl(KVIdBold))->click();
    Drag({{40, 50}, {300, 140}});
    LSetTextInputResponder(nullptr);
    auto& element = dynamic_cast<KVRichTextElement&>(*Last());
    EXPECT_EQ(element.GetProperties().segments.at(0).size, 30);
    EXPECT_TRUE(element.GetProperties().segments.at(0).bold);
    // Untouched, the face is the default one, not the first family installed.
    EXPECT_STREQ(element.GetProperties().segments.at(0).font, KVDefaultTextFace());
    // What a selected text will take from the panel: each run's format, its
    // text kept.
    KVRichTextElementProperties two = element.GetProperties();
    two.segments.push_back(two.segments[0]);
    element.SetProperties(two, false, nullptr);
    Give(KVIdFontSize, 48);
    KVRichTextElementProperties p = element.GetProperties();
    Panels().GetSelectedToolProperties(p);
    element.SetPropertiesFromPanel(p, true);
    for (const KVRichTextSegment& run : element.GetProperties().segments) {
        EXPECT_EQ(run.size, 48);
        EXPECT_TRUE(run.bold);
        EXPECT_STREQ(run.text.Get(), "Panels");
    }
}

TEST(CropPanel, ShowsTheFramesSizeInPixelsAndInTheProjectsUnit) {
    KVCropPanel panel;
    const struct {
        long w, h;
        double ppi;
        bool metric;
        const char* width;
        const char* height;
    } cases[] = {
        {144, 72, 72, false, "Width: 144 px   2.00 in", "Height: 72 px   1.00 in"},
        {300, 150, 300, true, "Width: 300 px   2.54 cm", "Height: 150 px   1.27 cm"},
        {10, 10, 0, false, "Width: 10 px   0.00 in", "Height: 10 px   0.00 in"},
    };
    for (const auto& c : cases) {
        panel.SetCropSize(c.w, c.h, c.ppi, c.metric);
        const QList<QLabel*> lines = panel.findChildren<QLabel*>();
        QStringList texts;
        for (QLabel* l : lines)
            texts << l->text();
        EXPECT_TRUE(texts.contains(c.width)) << texts.join('|').toStdString();
        EXPECT_TRUE(texts.contains(c.height)) << texts.join('|').toStdString();
    }
}

TEST_F(ToolPanels, DeletingAGroupIsOneStep) {
    dialog.Command(KVCmToolRectangle);
    Drag({{40, 40}, {90, 90}});
    Drag({{120, 40}, {190, 90}});
    dialog.Command(KVCmSelectAll);
    ASSERT_TRUE(dialog.GetAction(KVCmDelete)->isEnabled());
    const unsigned long items = UndoItems();
    dialog.Command(KVCmDelete);
    EXPECT_EQ(Layer().GetElementCount(), 0u);
    EXPECT_EQ(UndoItems(), items + 1);
    EXPECT_FALSE(dialog.GetAction(KVCmDelete)->isEnabled());
    dialog.Command(KVCmUndo);
    EXPECT_EQ(Layer().GetElementCount(), 2u);
}

TEST_F(ToolPanels, SelectingAnElementShowsItsOwnRecordInThePanels) {
    // A record made elsewhere, as a file gives it: its glow keeps its own
    // strength, and the panels show what it has.
    KVRectangleElementProperties made;
    made.SetRectangle({50, 50, 150, 120});
    made.lineWidth = 4;
    made.lineColour = LGuiColorAlpha(0, 128, 0, 255);
    made.SetShadow(KVDropShadow{-3, 8, 9, 12});
    made.SetInnerGlow(KVGlow());
    {
        std::unique_ptr<KVRenderLock> lock;
        KVImage* image = dialog.GetCurrentProject(lock)->GetCurrentImage();
        image->AddNewElement(new KVRectangleElement(made), &Layer(), false, true);
    }
    // A step back and forth gives the canvas the element's frame.
    dialog.Command(KVCmUndo);
    dialog.Command(KVCmRedo);
    dialog.Command(KVCmToolSelect);
    Drag({{100, 50}});
    ASSERT_TRUE(Surface().GetSelectedWidget());
    EXPECT_EQ(Panels().GetShownPanel(), Panels().GetPanel("rectangle"));
    EXPECT_EQ(Panels().GetShownPanel()->GetValue(KVIdSize), 4);
    EXPECT_EQ(Panels().GetColours().GetForegroundButton().GetColour(), made.lineColour);
    EXPECT_TRUE(Panels().IsEffectShown(KVEffectShadow));
    EXPECT_TRUE(Panels().IsEffectShown(KVEffectInnerGlow));
    EXPECT_FALSE(Panels().IsEffectShown(KVEffectGradient));
    // A change elsewhere in the panels leaves the shadow and glow as they were.
    Give(KVIdSize, 6);
    const KVRectangleElementProperties r = Record<KVRectangleElement>();
    EXPECT_EQ(r.lineWidth, 6);
    ASSERT_TRUE(r.shadow && r.innerGlow);
    EXPECT_EQ(r.shadow->verticalOffset, 9);
    EXPECT_EQ(r.shadow->softness, 12);
    EXPECT_EQ(r.innerGlow->strength, KVGlow().strength);
    // Deselected, the effects go from the panels.
    Surface().DeselectWidget(true);
    EXPECT_FALSE(Panels().IsEffectShown(KVEffectShadow));
}

// With KV_CANVAS_SHOTS set, the window with each tool's panel and the
// drawing (also as a project file) are saved there to be looked at.
TEST_F(ToolPanels, ADrawingMadeThroughThePanelsKeepsWhatEachPanelGave) {
    const char* shots = std::getenv("KV_CANVAS_SHOTS");
    auto shoot = [&](const std::string& name) {
        if (shots)
            dialog.grab().save(QString("%1/%2.png").arg(shots, QString::fromStdString(name)));
    };
    for (const KVTool& t : KVGetTools())
        if (t.command) {
            dialog.Command(t.command);
            shoot(std::string("tool-") + (t.key[0] ? t.key : "select"));
        }
    LGuiColorAlpha next(30, 40, 140, 255);
    LSetColourResponder([&](const LColourRequest&) { return next; });
    QTest::mouseClick(&Panels().GetColours().GetForegroundButton(), Qt::LeftButton);

    // A rectangle filled with a gradient of three stops, with a shadow and
    // an outer glow.
    dialog.Command(KVCmToolRectangle);
    Give(KVIdSize, 3);
    dialog.Command(KVCmGradient);
    dialog.Command(KVCmShadow);
    dialog.Command(KVCmOuterGlow);
    KVGradientColorSlider& slider = Panels().GetGradientPanel().GetSlider();
    next = LGuiColorAlpha(250, 150, 20, 255);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, QPoint(slider.width() / 2, 8));
    shoot("effects");
    Drag({{30, 30}, {170, 130}});
    // A soft brush stroke, and a filled polygon of seven sides.
    dialog.Command(KVCmToolBrush);
    next = LGuiColorAlpha(200, 30, 60, 255);
    QTest::mouseClick(&Panels().GetColours().GetForegroundButton(), Qt::LeftButton);
    Give(KVIdSize, 24);
    Give(KVIdSoftness, 50);
    Stroke(200);
    dialog.Command(KVCmToolPolygon);
    Give(KVIdSides, 7);
    next = LGuiColorAlpha(40, 160, 80, 255);
    QTest::mouseClick(&Panels().GetColours().GetFillButton(), Qt::LeftButton);
    Drag({{230, 20}, {380, 160}});
    Idle();
    kvtest::WaitFor([&] { return dialog.GetRenderResults().IsEmpty(); });
    kvtest::Pump(200);
    shoot("drawing");

    ASSERT_EQ(Layer().GetElementCount(), 3u);
    auto* rectangle = dynamic_cast<KVRectangleElement*>(Layer().GetElementList().GetFirst());
    ASSERT_TRUE(rectangle);
    const KVRectangleElementProperties r = rectangle->GetProperties();
    ASSERT_TRUE(r.gradient && r.shadow && r.outerGlow);
    EXPECT_EQ(r.gradient->GetStopCount(), 3u);
    EXPECT_EQ(r.lineWidth, 3);
    EXPECT_EQ(r.lineColour, LGuiColorAlpha(30, 40, 140, 255));
    auto* brush = dynamic_cast<KVBrushElement*>(rectangle->GetNext());
    ASSERT_TRUE(brush);
    EXPECT_EQ(brush->GetProperties().softness, 50);
    EXPECT_FALSE(brush->GetProperties().path->GetCoords().IsEmpty());
    const KVPolygonElementProperties polygon = Record<KVPolygonElement>();
    EXPECT_EQ(polygon.sides, 7u);
    ASSERT_TRUE(polygon.fill);
    EXPECT_EQ(*polygon.fill, LGuiColorAlpha(40, 160, 80, 255));
    EXPECT_FALSE(polygon.shadow) << "effects belong to the element they were added for";
    if (shots) {
        LProcessInterfaceVoid process;
        KVProjectFileSave(process, *dialog.PeekCurrentProject(),
                          (std::string(shots) + "/drawing.kvp").c_str());
    }
}

} // namespace
