#pragma once
// The element interface, the locked property record every real kind derives
// from, and the undo item that swaps whole records.

#include <cstdio>

#include "target/cache_handle.h"
#include "target/effects.h"
#include "document/undo.h"
#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/lock.h"
#include "foundation/process.h"
#include "foundation/string.h"
#include "target/render_image.h"

class KVElementWidget;
class KVDrawPath;
class KVCachePath;
class LOutputStreamFile;
class LInputStreamFile;
template <class S> class LSDFWriter;
template <class S> class LSDFReader;
template <class S> class LSDFReaderChunk;

class KVElement : public LListLink<KVElement> {
public:
    KVElement() = default;
    KVElement(const KVElement&) = delete;
    KVElement& operator=(const KVElement&) = delete;
    virtual ~KVElement();

    virtual void SetUndoRedoStack(LUndoRedoStack* /*stack*/) {}
    // A new selection widget, owned by the caller.
    virtual KVElementWidget* GetWidget() { return nullptr; }
    // Takes geometry from the widget; true if anything changed.
    virtual bool Update(KVElementWidget* /*widget*/) { return false; }
    virtual void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) = 0;
    virtual void Resize(float sx, float sy, bool addUndo) = 0;
    // As painted: line width and rotation included, effects not.
    virtual LBoundingBox2T<float> GetRenderedDimensions() const = 0;
    // Deep copy, with no cache and no stack yet.
    virtual KVElement* DuplicateSelf() const = 0;
    virtual KVDrawPath* ConvertToPath(unsigned long /*width*/, unsigned long /*height*/,
                                      float& /*lineWidth*/, LGuiColor& /*lineColour*/) const {
        return nullptr;
    }
    virtual void AddEraserStroke(const KVEraserStroke& /*stroke*/, bool /*addUndo*/,
                                 LUndoRedoGroup* /*group*/) {}
    virtual void ChangeBackgroundColor(LGuiColorAlpha /*colour*/) {}
    virtual bool CanCacheAsPath() const { return false; }
    virtual void CreatePathCache(KVCachePath* /*path*/) const {}
    virtual LProcessResult CachedRender(LProcessInterface& process, KVRenderImage& target);
    virtual LProcessResult Render(LProcessInterface& process, KVRenderImage& target) = 0;
    virtual LProcessResult RenderEraser(LProcessInterface& /*process*/, KVRenderImage& /*target*/) {
        return LProcessResultOk;
    }
    virtual LProcessResult WriteSDF(LProcessInterface& process,
                                    LSDFWriter<LOutputStreamFile>& writer) = 0;
    virtual LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader,
                                   LSDFReaderChunk<LInputStreamFile>& chunk) = 0;
    virtual void LoadGradient(KVGradient /*gradient*/) {}
    virtual const char* GetName() const = 0;
    virtual const char* GetDisplayName() const = 0;

    KVCacheHandle& GetCacheHandle() { return cacheHandle; }
    const KVCacheHandle& GetCacheHandle() const { return cacheHandle; }

private:
    KVCacheHandle cacheHandle;
};

template <class P> class KVElementWithProperties;

// Holds two complete records; undo and redo set one of them back.
template <class P> class KVElementWithPropertiesUndoRedo : public LUndoRedoItem {
public:
    KVElementWithPropertiesUndoRedo(KVElementWithProperties<P>* e, const P& before, const P& after)
        : element(e), oldProperties(before), newProperties(after) {}

    void Undo() override {
        element->GetCacheHandle().Invalidate();
        element->SetProperties(oldProperties, false, nullptr);
    }
    void Redo() override {
        element->GetCacheHandle().Invalidate();
        element->SetProperties(newProperties, false, nullptr);
    }
    void GetName(char* name) const override {
        std::snprintf(name, kLFixedStringSize, "%s Modification", element->GetDisplayName());
    }

private:
    KVElementWithProperties<P>* element;
    P oldProperties;
    P newProperties;
};

