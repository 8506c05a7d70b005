// The SVG reader and its mapping to elements over any input: a project or a
// refusal with a message, never a crash, a hang or an allocation sized by
// the file.

#include <cstdint>
#include <cstdlib>

#include "exchange/svg_to_elements.h"
#include "support/library_caches.h"

namespace {
// Registered after the sanitizer's own exit check, so it runs before it.
const int kCachesReleasedAtExit = std::atexit(kvtest::ReleaseLibraryCaches);
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    struct Process : LProcessInterfaceVoid {
        void SetError(const char* message) override { error = message ? message : ""; }
        std::string error;
    } process;
    KVReadImageSVG reader("fuzz.svg");
    const LProcessResult r =
        reader.LoadImageFromText(process, reinterpret_cast<const char*>(data), size);
    if (r == LProcessResultOk ? !reader.image : process.error.empty())
        std::abort(); // neither a picture nor a reason
    return 0;
}
