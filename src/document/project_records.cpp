#include "document/project_records.h"

#include <cstring>

// ---------------------------------------------------------------- scalars

namespace {

// The chunk's bytes must all be in the file; otherwise it was cut.
bool Whole(KVSDFChunk& c) {
    LInputStreamFile* stream = c.GetStream();
    return stream && c.size <= stream->GetRemainingBytes64();
}

template <class T, class R> bool ReadScalar(KVSDFReadState& s, KVSDFChunk& c, T& v, R read) {
    if (c.size < sizeof(T) || !Whole(c)) {
        s.damaged = true;
        return false;
    }
    T value{};
    if (!read(value)) {
        s.damaged = true;
        return false;
    }
    v = value;
    return true;
}

} // namespace

void KVEndChunk(KVSDFReadState& s, KVSDFChunk& c) {
    LInputStreamFile* stream = c.GetStream();
    if (!stream)
        return;
    const unsigned long long end = c.offset + c.size;
    if (end < c.offset || end > stream->GetFileSizeBytes64()) {
        s.damaged = true;
        stream->SeekOffset64(stream->GetFileSizeBytes64(), LSeekFromStart);
        return;
    }
    if (stream->Tell64() != end && !stream->SeekOffset64(end, LSeekFromStart))
        s.damaged = true;
}

bool KVReadInt(KVSDFReadState& s, KVSDFChunk& c, int& v) {
    return ReadScalar(s, c, v, [&c](int& x) { return c.ReadInt(x); });
}

bool KVReadBool(KVSDFReadState& s, KVSDFChunk& c, bool& v) {
    return ReadScalar(s, c, v, [&c](bool& x) { return c.ReadBool(x); });
}

bool KVReadFloat(KVSDFReadState& s, KVSDFChunk& c, float& v) {
    return ReadScalar(s, c, v, [&c](float& x) { return c.ReadFloat(x); });
}

bool KVReadDouble(KVSDFReadState& s, KVSDFChunk& c, double& v) {
    return ReadScalar(s, c, v, [&c](double& x) { return c.ReadDouble(x); });
}

bool KVReadText(KVSDFReadState& s, KVSDFChunk& c, LStringLongTemplate<char>& v) {
    if (!Whole(c) || !c.ReadString(v)) {
        s.damaged = true;
        return false;
    }
    return true;
}

bool KVReadName(KVSDFReadState& s, KVSDFChunk& c, char* field) {
    if (!Whole(c) || !c.ReadString(field, kLFixedStringSize)) {
        s.damaged = true;
        return false;
    }
    return true;
}

bool KVReadBlob(KVSDFReadState& s, KVSDFChunk& c, LSizedArray<unsigned char>& v) {
    if (!Whole(c) || !c.ReadData(v)) {
        s.damaged = true;
        return false;
    }
    return true;
}

// ---------------------------------------------------------------- colours

namespace {

struct Components {
    int red = 0, green = 0, blue = 0, alpha = 0;
    bool hasAlpha = false;
};

Components ReadComponents(KVSDFReadState& s, KVSDFChunk& c, bool takeAlpha) {
    Components k;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        switch (child.id) {
        case KVChunkRed:
            KVReadInt(s, child, k.red);
            break;
        case KVChunkGreen:
            KVReadInt(s, child, k.green);
            break;
        case KVChunkBlue:
            KVReadInt(s, child, k.blue);
            break;
        case KVChunkAlpha:
            if (takeAlpha && KVReadInt(s, child, k.alpha))
                k.hasAlpha = true;
            break;
        default:
            break;
        }
    });
    return k;
}

unsigned char Byte(int v) { return static_cast<unsigned char>(v); }

void WriteComponents(KVSDFWriter& w, unsigned short id, int r, int g, int b, const int* a) {
    w.StartContainer(id);
    w.WriteInt(KVChunkRed, r);
    w.WriteInt(KVChunkGreen, g);
    w.WriteInt(KVChunkBlue, b);
    if (a)
        w.WriteInt(KVChunkAlpha, *a);
    w.EndContainer(id);
}

} // namespace

void KVProjectFileWriteColor(KVSDFWriter& w, const LGuiColor& c) {
    WriteComponents(w, KVChunkColour, c.Red8(), c.Green8(), c.Blue8(), nullptr);
}

void KVProjectFileWriteColor(KVSDFWriter& w, const LGuiColorAlpha& c) {
    const int a = c.alpha;
    WriteComponents(w, KVChunkColour, c.Red8(), c.Green8(), c.Blue8(), &a);
}

