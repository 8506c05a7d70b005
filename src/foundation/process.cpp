#include "foundation/process.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>

void LProcessInterface::SetErrorF(const char* format, ...) {
    // Starts empty: a conversion the C library rejects must not leave garbage.
    char buffer[kLProcessMessageSize];
    buffer[0] = '\0';
    va_list args;
    va_start(args, format);
    if (format)
        std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    SetError(buffer);
}

void LProcessInterface::SetStatusF(int level, const char* format, ...) {
    char buffer[kLProcessMessageSize];
    buffer[0] = '\0';
    va_list args;
    va_start(args, format);
    if (format)
        std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    SetStatus(buffer, level);
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
