#include "support/recording_target.h"

#include <cstdio>

#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "target/draw_path.h"

namespace kvtest {

RecordingTarget::RecordingTarget(std::shared_ptr<std::vector<std::string>> sharedLog, int* c)
    : log(std::move(sharedLog)), counter(c), id(++*c) {}

void RecordingTarget::Note(const std::string& what) {
    log->push_back("t" + std::to_string(id) + " " + what);
}

std::vector<std::string> RecordingTarget::CallsOf(int targetId) const {
    const std::string prefix = "t" + std::to_string(targetId) + " ";
    std::vector<std::string> out;
    for (const std::string& c : *log)
        if (c.rfind(prefix, 0) == 0)
            out.push_back(c.substr(prefix.size()));
    return out;
}

LProcessResult RecordingTarget::Draw(const std::string& what) {
    Note(what);
    if (duringDraw)
        duringDraw();
    return drawResult;
}

LProcessResult RecordingTarget::Draw(LProcessInterface& p, const std::string& what) {
    if (reportProgress)
        p.SetProgress(1.0);
    return Draw(what);
}

std::string RecordingTarget::Count(KVSegments segments) {
    int n = 0;
    for (; segments; ++segments)
        ++n;
    return std::to_string(n);
}

LProcessResult RecordingTarget::DrawPath(LProcessInterface& p, KVBrushType type,
                                         KVSegments segments, const LLineStyle& style, float width,
                                         LGuiColorAlpha colour, const KVBox&, unsigned char blur,
                                         const KVPressure* pressure) {
    char text[160];
    std::snprintf(text, sizeof text, "DrawPath type=%d segs=%s width=%g colour=%d,%d,%d,%d blur=%d join=%d pressure=",
                  static_cast<int>(type), Count(segments).c_str(), width, colour.Red8(),
                  colour.Green8(), colour.Blue8(), colour.alpha, blur, style.join);
    return Draw(p, text + (pressure ? std::to_string(pressure->count) : std::string("-")));
}

bool RecordingTarget::FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha&) {
    Note(std::string("FastFillPath outline") + (path.IsEmpty() ? " empty" : ""));
    return fillsOutlines;
}

bool RecordingTarget::FastFillPath(const KVDrawPath& path, const LGuiColorAlpha&) {
    Note("FastFillPath points=" + std::to_string(path.GetCoords().GetCount()));
    return fillsPoints;
}

bool RecordingTarget::GetFromCache(const KVCacheHandle& handle) {
    Note("GetFromCache");
    return handle.IsValid() && cacheHit;
}

void RecordingTarget::WriteCache(KVElement*, KVCacheHandle& handle) {
    Note("WriteCache");
    handle.SetState(KVCacheHandle::Valid);
}

void RecordingTarget::TagLastElement(const char* key, const char* value) {
    Note(std::string("Tag ") + key + "=" + value);
}

KVRenderImage* RecordingTarget::Begin(const std::string& what) {
    // Children inherit how the test wants drawing to behave.
    std::unique_ptr<RecordingTarget> fresh(new RecordingTarget(log, counter));
    fresh->drawResult = drawResult;
    fresh->reportProgress = reportProgress;
    fresh->metadata = metadata;
    fresh->duringDraw = duringDraw;
    Note(what + " -> t" + std::to_string(fresh->id));
    child = std::move(fresh);
    return child.get();
}

void RecordingTarget::Finish(const std::string& what) {
    if (!child) {
        Note(what + " (no child)");
        return;
    }
    Note(what);
    child.reset();
}

KVRenderImage* RecordingTarget::BeginRotate(float degrees, KVPoint centre) {
    char text[96];
    std::snprintf(text, sizeof text, "BeginRotate %g (%g,%g)", degrees, centre.x, centre.y);
    return Begin(text);
}

KVRenderImage* RecordingTarget::BeginScale(float x, float y) {
    char text[64];
    std::snprintf(text, sizeof text, "BeginScale %g %g", x, y);
    return Begin(text);
}

KVRenderImage* RecordingTarget::BeginTranslate(float x, float y) {
    char text[64];
    std::snprintf(text, sizeof text, "BeginTranslate %g %g", x, y);
    return Begin(text);
}

KVRenderImage* RecordingTarget::BeginInnerGlow(LGuiColorAlpha, float size) {
    char text[64];
    std::snprintf(text, sizeof text, "BeginInnerGlow %g", size);
    return Begin(text);
}

KVRenderImage* RecordingTarget::BeginOuterGlow(LGuiColorAlpha, float size) {
    char text[64];
    std::snprintf(text, sizeof text, "BeginOuterGlow %g", size);
    return Begin(text);
}

void RecordingTarget::FinishInnerGlow(LProcessInterface& p) {
    if (reportProgress)
        p.SetProgress(1.0);
    Finish("FinishInnerGlow");
}

void RecordingTarget::FinishOuterGlow(LProcessInterface& p) {
    if (reportProgress)
        p.SetProgress(1.0);
    Finish("FinishOuterGlow");
}

LProcessResult RecordingTarget::EraserStroke(LProcessInterface&, LListIterator<KVEraserStroke> it) {
    int n = 0;
    for (; it; ++it)
        ++n;
    Note("EraserStroke " + std::to_string(n));
    return eraserResult;
}

} // namespace kvtest