void KVProjectFileWriteColor(KVSDFWriter& w, const LPixelColour& c) {
    const int a = c.alpha;
    WriteComponents(w, KVChunkColour, c.red, c.green, c.blue, &a);
}

LGuiColor KVProjectFileReadColor(KVSDFReadState& s, KVSDFChunk& c) {
    const Components k = ReadComponents(s, c, false);
    return LGuiColor::FromBytes(Byte(k.red), Byte(k.green), Byte(k.blue));
}

LGuiColorAlpha KVProjectFileReadColorAlpha(KVSDFReadState& s, KVSDFChunk& c) {
    const Components k = ReadComponents(s, c, true);
    return LGuiColorAlpha(Byte(k.red), Byte(k.green), Byte(k.blue),
                          k.hasAlpha ? Byte(k.alpha) : 255);
}

LPixelColour KVProjectFileReadPixelColor(KVSDFReadState& s, KVSDFChunk& c) {
    const Components k = ReadComponents(s, c, true);
    return LPixelColour(Byte(k.red), Byte(k.green), Byte(k.blue), Byte(k.alpha));
}

void KVProjectFileWriteFill(KVSDFWriter& w, const LGuiColorAlpha& c) {
    const int a = c.alpha;
    WriteComponents(w, KVChunkFill, c.Red8(), c.Green8(), c.Blue8(), &a);
}

LGuiColorAlpha KVProjectFileReadFill(KVSDFReadState& s, KVSDFChunk& c) {
    const Components k = ReadComponents(s, c, true);
    return LGuiColorAlpha(Byte(k.red), Byte(k.green), Byte(k.blue), Byte(k.alpha));
}

// ---------------------------------------------------------------- geometry

void KVProjectFileWriteBounds(KVSDFWriter& w, const LBoundingBox2T<float>& b) {
    w.StartContainer(KVChunkBounds);
    w.WriteFloat(KVChunkX1, b.x1);
    w.WriteFloat(KVChunkY1, b.y1);
    w.WriteFloat(KVChunkX2, b.x2);
    w.WriteFloat(KVChunkY2, b.y2);
    w.EndContainer(KVChunkBounds);
}

LBoundingBox2T<float> KVProjectFileReadBounds(KVSDFReadState& s, KVSDFChunk& c) {
    LBoundingBox2T<float> b;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        switch (child.id) {
        case KVChunkX1:
            KVReadFloat(s, child, b.x1);
            break;
        case KVChunkY1:
            KVReadFloat(s, child, b.y1);
            break;
        case KVChunkX2:
            KVReadFloat(s, child, b.x2);
            break;
        case KVChunkY2:
            KVReadFloat(s, child, b.y2);
            break;
        default:
            break;
        }
    });
    return b;
}

void KVProjectFileWritePoint(KVSDFWriter& w, LPointTemplate<float> p) {
    w.StartContainer(KVChunkPoint);
    w.WriteFloat(KVChunkX, p.x);
    w.WriteFloat(KVChunkY, p.y);
    w.EndContainer(KVChunkPoint);
}

LPointTemplate<float> KVProjectFileReadPoint(KVSDFReadState& s, KVSDFChunk& c) {
    LPointTemplate<float> p;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        if (child.id == KVChunkX)
            KVReadFloat(s, child, p.x);
        else if (child.id == KVChunkY)
            KVReadFloat(s, child, p.y);
    });
    return p;
}

LPointTemplate<double> KVProjectFileReadPointDouble(KVSDFReadState& s, KVSDFChunk& c) {
    LPointTemplate<double> p;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        if (child.id == KVChunkX)
            KVReadDouble(s, child, p.x);
        else if (child.id == KVChunkY)
            KVReadDouble(s, child, p.y);
    });
    return p;
}

// ---------------------------------------------------------------- effects

void KVProjectFileWriteShadow(KVSDFWriter& w, const KVDropShadow& shadow) {
    w.StartContainer(KVChunkShadow);
    w.WriteInt(KVChunkShadowSize, shadow.size);
    w.WriteInt(KVChunkX, shadow.horizontalOffset);
    w.WriteInt(KVChunkY, shadow.verticalOffset);
    w.WriteInt(KVChunkSoftness, shadow.softness);
    w.EndContainer(KVChunkShadow);
}