// The base of every real kind. The record is guarded by its own lock because
// the render thread reads it while the main thread sets new ones; painting
// always works on a copy.
template <class P> class KVElementWithProperties : public KVElement {
public:
    KVElementWithProperties() = default;
    explicit KVElementWithProperties(const P& p) : properties(p) {}

    P GetProperties() const {
        LLockGuard guard(lock);
        return properties;
    }

    void SetProperties(const P& fresh, bool addUndo, LUndoRedoGroup* group) {
        LLockGuard guard(lock);
        if (addUndo && group)
            group->AddItem(new KVElementWithPropertiesUndoRedo<P>(this, properties, fresh));
        else if (addUndo && undoStack)
            undoStack->AddItem(new KVElementWithPropertiesUndoRedo<P>(this, properties, fresh));
        properties = fresh;
        propertiesChanged = true;
        // A new record is a new look, wherever it came from.
        GetCacheHandle().Invalidate();
    }

    void SetUndoRedoStack(LUndoRedoStack* stack) override { undoStack = stack; }
    LUndoRedoStack* GetUndoRedoStack() const { return undoStack; }

    // Paints through the cache, and keeps a picture out of it when the record
    // changed while it was being painted.
    LProcessResult CachedRender(LProcessInterface& process, KVRenderImage& target) override {
        KVCacheHandle& handle = GetCacheHandle();
        if (handle.IsValid() && target.GetFromCache(handle))
            return RenderEraser(process, target);
        {
            LLockGuard guard(lock);
            propertiesChanged = false;
        }
        if (LProcessResult r = Render(process, target))
            return r;
        if (LProcessResult r = RenderEraser(process, target))
            return r;
        LLockGuard guard(lock);
        if (!propertiesChanged)
            target.WriteCache(this, handle);
        else
            handle.Invalidate();
        return LProcessResultOk;
    }

    LProcessResult RenderEraser(LProcessInterface& process, KVRenderImage& target) override {
        const P copy = GetProperties();
        return target.EraserStroke(process, copy.GetEraserStrokes());
    }

    void AddEraserStroke(const KVEraserStroke& stroke, bool addUndo,
                         LUndoRedoGroup* group) override {
        P copy = GetProperties();
        copy.AddEraserStroke(stroke);
        SetProperties(copy, addUndo, group);
    }

    void ChangeBackgroundColor(LGuiColorAlpha colour) override {
        P copy = GetProperties();
        for (KVEraserStroke& s : copy.strokes)
            s.colour = colour;
        SetProperties(copy, false, nullptr);
    }

protected:
    LLockObject& GetLock() const { return lock; }
    // Runs `read` on the record itself under the lock, for a reader that must
    // not pay for a copy.
    template <class F> decltype(auto) ReadLockedProperties(F read) const {
        LLockGuard guard(lock);
        return read(properties);
    }

private:
    LUndoRedoStack* undoStack = nullptr;
    bool propertiesChanged = false;
    P properties;
    mutable LLockObject lock;
};

// Erase strokes follow a box without an outline from `old` to `fresh`: moved
// with its corner, scaled with its sides; a box of no size only moves them.
void KVFollowBoxWithEraserStrokes(KVErasableProperties& p, const LBoundingBox2T<float>& old,
                                  const LBoundingBox2T<float>& fresh);

// Stands behind the crop frame and other tools that need a widget with an
// element; never enters a layer.
class KVDummyElement : public KVElement {
public:
    void Crop(LBoundingBox2T<float>, LUndoRedoGroup*) override {}
    void Resize(float, float, bool) override {}
    LBoundingBox2T<float> GetRenderedDimensions() const override { return {}; }
    KVElement* DuplicateSelf() const override { return new KVDummyElement; }
    LProcessResult Render(LProcessInterface&, KVRenderImage&) override { return LProcessResultOk; }
    LProcessResult WriteSDF(LProcessInterface&, LSDFWriter<LOutputStreamFile>&) override {
        return LProcessResultOk;
    }
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>&,
                           LSDFReaderChunk<LInputStreamFile>&) override {
        return LProcessResultOk;
    }
    const char* GetName() const override { return "crop"; }
    const char* GetDisplayName() const override { return ""; }
};
