// The layer list driven as a user drives it, on the offscreen platform: its
// buttons, the eye, dragging, renaming, the background strip and the element
// list change the document in one undo step each (none for order, visibility
// and name), and the list follows undo and redo.

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <cstdlib>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "document/shapes.h"
#include "persistence/project_file.h"
#include "shell/layer_list.h"
#include "shell/main_dialog.h"
#include "shell/tools.h"
#include "shell/ui_window.h"
#include "surface/canvas_widgets.h"
#include "support/editor_fixture.h"
#include "support/qt_wait.h"
#include "toolkit/dialogs.h"
#include "toolkit/settings.h"

namespace {

KVRectangleElement* Rectangle(float x1, float y1, float x2, float y2, LGuiColorAlpha fill) {
    KVRectangleElementProperties p;
    p.SetRectangle({x1, y1, x2, y2});
    p.SetFill(fill);
    return new KVRectangleElement(p);
}

QPoint ThumbnailPoint() { return {KVLayerList::kWidth - 28 - 6 - KVLayerList::kThumbWidth / 2, 15}; }
QPoint NamePoint() { return {60, 15}; }
QPoint EyePoint() { return {KVLayerList::kWidth - 19, 15}; }
QPoint ExpanderPoint() { return {11, 15}; }
void ClickRow(QTreeWidget& rows, int row, Qt::KeyboardModifiers keys) {
    QTest::mouseClick(rows.viewport(), Qt::LeftButton, keys, rows.visualItemRect(rows.topLevelItem(row)).center());
}

class Layers : public kvtest::EditorFixture {
protected:
    void BeforeInit() override {
        LSetAlertResponder([this](const LAlertRequest& r) {
            alerts.push_back(r);
            return alertAnswer;
        });
    }
    void TearDown() override {
        LSetAlertResponder(nullptr);
        LSetColourResponder(nullptr);
    }
    KVLayerList& List() { return dialog.GetUiWindow().GetLayerList(); }
    void Press(KVLayerListWindow::Button id) {
        QTest::mouseClick(&dialog.GetUiWindow().GetLayerListWindow().GetButton(id), Qt::LeftButton);
    }
    // The entries' names, top first, as the list shows them; the current one in brackets.
    std::vector<std::string> Shown() {
        std::vector<std::string> names;
        for (const KVLayerListEntry& e : List().GetEntries())
            names.push_back(e.selected ? "[" + std::string(e.name) + "]" : e.name);
        return names;
    }
    // The document's layers, top first.
    std::vector<std::string> Document() {
        std::vector<std::string> names;
        for (LListIterator<KVLayer> l = Image().GetLayers(); l; ++l)
            names.insert(names.begin(), l->GetName());
        return names;
    }
    KVLayerListEntryDisplay& Row(int index) { return *List().GetEntries().GetAt(static_cast<unsigned long>(index))->display; }
    KVLayer& LayerNamed(const char* name) {
        for (LListIterator<KVLayer> l = Image().GetLayers(); l; ++l)
            if (std::string(l->GetName()) == name)
                return *l;
        throw std::runtime_error(name);
    }
    void AddRectangle(const char* layer, LGuiColorAlpha fill) {
        std::unique_ptr<KVRenderLock> lock;
        dialog.GetCurrentProject(lock);
        Image().AddNewElement(Rectangle(100, 80, 300, 220, fill), &LayerNamed(layer), false, true);
    }
    static std::vector<std::string> Plain(std::vector<std::string> names) {
        for (std::string& n : names)
            if (n.front() == '[')
                n = n.substr(1, n.size() - 2);
        return names;
    }
    // A rectangle dragged out on the canvas with its tool.
    void DrawRectangle() {
        dialog.Command(KVCmToolRectangle);
        QWidget* view = Surface().viewport();
        QTest::mousePress(view, Qt::LeftButton, {}, QPoint(40, 40));
        QTest::mouseMove(view, QPoint(90, 80));
        QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(90, 80));
    }
    void Click(QWidget& w, QPoint at) { QTest::mouseClick(&w, Qt::LeftButton, {}, at); }

