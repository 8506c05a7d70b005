#include "foundation/process.h"

#include <cstdarg>
#include <cstdio>

void LProcessInterface::SetErrorF(const char* format, ...) {
    char buffer[kLProcessMessageSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    SetError(buffer);
}

void LProcessInterface::SetStatusF(int level, const char* format, ...) {
    char buffer[kLProcessMessageSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    SetStatus(buffer, level);
}

#include <ctime>
#include <cerrno>

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
