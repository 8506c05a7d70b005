// The whole project loader over any input: a clean load or a clean refusal,
// never a crash, a hang or an allocation sized by the file; and a render of
// what loaded.

#include <cstdint>
#include <cstdlib>

#include "fuzz_support.h"
#include "persistence/project_file.h"
#include "render/render_results.h"
#include "support/library_caches.h"

namespace {
constexpr unsigned long kRenderedPixels = 256 * 256;
// Registered after the sanitizer's own exit check, so it runs before it.
const int kCachesReleasedAtExit = std::atexit(kvtest::ReleaseLibraryCaches);
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static kvfuzz::MemoryFile file;
    if (!file.IsUsable() || !file.Set(data, size))
        return 0;
    LProcessInterfaceVoid process;
    KVProject project("fuzz");
    const LProcessResult result = KVProjectFileLoad(process, project, file.Path());
    if (result != LProcessResultOk || !project.GetCurrentImage())
        return 0; // a file with an empty project chunk is valid
    // What loads also renders, effects and all, without a fault; only small
    // pictures, so that one input costs no more than a moment.
    const KVImage& image = *project.GetCurrentImage();
    if (image.GetWidth() <= kRenderedPixels && image.GetHeight() <= kRenderedPixels &&
        image.GetWidth() * image.GetHeight() <= kRenderedPixels) {
        KVProjectPicture work;
        work.project = &project;
        Process(process, work);
    }
    return 0;
}
