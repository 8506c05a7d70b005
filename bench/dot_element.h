#pragma once
// The lightest element there can be: what a benchmark of the document or the
// render walk costs is then the document's own.

#include "document/element.h"

struct Dot : KVElementWithProperties<KVErasableProperties> {
    void Crop(LBoundingBox2T<float>, LUndoRedoGroup*) override {}
    void Resize(float, float, bool) override {}
    LBoundingBox2T<float> GetRenderedDimensions() const override { return {}; }
    KVElement* DuplicateSelf() const override { return new Dot; }
    LProcessResult Render(LProcessInterface&, KVRenderImage&) override { return LProcessResultOk; }
    LProcessResult WriteSDF(LProcessInterface&, LSDFWriter<LOutputStreamFile>&) override {
        return LProcessResultOk;
    }
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>&,
                           LSDFReaderChunk<LInputStreamFile>&) override {
        return LProcessResultOk;
    }
    const char* GetName() const override { return "rectangle"; }
    const char* GetDisplayName() const override { return "Rectangle"; }
};
