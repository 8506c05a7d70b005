#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/project.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::BoxWidget;

namespace {

std::vector<std::string> Labels(const KVLayer* layer) {
    std::vector<std::string> out;
    for (LListIterator<KVElement> it = layer->GetElements(); it; ++it)
        out.push_back(static_cast<BoxElement*>(it.Get())->label);
    return out;
}

std::vector<std::string> LayerNames(const KVImage& image) {
    std::vector<std::string> out;
    for (LListIterator<KVLayer> it = image.GetLayers(); it; ++it)
        out.push_back(it->GetName());
    return out;
}

std::string UndoName(const KVImage& image) {
    char n[260];
    image.GetUndoName(n);
    return n;
}

std::string RedoName(const KVImage& image) {
    char n[260];
    image.GetRedoName(n);
    return n;
}

struct ImageTest : testing::Test {
    KVImage image{"pic", 100, 100, 72, LPixelColour(255, 255, 255, 255)};
    KVLayer* base = image.GetFirstLayer();

    BoxElement* Add(KVLayer* layer, const char* label, bool undo = true) {
        auto* e = new BoxElement(label);
        image.AddNewElement(e, layer, false, undo);
        return e;
    }
    KVLayer* NewLayer(const char* name) {
        auto* l = new KVLayer(name);
        image.AddNewLayer(l, true);
        return l;
    }
};

TEST_F(ImageTest, NewImageHasOneLayerAndIsSaved) {
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer"}));
    EXPECT_EQ(image.GetNextLayerNumber(), 1);
    EXPECT_FLOAT_EQ(image.zoom, -1.0f);
    EXPECT_TRUE(image.GetUndoRedoStack().IsCurrentStateSaved());
    EXPECT_EQ(UndoName(image), "");
    EXPECT_EQ(RedoName(image), "");
    KVImage forReader("x");
    EXPECT_EQ(forReader.GetWidth(), 1024u);
    EXPECT_EQ(forReader.GetHeight(), 768u);
    EXPECT_EQ(forReader.GetPPI(), 72u);
}

TEST_F(ImageTest, RefusesForeignLayersAndTheOnlyLayer) {
    KVLayer stranger("stranger");
    EXPECT_EQ(image.DeleteLayer(base, true), nullptr); // the only layer
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 0u);

    auto* e = new BoxElement("e");
    EXPECT_EQ(image.AddNewElement(e, &stranger, true, true), nullptr);
    delete e;
    EXPECT_EQ(image.DeleteLayer(&stranger, true), nullptr);
    EXPECT_EQ(image.MergeLayers(&stranger, base, true), nullptr);
    EXPECT_FALSE(image.GetElementIteratorConst(&stranger).IsValid());
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), 0u);
}

TEST_F(ImageTest, AddingElementsUndoesAndRedoesInPlace) {
    Add(base, "a");
    Add(base, "b");
    Add(base, "c");
    EXPECT_EQ(UndoName(image), "Box Creation");
    image.GetUndoRedoStack().Undo();
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a"}));
    EXPECT_EQ(RedoName(image), "Box Creation");
    image.GetUndoRedoStack().Redo();
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(ImageTest, DeleteAndUndoRestoresThePlace) {
    Add(base, "a");
    BoxElement* b = Add(base, "b");
    Add(base, "c");
    BoxWidget w(b);
    EXPECT_EQ(static_cast<BoxElement*>(image.DeleteElement(&w, nullptr))->label, "a");
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(UndoName(image), "Box Deletion");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b", "c"}));
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "c"}));
}

TEST_F(ImageTest, ReplacedElementGoesOnTopThenToTheOldPlaceAfterUndoRedo) {
    BoxElement* a = Add(base, "a");
    Add(base, "b");
    BoxWidget w(a);
    image.ReplaceElement(new BoxElement("a2"), w, base, false, true);
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"b", "a2"}));
    EXPECT_EQ(UndoName(image), "Replace Element");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b"}));
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a2", "b"}));
}

TEST_F(ImageTest, ReplaceWithoutUndoDestroysTheOldElementSafely) {
    BoxElement* a = Add(base, "a");
    Add(base, "b");
    BoxWidget w(a);
    image.ReplaceElement(new BoxElement("a2"), w, base, false, false);
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"b", "a2"}));
    // Older items still name the destroyed element; walking them must not touch it.
    for (int i = 0; i < 2; ++i)
        image.GetUndoRedoStack().Undo();
    for (int i = 0; i < 2; ++i)
        image.GetUndoRedoStack().Redo();
    // b's predecessor is gone, so it comes back at the end.
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a2", "b"}));
}

