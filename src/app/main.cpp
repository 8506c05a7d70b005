// The korvane program: the editor window, or, for --export, --help and
// --version, a headless run that needs no display.

#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <QApplication>

#include <string>
#include <vector>

#include "app/export_command.h"
#include "foundation/main_thread.h"
#include "shell/main_dialog.h"
#include "toolkit/main_queue.h"

namespace {

const char* const kUsage =
    "Usage: korvane [--select-all] [FILE...]\n"
    "       korvane --export OUTPUT INPUT\n"
    "       korvane --help | --version\n"
    "\n"
    "Korvane Graphics Editor. Without options it opens the editor window,\n"
    "with each FILE (a .kvp project, or a picture, which opens as a project\n"
    "of its own) in a tab of its own.\n"
    "\n"
    "  --select-all           once the files are open, select everything on\n"
    "                         the current layer, frames shown\n"
    "  --export OUTPUT INPUT  read INPUT and save it as OUTPUT, in the format\n"
    "                         that OUTPUT's extension names: .png, .jpg, .jpeg,\n"
    "                         .jp2, .tif, .tiff or .svg. INPUT may be a\n"
    "                         Korvane project (.kvp), rendered as on screen,\n"
    "                         or a PNG, JPEG, JPEG 2000, TIFF, DNG or camera\n"
    "                         raw picture.\n"
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

int RunEditor(int argc, char** argv) {
    // Qt would abort without a display; say what is wrong instead.
    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if ((!platform || !*platform) && !std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) {
        std::fprintf(stderr, "korvane: there is no display to open the editor window on (DISPLAY is not "
                             "set); --export works without one\n");
        return 1;
    }
    QApplication application(argc, argv);
    // Qt takes on the user's locale, which would write "0,5" into files.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setApplicationName("korvane");
    QApplication::setApplicationDisplayName("Korvane Graphics Editor");
    QApplication::setDesktopFileName("korvane");

    LQtMainThreadQueue queue;
    LThreadRunOnMainThread::Init(queue);
    int status;
    {
        MainDialog dialog;
        dialog.InitDialog();
        dialog.show();
        // Qt has taken its own options out of argv by now.
        std::vector<std::string> files;
        bool selectAll = false;
        for (int i = 1; i < argc; ++i) {
            if (std::strcmp(argv[i], "--select-all") == 0)
                selectAll = true;
            else
                files.emplace_back(argv[i]);
        }
        if (!files.empty())
            dialog.EvAPICommand(files);
        if (selectAll)
            dialog.Command(KVCmSelectAll);
        status = application.exec();
    }
    soApplicationEventLoopFinished.Set();
    LThreadRunOnMainThread::Destroy();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    // Numbers in files are written and read with a point, whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");
    // The specks of the stamped brushes: no two strokes alike, in no two runs.
    std::srand(static_cast<unsigned>(std::time(nullptr)));

    const char* first = argc > 1 ? argv[1] : "";
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
    if (first[0] == '-' && first[1] == '-' && std::strcmp(first, "--select-all") != 0)
        return UsageError("unknown option", first);
    return RunEditor(argc, argv);
}
