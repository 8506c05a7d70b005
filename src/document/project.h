#pragma once
// The document tree: a project owns images, an image owns ordered layers and
// one undo stack, a layer owns ordered elements (the first painted first).
// The tree is not thread-safe by itself: the main thread stops the render
// thread (through the render lock) before it changes the structure.

#include "document/element.h"
#include "document/undo.h"
#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/process.h"

class KVElementWidget;
class KVImage;
class KVDrawPath;
struct KVSDFReadState;
class LOutputStreamFile;
class LInputStreamFile;
template <class S> class LSDFWriter;
template <class S> class LSDFReaderChunk;

class KVLayer : public LListLink<KVLayer> {
public:
    explicit KVLayer(const char* name = "");
    // A copy named "<name> - Copy" with duplicated elements that use `stack`.
    KVLayer(const KVLayer& source, LUndoRedoStack& stack);
    KVLayer(const KVLayer&) = delete;
    KVLayer& operator=(const KVLayer&) = delete;
    virtual ~KVLayer() = default;

    virtual LProcessResult Render(LProcessInterface& process, KVRenderImage& target);
    // The layer chunk of the project file.
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) const;
    LProcessResult ReadSDF(KVSDFReadState& state, LSDFReaderChunk<LInputStreamFile>& chunk,
                           KVImage& image);

    // Appends at the end (the top); returns the element's new widget when asked.
    KVElementWidget* AddNewElement(KVElement* element, bool makeWidget);
    // At the very front for a null `after`, behind `after` when it is a member,
    // at the end when it is not (any more).
    void InsertElement(KVElement* element, const KVElement* after);
    // Unlinks the element and gives its predecessor (null for the first); null
    // if the element is not in this layer. The pointer is only compared, so a
    // stale one is harmless.
    KVElement* DetachElement(const KVElement* element, KVElement*& predecessor);
    bool ContainsElement(const KVElementWidget& widget) const;
    bool HasElement(const KVElement* element) const { return elements.Contains(element); }

    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group);
    void Resize(float sx, float sy, bool addUndo);

    LListIterator<KVElement> GetElements() const { return elements.GetIterator(); }
    unsigned long GetElementCount() const { return elements.GetCount(); }
    KVElement* GetLastElement() const { return elements.GetLast(); }
    LList<KVElement>& GetElementList() { return elements; }

    bool IsVisible() const { return visible; }
    void SetVisible(bool v) { visible = v; }
    const char* GetName() const { return name; }
    void SetName(const char* n) { LStrCopy(name, n); }

private:
    bool visible = true;
    char name[260];
    LList<KVElement> elements;
};

class KVImage : public LListLink<KVImage> {
public:
    // For the file reader: 1024 by 768 at 72 ppi, background left unset.
    explicit KVImage(const char* name);
    KVImage(const char* name, unsigned long width, unsigned long height, unsigned long ppi,
            LPixelColour background);
    KVImage(const KVImage&) = delete;
    KVImage& operator=(const KVImage&) = delete;
    ~KVImage();

    // Element operations.
    KVElementWidget* AddNewElement(KVElement* element, const KVLayer* layer, bool makeWidget,
                                   bool addUndo);
    void AddNewElementGroup(LList<KVElement>& elements, const KVLayer* layer);
    // Yields the element's predecessor, or null when no layer held it.
    KVElement* DeleteElement(const KVElementWidget* widget, LUndoRedoGroup* group);
    // On a foreign layer nothing happens and `fresh` stays the caller's.
    KVElementWidget* ReplaceElement(KVElement* fresh, const KVElementWidget& old,
                                    const KVLayer* layer, bool makeWidget, bool addUndo);
    bool UpdateElement(KVElementWidget* widget, const KVLayer* layer);
    // Gives an element of kind E what a tool panel holds for it,
    // as one undo step; a stroke whose smoothing changed is fitted again in
    // the same step. False when the layer holds no such element.
    template <class E, class P>
    bool UpdateElement(const P& panel, const KVElement* element, const KVLayer* layer);
    // The element itself when `layer` holds it, or null.
    KVElement* FindElement(const KVElement* element, const KVLayer* layer) const;
    LBoundingBox2T<float> GetElementRenderedBounds(const KVLayer& layer,
                                                   const KVElementWidget& widget) const;
    KVDrawPath* ConvertToPath(const KVLayer& layer, const KVElementWidget& widget,
                              float& lineWidth, LGuiColor& lineColour) const;
    LListIterator<KVElement> GetElementIteratorConst(const KVLayer* layer) const;
    void GetLayerWidgets(const KVLayer* layer, LList<KVElementWidget>& widgets) const;
    bool ContainsImageElements() const;

    // Layer operations.
    void AddNewLayer(KVLayer* layer, bool addUndo);
    void AddLayer(KVLayer& layer, int index);
    KVLayer* DeleteLayer(const KVLayer* layer, bool addUndo);
    KVLayer* DuplicateLayer(const KVLayer* layer);
    void UpdateLayerOrder(const KVLayer* layer, int index);
    void UpdateLayerVisibility(const KVLayer* layer, bool visible);
    void UpdateLayerName(const KVLayer* layer, const char* name);
    KVLayer* MergeLayers(const KVLayer* upper, const KVLayer* lower, bool addUndo);

