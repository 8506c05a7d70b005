// The whole project loader over any input: a clean load or a clean refusal,
// never a crash, a hang or an allocation sized by the file.

#include <cstdint>

#include "fuzz_support.h"
#include "persistence/project_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static kvfuzz::MemoryFile file;
    if (!file.IsUsable() || !file.Set(data, size))
        return 0;
    LProcessInterfaceVoid process;
    KVProject project("fuzz");
    const LProcessResult result = KVProjectFileLoad(process, project, file.Path());
    if (result == LProcessResultOk && !project.GetCurrentImage() && size > 64)
        return 0; // a file with an empty project chunk is valid
    return 0;
}