    std::vector<LAlertRequest> alerts;
    int alertAnswer = 1;
};

TEST_F(Layers, EachButtonIsOneUndoStepAndTheListFollowsUndoAndRedo) {
    struct Case {
        KVLayerListWindow::Button button;
        std::vector<std::string> after;
    } cases[] = {
        {KVLayerListWindow::IdNewLayer, {"[Layer 2]", "Layer 1", "Layer"}},
        {KVLayerListWindow::IdDeleteLayer, {"[Layer]"}},
        {KVLayerListWindow::IdDuplicateLayer, {"Layer 1 - Copy", "[Layer 1]", "Layer"}},
        {KVLayerListWindow::IdMergeDown, {"[Layer]"}},
    };
    for (const Case& c : cases) {
        dialog.CmNewProject();
        Press(KVLayerListWindow::IdNewLayer);
        const std::vector<std::string> before = {"[Layer 1]", "Layer"};
        ASSERT_EQ(Shown(), before);
        const unsigned long items = UndoItems();
        Press(c.button);
        EXPECT_EQ(Shown(), c.after) << c.button;
        EXPECT_EQ(UndoItems(), items + 1) << c.button;
        // Undo and redo leave the current layer where it is when they can.
        dialog.Command(KVCmUndo);
        EXPECT_EQ(Plain(Shown()), Plain(before)) << c.button << " undone";
        EXPECT_EQ(Plain(Shown()), Document());
        dialog.Command(KVCmRedo);
        EXPECT_EQ(Plain(Shown()), Plain(c.after)) << c.button << " redone";
    }
    EXPECT_TRUE(alerts.empty());
}

TEST_F(Layers, OrderVisibilityAndNameChangeTheDocumentWithoutAnUndoStep) {
    Press(KVLayerListWindow::IdNewLayer);
    Press(KVLayerListWindow::IdNewLayer);
    struct Case {
        const char* what;
        std::function<void()> act;
        std::vector<std::string> document;
    } cases[] = {
        {"drag the top entry down by one",
         [&] {
             KVLayerListEntryDisplay& top = Row(0);
             QTest::mousePress(&top, Qt::LeftButton, {}, ThumbnailPoint());
             QTest::mouseMove(&top, ThumbnailPoint() + QPoint(0, 40));
             QTest::mouseRelease(&top, Qt::LeftButton, {}, ThumbnailPoint() + QPoint(0, 40));
         },
         {"Layer 1", "Layer 2", "Layer"}},
        {"drag the bottom entry above the others",
         [&] {
             KVLayerListEntryDisplay& bottom = Row(2);
             QTest::mousePress(&bottom, Qt::LeftButton, {}, ThumbnailPoint());
             QTest::mouseMove(&bottom, QPoint(ThumbnailPoint().x(), -5));
             QTest::mouseMove(&bottom, QPoint(ThumbnailPoint().x(), -5));
             QTest::mouseRelease(&bottom, Qt::LeftButton, {}, QPoint(ThumbnailPoint().x(), -5));
         },
         {"Layer", "Layer 1", "Layer 2"}},
        {"rename the current layer",
         [&] {
             Click(Row(0), NamePoint());
             QLineEdit& edit = List().GetNameEdit();
             ASSERT_TRUE(edit.isVisible());
             edit.clear();
             QTest::keyClicks(&edit, "  Sky  ");
             QTest::keyClick(&edit, Qt::Key_Return);
         },
         {"Sky", "Layer 1", "Layer 2"}},
        {"a blank name is refused", [&] {
             Click(Row(0), NamePoint());
             QLineEdit& edit = List().GetNameEdit();
             edit.clear();
             QTest::keyClicks(&edit, "   ");
             QTest::keyClick(&edit, Qt::Key_Return);
             EXPECT_FALSE(edit.isVisible());
         },
         {"Sky", "Layer 1", "Layer 2"}},
        {"hide the middle layer", [&] { Click(Row(1), EyePoint()); }, {"Sky", "Layer 1", "Layer 2"}},
    };
    for (const Case& c : cases) {
        const unsigned long items = UndoItems();
        c.act();
        EXPECT_EQ(Document(), c.document) << c.what;
        EXPECT_EQ(UndoItems(), items) << c.what;
    }
    EXPECT_FALSE(LayerNamed("Layer 1").IsVisible());
    EXPECT_FALSE(List().GetEntries().GetAt(1)->visible);
    EXPECT_TRUE(alerts.empty()) << "a blank name is refused without a word";
}