    // Whole-image operations.
    void Crop(LBoundingBox2T<float> box, bool addUndo);
    void Resize(unsigned long width, unsigned long height, bool addUndo);
    void SetBackgroundColor(LGuiColorAlpha colour, bool addUndo);
    void GetUndoName(char* name) const;
    void GetRedoName(char* name) const;
    void SetPath(const char* path);

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target);
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) const;
    // Replaces the layers and the scalars by those of the chunk.
    LProcessResult ReadSDF(KVSDFReadState& state, LSDFReaderChunk<LInputStreamFile>& chunk);
    // For the file reader, which replaces every layer at once.
    void RemoveAllLayers() { layers.DeleteAll(); }

    bool IsLayer(const KVLayer* layer) const { return layers.Contains(layer); }
    KVLayer* GetFirstLayer() const { return layers.GetFirst(); }
    LListIterator<KVLayer> GetLayers() const { return layers.GetIterator(); }
    unsigned long GetLayerCount() const { return layers.GetCount(); }
    long GetLayerIndex(const KVLayer* layer) const { return layers.IndexOf(layer); }
    LUndoRedoStack& GetUndoRedoStack() { return undoStack; }
    const LUndoRedoStack& GetUndoRedoStack() const { return undoStack; }

    unsigned long GetWidth() const { return width; }
    unsigned long GetHeight() const { return height; }
    void SetSize(unsigned long w, unsigned long h) {
        width = w;
        height = h;
    }
    unsigned long GetPPI() const { return ppi; }
    void SetPPI(unsigned long p) { ppi = p; }
    LPixelColour GetBackground() const { return background; }
    void SetBackground(LPixelColour c) { background = c; }
    int GetNextLayerNumber() const { return nextLayerNumber; }
    // Hands out the number of a new layer; the count never goes down.
    int TakeNextLayerNumber() { return nextLayerNumber++; }
    void SetNextLayerNumber(int n) { nextLayerNumber = n; }
    const char* GetName() const { return name; }
    void SetName(const char* n) { LStrCopy(name, n); }
    const char* GetPath() const { return path; }

    bool embedImages = false;
    float zoom = -1.0f;

private:
    // The layer holding the widget's element, or null.
    KVLayer* FindLayerOf(const KVElementWidget& widget) const;
    KVLayer* Member(const KVLayer* layer) const;

    unsigned long width = 1024;
    unsigned long height = 768;
    unsigned long ppi = 72;
    int nextLayerNumber = 1;
    LPixelColour background;
    LList<KVLayer> layers;
    // Declared after the layers so that it dies first: its items may hold
    // layers and elements that are out of the tree.
    LUndoRedoStack undoStack;
    char name[260];
    char path[260];
};

class KVProject : public LListLink<KVProject> {
public:
    explicit KVProject(const char* name = "Untitled");
    KVProject(const KVProject&) = delete;
    KVProject& operator=(const KVProject&) = delete;
    // Deletes the recovery file: a project that closes normally leaves nothing behind.
    ~KVProject();

    // Pushes at the front, makes it current; returns its first layer.
    KVLayer* AddNewImage(KVImage* image);
    void Undo();
    void Redo();
    void MarkAsSaved();
    void Crop(LBoundingBox2T<float> box);
    void SetBackgroundColor(LGuiColorAlpha colour);
    LProcessResult Render(LProcessInterface& process, KVRenderImage& target);
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) const;
    LProcessResult ReadSDF(KVSDFReadState& state, LSDFReaderChunk<LInputStreamFile>& chunk);

    KVImage* GetCurrentImage() const { return currentImage; }
    // Not checked against the list: a render of an image the project does
    // not hold draws nothing.
    void SetCurrentImage(KVImage* image) { currentImage = image; }
    LListIterator<KVImage> GetImages() const { return images.GetIterator(); }
    const char* GetName() const { return name; }
    void SetName(const char* n) { LStrCopy(name, n); }
    const char* GetRecoveryPath() const { return recoveryPath; }
    void SetRecoveryPath(const char* p) { LStrCopy(recoveryPath, p); }

private:
    // When the document equals the saved file again, its autosave is redundant.
    void DeleteRecoveryFileIfSaved();
    void DeleteRecoveryFile();

    char recoveryPath[260];
    KVImage* currentImage = nullptr;
    char name[260];
    LList<KVImage> images;
};

template <class E, class P>
bool KVImage::UpdateElement(const P& panel, const KVElement* held, const KVLayer* layer) {
    auto* element = dynamic_cast<E*>(FindElement(held, layer));
    if (!element)
        return false;
    char name[kLFixedStringSize];
    std::snprintf(name, sizeof name, "%s Modification", element->GetDisplayName());
    undoStack.BeginGathering(name);
    if constexpr (requires { panel.curviness; }) {
        const P before = element->GetProperties();
        element->SetPropertiesFromPanel(panel, true);
        if (before.curviness != panel.curviness && before.path)
            element->SetPath(new KVDrawPath(*before.path), false, true, nullptr);
    } else {
        element->SetPropertiesFromPanel(panel, true);
    }
    undoStack.EndGathering();
    element->GetCacheHandle().Invalidate();
    return true;
}
