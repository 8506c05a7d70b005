#include "target/effects.h"

#include <algorithm>

#include "foundation/string.h"

KVGradient::KVGradient()
    : KVGradient(LPointTemplate<float>(0.0f, 0.0f), LPointTemplate<float>(1.0f, 0.0f),
                 LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(255, 255, 255, 255)) {}

KVGradient::KVGradient(const LPointTemplate<float>& startPoint,
                       const LPointTemplate<float>& endPoint, const LGuiColorAlpha& first,
                       const LGuiColorAlpha& last)
    : start(startPoint), end(endPoint), colours(10), positions(10) {
    name[0] = '\0';
    colours.Add(first);
    positions.Add(0.0f);
    colours.Add(last);
    positions.Add(1.0f);
    stopCount = 2;
}

unsigned long KVGradient::AddStop(float position, const LGuiColorAlpha& colour) {
    // Written as comparisons that NaN fails: NaN passes both and is kept.
    if (position <= 0.0f)
        position = 0.01f;
    if (position >= 1.0f)
        position = 0.99f;

    if (stopCount == colours.GetCapacity()) {
        const unsigned long doubled = std::max(1UL, stopCount * 2);
        colours.SetCapacity(doubled);
        positions.SetCapacity(doubled);
    }
    colours.SetCount(stopCount + 1);
    positions.SetCount(stopCount + 1);

    long i = static_cast<long>(stopCount) - 1;
    for (; i >= 0 && positions[i] > position; --i) {
        positions[i + 1] = positions[i];
        colours[i + 1] = colours[i];
    }
    if (i < 0) {
        // Every stop lay above the new one: they moved up, nothing went in.
        colours.SetCount(stopCount);
        positions.SetCount(stopCount);
        return 0;
    }
    positions[i + 1] = position;
    colours[i + 1] = colour;
    ++stopCount;
    return static_cast<unsigned long>(i + 1);
}

void KVGradient::RemoveStop(unsigned long index) {
    if (index >= stopCount)
        return;
    colours.RemoveAt(index);
    positions.RemoveAt(index);
    --stopCount;
}

void KVGradient::SetStopColor(unsigned long index, const LGuiColorAlpha& colour) {
    if (index < stopCount)
        colours[index] = colour;
}

void KVGradient::SetColorStart(const LGuiColorAlpha& colour) {
    if (stopCount > 0)
        colours[0] = colour;
}

void KVGradient::SetColorEnd(const LGuiColorAlpha& colour) {
    if (stopCount > 0)
        colours[stopCount - 1] = colour;
}

void KVGradient::SetStops(const LArray<LGuiColorAlpha>& stopColours,
                          const LArray<float>& stopPositions) {
    const unsigned long n = std::min(stopColours.GetCount(), stopPositions.GetCount());
    colours.SetCount(n);
    positions.SetCount(n);
    for (unsigned long i = 0; i < n; ++i) {
        colours[i] = stopColours[i];
        positions[i] = stopPositions[i];
    }
    stopCount = n;
}

int KVDropShadow::GetHardnessRadius(const LBoundingBox2T<float>& box) const {
    float r = std::min(box.GetWidth(), box.GetHeight()) * static_cast<float>(softness) / 400.0f;
    if (r < 0.0f)
        r = 0.0f;
    const long rounded = Round(r);
    return rounded == 0 ? 1 : static_cast<int>(rounded);
}

KVEraserStroke::KVEraserStroke(const KVDrawPath& strokePath, float strokeWidth,
                               unsigned long softnessPercent, LGuiColorAlpha strokeColour)
    : width(strokeWidth),
      softnessRadius(static_cast<unsigned long>(
          std::max(0L, Round(static_cast<float>(softnessPercent) * strokeWidth / 100.0f)))),
      colour(strokeColour), path(strokePath) {}

void KVErasableProperties::TransformEraserStrokes(const LMatrix<float>& matrix) {
    for (KVEraserStroke& s : strokes)
        s.transform *= matrix;
}

void KVErasableProperties::TranslateEraserStrokes(float dx, float dy) {
    if (dx == 0.0f && dy == 0.0f)
        return;
    LMatrix<float> m;
    m.Translate(dx, dy, false);
    TransformEraserStrokes(m);
}

void KVErasableProperties::ScaleEraserStrokes(LPointTemplate<float> centre, float sx, float sy) {
    if (sx == 1.0f && sy == 1.0f)
        return;
    LMatrix<float> m;
    m.Translate(-centre.x, -centre.y, false);
    m.Scale(sx, sy, false);
    m.Translate(centre.x, centre.y, false);
    TransformEraserStrokes(m);
}

void KVErasableProperties::RotateEraserStrokes(LPointTemplate<float> centre, float degrees) {
    if (degrees == 0.0f)
        return;
    LMatrix<float> m;
    m.Translate(-centre.x, -centre.y, false);
    m.RotateAboutZ(degrees * 0.01745329251f);
    m.Translate(centre.x, centre.y, false);
    TransformEraserStrokes(m);
}

void KVErasableProperties::UpdateEraserStrokes(const LBoundingBox2T<float>& old,
                                               const LBoundingBox2T<float>& fresh,
                                               float lineWidth) {
    if (fresh.x1 != old.x1 || fresh.y1 != old.y1)
        TranslateEraserStrokes(fresh.x1 - old.x1, fresh.y1 - old.y1);
    if (fresh.GetWidth() == old.GetWidth() && fresh.GetHeight() == old.GetHeight())
        return;
    const float sx = (fresh.GetWidth() + lineWidth) / (old.GetWidth() + lineWidth);
    const float sy = (fresh.GetHeight() + lineWidth) / (old.GetHeight() + lineWidth);
    ScaleEraserStrokes({fresh.x1 - lineWidth * 0.5f, fresh.y1 - lineWidth * 0.5f}, sx, sy);
}
