// The korvane program. Without the editor window it runs headless: it prints
// its help and version, and exports files from the command line.

#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "app/export_command.h"

namespace {

const char* const kUsage =
    "Usage: korvane --export OUTPUT INPUT\n"
    "       korvane --help | --version\n"
    "\n"
    "Korvane Graphics Editor.\n"
    "\n"
    "  --export OUTPUT INPUT  read INPUT and save it as OUTPUT, in the format\n"
    "                         that OUTPUT's extension names: .png, .jpg, .jpeg,\n"
    "                         .jp2, .tif, .tiff or .svg. INPUT may be a PNG,\n"
    "                         JPEG, JPEG 2000, TIFF, DNG or camera raw file.\n"
    "  --help                 show this help and exit\n"
    "  --version              show the version and exit\n"
    "\n"
    "Progress is shown on standard error when it is a terminal. The exit\n"
    "status is 0 on success, 1 when the export failed or was interrupted,\n"
    "and 2 for a wrong command line.\n";

void OnInterrupt(int) { KVConsoleProcess::stopRequested = 1; }

int UsageError(const char* what, const char* argument) {
    if (argument)
        std::fprintf(stderr, "korvane: %s '%s'\n", what, argument);
    else
        std::fprintf(stderr, "korvane: %s\n", what);
    std::fprintf(stderr, "Try 'korvane --help' for more information.\n");
    return 2;
}

int Export(const char* output, const char* input) {
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    KVConsoleProcess process(stderr, isatty(STDERR_FILENO) == 1);
    const LProcessResult result = KVExportFile(process, output, input);
    process.Finish();
    if (result == LProcessResultOk)
        return 0;
    if (result == LProcessResultStopped)
        std::fprintf(stderr, "korvane: the export was interrupted\n");
    else if (!process.GetError().empty())
        std::fprintf(stderr, "korvane: %s\n", process.GetError().c_str());
    else
        std::fprintf(stderr, "korvane: the export failed\n");
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    // Numbers in files are written and read with a point, whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");

    if (argc < 2)
        return UsageError("nothing to do: the editor window is not part of this version", nullptr);
    const char* first = argv[1];
    if (std::strcmp(first, "--help") == 0 || std::strcmp(first, "-h") == 0) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (std::strcmp(first, "--version") == 0) {
        std::printf("korvane %s\n", KV_VERSION);
        return 0;
    }
    if (std::strcmp(first, "--export") == 0) {
        if (argc != 4)
            return UsageError("--export needs OUTPUT and INPUT", nullptr);
        return Export(argv[2], argv[3]);
    }
    return UsageError("unknown option", first);
}
