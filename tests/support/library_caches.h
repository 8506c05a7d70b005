#pragma once

namespace kvtest {
// Releases what the font and drawing libraries keep for the life of the
// process. A no-op until those libraries are linked in.
void ReleaseLibraryCaches();
}
