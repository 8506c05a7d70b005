#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/project.h"
#include "support/test_element.h"

using kvtest::BoxElement;
using kvtest::BoxWidget;
using Names = std::vector<std::string>;

namespace {

Names Labels(const KVLayer* layer) {
    Names out;
    for (LListIterator<KVElement> it = layer->GetElements(); it; ++it)
        out.push_back(static_cast<BoxElement*>(it.Get())->label);
    return out;
}

Names LayerNames(const KVImage& image) {
    Names out;
    for (LListIterator<KVLayer> it = image.GetLayers(); it; ++it)
        out.push_back(it->GetName());
    return out;
}

std::string UndoName(const KVImage& image) {
    char n[260];
    image.GetUndoName(n);
    return n;
}

struct ImageTest : testing::Test {
    KVImage image{"pic", 100, 100, 72, LPixelColour(255, 255, 255, 255)};
    KVLayer* base = image.GetFirstLayer();
    LUndoRedoStack& stack = image.GetUndoRedoStack();

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

TEST_F(ImageTest, RefusesForeignLayersAndTheOnlyLayer) {
    KVLayer stranger("stranger");
    EXPECT_EQ(image.DeleteLayer(base, true), nullptr); // the only layer
    auto* e = new BoxElement("e");
    EXPECT_EQ(image.AddNewElement(e, &stranger, true, true), nullptr);
    delete e;
    EXPECT_EQ(image.DeleteLayer(&stranger, true), nullptr);
    EXPECT_EQ(image.MergeLayers(&stranger, base, true), nullptr);
    EXPECT_FALSE(image.GetElementIteratorConst(&stranger).IsValid());
    KVLayer empty;
    EXPECT_EQ(image.GetElementRenderedBounds(empty, kvtest::MultiWidget()), LBoundingBox2T<float>());
    EXPECT_EQ(stack.GetNumItems(), 0u);
}

TEST_F(ImageTest, AddAndDeleteUndoAndRedoInPlace) {
    Add(base, "a");
    BoxElement* b = Add(base, "b");
    Add(base, "c");
    EXPECT_EQ(UndoName(image), "Box Creation");
    stack.Undo();
    stack.Undo();
    EXPECT_EQ(Labels(base), Names{"a"});
    stack.Redo();
    stack.Redo();
    EXPECT_EQ(Labels(base), (Names{"a", "b", "c"}));

    BoxWidget w(b);
    EXPECT_EQ(static_cast<BoxElement*>(image.DeleteElement(&w, nullptr))->label, "a");
    EXPECT_EQ(Labels(base), (Names{"a", "c"}));
    EXPECT_EQ(UndoName(image), "Box Deletion");
    stack.Undo();
    EXPECT_EQ(Labels(base), (Names{"a", "b", "c"}));
    stack.Redo();
    EXPECT_EQ(Labels(base), (Names{"a", "c"}));

    LList<KVElementWidget> widgets; // topmost first
    image.GetLayerWidgets(base, widgets);
    Names order;
    for (const KVElementWidget& lw : widgets)
        order.push_back(static_cast<BoxElement*>(lw.GetElement())->label);
    EXPECT_EQ(order, (Names{"c", "a"}));
}

struct ReplaceTest : ImageTest {
    void Replace(bool undo) {
        BoxElement* a = Add(base, "a");
        Add(base, "b");
        BoxWidget w(a);
        image.ReplaceElement(new BoxElement("a2"), w, base, false, undo);
        EXPECT_EQ(Labels(base), (Names{"b", "a2"})); // on top
    }
};

TEST_F(ReplaceTest, UndoAndRedoPutTheElementsBackInTheOldPlace) {
    Replace(true);
    EXPECT_EQ(UndoName(image), "Replace Element");
    stack.Undo();
    EXPECT_EQ(Labels(base), (Names{"a", "b"}));
    stack.Redo();
    EXPECT_EQ(Labels(base), (Names{"a2", "b"}));
}

TEST_F(ReplaceTest, WithoutUndoTheOldElementIsDestroyedSafely) {
    Replace(false);
    // Older items still name the destroyed element; walking them must not touch it.
    for (int i = 0; i < 2; ++i)
        stack.Undo();
    for (int i = 0; i < 2; ++i)
        stack.Redo();
    // b's predecessor is gone, so it comes back at the end.
    EXPECT_EQ(Labels(base), (Names{"a2", "b"}));
}

TEST_F(ImageTest, AddNewElementsGroupIsDeliberatelyEmpty) {
    LList<KVElement> list;
    list.PushBack(new BoxElement("x"));
    list.PushBack(new BoxElement("y"));
    image.AddNewElementGroup(list, base);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(UndoName(image), "Add New Elements");
    stack.Undo();
    EXPECT_EQ(Labels(base), (Names{"x", "y"}));
}

TEST_F(ImageTest, QueriesCoverHiddenLayersTheSelectionAndThePath) {
    KVLayer* hidden = NewLayer("hidden");
    image.UpdateLayerVisibility(hidden, false);
    EXPECT_FALSE(image.ContainsImageElements());
    image.AddNewElement(new BoxElement("pic", {0, 0, 1, 1}, "image"), hidden, false, false);
    EXPECT_TRUE(image.ContainsImageElements());

    auto* a = new BoxElement("a", {0, 0, 10, 10});
    auto* b = new BoxElement("b", {20, 5, 30, 40});
    auto* c = new BoxElement("c", {100, 100, 110, 110});
    for (auto* e : {a, b, c})
        image.AddNewElement(e, base, false, false);
    kvtest::MultiWidget sel;
    sel.elements = {a, b};
    EXPECT_EQ(image.GetElementRenderedBounds(*base, sel), LBoundingBox2T<float>(0, 0, 30, 40));

    KVImage unnamed(""); // a path names only an unnamed image
    unnamed.SetPath("/tmp/some/drawing.kvp");
    image.SetPath("/tmp/other.kvp");
    EXPECT_STREQ(unnamed.GetName(), "drawing.kvp");
    EXPECT_STREQ(image.GetName(), "pic");
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

TEST_F(ImageTest, LayerAddDeleteReorderAndNumbering) {
    KVLayer* l1 = NewLayer("one");
    KVLayer* l2 = NewLayer("two");
    EXPECT_EQ(UndoName(image), "Layer Creation");
    image.UpdateLayerOrder(l2, 0);
    EXPECT_EQ(LayerNames(image), (Names{"two", "Layer", "one"}));
    image.UpdateLayerOrder(l2, -1);
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "one", "two"}));

