#include "document/project.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "document/undo_items.h"
#include "document/widget.h"

// ---------------------------------------------------------------- KVLayer

KVLayer::KVLayer(const char* layerName) { LStrCopy(name, layerName); }

KVLayer::KVLayer(const KVLayer& source, LUndoRedoStack& stack) : visible(source.visible) {
    char copyName[kLFixedStringSize + 16];
    std::snprintf(copyName, sizeof copyName, "%s - Copy", source.name);
    LStrCopy(name, copyName);
    for (const KVElement& e : source.elements) {
        KVElement* copy = e.DuplicateSelf();
        copy->SetUndoRedoStack(&stack);
        elements.PushBack(copy);
    }
}

KVElementWidget* KVLayer::AddNewElement(KVElement* element, bool makeWidget) {
    elements.PushBack(element);
    return makeWidget ? element->GetWidget() : nullptr;
}

void KVLayer::InsertElement(KVElement* element, const KVElement* after) {
    elements.InsertAfter(element, after);
}

KVElement* KVLayer::DetachElement(const KVElement* element, KVElement*& predecessor) {
    predecessor = nullptr;
    return elements.RemoveIfMember(element, &predecessor);
}

bool KVLayer::ContainsElement(const KVElementWidget& widget) const {
    return elements.Contains(widget.GetElement());
}

void KVLayer::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    for (KVElement& e : elements) {
        e.Crop(box, group);
        e.GetCacheHandle().Invalidate();
    }
}

void KVLayer::Resize(float sx, float sy, bool addUndo) {
    for (KVElement& e : elements) {
        e.Resize(sx, sy, addUndo);
        e.GetCacheHandle().Invalidate();
    }
}

// The list order is the painting order; a stop is noticed between elements,
// and the layer is flushed only when all of it was drawn.
LProcessResult KVLayer::Render(LProcessInterface& process, KVRenderImage& target) {
    const double n = static_cast<double>(elements.GetCount());
    unsigned long i = 0;
    for (KVElement& e : elements) {
        LProcessInterfaceSubProcess sub(process, static_cast<double>(i) / n, 1.0 / n);
        const LProcessResult r = e.CachedRender(sub, target);
        sub.SetProgress(1.0);
        if (r != LProcessResultOk)
            return r;
        if (process.IsToStop())
            return LProcessResultStopped;
        ++i;
    }
    target.Flush();
    return LProcessResultOk;
}

// ---------------------------------------------------------------- KVImage

KVImage::KVImage(const char* imageName) {
    LStrCopy(name, imageName);
    path[0] = '\0';
    layers.PushBack(new KVLayer("Layer"));
}

KVImage::KVImage(const char* imageName, unsigned long w, unsigned long h, unsigned long p,
                 LPixelColour back)
    : width(w), height(h), ppi(p), background(back) {
    LStrCopy(name, imageName);
    path[0] = '\0';
    layers.PushBack(new KVLayer("Layer"));
}

KVImage::~KVImage() = default;

KVLayer* KVImage::Member(const KVLayer* layer) const {
    for (KVLayer& l : layers)
        if (&l == layer)
            return &l;
    return nullptr;
}

KVLayer* KVImage::FindLayerOf(const KVElementWidget& widget) const {
    for (KVLayer& l : layers)
        if (l.ContainsElement(widget))
            return &l;
    return nullptr;
}

KVElementWidget* KVImage::AddNewElement(KVElement* element, const KVLayer* layer, bool makeWidget,
                                        bool addUndo) {
    KVLayer* l = Member(layer);
    if (!l)
        return nullptr;
    element->SetUndoRedoStack(&undoStack);
    KVElement* last = l->GetLastElement();
    if (addUndo)
        undoStack.AddItem(new KVElementAddedUndoRedo(element, l, last));
    return l->AddNewElement(element, makeWidget);
}

