#pragma once
// Running a long operation on a thread of its own while the caller waits on
// its own process interface (typically a progress window on the main thread).
// The operation's reports travel to the main thread as notifications and are
// replayed there on the caller's interface, in order.

#include <exception>

#include "foundation/main_thread.h"
#include "foundation/process.h"
#include "foundation/string.h"
#include "foundation/thread.h"

// The notification ids of a worker's reports.
enum LProcessThreadReport : unsigned int {
    LProcessThreadReportError = 0,    // the text with its terminator
    LProcessThreadReportStatus = 1,   // an LProcessThreadStatus
    LProcessThreadReportProgress = 2, // a double
    LProcessThreadReportIndeterminateOn = 3,
    LProcessThreadReportIndeterminateOff = 4,
};

// A status line as it travels: the text cut to 259 bytes, then the level.
struct LProcessThreadStatus {
    char text[kLFixedStringSize];
    int level;
};
static_assert(sizeof(LProcessThreadStatus) == 264);

// The interface a worker's operation sees. Each report goes to the parent
// (the thread object, which drops it unless a subclass listens) and then, if
// there is a handler, to the main thread.
class LProcessThreadInterface : public LProcessInterfaceNested {
public:
    LProcessThreadInterface(LProcessInterface* thread, LQueuedNotifyDataHandler* handler)
        : LProcessInterfaceNested(thread), handler(handler) {}

    void SetError(const char* message) override;
    void SetStatus(const char* text, int level) override;
    void SetProgress(double fraction) override;
    void SetProgressIndeterminateOn() override;
    void SetProgressIndeterminateOff() override;

    LQueuedNotifyDataHandler* handler;
};

// Replays a report on `target`; unknown ids and malformed data are ignored.
void LReplayProcessReport(LProcessInterface& target, unsigned int id, const void* data,
                          unsigned long size);

// Runs a process object's own operation: a member Process(LProcessInterface&)
// when it has one, otherwise a free Process(LProcessInterface&, T&).
template <class T> LProcessResult LRunProcess(LProcessInterface& pi, T& process) {
    if constexpr (requires { process.Process(pi); })
        return process.Process(pi);
    else
        return Process(pi, process);
}

template <class T> class LProcessThread : public LThread, public LQueuedNotifyDataHandler {
public:
    LProcessThread(LProcessInterface& parent, T& process) : parent(parent), process(process) {
        SetThreadName("LProcessThread");
    }
    ~LProcessThread() override { StopThreadNow(); }

    // Where the reports go; null keeps them on this thread. Set before Start.
    void SetReportHandler(LQueuedNotifyDataHandler* h) { reportHandler = h; }

    void ThreadFunction() override {
        LProcessThreadInterface pi(this, reportHandler);
        LProcessResult r;
        try {
            r = LRunProcess(pi, process);
        } catch (const std::exception& e) {
            pi.SetErrorF("The operation failed: %s", e.what());
            r = LProcessResultError;
        }
        result = r;
        pi.handler = nullptr;
        done.Set();
    }

    // A report that arrives after the stop was asked for is dropped.
    void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) override {
        if (IsToStop())
            return;
        LReplayProcessReport(parent, id, data, size);
    }

    LProcessInterface& parent;
    T& process;
    LSignalObject done;
    LProcessResult result = LProcessResultError;

private:
    LQueuedNotifyDataHandler* reportHandler = nullptr;
};

// Marks a process object to be run off the caller's thread:
//     LProcessThreadData data(worker);
//     result = Process(progress, data);
template <class T> struct LProcessThreadData {
    explicit LProcessThreadData(T& process) : process(process) {}
    T& process;
};

// Message when the system refuses a thread for the operation.
extern const char* const kLProcessThreadStartFailed;
// Status while a stopped operation winds down.
extern const char* const kLProcessThreadWaitingToStop;

// Runs the process object on a thread of its own at the caller's priority
// and waits for it through `parent`, whose waits should keep the main queue
// delivering so that the reports arrive while it runs. When `parent` stops,
// the thread is told to stop as well, and the result is 1 once it has ended.
// Reports still on their way when this returns are dropped. Called off the
// main thread, the operation's reports stay on its thread.
template <class T> LProcessResult Process(LProcessInterface& parent, LProcessThreadData<T>& data) {
    LProcessResult r;
    {
        LProcessThread<T> thread(parent, data.process);
        LMainThreadQueue* queue = LThreadRunOnMainThread::GetQueue();
        // Replaying on `parent` happens on the main thread, so only a caller
        // on the main thread may have the reports replayed.
        if (queue && queue->IsMainThread())
            thread.SetReportHandler(&thread);
        thread.StartSame();
        if (!thread.HasStarted()) {
            parent.SetError(kLProcessThreadStartFailed);
            return LProcessResultError;
        }
        for (;;) {
            if (parent.ProcessWaitSignalForever(thread.done) == LProcessResultStopped) {
                thread.StopThreadSoon();
                parent.SetStatus(kLProcessThreadWaitingToStop, 0);
                while (thread.IsRunning()) {
                    parent.IsToStop(); // keeps a window's events flowing
                    thread.WaitToStop(10);
                }
                r = LProcessResultStopped;
                break;
            }
            // An interrupted wait also ends early; only `done` tells that
            // `result` is there.
            if (thread.done.IsSignaled()) {
                r = thread.result;
                break;
            }
        }
        thread.GetRunOnMainThread().Close();
    }
    return r;
}

template <class T> LProcessResult Process(LProcessInterface& parent, LProcessThreadData<T>&& data) {
    return Process(parent, data);
}
