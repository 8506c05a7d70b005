#include "foundation/process_thread.h"

#include <cstring>

const char* const kLProcessThreadStartFailed = "The operation could not be started: the system "
                                               "refused a new thread.";
const char* const kLProcessThreadWaitingToStop = "Waiting for the process to stop";

void LProcessThreadInterface::SetError(const char* message) {
    if (!message)
        message = "";
    parent->SetError(message);
    if (handler)
        handler->PostNotifyFromSender(LProcessThreadReportError, message, std::strlen(message) + 1);
}

void LProcessThreadInterface::SetStatus(const char* text, int level) {
    parent->SetStatus(text, level);
    if (!handler)
        return;
    LProcessThreadStatus status;
    std::memset(&status, 0, sizeof status);
    LStrCopy(status.text, text);
    status.level = level;
    handler->PostNotifyFromSender(LProcessThreadReportStatus, &status, sizeof status);
}

void LProcessThreadInterface::SetProgress(double fraction) {
    parent->SetProgress(fraction);
    if (handler)
        handler->PostNotifyFromSender(LProcessThreadReportProgress, &fraction, sizeof fraction);
}

void LProcessThreadInterface::SetProgressIndeterminateOn() {
    parent->SetProgressIndeterminateOn();
    if (handler)
        handler->PostNotifyFromSender(LProcessThreadReportIndeterminateOn, nullptr, 0);
}

void LProcessThreadInterface::SetProgressIndeterminateOff() {
    parent->SetProgressIndeterminateOff();
    if (handler)
        handler->PostNotifyFromSender(LProcessThreadReportIndeterminateOff, nullptr, 0);
}

void LReplayProcessReport(LProcessInterface& target, unsigned int id, const void* data,
                          unsigned long size) {
    const char* bytes = static_cast<const char*>(data);
    switch (id) {
    case LProcessThreadReportError:
        // Only a terminated text is passed on.
        if (bytes && size > 0 && std::memchr(bytes, '\0', size))
            target.SetError(bytes);
        break;
    case LProcessThreadReportStatus:
        if (bytes && size == sizeof(LProcessThreadStatus)) {
            LProcessThreadStatus status;
            std::memcpy(&status, bytes, sizeof status);
            status.text[sizeof status.text - 1] = '\0';
            target.SetStatus(status.text, status.level);
        }
        break;
    case LProcessThreadReportProgress:
        if (bytes && size == sizeof(double)) {
            double fraction;
            std::memcpy(&fraction, bytes, sizeof fraction);
            target.SetProgress(fraction);
        }
        break;
    case LProcessThreadReportIndeterminateOn:
        target.SetProgressIndeterminateOn();
        break;
    case LProcessThreadReportIndeterminateOff:
        target.SetProgressIndeterminateOff();
        break;
    default:
        break;
    }
}