KVDropShadow KVProjectFileReadShadow(KVSDFReadState& s, KVSDFChunk& c) {
    KVDropShadow shadow;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        switch (child.id) {
        case KVChunkShadowSize:
            KVReadInt(s, child, shadow.size);
            break;
        case KVChunkX:
            KVReadInt(s, child, shadow.horizontalOffset);
            break;
        case KVChunkY:
            KVReadInt(s, child, shadow.verticalOffset);
            break;
        case KVChunkSoftness:
            KVReadInt(s, child, shadow.softness);
            break;
        default:
            break;
        }
    });
    return shadow;
}

void KVProjectFileWriteBevel(KVSDFWriter& w, const KVBevelEmboss& bevel) {
    w.StartContainer(KVChunkBevel);
    w.WriteInt(KVChunkBevelSize, bevel.size);
    w.EndContainer(KVChunkBevel);
}

KVBevelEmboss KVProjectFileReadBevel(KVSDFReadState& s, KVSDFChunk& c) {
    KVBevelEmboss bevel;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        int size = -1;
        if (child.id == KVChunkBevelSize && KVReadInt(s, child, size) && size >= 0)
            bevel.size = size;
    });
    return bevel;
}

void KVProjectFileWriteGlow(KVSDFWriter& w, unsigned short id, const KVGlow& glow) {
    w.StartContainer(id);
    w.WriteFloat(KVChunkStrength, glow.strength);
    KVProjectFileWriteColor(w, glow.colour);
    w.EndContainer(id);
}

KVGlow KVProjectFileReadGlow(KVSDFReadState& s, KVSDFChunk& c) {
    KVGlow glow;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        if (child.id == KVChunkStrength)
            KVReadFloat(s, child, glow.strength);
        else if (child.id == KVChunkColour)
            glow.colour = KVProjectFileReadColorAlpha(s, child);
    });
    return glow;
}

// ---------------------------------------------------------------- gradient

void KVProjectFileWriteGradient(KVSDFWriter& w, const KVGradient& g) {
    const unsigned long count = g.GetStopCount();
    w.StartContainer(KVChunkGradient);
    w.WriteBool(KVChunkRadial, g.radial);
    w.WriteInt(KVChunkStopCount, static_cast<int>(count));
    KVProjectFileWritePoint(w, g.start);
    if (g.radial) {
        w.WriteFloat(KVChunkRadiusA, g.radiusX);
        w.WriteFloat(KVChunkRadiusB, g.radiusY);
    } else {
        KVProjectFileWritePoint(w, g.end);
    }
    if (count > 0) {
        w.StartContainer(KVChunkStops);
        for (unsigned long i = 0; i < count; ++i) {
            KVProjectFileWriteColor(w, g.GetStopColor(i));
            w.WriteFloat(KVChunkStopPosition, g.GetStopPosition(i));
        }
        w.EndContainer(KVChunkStops);
    }
    w.EndContainer(KVChunkGradient);
}

KVGradient KVProjectFileReadGradient(KVSDFReadState& s, KVSDFChunk& c) {
    const LGuiColorAlpha black(0, 0, 0, 255);
    KVGradient g({0, 0}, {0, 0}, black, black);
    int count = 2;
    bool startRead = false;
    LArray<LGuiColorAlpha> colours;
    LArray<float> positions;
    bool haveStops = false;
    KVForEachChild(s, c, [&](KVSDFChunk& child) {
        switch (child.id) {
        case KVChunkRadial:
            KVReadBool(s, child, g.radial);
            break;
        case KVChunkStopCount:
            KVReadInt(s, child, count);
            break;
        case KVChunkPoint: {
            // Linear: the first is the start, every other the end. Radial:
            // always the centre.
            const LPointTemplate<float> p = KVProjectFileReadPoint(s, child);
            if (g.radial || !startRead)
                g.start = p;
            else
                g.end = p;
            startRead = true;
            break;
        }
        case KVChunkRadiusA:
            KVReadFloat(s, child, g.radiusY);
            break;
        case KVChunkRadiusB:
            KVReadFloat(s, child, g.radiusX);
            break;
        case KVChunkStops: {
            // Both arrays take the count read so far; the stops fill them in
            // order, each colour before its position. A count the chunk
            // cannot hold is damage, not a reason to reserve memory.
            const unsigned long long room = child.size / 8;
            if (!Whole(child) || count < 0 ||
                static_cast<unsigned long long>(count) > room + 2) {
                s.damaged = true;
                break;
            }
            colours.SetCount(static_cast<unsigned long>(count));
            positions.SetCount(static_cast<unsigned long>(count));
            for (unsigned long i = 0; i < colours.GetCount(); ++i) {
                colours[i] = black;
                positions[i] = 0.0f;
            }
            unsigned long index = 0;
            LGuiColorAlpha pending = black;
            KVForEachChild(s, child, [&](KVSDFChunk& stop) {
                if (stop.id == KVChunkColour) {
                    pending = KVProjectFileReadColorAlpha(s, stop);
                } else if (stop.id == KVChunkStopPosition) {
                    float position = 0.0f;
                    KVReadFloat(s, stop, position);
                    if (index < colours.GetCount()) {
                        colours[index] = pending;
                        positions[index] = position;
                    }
                    ++index;
                }
            });
            haveStops = true;
            break;
        }
        default:
            break;
        }
    });
    if (haveStops)
        g.SetStops(colours, positions);
    return g;
}