TEST_F(Layers, DeletingTheCurrentEntryMakesTheNextOneCurrentOrElseTheLast) {
    Press(KVLayerListWindow::IdNewLayer);
    Press(KVLayerListWindow::IdNewLayer);
    Click(Row(1), NamePoint());
    ASSERT_EQ(Shown(), (std::vector<std::string>{"Layer 2", "[Layer 1]", "Layer"}));
    Press(KVLayerListWindow::IdDeleteLayer);
    EXPECT_EQ(Shown(), (std::vector<std::string>{"Layer 2", "[Layer]"}));
    Press(KVLayerListWindow::IdDeleteLayer);
    EXPECT_EQ(Shown(), (std::vector<std::string>{"[Layer 2]"}));
    EXPECT_EQ(dialog.GetSelectedLayer(), &LayerNamed("Layer 2"));
    const unsigned long items = UndoItems();
    Press(KVLayerListWindow::IdDeleteLayer);
    EXPECT_EQ(UndoItems(), items) << "the only layer stays";
    EXPECT_FALSE(dialog.GetUiWindow().GetLayerListWindow().GetButton(KVLayerListWindow::IdMergeDown).isEnabled());
}

TEST_F(Layers, HidingTheCurrentLayerTakesItsWidgetsOffTheCanvasUntilItShowsAgain) {
    DrawRectangle();
    ASSERT_EQ(Surface().GetWidgets().GetCount(), 1u);
    ASSERT_NE(Surface().GetSelectedWidget(), nullptr);
    Click(Row(0), EyePoint());
    EXPECT_FALSE(LayerNamed("Layer").IsVisible());
    EXPECT_EQ(Surface().GetSelectedWidget(), nullptr);
    EXPECT_TRUE(Surface().GetWidgets().IsEmpty());
    Click(Row(0), EyePoint());
    EXPECT_EQ(Surface().GetWidgets().GetCount(), 1u);
}

TEST_F(Layers, HiddenLayersAskBeforeAMergeOrADrawingAndDoNotProceedChangesNothing) {
    struct Case {
        const char* what;
        int answer;
        bool merge; // else a rectangle drawn on the hidden layer
    } cases[] = {
        {"merge, declined", 1, true},
        {"merge, accepted", 0, true},
        {"drawing, declined", 1, false},
        {"drawing, accepted", 0, false},
    };
    for (const Case& c : cases) {
        dialog.CmNewProject();
        Press(KVLayerListWindow::IdNewLayer);
        AddRectangle("Layer", LGuiColorAlpha(0, 0, 255, 255));
        Click(Row(0), EyePoint()); // "Layer 1" hidden, and current
        alerts.clear();
        alertAnswer = c.answer;
        const unsigned long items = UndoItems();
        if (c.merge) {
            Press(KVLayerListWindow::IdMergeDown);
        } else {
            DrawRectangle();
        }
        ASSERT_EQ(alerts.size(), 1u) << c.what;
        EXPECT_EQ(alerts[0].title, "Hidden Layer");
        if (c.merge) {
            EXPECT_EQ(alerts[0].buttons, (std::vector<std::string>{"Make layers visible", "Do not proceed"}));
        }
        if (c.answer != 0) {
            EXPECT_EQ(UndoItems(), items) << c.what;
            EXPECT_EQ(Document(), (std::vector<std::string>{"Layer 1", "Layer"})) << c.what;
            EXPECT_FALSE(LayerNamed("Layer 1").IsVisible()) << c.what;
            EXPECT_EQ(LayerNamed("Layer 1").GetElementCount(), 0u);
        } else if (c.merge) {
            EXPECT_EQ(UndoItems(), items + 1) << c.what;
            EXPECT_EQ(Shown(), (std::vector<std::string>{"[Layer]"}));
            EXPECT_TRUE(LayerNamed("Layer").IsVisible());
        } else {
            EXPECT_EQ(UndoItems(), items + 1) << c.what;
            EXPECT_TRUE(LayerNamed("Layer 1").IsVisible());
            EXPECT_EQ(LayerNamed("Layer 1").GetElementCount(), 1u);
        }
    }
}

