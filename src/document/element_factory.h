#pragma once
// Making elements by their key ("rectangle", "ellipse", ...), the name
// GetName() answers and the project file and the clipboard write before each
// element's fields.

#include "foundation/file.h"

class KVElement;
template <class S> class LSDFReader;
template <class S> class LSDFReaderChunk;

// An element of default properties of the kind that answers to `key`; null
// for a key no kind answers to ("simplepath" included: it lives only inside
// picture elements).
KVElement* KVCreateElement(const char* key);

// The same from an element chunk: its key is read and the stream is left
// right behind it. Null when the chunk holds no key a kind answers to.
KVElement* CreateElementSDF(LSDFReader<LInputStreamFile>& reader,
                            LSDFReaderChunk<LInputStreamFile>& chunk);
