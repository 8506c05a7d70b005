#pragma once
// A render target that draws nothing and writes down every call made of it,
// prefixed by which target got it ("t0" the one the render was given, "t1"
// and on its children), so tests can check the order in which elements drive
// a target. Children follow the sub-target contract: one at a time, a second
// Begin drops the first, Finish on the parent ends it.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "target/render_image.h"

namespace kvtest {

class RecordingTarget : public KVRenderImage {
public:
    RecordingTarget() : log(std::make_shared<std::vector<std::string>>()) {}

    // Everything recorded by this target and its children, in order.
    std::vector<std::string>& Calls() { return *log; }
    // The calls of one target only, without its prefix.
    std::vector<std::string> CallsOf(int targetId) const;
    int GetId() const { return id; }
    RecordingTarget* GetChild() const { return child.get(); }

    bool GetFromCache(const KVCacheHandle& handle) override;
    void WriteCache(KVElement*, KVCacheHandle& handle) override;
    void Flush() override { Note("Flush"); }
    bool DoesImageUseMetadata() override { return metadata; }
    void TagLastElement(const char* key, const char* value) override;

    KVRenderImage* BeginRotate(float degrees, KVPoint centre) override;
    void FinishRotate() override { Finish("FinishRotate"); }
    KVRenderImage* BeginScale(float x, float y) override;
    void FinishScale() override { Finish("FinishScale"); }
    KVRenderImage* BeginTranslate(float x, float y) override;
    void FinishTranslate() override { Finish("FinishTranslate"); }
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha, float size) override;
    void FinishInnerGlow(LProcessInterface& p) override;
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha, float size) override;
    void FinishOuterGlow(LProcessInterface& p) override;

    LProcessResult Clear(LPixelColour) override { return Draw("Clear"); }
    LProcessResult EraserStroke(LProcessInterface& p, LListIterator<KVEraserStroke> it) override;

    LProcessResult DrawPoly(LProcessInterface& p, float, const LGuiColorAlpha&, KVPoint*,
                            unsigned long n, const KVBox&) override {
        return Draw(p, "DrawPoly " + std::to_string(n));
    }
    LProcessResult FillPoly(LProcessInterface& p, float, const LGuiColorAlpha&,
                            const LGuiColorAlpha&, KVPoint*, unsigned long n,
                            const KVBox&) override {
        return Draw(p, "FillPoly " + std::to_string(n));
    }
    LProcessResult FillPoly(LProcessInterface& p, const KVGradient&, float, const LGuiColorAlpha&,
                            KVPoint*, unsigned long n, const KVBox&) override {
        return Draw(p, "FillPolyGradient " + std::to_string(n));
    }
    LProcessResult DrawPolyShadow(LProcessInterface& p, KVPoint*, unsigned long n, const KVBox&,
                                  float, bool, const KVDropShadow&) override {
        return Draw(p, "DrawPolyShadow " + std::to_string(n));
    }
    LProcessResult DrawPolyBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                       KVPoint*, unsigned long n, const KVBox&,
                                       const KVBevelEmboss&) override {
        return Draw(p, "DrawPolyBevelEmboss " + std::to_string(n));
    }
    LProcessResult FillPolyBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long n,
                                       const KVBox&, const KVBevelEmboss&) override {
        return Draw(p, "FillPolyBevelEmboss " + std::to_string(n));
    }
    LProcessResult FillPolyBevelEmboss(LProcessInterface& p, const KVGradient&, float,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long n,
                                       const KVBox&, const KVBevelEmboss&) override {
        return Draw(p, "FillPolyBevelEmbossGradient " + std::to_string(n));
    }

    LProcessResult DrawEllipse(LProcessInterface& p, float, const LGuiColorAlpha&,
                               const KVBox&) override {
        return Draw(p, "DrawEllipse");
    }
    LProcessResult FillEllipse(LProcessInterface& p, float, const LGuiColorAlpha&,
                               const LGuiColorAlpha&, const KVBox&) override {
        return Draw(p, "FillEllipse");
    }
    LProcessResult FillEllipse(LProcessInterface& p, const KVGradient&, float,
                               const LGuiColorAlpha&, const KVBox&) override {
        return Draw(p, "FillEllipseGradient");
    }
    LProcessResult DrawEllipseShadow(LProcessInterface& p, const KVBox&, float, bool,
                                     const KVDropShadow&) override {
        return Draw(p, "DrawEllipseShadow");
    }
    LProcessResult DrawEllipseBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                          const KVBox&, const KVBevelEmboss&) override {
        return Draw(p, "DrawEllipseBevelEmboss");
    }
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override {
        return Draw(p, "FillEllipseBevelEmboss");
    }
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& p, const KVGradient&, float,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override {
        return Draw(p, "FillEllipseBevelEmbossGradient");
    }

    LProcessResult DrawRect(LProcessInterface& p, float, const LGuiColorAlpha&,
                            const KVBox&) override {
        return Draw(p, "DrawRect");
    }
    LProcessResult FillRect(LProcessInterface& p, float, const LGuiColorAlpha&,
                            const LGuiColorAlpha&, const KVBox&) override {
        return Draw(p, "FillRect");
    }
    LProcessResult FillRect(LProcessInterface& p, const KVGradient&, float, const LGuiColorAlpha&,
                            const KVBox&) override {
        return Draw(p, "FillRectGradient");
    }
    LProcessResult DrawRectShadow(LProcessInterface& p, const KVBox&, float, bool,
                                  const KVDropShadow&) override {
        return Draw(p, "DrawRectShadow");
    }
    LProcessResult DrawRectBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                       const KVBox&, const KVBevelEmboss&) override {
        return Draw(p, "DrawRectBevelEmboss");
    }
    LProcessResult FillRectBevelEmboss(LProcessInterface& p, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override {
        return Draw(p, "FillRectBevelEmboss");
    }
    LProcessResult FillRectBevelEmboss(LProcessInterface& p, const KVGradient&, float,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override {
        return Draw(p, "FillRectBevelEmbossGradient");
    }

    LProcessResult DrawLine(LProcessInterface& p, float, const LGuiColorAlpha&,
                            KVLineCapStyle startCap, KVLineCapStyle endCap, LLineDashStyle dash,
                            float, float, float, float) override {
        return Draw(p, "DrawLine " + std::to_string(startCap) + " " + std::to_string(endCap) +
                           " " + std::to_string(static_cast<int>(dash)));
    }

    // Paths are written down with what a stroke's look depends on, e.g.
    // "DrawPath type=7 segs=2 width=10 colour=0,0,0,255 blur=0 join=0 pressure=3"
    // ("pressure=-" without levels).
    LProcessResult DrawPath(LProcessInterface& p, KVBrushType type, KVSegments segments,
                            const LLineStyle& style, float width, LGuiColorAlpha colour,
                            const KVBox&, unsigned char blur, const KVPressure* pressure) override;
    LProcessResult FillPath(LProcessInterface& p, KVSegments segments, float, LGuiColor,
                            LGuiColorAlpha) override {
        return Draw(p, "FillPath segs=" + Count(segments));
    }
    LProcessResult FillPath(LProcessInterface& p, KVSegments segments, float, LGuiColor,
                            const KVGradient&, const KVBox&) override {
        return Draw(p, "FillPathGradient segs=" + Count(segments));
    }
    LProcessResult DrawPathShadow(LProcessInterface& p, KVBrushType type, KVSegments, float,
                                  bool hasFill, const KVDropShadow&, const KVBox&,
                                  const KVPressure*) override {
        return Draw(p, "DrawPathShadow type=" + std::to_string(type) +
                           (hasFill ? " filled" : ""));
    }
    LProcessResult DrawPathBevelEmboss(LProcessInterface& p, KVBrushType type, KVSegments, float,
                                       LGuiColor, const KVBevelEmboss&, const KVBox&,
                                       const KVPressure*) override {
        return Draw(p, "DrawPathBevelEmboss type=" + std::to_string(type));
    }
    LProcessResult FillPathBevelEmboss(LProcessInterface& p, KVBrushType type, KVSegments, float,
                                       LGuiColor, LGuiColorAlpha, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override {
        return Draw(p, "FillPathBevelEmboss type=" + std::to_string(type));
    }
    LProcessResult FillPathBevelEmboss(LProcessInterface& p, KVBrushType type, KVSegments, float,
                                       LGuiColor, const KVGradient&, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override {
        return Draw(p, "FillPathBevelEmbossGradient type=" + std::to_string(type));
    }
    // Filled outlines are taken only when a test says so.
    bool FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha&) override;
    bool FastFillPath(const KVDrawPath& path, const LGuiColorAlpha&) override;
    LProcessResult DrawImage(LProcessInterface& p, const LImageBuffer&, int, int, int,
                             int) override {
        return Draw(p, "DrawImage");
    }

    LProcessResult DrawText(LProcessInterface& p, const char* text, unsigned long, bool, bool,
                            bool, const char*, LAlignmentX, LGuiColorAlpha, KVBox box) override {
        return Draw(p, std::string("DrawText ") + text + " @" + std::to_string(static_cast<int>(box.y1)));
    }
    LProcessResult DrawTextShadow(LProcessInterface& p, const char* text, unsigned long, bool,
                                  bool, bool, const char*, LAlignmentX, KVBox,
                                  const KVDropShadow&) override {
        return Draw(p, std::string("DrawTextShadow ") + text);
    }
    LProcessResult DrawTextBevelEmboss(LProcessInterface& p, const char* text, unsigned long, bool,
                                       bool, bool, const char*, LAlignmentX, KVBox,
                                       const KVBevelEmboss&) override {
        return Draw(p, std::string("DrawTextBevelEmboss ") + text);
    }

    // Anything an element draws with; tests may also call it directly.
    LProcessResult Draw(const std::string& what);
    LProcessResult Draw(LProcessInterface& p, const std::string& what);
    void Note(const std::string& what);

    // What drawing operations give back (0 unless a test says otherwise).
    LProcessResult drawResult = LProcessResultOk;
    LProcessResult eraserResult = LProcessResultOk;
    bool cacheHit = true;
    bool metadata = false;
    // What the two FastFillPath forms answer: outline first, then points.
    bool fillsOutlines = false;
    bool fillsPoints = false;
    // When set, every drawing operation reports progress 1.0 on the process
    // it was handed, so tests can see which slice it got.
    bool reportProgress = false;
    // Runs inside every drawing operation, as the main thread would meanwhile.
    std::function<void()> duringDraw;

private:
    static std::string Count(KVSegments segments);
    RecordingTarget(std::shared_ptr<std::vector<std::string>> sharedLog, int* counter);
    KVRenderImage* Begin(const std::string& what);
    void Finish(const std::string& what);

    std::shared_ptr<std::vector<std::string>> log;
    int ownCounter = 0;
    int* counter = &ownCounter;
    int id = 0;
    std::unique_ptr<RecordingTarget> child;
};

} // namespace kvtest