// The group stays empty on purpose: it shows in the Undo menu, and undoing it
// leaves the elements where they are.
void KVImage::AddNewElementGroup(LList<KVElement>& list, const KVLayer* layer) {
    KVLayer* l = Member(layer);
    auto* group = new LUndoRedoGroup("Add New Elements");
    while (KVElement* e = list.PopFront()) {
        e->SetUndoRedoStack(&undoStack);
        if (l)
            l->AddNewElement(e, false);
        else
            delete e;
    }
    undoStack.AddItem(group);
}

KVElement* KVImage::DeleteElement(const KVElementWidget* widget, LUndoRedoGroup* group) {
    if (!widget)
        return nullptr;
    for (KVLayer& l : layers) {
        KVElement* predecessor = nullptr;
        KVElement* e = l.DetachElement(widget->GetElement(), predecessor);
        if (!e)
            continue;
        auto* item = new KVElementDeletedUndoRedo(e, &l, predecessor);
        if (group)
            group->AddItem(item);
        else
            undoStack.AddItem(item);
        return predecessor;
    }
    return nullptr;
}

// The first execution puts the new element on top; a redo puts it where the
// old one stood. The difference is kept on purpose.
KVElementWidget* KVImage::ReplaceElement(KVElement* fresh, const KVElementWidget& old,
                                         const KVLayer* layer, bool makeWidget, bool addUndo) {
    KVLayer* l = Member(layer);
    if (!l)
        return nullptr;
    KVElement* predecessor = nullptr;
    KVElement* oldElement = l->DetachElement(old.GetElement(), predecessor);
    fresh->SetUndoRedoStack(&undoStack);
    KVElementWidget* widget = l->AddNewElement(fresh, makeWidget);
    if (addUndo) {
        auto* group = new LUndoRedoGroup("Replace Element");
        if (oldElement)
            group->AddItem(new KVElementDeletedUndoRedo(oldElement, l, predecessor));
        group->AddItem(new KVElementAddedUndoRedo(fresh, l, predecessor));
        undoStack.AddItem(group);
    } else {
        delete oldElement;
    }
    return widget;
}

KVElement* KVImage::FindElement(const KVElement* element, const KVLayer* layer) const {
    KVLayer* l = Member(layer);
    if (!element || !l)
        return nullptr;
    for (KVElement& e : l->GetElementList())
        if (&e == element)
            return &e;
    return nullptr;
}

bool KVImage::UpdateElement(KVElementWidget* widget, const KVLayer* layer) {
    KVLayer* l = Member(layer);
    if (!widget || !l)
        return false;
    for (KVElement& e : l->GetElementList()) {
        if (&e != widget->GetElement())
            continue;
        const bool changed = e.Update(widget);
        if (changed)
            e.GetCacheHandle().Invalidate();
        return changed;
    }
    return false;
}

LBoundingBox2T<float> KVImage::GetElementRenderedBounds(const KVLayer& layer,
                                                        const KVElementWidget& widget) const {
    LBoundingBox2T<float> result;
    KVLayer* l = Member(&layer);
    if (!l)
        return result;
    bool first = true;
    for (LListIterator<KVElement> it = l->GetElements(); it; ++it) {
        if (!widget.IsParentElement(it.Get()))
            continue;
        const LBoundingBox2T<float> box = it->GetRenderedDimensions();
        if (first || result.IsEmpty()) {
            result = box;
            first = false;
        } else if (!box.IsEmpty()) {
            result += box;
        }
    }
    return result;
}

KVDrawPath* KVImage::ConvertToPath(const KVLayer& layer, const KVElementWidget& widget,
                                   float& lineWidth, LGuiColor& lineColour) const {
    KVLayer* l = Member(&layer);
    if (!l)
        return nullptr;
    for (LListIterator<KVElement> it = l->GetElements(); it; ++it)
        if (widget.IsParentElement(it.Get()))
            return it->ConvertToPath(width, height, lineWidth, lineColour);
    return nullptr;
}

LListIterator<KVElement> KVImage::GetElementIteratorConst(const KVLayer* layer) const {
    KVLayer* l = Member(layer);
    return l ? l->GetElements() : LListIterator<KVElement>();
}