TEST_F(Layers, TheBackgroundStripSetsTheColourInOneUndoStep) {
    LSetColourResponder([](const LColourRequest&) { return LGuiColorAlpha(10, 20, 30, 255); });
    KVLayerListBackgroundDisplay& strip = List().GetBackground();
    struct Case {
        const char* entry; // null: a left click
        std::uint32_t packed;
    } cases[] = {
        {"Black Background", 0xFF000000u},
        {"Transparent Background", 0x00000000u},
        {"White Background", 0xFFFFFFFFu},
        {nullptr, 0xFF0A141Eu},
        {"Transparent Background", 0x000A141Eu},
        {"Change Color", 0xFF0A141Eu},
    };
    for (const Case& c : cases) {
        const unsigned long items = UndoItems();
        if (!c.entry) {
            Click(strip, {20, 10});
        } else {
            QTest::mouseClick(&strip, Qt::RightButton, {}, {20, 10});
            QMenu* menu = strip.GetMenu();
            ASSERT_NE(menu, nullptr);
            QAction* chosen = nullptr;
            for (QAction* a : menu->actions())
                if (a->text() == c.entry)
                    chosen = a;
            ASSERT_NE(chosen, nullptr) << c.entry;
            chosen->trigger();
            menu->close();
        }
        EXPECT_EQ(Image().GetBackground().GetPacked(), c.packed) << (c.entry ? c.entry : "left click");
        EXPECT_EQ(UndoItems(), items + 1);
    }
    dialog.Command(KVCmUndo);
    EXPECT_EQ(List().GetBackground().GetColour().alpha, 0) << "the strip follows undo";
}

TEST_F(Layers, AChangeOnOneLayerRendersOnlyThatLayersThumbnail) {
    Press(KVLayerListWindow::IdNewLayer);
    Press(KVLayerListWindow::IdNewLayer);
    AddRectangle("Layer 1", LGuiColorAlpha(255, 0, 0, 255));
    dialog.RenderCurrentProject();
    ASSERT_TRUE(kvtest::WaitFor([&] { return dialog.GetRenderResults().IsEmpty(); }));
    List().grab();
    const unsigned long first = List().GetThumbnailRenderCount();
    const QImage red = List().GetEntries().GetAt(1)->thumbnail;
    ASSERT_FALSE(red.isNull());
    EXPECT_EQ(QColor(red.pixel(red.width() / 2, red.height() / 2)), QColor(255, 0, 0));
    EXPECT_EQ(qAlpha(List().GetEntries().GetAt(0)->thumbnail.pixel(20, 13)), 0) << "an empty layer shows nothing";

    Click(Row(0), EyePoint()); // visibility is not content
    Click(Row(2), NamePoint());
    List().grab();
    EXPECT_EQ(List().GetThumbnailRenderCount(), first);

    AddRectangle("Layer", LGuiColorAlpha(0, 255, 0, 255));
    dialog.RenderCurrentProject();
    List().grab();
    EXPECT_EQ(List().GetThumbnailRenderCount(), first) << "the picture under way is not cut short for a thumbnail";
    ASSERT_TRUE(kvtest::WaitFor([&] { return dialog.GetRenderResults().IsEmpty(); }));
    List().grab();
    EXPECT_EQ(List().GetThumbnailRenderCount(), first + 1);
    const QImage green = List().GetEntries().GetAt(2)->thumbnail;
    EXPECT_EQ(QColor(green.pixel(green.width() / 2, green.height() / 2)), QColor(0, 255, 0));
}