    EXPECT_EQ(image.DeleteLayer(l1, true), l1);
    EXPECT_EQ(UndoName(image), "Layer Deletion");
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "two"}));
    stack.Undo();
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "one", "two"}));
    stack.Redo();
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "two"}));
    image.UpdateLayerName(l2, "renamed");
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "renamed"}));

    // Numbers handed out are never handed out again, even after undo.
    EXPECT_EQ(image.TakeNextLayerNumber(), 1);
    KVLayer* numbered = NewLayer("Layer 1");
    image.DeleteLayer(numbered, true);
    stack.Undo();
    stack.Redo();
    EXPECT_EQ(image.TakeNextLayerNumber(), 2);
}

TEST_F(ImageTest, DuplicateCopiesElementsAndCutsTheName) {
    Add(base, "a");
    Add(base, "b");
    image.UpdateLayerVisibility(base, false);
    KVLayer* copy = image.DuplicateLayer(base);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy->GetName(), "Layer - Copy");
    EXPECT_FALSE(copy->IsVisible());
    EXPECT_EQ(Labels(copy), (Names{"a", "b"}));
    EXPECT_NE(copy->GetElements().Get(), base->GetElements().Get());
    EXPECT_EQ(UndoName(image), "Layer Duplication");
    stack.Undo();
    EXPECT_EQ(image.GetLayerCount(), 1u);
    stack.Redo();
    EXPECT_EQ(image.GetLayerCount(), 2u);

    // An element of the copy records its changes on this image's stack.
    auto* e = static_cast<BoxElement*>(copy->GetElements().Get());
    e->SetProperties(e->GetProperties(), true, nullptr);
    EXPECT_EQ(UndoName(image), "Box Modification");

    const std::string longName(258, 'n');
    KVLayer* longCopy = image.DuplicateLayer(NewLayer(longName.c_str()));
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
    const unsigned long items = stack.GetNumItems();

    EXPECT_EQ(image.MergeLayers(base, upper, true), nullptr); // wrong order
    EXPECT_EQ(image.MergeLayers(top, base, true), nullptr);   // not adjacent
    EXPECT_EQ(stack.GetNumItems(), items);

    EXPECT_EQ(image.MergeLayers(upper, base, true), base);
    EXPECT_EQ(Labels(base), (Names{"a", "b", "c", "d"}));
    EXPECT_TRUE(base->IsVisible());
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "top"}));
    EXPECT_EQ(UndoName(image), "Merge Layers");

    stack.Undo();
    EXPECT_EQ(LayerNames(image), (Names{"Layer", "upper", "top"}));
    EXPECT_EQ(Labels(base), (Names{"a", "b"}));
    EXPECT_EQ(Labels(upper), (Names{"c", "d"}));
    EXPECT_TRUE(base->IsVisible()); // the visibility the merge gave stays

    stack.Redo();
    EXPECT_EQ(Labels(base), (Names{"a", "b", "c", "d"}));
}

TEST_F(ImageTest, ResizeAndCropMoveElementsAndUndoBack) {
    BoxElement* a = Add(base, "a");
    image.Resize(200, 50, true);
    EXPECT_EQ(UndoName(image), "Resize");
    stack.Undo();
    EXPECT_EQ(image.GetWidth(), 100u);
    EXPECT_EQ(image.GetHeight(), 100u);
    ASSERT_EQ(a->resizes.size(), 2u);
    EXPECT_EQ(a->resizes[0], std::make_pair(2.0f, 0.5f));
    EXPECT_EQ(a->resizes[1], std::make_pair(0.5f, 2.0f));

    image.Crop(LBoundingBox2T<float>(10.4f, 20, 60.9f, 70), true);
    EXPECT_EQ(image.GetWidth(), 51u); // round(50.5)
    EXPECT_EQ(image.GetHeight(), 50u);
    EXPECT_EQ(a->GetProperties().box.x1, -10.4f);
    EXPECT_EQ(UndoName(image), "Crop");
    stack.Undo();
    EXPECT_EQ(image.GetWidth(), 100u);
    EXPECT_EQ(a->GetProperties().box.x1, 0.0f);

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
    stack.Undo();
    EXPECT_EQ(image.GetBackground(), LPixelColour(255, 255, 255, 255));
    EXPECT_EQ(a->GetProperties().strokes.GetFirst()->colour, LGuiColorAlpha(255, 255, 255, 255));
}

} // namespace
