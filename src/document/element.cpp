#include "document/element.h"

#include <cstring>

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

namespace {

// The effects each kind of element takes; kinds not listed take none.
struct KVWidgetEffects {
    const char* kind;
    KVKindEffects effects;
};
constexpr KVWidgetEffects kWidgetEffects[] = {
    {"rectangle", {true, true, true, true}}, {"ellipse", {true, true, true, true}},
    {"polygon", {true, true, true, true}},   {"triangle", {true, true, true, true}},
    {"pen", {true, true, true, false}},      {"text", {false, true, true, false}},
    {"richtext", {false, true, true, false}},
};

KVKindEffects EffectsOf(const KVElementWidget& widget) { return KVEffectsOfKind(widget.GetElementName()); }

} // namespace

KVKindEffects KVEffectsOfKind(const char* kind) {
    for (const KVWidgetEffects& e : kWidgetEffects)
        if (kind && std::strcmp(e.kind, kind) == 0)
            return e.effects;
    return {false, false, false, false};
}

bool KVElementWidget::CanFillElement() const { return EffectsOf(*this).fill; }
bool KVElementWidget::CanShadowElement() const { return EffectsOf(*this).shadow; }
bool KVElementWidget::CanBevelElement() const { return EffectsOf(*this).bevel; }
bool KVElementWidget::CanGlowElement() const { return EffectsOf(*this).glow; }

bool KVElementWidget::IsPositionInsideWidget(float x, float y) const {
    const LBoundingBox2T<float> box = GetDimensions();
    return x >= box.x1 && x <= box.x2 && y >= box.y1 && y <= box.y2;
}

int KVElementWidget::WhichHandle(float x, float y, float) const {
    return IsPositionInsideWidget(x, y) ? KVHandleInside : KVHandleNone;
}

void KVFollowBoxWithEraserStrokes(KVErasableProperties& p, const LBoundingBox2T<float>& old,
                                  const LBoundingBox2T<float>& fresh) {
    if (old.GetWidth() > 0 && old.GetHeight() > 0)
        p.UpdateEraserStrokes(old, fresh, 0.0f);
    else
        p.TranslateEraserStrokes(fresh.x1 - old.x1, fresh.y1 - old.y1);
}