TEST_F(Layers, RowsPickedInTheElementListAreTheCanvasSelection) {
    DrawRectangle();
    DrawRectangle();
    Click(Row(0), ExpanderPoint());
    QTreeWidget& rows = List().GetElementListView();
    ASSERT_EQ(rows.topLevelItemCount(), 2);
    const KVElement* first = LayerNamed("Layer").GetElementList().GetFirst();
    struct Case {
        int row;
        Qt::KeyboardModifiers keys;
        unsigned long members; // 0: one element alone, or none
        const KVElement* alone;
    } cases[] = {
        {0, {}, 0, first},
        {1, Qt::ControlModifier, 2, nullptr},
        {1, Qt::ControlModifier, 0, first},
        {0, Qt::ControlModifier, 0, nullptr},
    };
    for (const Case& c : cases) {
        ClickRow(rows, c.row, c.keys);
        KVElementWidget* selected = Surface().GetSelectedWidget();
        EXPECT_EQ(selected && selected->GetMembers() ? selected->GetMembers()->GetCount() : 0, c.members);
        EXPECT_EQ(selected && !selected->GetMembers() && selected->IsParentElement(c.alone), c.alone != nullptr);
        EXPECT_EQ(selected == nullptr, !c.members && !c.alone);
    }
    EXPECT_EQ(dialog.GetUiWindow().GetTool(), "") << "picking leaves the drawing tool for the selection";
}

// Whether a picture holds a pixel of about this colour.
bool Shows(const QImage& picture, QColor colour) {
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const QColor c = QColor::fromRgba(picture.pixel(x, y));
            if (c.alpha() == 255 && std::abs(c.red() - colour.red()) < 8 && std::abs(c.green() - colour.green()) < 8 &&
                std::abs(c.blue() - colour.blue()) < 8)
                return true;
        }
    return false;
}

TEST_F(Layers, FourLayersShowTheirOwnContentInTheirThumbnailsHiddenOrNot) {
    struct Case {
        const char* name;
        LBoundingBox2T<float> box;
        QColor colour;
        bool visible;
    } cases[] = {
        {"Sky", {0, 0, 400, 180}, QColor(90, 160, 230), true},
        {"Ground", {0, 180, 400, 300}, QColor(120, 80, 40), true},
        {"Sun", {280, 30, 360, 110}, QColor(250, 210, 40), false},
        {"House", {120, 120, 220, 230}, QColor(200, 30, 30), true},
    };
    for (const Case& c : cases) {
        if (&c != cases)
            Press(KVLayerListWindow::IdNewLayer);
        std::unique_ptr<KVRenderLock> lock;
        dialog.GetCurrentProject(lock);
        KVLayer& layer = *dialog.GetSelectedLayer();
        Image().UpdateLayerName(&layer, c.name);
        Image().UpdateLayerVisibility(&layer, c.visible);
        Image().AddNewElement(Rectangle(c.box.x1, c.box.y1, c.box.x2, c.box.y2,
                                        LGuiColorAlpha(static_cast<unsigned char>(c.colour.red()),
                                                       static_cast<unsigned char>(c.colour.green()),
                                                       static_cast<unsigned char>(c.colour.blue()), 255)),
                              &layer, false, true);
    }
    dialog.RenderCurrentProject();
    ASSERT_TRUE(kvtest::WaitFor([&] { return dialog.GetRenderResults().IsEmpty(); }));
    List().grab();
    const KVLayerListEntry* e = List().GetEntries().GetLast();
    for (const Case& c : cases) {
        ASSERT_NE(e, nullptr);
        EXPECT_STREQ(e->name, c.name);
        EXPECT_EQ(e->visible, c.visible);
        EXPECT_TRUE(Shows(e->thumbnail, c.colour)) << c.name;
        for (const Case& other : cases) {
            if (&other != &c) {
                EXPECT_FALSE(Shows(e->thumbnail, other.colour)) << c.name << " shows " << other.name;
            }
        }
        e = List().GetEntries().GetPrevious(e);
    }
    // With KV_LAYER_SHOTS set, the project and the window go there to be looked at.
    if (const char* folder = std::getenv("KV_LAYER_SHOTS")) {
        LProcessInterfaceVoid process;
        EXPECT_EQ(KVProjectFileSave(process, *dialog.PeekCurrentProject(), (std::string(folder) + "/four_layers.kvp").c_str()),
                  LProcessResultOk);
        dialog.grab().save(QString("%1/four_layers_offscreen.png").arg(folder));
    }
}

