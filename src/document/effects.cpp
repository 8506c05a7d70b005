#include "document/effects.h"

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