TEST_F(ImageTest, AddNewElementsGroupIsDeliberatelyEmpty) {
    LList<KVElement> list;
    list.PushBack(new BoxElement("x"));
    list.PushBack(new BoxElement("y"));
    image.AddNewElementGroup(list, base);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(UndoName(image), "Add New Elements");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"x", "y"}));
    EXPECT_EQ(RedoName(image), "Add New Elements");
}

TEST_F(ImageTest, LayerWidgetsComeTopmostFirst) {
    Add(base, "A");
    Add(base, "B");
    Add(base, "C");
    LList<KVElementWidget> widgets;
    image.GetLayerWidgets(base, widgets);
    std::vector<std::string> order;
    for (const KVElementWidget& w : widgets)
        order.push_back(static_cast<BoxElement*>(w.GetElement())->label);
    EXPECT_EQ(order, (std::vector<std::string>{"C", "B", "A"}));
}

TEST_F(ImageTest, ContainsImageElementsLooksIntoHiddenLayers) {
    KVLayer* hidden = NewLayer("hidden");
    image.UpdateLayerVisibility(hidden, false);
    EXPECT_FALSE(image.ContainsImageElements());
    image.AddNewElement(new BoxElement("pic", {0, 0, 1, 1}, "image"), hidden, false, false);
    EXPECT_TRUE(image.ContainsImageElements());
}

TEST_F(ImageTest, RenderedBoundsUniteTheSelectedElements) {
    auto* a = new BoxElement("a", {0, 0, 10, 10});
    auto* b = new BoxElement("b", {20, 5, 30, 40});
    auto* c = new BoxElement("c", {100, 100, 110, 110});
    for (auto* e : {a, b, c})
        image.AddNewElement(e, base, false, false);
    kvtest::MultiWidget sel;
    sel.elements = {a, b};
    EXPECT_EQ(image.GetElementRenderedBounds(*base, sel), LBoundingBox2T<float>(0, 0, 30, 40));
    KVLayer stranger;
    EXPECT_EQ(image.GetElementRenderedBounds(stranger, sel), LBoundingBox2T<float>());
}

TEST_F(ImageTest, UpdateElementInvalidatesTheCacheOnlyWhenSomethingChanged) {
    BoxElement* a = Add(base, "a");
    BoxWidget w(a);
    a->GetCacheHandle().SetState(KVCacheHandle::Valid);
    EXPECT_FALSE(image.UpdateElement(&w, base));
    EXPECT_TRUE(a->GetCacheHandle().IsValid());
    a->updateResult = true;
    EXPECT_TRUE(image.UpdateElement(&w, base));
    EXPECT_FALSE(a->GetCacheHandle().IsValid());
    EXPECT_FALSE(image.UpdateElement(nullptr, base));
}

TEST_F(ImageTest, LayerAddDeleteAndReorder) {
    KVLayer* l1 = NewLayer("one");
    KVLayer* l2 = NewLayer("two");
    EXPECT_EQ(UndoName(image), "Layer Creation");
    image.UpdateLayerOrder(l2, 0);
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"two", "Layer", "one"}));
    image.UpdateLayerOrder(l2, -1);
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "one", "two"}));

    EXPECT_EQ(image.DeleteLayer(l1, true), l1);
    EXPECT_EQ(UndoName(image), "Layer Deletion");
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "two"}));
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "one", "two"}));
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "two"}));

    image.UpdateLayerName(l2, "renamed");
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "renamed"}));
}

TEST_F(ImageTest, DuplicateCopiesElementsAndCutsTheName) {
    Add(base, "a");
    Add(base, "b");
    image.UpdateLayerVisibility(base, false);
    KVLayer* copy = image.DuplicateLayer(base);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy->GetName(), "Layer - Copy");
    EXPECT_FALSE(copy->IsVisible());
    EXPECT_EQ(Labels(copy), (std::vector<std::string>{"a", "b"}));
    EXPECT_NE(copy->GetElements().Get(), base->GetElements().Get());
    EXPECT_EQ(UndoName(image), "Layer Duplication");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(image.GetLayerCount(), 1u);
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(image.GetLayerCount(), 2u);

    // An element of the copy records its changes on this image's stack.
    auto* e = static_cast<BoxElement*>(copy->GetElements().Get());
    e->SetProperties(e->GetProperties(), true, nullptr);
    EXPECT_EQ(UndoName(image), "Box Modification");

    const std::string longName(258, 'n');
    KVLayer* longLayer = NewLayer(longName.c_str());
    KVLayer* longCopy = image.DuplicateLayer(longLayer);
    EXPECT_EQ(std::string(longCopy->GetName()).size(), 259u);
    EXPECT_EQ(std::string(longCopy->GetName()).substr(0, 258), longName);
}

