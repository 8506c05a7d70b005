// The text elements in the project file. Neither writes its erase strokes:
// a save drops them, as it does a line's.

#include <string>

#include "document/project_records.h"
#include "document/text_elements.h"

namespace {

LProcessResult Result(const KVSDFReadState& s) {
    return s.IsOk() ? LProcessResultOk : LProcessResultError;
}

// Sizes are unsigned in the record; a negative one from a damaged file
// draws nothing rather than the largest text there is.
unsigned long ToSize(int v) { return v > 0 ? static_cast<unsigned long>(v) : 0; }

// The fields the two kinds share, behind the ones of their own: the box,
// its turn and stretch, and the two effects. False when the chunk is not
// one of them.
template <class P> bool ReadBoxField(KVSDFReadState& s, KVSDFChunk& c, P& p) {
    switch (c.id) {
    case KVChunkAlignment:
        KVReadInt(s, c, p.alignment);
        return true;
    case KVChunkLineSpacing:
        KVReadFloat(s, c, p.lineSpacing);
        return true;
    case KVChunkBounds:
        p.bounds = KVProjectFileReadBounds(s, c);
        return true;
    case KVChunkRotation:
        KVReadFloat(s, c, p.rotation);
        return true;
    case KVChunkScaleX:
        KVReadFloat(s, c, p.scaleX);
        return true;
    case KVChunkScaleY:
        KVReadFloat(s, c, p.scaleY);
        return true;
    case KVChunkShadow:
        p.SetShadow(KVProjectFileReadShadow(s, c));
        return true;
    case KVChunkBevel:
        p.SetBevelEmboss(KVProjectFileReadBevel(s, c));
        return true;
    default:
        return false;
    }
}

template <class P> void WriteEffects(KVSDFWriter& w, const P& p) {
    if (p.shadow)
        KVProjectFileWriteShadow(w, *p.shadow);
    if (p.bevel)
        KVProjectFileWriteBevel(w, *p.bevel);
}

// A font name is read whole and cut to its field, never inside a character.
void ReadFontName(KVSDFReadState& s, KVSDFChunk& c, char (&font)[kLFixedStringSize]) {
    LStringLongTemplate<char> name;
    if (!KVReadText(s, c, name))
        return;
    std::string cut = name.Str();
    if (cut.size() >= kLFixedStringSize) {
        size_t end = kLFixedStringSize - 1;
        while (end > 0 && (static_cast<unsigned char>(cut[end]) & 0xC0) == 0x80)
            --end;
        cut.resize(end);
    }
    LStrCopy(font, cut.c_str());
}

void WriteSegment(KVSDFWriter& w, const KVRichTextSegment& g) {
    w.StartContainer(KVChunkTextSegment);
    w.WriteBool(KVChunkBold, g.bold);
    w.WriteBool(KVChunkItalic, g.italic);
    w.WriteBool(KVChunkUnderline, g.underline);
    w.WriteInt(KVChunkFontSize, static_cast<int>(Round(g.size)));
    w.WriteString(KVChunkFontName, g.font);
    KVProjectFileWriteColor(w, g.colour);
    KVProjectFileWriteBounds(w, g.bounds);
    w.WriteString(KVChunkText, g.text.Get());
    w.EndContainer(KVChunkTextSegment);
}

// The style a plain text and a rich text run share: the three flags, the
// font and its size, and the text. False for any other field.
template <class T>
bool ReadStyleField(KVSDFReadState& s, KVSDFChunk& c, T& t, unsigned long& size) {
    int value = 0;
    switch (c.id) {
    case KVChunkBold:
        KVReadBool(s, c, t.bold);
        return true;
    case KVChunkItalic:
        KVReadBool(s, c, t.italic);
        return true;
    case KVChunkUnderline:
        KVReadBool(s, c, t.underline);
        return true;
    case KVChunkFontSize:
        if (KVReadInt(s, c, value))
            size = ToSize(value);
        return true;
    case KVChunkFontName:
        ReadFontName(s, c, t.font);
        return true;
    case KVChunkText:
        KVReadText(s, c, t.text);
        return true;
    default:
        return false;
    }
}

KVRichTextSegment ReadSegment(KVSDFReadState& s, KVSDFChunk& chunk) {
    KVRichTextSegment g;
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        unsigned long size = 0;
        if (ReadStyleField(s, c, g, size)) {
            if (c.id == KVChunkFontSize)
                g.size = static_cast<float>(size);
            return;
        }
        if (c.id == KVChunkColour)
            g.colour = KVProjectFileReadColor(s, c);
        else if (c.id == KVChunkBounds)
            g.bounds = KVProjectFileReadBounds(s, c);
    });
    return g;
}

} // namespace

LProcessResult KVTextElement::WriteSDF(LProcessInterface&, KVSDFWriter& w) {
    const P p = GetProperties();
    w.WriteBool(KVChunkBold, p.bold);
    w.WriteBool(KVChunkItalic, p.italic);
    w.WriteBool(KVChunkUnderline, p.underline);
    w.WriteInt(KVChunkFontSize, static_cast<int>(p.fontSize));
    w.WriteString(KVChunkText, p.text.Get());
    w.WriteString(KVChunkFontName, p.font);
    w.WriteInt(KVChunkAlignment, p.alignment);
    w.WriteFloat(KVChunkLineSpacing, p.lineSpacing);
    KVProjectFileWriteBounds(w, p.bounds);
    w.WriteFloat(KVChunkRotation, p.rotation);
    w.WriteFloat(KVChunkScaleX, p.scaleX);
    w.WriteFloat(KVChunkScaleY, p.scaleY);
    KVProjectFileWriteColor(w, p.colour);
    WriteEffects(w, p);
    return LProcessResultOk;
}

LProcessResult KVTextElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        if (ReadBoxField(s, c, p) || ReadStyleField(s, c, p, p.fontSize))
            return;
        if (c.id == KVChunkColour)
            p.colour = KVProjectFileReadColorAlpha(s, c);
    });
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVRichTextElement::WriteSDF(LProcessInterface&, KVSDFWriter& w) {
    const P p = GetProperties();
    w.WriteInt(KVChunkAlignment, p.alignment);
    w.WriteFloat(KVChunkLineSpacing, p.lineSpacing);
    KVProjectFileWriteBounds(w, p.bounds);
    w.WriteFloat(KVChunkRotation, p.rotation);
    w.WriteFloat(KVChunkScaleX, p.scaleX);
    w.WriteFloat(KVChunkScaleY, p.scaleY);
    WriteEffects(w, p);
    for (const KVRichTextSegment& g : p.segments)
        WriteSegment(w, g);
    return LProcessResultOk;
}

// Runs come back in the order written; a file's runs replace the record's.
LProcessResult KVRichTextElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    p.segments.clear();
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        if (ReadBoxField(s, c, p))
            return;
        if (c.id == KVChunkTextSegment)
            p.segments.push_back(ReadSegment(s, c));
    });
    SetProperties(p, false, nullptr);
    return Result(s);
}
