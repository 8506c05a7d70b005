#include "foundation/process.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <ctime>

namespace {

// Starts empty: a conversion the C library rejects must not leave garbage.
std::string Formatted(const char* format, va_list args) {
    char buffer[kLProcessMessageSize];
    buffer[0] = '\0';
    if (format)
        std::vsnprintf(buffer, sizeof buffer, format, args);
    return buffer;
}

} // namespace

void LProcessInterface::SetErrorF(const char* format, ...) {
    va_list args;
    va_start(args, format);
    SetError(Formatted(format, args).c_str());
    va_end(args);
}

void LProcessInterface::SetStatusF(int level, const char* format, ...) {
    va_list args;
    va_start(args, format);
    SetStatus(Formatted(format, args).c_str(), level);
    va_end(args);
}

LProcessResult LProcessInterfaceVoid::ProcessWait(unsigned int milliseconds) {
    timespec t{static_cast<time_t>(milliseconds / 1000),
               static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {
    }
    return LProcessResultOk;
}

LProcessResult LProcessInterfaceVoid::ProcessWaitSignal(LSignalObjectRef signal,
                                                        unsigned int milliseconds) {
    return signal.WaitSignal(milliseconds) ? LProcessResultOk : LProcessResultError;
}

LProcessResult LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                                   unsigned int milliseconds) {
    return group.Select(milliseconds) ? LProcessResultOk : LProcessResultError;
}
