#include "support/recording_target.h"

#include <cstdio>

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
