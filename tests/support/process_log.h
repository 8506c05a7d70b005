#pragma once
// A process that keeps what a routine tells it (errors, progress) and can
// ask the routine to stop after a given number of checks.

#include <string>
#include <vector>

#include "foundation/process.h"

namespace kvtest {

struct ProcessLog : LProcessInterfaceVoid {
    // stopAfter: how many checks answer "go on" before the first "stop"; -1
    // never stops, 0 stops at once.
    explicit ProcessLog(int stopAfter = -1) : stopAfter(stopAfter) {}

    void SetError(const char* message) override { errors.push_back(message); }
    void SetProgress(double fraction) override { progress.push_back(fraction); }
    bool IsToStop() override { return stopAfter >= 0 && asked++ >= stopAfter; }

    std::string LastError() const { return errors.empty() ? "" : errors.back(); }

    std::vector<std::string> errors;
    std::vector<double> progress;
    int stopAfter;
    int asked = 0;
};

} // namespace kvtest