TEST_F(ImageTest, MergeNeedsAdjacentLayersInOrderAndUndoRestoresBoth) {
    Add(base, "a");
    Add(base, "b");
    KVLayer* upper = NewLayer("upper");
    Add(upper, "c");
    Add(upper, "d");
    KVLayer* top = NewLayer("top");
    image.UpdateLayerVisibility(base, false);
    const unsigned long items = image.GetUndoRedoStack().GetNumItems();

    EXPECT_EQ(image.MergeLayers(base, upper, true), nullptr); // wrong order
    EXPECT_EQ(image.MergeLayers(top, base, true), nullptr);   // not adjacent
    EXPECT_EQ(image.GetUndoRedoStack().GetNumItems(), items);

    EXPECT_EQ(image.MergeLayers(upper, base, true), base);
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_TRUE(base->IsVisible());
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "top"}));
    EXPECT_EQ(UndoName(image), "Merge Layers");

    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(LayerNames(image), (std::vector<std::string>{"Layer", "upper", "top"}));
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Labels(upper), (std::vector<std::string>{"c", "d"}));
    EXPECT_TRUE(base->IsVisible()); // the visibility the merge gave stays

    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(Labels(base), (std::vector<std::string>{"a", "b", "c", "d"}));
}

TEST_F(ImageTest, NextLayerNumberNeverGoesDown) {
    std::vector<KVLayer*> made;
    for (int i = 0; i < 3; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "Layer %d", image.TakeNextLayerNumber());
        made.push_back(NewLayer(name));
    }
    image.DeleteLayer(made[2], true);
    image.GetUndoRedoStack().Undo();
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(image.TakeNextLayerNumber(), 4);
}

TEST_F(ImageTest, ResizeScalesElementsAndUndoScalesBack) {
    BoxElement* a = Add(base, "a");
    image.Resize(200, 50, true);
    EXPECT_EQ(image.GetWidth(), 200u);
    EXPECT_EQ(UndoName(image), "Resize");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(image.GetWidth(), 100u);
    EXPECT_EQ(image.GetHeight(), 100u);
    ASSERT_EQ(a->resizes.size(), 2u);
    EXPECT_FLOAT_EQ(a->resizes[0].first, 2.0f);
    EXPECT_FLOAT_EQ(a->resizes[0].second, 0.5f);
    EXPECT_FLOAT_EQ(a->resizes[1].first, 0.5f);
    EXPECT_FLOAT_EQ(a->resizes[1].second, 2.0f);
}

TEST_F(ImageTest, CropMovesElementsAndUndoesAsOneGroup) {
    BoxElement* a = Add(base, "a");
    image.Crop(LBoundingBox2T<float>(10.4f, 20, 60.9f, 70), true);
    EXPECT_EQ(image.GetWidth(), 51u); // round(50.5)
    EXPECT_EQ(image.GetHeight(), 50u);
    EXPECT_EQ(a->GetProperties().box.x1, -10.4f);
    EXPECT_EQ(UndoName(image), "Crop");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(image.GetWidth(), 100u);
    EXPECT_EQ(a->GetProperties().box.x1, 0.0f);
    image.GetUndoRedoStack().Redo();
    EXPECT_EQ(image.GetWidth(), 51u);

    image.Crop(LBoundingBox2T<float>(50, 50, 10, 10), false); // inverted: clamped at 0
    EXPECT_EQ(image.GetWidth(), 0u);
}

TEST_F(ImageTest, BackgroundColourReachesEraseStrokes) {
    BoxElement* a = Add(base, "a");
    a->AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 5, 0, LGuiColorAlpha(255, 255, 255, 255)), false, nullptr);
    image.SetBackgroundColor(LGuiColorAlpha(10, 20, 30, 255), true);
    EXPECT_EQ(image.GetBackground(), LPixelColour(10, 20, 30, 255));
    EXPECT_EQ(a->GetProperties().strokes.GetFirst()->colour, LGuiColorAlpha(10, 20, 30, 255));
    EXPECT_EQ(UndoName(image), "Change Background Color");
    image.GetUndoRedoStack().Undo();
    EXPECT_EQ(image.GetBackground(), LPixelColour(255, 255, 255, 255));
    EXPECT_EQ(a->GetProperties().strokes.GetFirst()->colour, LGuiColorAlpha(255, 255, 255, 255));
}

TEST_F(ImageTest, SetPathNamesAnUnnamedImage) {
    KVImage unnamed("");
    unnamed.SetPath("/tmp/some/drawing.kvp");
    EXPECT_STREQ(unnamed.GetName(), "drawing.kvp");
    image.SetPath("/tmp/other.kvp");
    EXPECT_STREQ(image.GetName(), "pic");
    EXPECT_STREQ(image.GetPath(), "/tmp/other.kvp");
}

} // namespace