// Topmost element first: the order of hit testing.
void KVImage::GetLayerWidgets(const KVLayer* layer, LList<KVElementWidget>& widgets) const {
    KVLayer* l = Member(layer);
    if (!l)
        return;
    for (LListIterator<KVElement> it = l->GetElements(); it; ++it)
        if (KVElementWidget* w = it->GetWidget())
            widgets.PushFront(w);
}

bool KVImage::ContainsImageElements() const {
    for (KVLayer& l : layers) {
        LList<KVElementWidget> widgets;
        GetLayerWidgets(&l, widgets);
        for (const KVElementWidget& w : widgets)
            if (std::strcmp(w.GetElementName(), "image") == 0)
                return true;
    }
    return false;
}

void KVImage::AddNewLayer(KVLayer* layer, bool addUndo) {
    layers.PushBack(layer);
    if (addUndo)
        undoStack.AddItem(
            new KVLayerAddedUndoRedo(layer, this, static_cast<int>(layers.GetCount()) - 1));
}

void KVImage::AddLayer(KVLayer& layer, int index) { layers.InsertAt(&layer, index); }

KVLayer* KVImage::DeleteLayer(const KVLayer* layer, bool addUndo) {
    if (layers.GetCount() == 1)
        return nullptr;
    KVLayer* l = Member(layer);
    if (!l)
        return nullptr;
    const int index = static_cast<int>(layers.IndexOf(l));
    layers.Remove(l);
    if (addUndo)
        undoStack.AddItem(new KVLayerDeletedUndoRedo(l, this, index));
    return l;
}

KVLayer* KVImage::DuplicateLayer(const KVLayer* layer) {
    KVLayer* l = Member(layer);
    if (!l)
        return nullptr;
    auto* copy = new KVLayer(*l, undoStack);
    undoStack.AddItem(new KVLayerDuplicatedUndoRedo(copy, this));
    layers.PushBack(copy);
    return copy;
}

void KVImage::UpdateLayerOrder(const KVLayer* layer, int index) {
    KVLayer* l = Member(layer);
    if (!l)
        return;
    layers.Remove(l);
    layers.InsertAt(l, index);
}

void KVImage::UpdateLayerVisibility(const KVLayer* layer, bool visible) {
    if (KVLayer* l = Member(layer))
        l->SetVisible(visible);
}

void KVImage::UpdateLayerName(const KVLayer* layer, const char* layerName) {
    if (KVLayer* l = Member(layer))
        l->SetName(layerName);
}

// Nothing is flattened: the upper layer's elements move over, and the upper
// layer lives on in the undo item.
KVLayer* KVImage::MergeLayers(const KVLayer* upper, const KVLayer* lower, bool addUndo) {
    KVLayer* lo = Member(lower);
    if (!lo || !upper || lo->GetNext() != upper)
        return nullptr;
    KVLayer* up = lo->GetNext();
    layers.Remove(up);
    if (addUndo)
        undoStack.AddItem(new KVLayerMergedUndoRedo(this, up, lo));
    lo->GetElementList().AppendAll(up->GetElementList());
    lo->SetVisible(true);
    return lo;
}

void KVImage::Crop(LBoundingBox2T<float> box, bool addUndo) {
    LUndoRedoGroup* group = nullptr;
    if (addUndo) {
        group = new LUndoRedoGroup("Crop");
        group->AddItem(new KVCropUndoRedo(this, width, height, box));
    }
    width = KVCropExtent(box.x1, box.x2);
    height = KVCropExtent(box.y1, box.y2);
    for (KVLayer& l : layers)
        l.Crop(box, group);
    if (group)
        undoStack.AddItem(group);
}

// Undo is the inverse scaling, not a restored copy, so rounding may accumulate.
void KVImage::Resize(unsigned long newWidth, unsigned long newHeight, bool addUndo) {
    if (addUndo)
        undoStack.AddItem(new KVResizeUndoRedo(this, width, height, newWidth, newHeight));
    const float sx = static_cast<float>(newWidth) / static_cast<float>(width);
    const float sy = static_cast<float>(newHeight) / static_cast<float>(height);
    for (KVLayer& l : layers)
        l.Resize(sx, sy, false);
    width = newWidth;
    height = newHeight;
}

