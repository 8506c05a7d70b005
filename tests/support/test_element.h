#pragma once
// A small element kind of the tests' own: a box with a fill, which records
// what the document asks of it.

#include <functional>
#include <string>
#include <vector>

#include "target/effects.h"
#include "document/element.h"
#include "document/widget.h"
#include "support/recording_target.h"

namespace kvtest {

struct BoxProperties : KVErasableProperties, KVFillProperties {
    LBoundingBox2T<float> box;
    float lineWidth = 1.0f;
};

class BoxElement;

class BoxWidget : public KVElementWidget {
public:
    void Draw(KVWidgetPaint&) const override {}
    explicit BoxWidget(KVElement* e) : element(e) {}
    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e == element; }
    KVElement* element;
};

// Stands for several elements at once, as a multiple selection does.
class MultiWidget : public KVElementWidget {
public:
    void Draw(KVWidgetPaint&) const override {}
    KVElement* GetElement() const override { return elements.empty() ? nullptr : elements[0]; }
    bool IsParentElement(const KVElement* e) const override {
        for (KVElement* x : elements)
            if (x == e)
                return true;
        return false;
    }
    std::vector<KVElement*> elements;
};

class BoxElement : public KVElementWithProperties<BoxProperties> {
public:
    explicit BoxElement(const char* label = "box", LBoundingBox2T<float> box = {0, 0, 10, 10},
                        const char* kind = "rectangle")
        : label(label), kind(kind) {
        BoxProperties p;
        p.box = box;
        SetProperties(p, false, nullptr);
    }

    void Crop(LBoundingBox2T<float> crop, LUndoRedoGroup* group) override {
        BoxProperties p = GetProperties();
        p.box = {p.box.x1 - crop.x1, p.box.y1 - crop.y1, p.box.x2 - crop.x1, p.box.y2 - crop.y1};
        SetProperties(p, true, group);
    }
    void Resize(float sx, float sy, bool addUndo) override {
        resizes.push_back({sx, sy});
        BoxProperties p = GetProperties();
        p.box = {p.box.x1 * sx, p.box.y1 * sy, p.box.x2 * sx, p.box.y2 * sy};
        SetProperties(p, addUndo, nullptr);
    }
    LBoundingBox2T<float> GetRenderedDimensions() const override { return GetProperties().box; }
    KVElement* DuplicateSelf() const override {
        auto* copy = new BoxElement(label.c_str(), GetProperties().box, kind.c_str());
        copy->SetProperties(GetProperties(), false, nullptr);
        return copy;
    }
    KVElementWidget* GetWidget() override { return new BoxWidget(this); }
    bool Update(KVElementWidget*) override { return updateResult; }
    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    LProcessResult WriteSDF(LProcessInterface&, LSDFWriter<LOutputStreamFile>&) override {
        return LProcessResultOk;
    }
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>&,
                           LSDFReaderChunk<LInputStreamFile>&) override {
        return LProcessResultOk;
    }
    const char* GetName() const override { return kind.c_str(); }
    const char* GetDisplayName() const override { return "Box"; }

    std::string label;
    std::string kind;
    std::vector<std::pair<float, float>> resizes;
    bool updateResult = false;
    LProcessResult renderResult = LProcessResultOk;
    // Runs in the middle of Render, as the main thread would.
    std::function<void()> duringRender;
};

inline LProcessResult BoxElement::Render(LProcessInterface&, KVRenderImage& target) {
    if (auto* r = dynamic_cast<RecordingTarget*>(&target))
        r->Draw("Draw " + label);
    if (duringRender)
        duringRender();
    return renderResult;
}

} // namespace kvtest
