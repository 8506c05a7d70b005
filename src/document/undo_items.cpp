#include "document/undo_items.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include "foundation/string.h"

KVElementAddedUndoRedo::KVElementAddedUndoRedo(KVElement* e, KVLayer* l, const KVElement* pred)
    : element(e), predecessor(pred), layer(l) {}

KVElementAddedUndoRedo::~KVElementAddedUndoRedo() { delete owned; }

void KVElementAddedUndoRedo::TakeOut() {
    KVElement* before = nullptr;
    if (layer->DetachElement(element, before))
        owned = element;
}

void KVElementAddedUndoRedo::PutBack() {
    if (!owned)
        return;
    layer->InsertElement(owned, predecessor);
    owned = nullptr;
}

void KVElementAddedUndoRedo::GetName(char* name) const {
    std::snprintf(name, kLFixedStringSize, "%s Creation", element->GetDisplayName());
}

KVElementDeletedUndoRedo::KVElementDeletedUndoRedo(KVElement* e, KVLayer* l, const KVElement* pred)
    : KVElementAddedUndoRedo(e, l, pred) {
    owned = e;
}

void KVElementDeletedUndoRedo::GetName(char* name) const {
    std::snprintf(name, kLFixedStringSize, "%s Deletion", element->GetDisplayName());
}

KVLayerAddedUndoRedo::KVLayerAddedUndoRedo(KVLayer* l, KVImage* i, int idx)
    : layer(l), image(i), index(idx) {}

KVLayerAddedUndoRedo::~KVLayerAddedUndoRedo() { delete owned; }

void KVLayerAddedUndoRedo::TakeOut() {
    if (image->DeleteLayer(layer, false))
        owned = layer;
}

void KVLayerAddedUndoRedo::PutBack() {
    if (!owned)
        return;
    image->AddLayer(*owned, index);
    owned = nullptr;
}

void KVLayerAddedUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Layer Creation");
}

KVLayerDeletedUndoRedo::KVLayerDeletedUndoRedo(KVLayer* l, KVImage* i, int idx)
    : KVLayerAddedUndoRedo(l, i, idx) {
    owned = l;
}

void KVLayerDeletedUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Layer Deletion");
}

void KVLayerDuplicatedUndoRedo::Undo() {
    if (image->DeleteLayer(copy, false))
        owned = copy;
}

void KVLayerDuplicatedUndoRedo::Redo() {
    if (!owned)
        return;
    image->AddLayer(*owned, -1);
    owned = nullptr;
}

void KVLayerDuplicatedUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Layer Duplication");
}

KVLayerMergedUndoRedo::KVLayerMergedUndoRedo(KVImage* i, KVLayer* u, KVLayer* l)
    : image(i), upper(u), lower(l), owned(u) {
    for (LListIterator<KVElement> it = u->GetElements(); it; ++it)
        upperElements.push_back(it.Get());
}

void KVLayerMergedUndoRedo::Undo() {
    const long lowerIndex = image->GetLayerIndex(lower);
    if (lowerIndex < 0 || !owned)
        return;
    image->AddLayer(*owned, static_cast<int>(lowerIndex + 1));
    owned = nullptr;
    for (auto it = upperElements.rbegin(); it != upperElements.rend(); ++it) {
        KVElement* before = nullptr;
        if (KVElement* e = lower->DetachElement(*it, before))
            upper->InsertElement(e, nullptr);
    }
}

void KVLayerMergedUndoRedo::Redo() {
    if (image->MergeLayers(upper, lower, false))
        owned = upper;
}

void KVLayerMergedUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Merge Layers");
}

void KVResizeUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Resize");
}

unsigned long KVCropExtent(float from, float to) {
    const float extent = std::round(to - from);
    if (!(extent > 0.0f))
        return 0;
    if (extent >= static_cast<float>(std::numeric_limits<unsigned long>::max()))
        return std::numeric_limits<unsigned long>::max();
    return static_cast<unsigned long>(extent);
}

void KVCropUndoRedo::Redo() {
    image->SetSize(KVCropExtent(box.x1, box.x2), KVCropExtent(box.y1, box.y2));
}

void KVCropUndoRedo::GetName(char* name) const { LStrCopyTruncate(name, kLFixedStringSize, "Crop"); }

void KVBackgroundColorUndoRedo::GetName(char* name) const {
    LStrCopyTruncate(name, kLFixedStringSize, "Change Background Color");
}
