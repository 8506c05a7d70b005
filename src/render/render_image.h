#pragma once
// The abstract render target through which every element paints. A Begin...
// returns a sub-target; Finish... is called on the object Begin... was called
// on. A caller never deletes a returned sub-target.

#include "document/cache_handle.h"
#include "document/effects.h"
#include "foundation/color.h"
#include "foundation/list.h"
#include "foundation/process.h"

class KVElement;

class KVRenderImage {
public:
    virtual ~KVRenderImage() = default;

    virtual bool SaveAsFile(const char* /*path*/) { return false; }
    // True when the cached picture of the element was placed.
    virtual bool GetFromCache(const KVCacheHandle& /*handle*/) { return false; }
    virtual void WriteCache(KVElement* /*element*/, KVCacheHandle& /*handle*/) {}
    virtual void Flush() {}
    virtual bool DoesImageUseMetadata() = 0;
    virtual void TagLastElement(const char* /*key*/, const char* /*value*/) {}
    virtual LProcessResult Clear(LPixelColour colour) = 0;
    virtual LProcessResult EraserStroke(LProcessInterface& process,
                                        LListIterator<KVEraserStroke> strokes) = 0;
};