// The list alone, with a parent that records what it is told.
class Recorder : public KVLayerListParent {
public:
    void EvLayerListMessage(KVLayerListMessage id, KVLayerListMessageData& data) override {
        if (id == KVMsgElementPicked || id == KVMsgElementUnpicked)
            messages.emplace_back(id, data.element);
        else if (id == KVMsgElementListCleared)
            messages.emplace_back(id, nullptr);
    }
    std::vector<std::pair<unsigned, const KVElement*>> messages;
};

TEST(LayerElementList, AMultiRowChangeSendsTheDeselectionsBeforeTheSelections) {
    Recorder recorder;
    KVLayerList list(recorder, nullptr);
    KVImage image("test", 200, 100, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = image.GetFirstLayer();
    std::vector<KVElement*> elements;
    for (int i = 0; i < 3; ++i) {
        elements.push_back(Rectangle(10.0f * i, 10, 10.0f * i + 5, 20, LGuiColorAlpha(0, 0, 0, 255)));
        image.AddNewElement(elements.back(), layer, false, false);
    }
    list.UpdateLayerList(nullptr, &image);
    list.show();
    QTest::mouseClick(list.GetEntries().GetFirst()->display, Qt::LeftButton, {}, ExpanderPoint());
    ASSERT_EQ(list.GetExpandedLayer(), layer);
    list.UpdateElementList(layer, image);
    QTreeWidget& rows = list.GetElementListView();
    ASSERT_EQ(rows.topLevelItemCount(), 3);
    EXPECT_EQ(rows.topLevelItem(0)->text(0), QString("Rectangle"));
    ClickRow(rows, 0, {});
    ClickRow(rows, 1, Qt::ControlModifier);
    recorder.messages.clear();
    ClickRow(rows, 2, {});
    const std::vector<std::pair<unsigned, const KVElement*>> expected = {
        {KVMsgElementUnpicked, elements[0]}, {KVMsgElementUnpicked, elements[1]}, {KVMsgElementPicked, elements[2]}};
    EXPECT_EQ(recorder.messages, expected);
}

TEST_F(Layers, EveryThirdClickOnAnEmptyLayerShowsTheBubbleTip) {
    dialog.Command(KVCmToolSelect);
    QWidget* view = Surface().viewport();
    for (int i = 0; i < 2; ++i)
        QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(50, 50));
    EXPECT_TRUE(List().GetLastBubbleTip().isEmpty());
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(50, 50));
    EXPECT_EQ(List().GetLastBubbleTip().toStdString(),
              "The current layer is empty, perhaps the item you wish to select is on a different layer?");
}

} // namespace
