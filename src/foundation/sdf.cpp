#include "foundation/sdf.h"

template class LSDFReaderChunk<LInputStreamFile>;
template class LSDFWriter<LOutputStreamFile>;
template class LSDFReader<LInputStreamFile>;
template class LSDFReaderChunkIterator<LInputStreamFile>;
