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

void KVFollowBoxWithEraserStrokes(KVErasableProperties& p, const LBoundingBox2T<float>& old,
                                  const LBoundingBox2T<float>& fresh) {
    if (old.GetWidth() > 0 && old.GetHeight() > 0)
        p.UpdateEraserStrokes(old, fresh, 0.0f);
    else
        p.TranslateEraserStrokes(fresh.x1 - old.x1, fresh.y1 - old.y1);
}
