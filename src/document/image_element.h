#pragma once
// A placed picture, which can be shown as flat colour regions instead: its
// vectorisation, a list of simple-path elements made for the placement it
// had then and stretched to the one it has now.

#include <memory>

#include "document/element.h"
#include "foundation/ptr.h"
#include "imaging/image_buffer.h"

class KVProject;

// The paths of a vectorisation and the lock that guards their copying, each
// shared by every copy of the record that has not changed them.
struct KVCountedList {
    LList<KVElement> paths;
};
struct KVCountedLock {
    LLockObject lock;
};

struct KVImageElementProperties : KVErasableProperties {
    bool vectorized = false;
    // 0 (coarse) to 100 (fine).
    int detail = 50;
    // The placement on the canvas.
    int x = 0, y = 0, width = 0, height = 0;
    float rotation = 0.0f;
    // The placement the vectorisation paths were made for.
    LBoundingBox2T<float> vectorBounds;
    // Never changed in place: a new picture is a new buffer, so copies of
    // the record share it.
    LCountedPtr<LImageBuffer> image;

    // Takes the paths over; they were made for the present placement.
    void SetVectorization(LList<KVElement>& paths);
    // Shares the other record's paths.
    void SetVectorization(const KVImageElementProperties& other);
    // The paths, made this record's own first if another record shares them:
    // copies of a record stay cheap until one of them is changed.
    LListIterator<KVElement> GetVectorization();
    unsigned long GetNumberVectors() const;
    // The paths for painting, shared or not: a shared list is never changed
    // in place, and this record holds it alive.
    LListIterator<KVElement> GetVectorizationForReading() const {
        return vectorization ? vectorization->paths.GetIterator() : LListIterator<KVElement>();
    }
    // Takes the picture over, in the format the targets draw.
    void SetImage(LImageBuffer& picture);
    // Shares the other record's picture.
    void CopyImage(const KVImageElementProperties& other) { image = other.image; }
    // The picture at the placement's size, as the vectorisation takes it:
    // copied when it has that size, scaled otherwise.
    LProcessResult CopyForVectorizing(LProcessInterface& process, LImageBuffer& out) const;
    bool HasImage() const { return image && image->IsValid(); }
    LBoundingBox2T<float> GetPlacement() const {
        return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(x + width),
                static_cast<float>(y + height)};
    }

private:
    // Whoever drops the last reference deletes the paths on its own thread.
    // Thousands of paths take a moment; should that ever stall the main
    // thread (an undo branch cut off, a project closed), the deletion
    // belongs on a thread of its own.
    LCountedPtr<KVCountedList> vectorization;
    LCountedPtr<KVCountedLock> vectorizationLock;
};

class KVImageElement : public KVElementWithProperties<KVImageElementProperties> {
public:
    using P = KVImageElementProperties;
    explicit KVImageElement(const P& p = {}) : KVElementWithProperties(p) {}
    // Takes the picture over, placed at the origin at its own size.
    explicit KVImageElement(LImageBuffer& picture);

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    // Moves the picture and cuts off what lies outside the new canvas.
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVElement* DuplicateSelf() const override { return new KVImageElement(GetProperties()); }
    KVElementWidget* GetWidget() override;
    // Vectorisation on or off and its detail; the panel's paths and picture
    // when it has them.
    void SetPropertiesFromPanel(const P& panel, bool addUndo);
    const char* GetName() const override { return "image"; }
    const char* GetDisplayName() const override { return "Image"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

private:
    friend class KVImageElementUndoRedo;
    LProcessResult RenderVectorization(LProcessInterface& process, KVRenderImage& target, P& p);
};

// An image element's record holds its picture, so its undo items keep only
// what changed: the placement and rotation of a move, or the vectorisation
// settings of a panel change.
class KVImageElementUndoRedo : public LUndoRedoItem {
public:
    struct Placement {
        LBoundingBox2T<float> box;
        float rotation = 0.0f;
    };
    struct Vectorization {
        bool vectorized = false;
        int detail = 50;
    };
    KVImageElementUndoRedo(KVImageElement* element, const Placement& before, const Placement& after);
    KVImageElementUndoRedo(KVImageElement* element, const Vectorization& before,
                           const Vectorization& after);

    void Undo() override { Restore(false); }
    void Redo() override { Restore(true); }
    void GetName(char* name) const override;

private:
    void Restore(bool toNew);

    KVImageElement* element;
    bool isPlacement;
    Placement placement[2];
    Vectorization vectorization[2];
};

// A picture opened as a project: named after the file (without its
// extension), one image of the picture's size at 72 ppi on opaque white,
// its name the file name and its path the file's, with the picture as one
// image element in the first layer. Takes the picture over.
std::unique_ptr<KVProject> KVNewPictureProject(const char* path, LImageBuffer& picture);
