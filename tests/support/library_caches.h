#pragma once

namespace kvtest {
// Releases what the font and drawing libraries keep for the life of the
// process, so that the leak checker has nothing of theirs to report.
void ReleaseLibraryCaches();

// Drops the calling thread's font map and waits until it is gone. A test
// thread that laid out text calls it before it ends; the main thread's is
// dropped by ReleaseLibraryCaches.
void ReleaseThreadFontMap();
}
