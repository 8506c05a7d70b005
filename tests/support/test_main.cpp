#include <gmock/gmock.h>

#include "support/library_caches.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    // The drawing and font libraries keep global caches; giving them back
    // leaves the leak checker nothing of theirs to report.
    kvtest::ReleaseLibraryCaches();
    return result;
}
