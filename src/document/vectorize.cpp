#include "document/vectorize.h"

LProcessResult KVVectorizeImage(LProcessInterface&, KVVectorizeImageSettings&) {
    return LProcessResultError;
}

bool KVVectorizeNeedsWarning(int, int, int) { return false; }
