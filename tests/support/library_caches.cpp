#include "support/library_caches.h"

namespace kvtest {
void ReleaseLibraryCaches() {}
}