void KVImage::SetBackgroundColor(LGuiColorAlpha colour, bool addUndo) {
    if (addUndo) {
        const LGuiColorAlpha old(background.red, background.green, background.blue,
                                 background.alpha);
        undoStack.AddItem(new KVBackgroundColorUndoRedo(this, old, colour));
    }
    for (KVLayer& l : layers) {
        for (KVElement& e : l.GetElementList()) {
            e.ChangeBackgroundColor(colour);
            e.GetCacheHandle().Invalidate();
        }
    }
    background = LPixelColour(colour.Red8(), colour.Green8(), colour.Blue8(), colour.alpha);
}

void KVImage::GetUndoName(char* out) const {
    out[0] = '\0';
    if (LUndoRedoItem* item = undoStack.GetItem(undoStack.GetCursor()))
        item->GetName(out);
}

void KVImage::GetRedoName(char* out) const {
    out[0] = '\0';
    if (undoStack.GetCursor() == 0)
        return;
    if (LUndoRedoItem* item = undoStack.GetItem(undoStack.GetCursor() - 1))
        item->GetName(out);
}

void KVImage::SetPath(const char* newPath) {
    LStrCopy(path, newPath);
    if (name[0] != '\0')
        return;
    const char* slash = std::strrchr(path, '/');
    LStrCopy(name, slash ? slash + 1 : path);
}

LProcessResult KVImage::Render(LProcessInterface& process, KVRenderImage& target) {
    unsigned long visibleCount = 0;
    for (const KVLayer& l : layers)
        if (l.IsVisible())
            ++visibleCount;
    const double n = static_cast<double>(visibleCount);
    unsigned long i = 0;
    for (KVLayer& l : layers) {
        if (!l.IsVisible())
            continue;
        LProcessInterfaceSubProcess sub(process, static_cast<double>(i) / n, 1.0 / n);
        const LProcessResult r = l.Render(sub, target);
        sub.SetProgress(1.0);
        if (r != LProcessResultOk)
            return r;
        if (process.IsToStop())
            return LProcessResultStopped;
        ++i;
    }
    process.SetProgress(1.0);
    return LProcessResultOk;
}

// ---------------------------------------------------------------- KVProject

KVProject::KVProject(const char* projectName) {
    recoveryPath[0] = '\0';
    LStrCopy(name, projectName);
}

KVProject::~KVProject() { DeleteRecoveryFile(); }

KVLayer* KVProject::AddNewImage(KVImage* image) {
    images.PushFront(image);
    currentImage = image;
    return image->GetFirstLayer();
}

void KVProject::DeleteRecoveryFile() {
    if (recoveryPath[0] != '\0' && access(recoveryPath, F_OK) == 0)
        unlink(recoveryPath);
}

void KVProject::DeleteRecoveryFileIfSaved() {
    if (currentImage && currentImage->GetUndoRedoStack().IsCurrentStateSaved())
        DeleteRecoveryFile();
}

void KVProject::Undo() {
    if (!currentImage)
        return;
    currentImage->GetUndoRedoStack().Undo();
    DeleteRecoveryFileIfSaved();
}

void KVProject::Redo() {
    if (!currentImage)
        return;
    currentImage->GetUndoRedoStack().Redo();
    DeleteRecoveryFileIfSaved();
}

// The recovery path is kept, so a later autosave reuses the same file name.
void KVProject::MarkAsSaved() {
    if (!currentImage)
        return;
    currentImage->GetUndoRedoStack().MarkCurrentStateAsSaved();
    DeleteRecoveryFile();
}

void KVProject::Crop(LBoundingBox2T<float> box) {
    if (currentImage)
        currentImage->Crop(box, true);
}

void KVProject::SetBackgroundColor(LGuiColorAlpha colour) {
    if (currentImage)
        currentImage->SetBackgroundColor(colour, true);
}

LProcessResult KVProject::Render(LProcessInterface& process, KVRenderImage& target) {
    for (KVImage& image : images)
        if (&image == currentImage)
            return image.Render(process, target);
    return LProcessResultOk;
}