// ---------------------------------------------------------------- erasers

LProcessResult KVProjectFileWriteErasers(LProcessInterface& process, KVSDFWriter& w,
                                         const KVErasableProperties& p) {
    w.StartContainer(KVChunkErasers);
    for (const KVEraserStroke& stroke : p.strokes) {
        w.StartContainer(KVChunkStroke);
        w.WriteBlob(KVChunkTransform, stroke.transform.m, sizeof stroke.transform.m);
        w.WriteFloat(KVChunkLineWidth, stroke.width);
        w.WriteInt(KVChunkSoftness, static_cast<int>(stroke.softnessRadius));
        KVProjectFileWriteColor(w, stroke.colour);
        w.StartContainer(KVChunkStrokePath);
        w.WriteInt(KVChunkWidth, static_cast<int>(stroke.path.GetWidth()));
        w.WriteInt(KVChunkHeight, static_cast<int>(stroke.path.GetHeight()));
        for (const KVDrawCoord& coord : stroke.path.GetCoords())
            KVProjectFileWritePoint(w, coord.GetPoint());
        w.EndContainer(KVChunkStrokePath);
        w.EndContainer(KVChunkStroke);
        if (process.IsToStop()) {
            w.EndContainer(KVChunkErasers);
            return LProcessResultStopped;
        }
    }
    w.EndContainer(KVChunkErasers);
    return LProcessResultOk;
}

void KVProjectFileReadErasers(KVSDFReadState& s, KVSDFChunk& c, KVErasableProperties& p) {
    KVForEachChild(s, c, [&](KVSDFChunk& strokeChunk) {
        if (strokeChunk.id != KVChunkStroke)
            return;
        LMatrix<float> transform;
        float width = 1.0f;
        int softness = 0;
        LGuiColorAlpha colour(0, 0, 0, 255);
        KVDrawPath path(0, 0, nullptr);
        KVForEachChild(s, strokeChunk, [&](KVSDFChunk& field) {
            switch (field.id) {
            case KVChunkTransform: {
                LSizedArray<unsigned char> bytes;
                if (KVReadBlob(s, field, bytes) && bytes.GetSize() == sizeof transform.m)
                    std::memcpy(transform.m, bytes.Data(), sizeof transform.m);
                break;
            }
            case KVChunkLineWidth:
                KVReadFloat(s, field, width);
                break;
            case KVChunkSoftness:
                KVReadInt(s, field, softness);
                break;
            case KVChunkColour:
                colour = KVProjectFileReadColorAlpha(s, field);
                break;
            case KVChunkStrokePath: {
                int w = 0, h = 0;
                LList<KVDrawCoord> coords;
                KVForEachChild(s, field, [&](KVSDFChunk& item) {
                    if (item.id == KVChunkWidth)
                        KVReadInt(s, item, w);
                    else if (item.id == KVChunkHeight)
                        KVReadInt(s, item, h);
                    else if (item.id == KVChunkPoint) {
                        const LPointTemplate<float> pt = KVProjectFileReadPoint(s, item);
                        coords.PushBack(new KVDrawCoord(pt.x, pt.y));
                    }
                });
                path = KVDrawPath(static_cast<unsigned long>(w), static_cast<unsigned long>(h),
                                  &coords);
                break;
            }
            default:
                break;
            }
        });
        KVEraserStroke stroke(path, width, static_cast<unsigned long>(softness < 0 ? 0 : softness),
                              colour);
        stroke.transform = transform;
        p.strokes.PushFront(new KVEraserStroke(stroke));
    });
}
