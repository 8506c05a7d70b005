// The tree's own chunks in the project file: image and layer scalars, and
// each element behind its key. The file around them (its header, the atomic
// replace) is the persistence layer's.

#include "document/element_factory.h"
#include "document/project.h"
#include "document/project_records.h"

namespace {

// Sizes are written as ints; a negative one reads back as its bits unsigned.
void ReadUnsigned(KVSDFReadState& s, KVSDFChunk& c, unsigned long& field) {
    int v = 0;
    if (KVReadInt(s, c, v))
        field = static_cast<unsigned long>(static_cast<unsigned int>(v));
}

} // namespace

LProcessResult KVLayer::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    w.WriteBool(KVChunkVisible, IsVisible());
    w.WriteString(KVChunkName, GetName());
    for (LListIterator<KVElement> it = GetElements(); it; ++it) {
        w.StartContainer(KVChunkElement);
        w.WriteString(KVChunkKey, it->GetName());
        const LProcessResult r = it->WriteSDF(process, w);
        w.EndContainer(KVChunkElement);
        if (r)
            return r;
        if (process.IsToStop())
            return LProcessResultStopped;
    }
    return LProcessResultOk;
}

LProcessResult KVImage::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    w.WriteInt(KVChunkWidth, static_cast<int>(width));
    w.WriteInt(KVChunkHeight, static_cast<int>(height));
    w.WriteInt(KVChunkPPI, static_cast<int>(ppi));
    w.WriteString(KVChunkName, name);
    w.WriteInt(KVChunkNextLayerNumber, nextLayerNumber);
    KVProjectFileWriteColor(w, background);
    const double count = static_cast<double>(layers.GetCount());
    unsigned long i = 0;
    for (const KVLayer& layer : layers) {
        LProcessInterfaceSubProcess sub(process, i / count, 1.0 / count);
        w.StartContainer(KVChunkLayer);
        const LProcessResult r = layer.WriteSDF(sub, w);
        w.EndContainer(KVChunkLayer);
        if (r)
            return r;
        sub.SetProgress(1.0);
        ++i;
    }
    return LProcessResultOk;
}

LProcessResult KVProject::WriteSDF(LProcessInterface& process, KVSDFWriter& w) const {
    for (const KVImage& image : images) {
        w.StartContainer(KVChunkImage);
        const LProcessResult r = image.WriteSDF(process, w);
        w.EndContainer(KVChunkImage);
        if (r)
            return r;
    }
    return LProcessResultOk;
}

LProcessResult KVLayer::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk, KVImage& image) {
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        switch (c.id) {
        case KVChunkVisible:
            KVReadBool(s, c, visible);
            break;
        case KVChunkName:
            KVReadName(s, c, name);
            break;
        case KVChunkElement: {
            KVElement* element = CreateElementSDF(s.reader, c);
            if (!element) {
                s.unknownElement = true;
                result = LProcessResultError;
                break;
            }
            element->SetUndoRedoStack(&image.GetUndoRedoStack());
            AddNewElement(element, false);
            result = element->ReadSDF(s.reader, c);
            if (result)
                s.damaged = true;
            break;
        }
        default:
            break;
        }
        KVEndChunk(s, c);
    }
    return s.IsOk() ? result : LProcessResultError;
}

LProcessResult KVImage::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk) {
    RemoveAllLayers();
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        switch (c.id) {
        case KVChunkWidth:
            ReadUnsigned(s, c, width);
            break;
        case KVChunkHeight:
            ReadUnsigned(s, c, height);
            break;
        case KVChunkPPI:
            ReadUnsigned(s, c, ppi);
            break;
        case KVChunkName:
            KVReadName(s, c, name);
            break;
        case KVChunkNextLayerNumber:
            KVReadInt(s, c, nextLayerNumber);
            break;
        case KVChunkColour:
            background = KVProjectFileReadPixelColor(s, c);
            break;
        case KVChunkLayer: {
            auto* layer = new KVLayer("");
            AddNewLayer(layer, false);
            result = layer->ReadSDF(s, c, *this);
            break;
        }
        default:
            break;
        }
        KVEndChunk(s, c);
    }
    // An image always has a layer to draw on.
    if (layers.IsEmpty())
        layers.PushBack(new KVLayer("Layer"));
    return s.IsOk() ? result : LProcessResultError;
}

// Images come newest first in the list; the last one read is current.
LProcessResult KVProject::ReadSDF(KVSDFReadState& s, KVSDFChunk& chunk) {
    LProcessResult result = LProcessResultOk;
    for (KVSDFIterator it(s.reader, chunk); it.IsValid() && s.IsOk() && !result; it.Next()) {
        KVSDFChunk& c = it.Get();
        if (c.id == KVChunkImage) {
            auto* image = new KVImage(name);
            AddNewImage(image);
            result = image->ReadSDF(s, c);
        }
        KVEndChunk(s, c);
    }
    return s.IsOk() ? result : LProcessResultError;
}

