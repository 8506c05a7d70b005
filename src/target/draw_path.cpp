#include "target/draw_path.h"

#include <algorithm>

void KVDrawCoord::Translate(float dx, float dy) {
    x += dx;
    y += dy;
    beforeX += dx;
    beforeY += dy;
    afterX += dx;
    afterY += dy;
}

void KVDrawCoord::Scale(float sx, float sy) {
    x *= sx;
    y *= sy;
    beforeX *= sx;
    beforeY *= sy;
    afterX *= sx;
    afterY *= sy;
}

KVDrawPath::KVDrawPath(unsigned long w, unsigned long h, LList<KVDrawCoord>* taken)
    : width(w), height(h) {
    if (taken)
        coords.AppendAll(*taken);
}

KVDrawPath::KVDrawPath(const KVDrawPath& other)
    : LListLink<KVDrawPath>(other), widgetFlags{other.widgetFlags[0], other.widgetFlags[1]},
      widgetValues{other.widgetValues[0], other.widgetValues[1]}, width(other.width),
      height(other.height), pressure(other.pressure) {
    CopyCoords(other);
}

KVDrawPath& KVDrawPath::operator=(const KVDrawPath& other) {
    if (this == &other)
        return *this;
    width = other.width;
    height = other.height;
    pressure = other.pressure;
    std::copy(other.widgetFlags, other.widgetFlags + 2, widgetFlags);
    std::copy(other.widgetValues, other.widgetValues + 2, widgetValues);
    coords.DeleteAll();
    CopyCoords(other);
    return *this;
}

void KVDrawPath::CopyCoords(const KVDrawPath& other) {
    for (const KVDrawCoord& c : other.coords)
        coords.PushBack(new KVDrawCoord(c));
}

void KVDrawPath::ConvertPath(unsigned long newWidth, unsigned long newHeight) {
    const float sx = static_cast<float>(newWidth) / static_cast<float>(width);
    const float sy = static_cast<float>(newHeight) / static_cast<float>(height);
    for (KVDrawCoord& c : coords)
        c.Scale(sx, sy);
    width = newWidth;
    height = newHeight;
}

void KVDrawPath::ReplaceLastCoord(KVDrawCoord* coord) {
    if (KVDrawCoord* last = coords.GetLast())
        delete coords.Remove(last);
    coords.PushBack(coord);
}

void KVDrawPath::DeleteCoord(int index) {
    if (index < 0)
        return;
    if (KVDrawCoord* c = coords.GetAt(static_cast<unsigned long>(index)))
        delete coords.Remove(c);
    if (pressure && static_cast<unsigned long>(index) < pressure->count) {
        LSizedArray<long>& levels = pressure->levels;
        for (unsigned long i = static_cast<unsigned long>(index); i + 1 < pressure->count; ++i)
            levels[i] = levels[i + 1];
        --pressure->count;
        levels.SetSize(pressure->count);
    }
}

void KVDrawPath::SetPressureLevels(const long* levels, unsigned long count, unsigned long maximum) {
    auto* p = new KVPressure;
    p->levels.Append(levels, count);
    p->count = count;
    p->maximum = maximum;
    pressure.Set(p);
}

void GetBeziers(const KVDrawPath& path, LList<KVDrawCoordBezierSegment>& segments) {
    segments.DeleteAll();
    const KVDrawCoord* a = path.GetCoords().GetFirst();
    for (const KVDrawCoord* b = a ? a->GetNext() : nullptr; b; a = b, b = b->GetNext())
        segments.PushBack(new KVDrawCoordBezierSegment({a->x, a->y}, {a->afterX, a->afterY},
                                                       {b->beforeX, b->beforeY}, {b->x, b->y}));
}
