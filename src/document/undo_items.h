#pragma once
// The undo items of the document tree. An element or layer that is out of the
// tree belongs to the item that took it out, and dies with it.

#include <vector>

#include "document/project.h"
#include "document/undo.h"

class KVElementAddedUndoRedo : public LUndoRedoItem {
public:
    // The element is in the layer; `predecessor` is only ever compared.
    KVElementAddedUndoRedo(KVElement* element, KVLayer* layer, const KVElement* predecessor);
    ~KVElementAddedUndoRedo() override;

    void Undo() override { TakeOut(); }
    void Redo() override { PutBack(); }
    void GetName(char* name) const override;

protected:
    void TakeOut();
    void PutBack();

    KVElement* element;
    KVElement* owned = nullptr;
    const KVElement* predecessor;
    KVLayer* layer;
};

class KVElementDeletedUndoRedo : public KVElementAddedUndoRedo {
public:
    // Made with the element already out of the layer: the item owns it.
    KVElementDeletedUndoRedo(KVElement* element, KVLayer* layer, const KVElement* predecessor);

    void Undo() override { PutBack(); }
    void Redo() override { TakeOut(); }
    void GetName(char* name) const override;
};

class KVLayerAddedUndoRedo : public LUndoRedoItem {
public:
    KVLayerAddedUndoRedo(KVLayer* layer, KVImage* image, int index);
    ~KVLayerAddedUndoRedo() override;

    void Undo() override { TakeOut(); }
    void Redo() override { PutBack(); }
    void GetName(char* name) const override;

protected:
    void TakeOut();
    void PutBack();

    KVLayer* layer;
    KVLayer* owned = nullptr;
    KVImage* image;
    int index;
};

class KVLayerDeletedUndoRedo : public KVLayerAddedUndoRedo {
public:
    KVLayerDeletedUndoRedo(KVLayer* layer, KVImage* image, int index);

    void Undo() override { PutBack(); }
    void Redo() override { TakeOut(); }
    void GetName(char* name) const override;
};

class KVLayerDuplicatedUndoRedo : public LUndoRedoItem {
public:
    KVLayerDuplicatedUndoRedo(KVLayer* copy, KVImage* image) : copy(copy), image(image) {}
    ~KVLayerDuplicatedUndoRedo() override { delete owned; }

    void Undo() override;
    void Redo() override;
    void GetName(char* name) const override;

private:
    KVLayer* copy;
    KVLayer* owned = nullptr;
    KVImage* image;
};

class KVLayerMergedUndoRedo : public LUndoRedoItem {
public:
    // `upper` is already out of the image; its elements are still its own.
    KVLayerMergedUndoRedo(KVImage* image, KVLayer* upper, KVLayer* lower);
    ~KVLayerMergedUndoRedo() override { delete owned; }

    void Undo() override;
    void Redo() override;
    void GetName(char* name) const override;

private:
    KVImage* image;
    KVLayer* upper;
    KVLayer* lower;
    KVLayer* owned;
    std::vector<KVElement*> upperElements;
};

class KVResizeUndoRedo : public LUndoRedoItem {
public:
    KVResizeUndoRedo(KVImage* image, unsigned long oldWidth, unsigned long oldHeight,
                     unsigned long newWidth, unsigned long newHeight)
        : image(image), oldWidth(oldWidth), oldHeight(oldHeight), newWidth(newWidth),
          newHeight(newHeight) {}

    void Undo() override { image->Resize(oldWidth, oldHeight, false); }
    void Redo() override { image->Resize(newWidth, newHeight, false); }
    void GetName(char* name) const override;

private:
    KVImage* image;
    unsigned long oldWidth, oldHeight, newWidth, newHeight;
};

class KVCropUndoRedo : public LUndoRedoItem {
public:
    KVCropUndoRedo(KVImage* image, unsigned long oldWidth, unsigned long oldHeight,
                   LBoundingBox2T<float> box)
        : image(image), oldWidth(oldWidth), oldHeight(oldHeight), box(box) {}

    // The elements move back through their own items in the same group.
    void Undo() override { image->SetSize(oldWidth, oldHeight); }
    void Redo() override;
    void GetName(char* name) const override;

private:
    KVImage* image;
    unsigned long oldWidth, oldHeight;
    LBoundingBox2T<float> box;
};

class KVBackgroundColorUndoRedo : public LUndoRedoItem {
public:
    KVBackgroundColorUndoRedo(KVImage* image, LGuiColorAlpha oldColour, LGuiColorAlpha newColour)
        : image(image), oldColour(oldColour), newColour(newColour) {}

    void Undo() override { image->SetBackgroundColor(oldColour, false); }
    void Redo() override { image->SetBackgroundColor(newColour, false); }
    void GetName(char* name) const override;

private:
    KVImage* image;
    LGuiColorAlpha oldColour, newColour;
};

// Width or height of a crop box: rounded, at least 0, at most what an
// unsigned long holds.
unsigned long KVCropExtent(float from, float to);
