// The image element in the project file: its picture as a whole PNG file,
// its placement, the vectorisation settings and paths, and the erase
// strokes.

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/project_records.h"
#include "imaging/image_file.h"

namespace {

LProcessResult Result(const KVSDFReadState& s) {
    return s.IsOk() ? LProcessResultOk : LProcessResultError;
}

// The reader puts each path at the front of its list, so the writer goes
// from the last path to the first: a file comes back in the order it was
// painted in, and regions inside others stay on top of them.
LProcessResult WritePaths(LProcessInterface& process, KVSDFWriter& w,
                          const KVImageElementProperties& p) {
    std::vector<KVElement*> paths;
    for (LListIterator<KVElement> it = p.GetVectorizationForReading(); it; ++it)
        paths.push_back(it.Get());
    w.StartContainer(KVChunkVectorPaths);
    for (auto it = paths.rbegin(); it != paths.rend(); ++it) {
        w.StartContainer(KVChunkElement);
        if (LProcessResult r = (*it)->WriteSDF(process, w))
            return r;
        w.EndContainer(KVChunkElement);
    }
    w.EndContainer(KVChunkVectorPaths);
    return LProcessResultOk;
}

void ReadPaths(KVSDFReadState& s, KVSDFChunk& chunk, KVImageElementProperties& p) {
    LList<KVElement> paths;
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        if (c.id != KVChunkElement)
            return;
        auto* path = new KVSimplePathElement;
        paths.PushFront(path);
        if (path->ReadSDF(s.reader, c) != LProcessResultOk)
            s.damaged = true;
    });
    p.SetVectorization(paths);
}

} // namespace

LProcessResult KVImageElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    // An element made without a picture has none to write; it reads back
    // without one, too.
    if (p.HasImage()) {
        LSizedArray<unsigned char> png;
        if (!LImage::Save(*p.image, png, LImage::EncodingPNG)) {
            process.SetError("The picture of an image element could not be stored.");
            return LProcessResultError;
        }
        w.WriteBlob(KVChunkPicture, png.Data(), png.GetSize());
    }
    w.WriteInt(KVChunkX, p.x);
    w.WriteInt(KVChunkY, p.y);
    w.WriteInt(KVChunkWidth, p.width);
    w.WriteInt(KVChunkHeight, p.height);
    w.WriteFloat(KVChunkRotation, p.rotation);
    w.WriteBool(KVChunkVectorized, p.vectorized);
    w.WriteInt(KVChunkVectorDetail, p.detail);
    if (LProcessResult r = KVProjectFileWriteErasers(process, w, p))
        return r;
    if (LProcessResult r = WritePaths(process, w, p))
        return r;
    KVProjectFileWriteBounds(w, p.vectorBounds);
    return LProcessResultOk;
}

LProcessResult KVImageElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    bool pictureFailed = false;
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        switch (c.id) {
        case KVChunkPicture: {
            LSizedArray<unsigned char> png;
            LImageBuffer picture;
            if (KVReadBlob(s, c, png) &&
                LImage::Load(picture, png.Data(), png.GetSize(), LImage::EncodingPNG) &&
                picture.IsValid())
                p.SetImage(picture);
            else
                pictureFailed = true;
            break;
        }
        case KVChunkX:
            KVReadInt(s, c, p.x);
            break;
        case KVChunkY:
            KVReadInt(s, c, p.y);
            break;
        case KVChunkWidth:
            KVReadInt(s, c, p.width);
            break;
        case KVChunkHeight:
            KVReadInt(s, c, p.height);
            break;
        case KVChunkRotation:
            KVReadFloat(s, c, p.rotation);
            break;
        case KVChunkVectorized:
            KVReadBool(s, c, p.vectorized);
            break;
        case KVChunkVectorDetail:
            KVReadInt(s, c, p.detail);
            break;
        case KVChunkErasers:
            KVProjectFileReadErasers(s, c, p);
            break;
        case KVChunkVectorPaths:
            ReadPaths(s, c, p);
            break;
        case KVChunkBounds:
            p.vectorBounds = KVProjectFileReadBounds(s, c);
            break;
        default:
            break;
        }
    });
    SetProperties(p, false, nullptr);
    if (pictureFailed)
        return LProcessResultError;
    return Result(s);
}
