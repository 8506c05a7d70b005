#pragma once
// A render target that draws nothing, so a benchmark measures only the code
// that drives it.

#include "target/render_image.h"

class NullTarget : public KVRenderImage {
public:
    KVRenderImage* BeginRotate(float, KVPoint) override { return this; }
    void FinishRotate() override {}
    KVRenderImage* BeginScale(float, float) override { return this; }
    void FinishScale() override {}
    KVRenderImage* BeginTranslate(float, float) override { return this; }
    void FinishTranslate() override {}
    bool DoesImageUseMetadata() override { return false; }
    LProcessResult Clear(LPixelColour) override { return LProcessResultOk; }
    LProcessResult EraserStroke(LProcessInterface&, LListIterator<KVEraserStroke>) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPoly(LProcessInterface&, float, const LGuiColorAlpha&, KVPoint*,
                            unsigned long, const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillPoly(LProcessInterface&, float, const LGuiColorAlpha&,
                            const LGuiColorAlpha&, KVPoint*, unsigned long,
                            const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillPoly(LProcessInterface&, const KVGradient&, float, const LGuiColorAlpha&,
                            KVPoint*, unsigned long, const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPolyShadow(LProcessInterface&, KVPoint*, unsigned long, const KVBox&, float,
                                  bool, const KVDropShadow&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPolyBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&, KVPoint*,
                                       unsigned long, const KVBox&,
                                       const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillPolyBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long,
                                       const KVBox&, const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillPolyBevelEmboss(LProcessInterface&, const KVGradient&, float,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long,
                                       const KVBox&, const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawEllipse(LProcessInterface&, float, const LGuiColorAlpha&,
                               const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillEllipse(LProcessInterface&, float, const LGuiColorAlpha&,
                               const LGuiColorAlpha&, const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillEllipse(LProcessInterface&, const KVGradient&, float,
                               const LGuiColorAlpha&, const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawEllipseShadow(LProcessInterface&, const KVBox&, float, bool,
                                     const KVDropShadow&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawEllipseBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&,
                                          const KVBox&, const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillEllipseBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillEllipseBevelEmboss(LProcessInterface&, const KVGradient&, float,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawRect(LProcessInterface&, float, const LGuiColorAlpha&,
                            const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillRect(LProcessInterface&, float, const LGuiColorAlpha&,
                            const LGuiColorAlpha&, const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult FillRect(LProcessInterface&, const KVGradient&, float, const LGuiColorAlpha&,
                            const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawRectShadow(LProcessInterface&, const KVBox&, float, bool,
                                  const KVDropShadow&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawRectBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&,
                                       const KVBox&, const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillRectBevelEmboss(LProcessInterface&, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult FillRectBevelEmboss(LProcessInterface&, const KVGradient&, float,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawLine(LProcessInterface&, float, const LGuiColorAlpha&, KVLineCapStyle,
                            KVLineCapStyle, LLineDashStyle, float, float, float, float) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPath(LProcessInterface&, KVBrushType, KVSegments, const LLineStyle&, float,
                            LGuiColorAlpha, const KVBox&, unsigned char,
                            const KVPressure*) override {
        return LProcessResultOk;
    }
    LProcessResult FillPath(LProcessInterface&, KVSegments, float, LGuiColor,
                            LGuiColorAlpha) override {
        return LProcessResultOk;
    }
    LProcessResult FillPath(LProcessInterface&, KVSegments, float, LGuiColor, const KVGradient&,
                            const KVBox&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPathShadow(LProcessInterface&, KVBrushType, KVSegments, float, bool,
                                  const KVDropShadow&, const KVBox&, const KVPressure*) override {
        return LProcessResultOk;
    }
    LProcessResult DrawPathBevelEmboss(LProcessInterface&, KVBrushType, KVSegments, float,
                                       LGuiColor, const KVBevelEmboss&, const KVBox&,
                                       const KVPressure*) override {
        return LProcessResultOk;
    }
    LProcessResult FillPathBevelEmboss(LProcessInterface&, KVBrushType, KVSegments, float,
                                       LGuiColor, LGuiColorAlpha, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override {
        return LProcessResultOk;
    }
    LProcessResult FillPathBevelEmboss(LProcessInterface&, KVBrushType, KVSegments, float,
                                       LGuiColor, const KVGradient&, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override {
        return LProcessResultOk;
    }
    LProcessResult DrawImage(LProcessInterface&, const LImageBuffer&, int, int, int,
                             int) override {
        return LProcessResultOk;
    }
    LProcessResult DrawText(LProcessInterface&, const char*, unsigned long, bool, bool, bool,
                            const char*, LAlignmentX, LGuiColorAlpha, KVBox) override {
        return LProcessResultOk;
    }
    LProcessResult DrawTextShadow(LProcessInterface&, const char*, unsigned long, bool, bool, bool,
                                  const char*, LAlignmentX, KVBox, const KVDropShadow&) override {
        return LProcessResultOk;
    }
    LProcessResult DrawTextBevelEmboss(LProcessInterface&, const char*, unsigned long, bool, bool,
                                       bool, const char*, LAlignmentX, KVBox,
                                       const KVBevelEmboss&) override {
        return LProcessResultOk;
    }
};
