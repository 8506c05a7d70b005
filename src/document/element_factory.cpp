#include "document/element_factory.h"

#include <string_view>
#include <unordered_map>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/project_records.h"
#include "document/shapes.h"
#include "document/text_elements.h"

namespace {

template <class E> KVElement* Make() { return new E; }

// Each kind of element once, under the key its GetName() answers.
const std::unordered_map<std::string_view, KVElement* (*)()>& Kinds() {
    static const std::unordered_map<std::string_view, KVElement* (*)()> kinds = {
        {"rectangle", &Make<KVRectangleElement>},
        {"ellipse", &Make<KVEllipseElement>},
        {"triangle", &Make<KVTriangleElement>},
        {"polygon", &Make<KVPolygonElement>},
        {"line", &Make<KVLineElement>},
        {"pen", &Make<KVPenElement>},
        {"pencil", &Make<KVPencilElement>},
        {"crayon", &Make<KVCrayonElement>},
        {"marker", &Make<KVMarkerElement>},
        {"brush", &Make<KVBrushElement>},
        {"spray", &Make<KVSprayElement>},
        {"text", &Make<KVTextElement>},
        {"richtext", &Make<KVRichTextElement>},
        {"image", &Make<KVImageElement>},
    };
    return kinds;
}

} // namespace

KVElement* KVCreateElement(const char* key) {
    if (!key)
        return nullptr;
    const auto& kinds = Kinds();
    const auto it = kinds.find(key);
    return it == kinds.end() ? nullptr : it->second();
}

KVElement* CreateElementSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    for (KVSDFIterator it(reader, chunk); it.IsValid() && s.IsOk(); it.Next()) {
        KVSDFChunk& c = it.Get();
        if (c.id != KVChunkKey) {
            KVEndChunk(s, c);
            continue;
        }
        char key[kLFixedStringSize];
        if (!KVReadName(s, c, key))
            return nullptr;
        KVEndChunk(s, c);
        // An unknown key: the rest of the chunk is passed over.
        if (KVElement* element = KVCreateElement(key))
            return element;
    }
    return nullptr;
}

