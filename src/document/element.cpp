#include "document/element.h"

#include "document/widget.h"

KVElement::~KVElement() { cacheHandle.Invalidate(); }

LProcessResult KVElement::CachedRender(LProcessInterface& process, KVRenderImage& target) {
    if (cacheHandle.IsValid() && target.GetFromCache(cacheHandle))
        return RenderEraser(process, target);
    if (LProcessResult r = Render(process, target))
        return r;
    if (LProcessResult r = RenderEraser(process, target))
        return r;
    target.WriteCache(this, cacheHandle);
    return LProcessResultOk;
}

const char* KVElementWidget::GetElementName() const {
    KVElement* e = GetElement();
    return e ? e->GetName() : "";
}
