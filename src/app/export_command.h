#pragma once
// The command-line export: `korvane --export OUTPUT INPUT` reads INPUT, makes
// a picture of it and saves OUTPUT in the format its extension names.

#include <csignal>
#include <cstdio>
#include <string>

#include "foundation/process.h"

// Reports of a command-line run. Progress goes to a terminal as one line
// that keeps being rewritten; to anything else nothing but the error, which
// the caller prints. An interrupt (Ctrl+C) asks the operation to stop.
class KVConsoleProcess : public LProcessInterfaceVoid {
public:
    KVConsoleProcess(std::FILE* out, bool showProgress) : out(out), showProgress(showProgress) {}
    ~KVConsoleProcess() { Finish(); }

    bool IsToStop() override { return stopRequested != 0; }
    void SetError(const char* message) override { error = message ? message : ""; }
    void SetStatus(const char* text, int level) override;
    void SetProgress(double fraction) override;

    // Ends the progress line.
    void Finish();
    const std::string& GetError() const { return error; }

    // Set from the interrupt handler.
    static volatile std::sig_atomic_t stopRequested;

private:
    void Draw();

    std::FILE* out;
    bool showProgress;
    bool drawn = false;
    std::string status[3];
    int percent = -1;
    std::string error;
};

// The whole export. Each failure gives its message through SetError.
LProcessResult KVExportFile(LProcessInterface& process, const char* output, const char* input);
