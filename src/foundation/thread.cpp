#include "foundation/thread.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <exception>
#include <poll.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

// The creation call, replaceable so that a test can play a system that
// refuses new threads.
int (*gLThreadCreate)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) = pthread_create;

namespace {

// Corner points of the priority scale: nice values are what Linux schedules
// ordinary threads by, 0 the default and 19 the lowest.
struct PriorityPoint {
    int priority;
    int nice;
};
constexpr PriorityPoint kScale[] = {{0, 19}, {4, 10}, {8, 5}, {20, 0}, {40, -20}};
constexpr int kScaleSize = sizeof kScale / sizeof kScale[0];

int Interpolate(int x, int x0, int x1, int y0, int y1) {
    return static_cast<int>(std::lround(y0 + static_cast<double>(x - x0) * (y1 - y0) / (x1 - x0)));
}

pid_t CurrentTid() {
    return static_cast<pid_t>(gettid());
}

} // namespace

int LThreadPriorityToNice(int priority) {
    if (priority <= kScale[0].priority)
        return kScale[0].nice;
    for (int i = 1; i < kScaleSize; ++i)
        if (priority <= kScale[i].priority)
            return Interpolate(priority, kScale[i - 1].priority, kScale[i].priority,
                               kScale[i - 1].nice, kScale[i].nice);
    return kScale[kScaleSize - 1].nice;
}

int LThreadNiceToPriority(int nice) {
    if (nice >= kScale[0].nice)
        return kScale[0].priority;
    for (int i = 1; i < kScaleSize; ++i)
        if (nice >= kScale[i].nice)
            return Interpolate(nice, kScale[i - 1].nice, kScale[i].nice, kScale[i - 1].priority,
                               kScale[i].priority);
    return kScale[kScaleSize - 1].priority;
}

int LThreadGetCurrentPriority() {
    const int policy = sched_getscheduler(0);
    if (policy == SCHED_FIFO || policy == SCHED_RR)
        return kLThreadPriorityRealTime;
    errno = 0;
    const int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(CurrentTid()));
    if (nice == -1 && errno != 0)
        return kLThreadPriorityNormal;
    return LThreadNiceToPriority(nice);
}

// ---------------------------------------------------------------------------

LThread::LThread() = default;

LThread::~LThread() {
    if (IsCurrentThread()) {
        // The body destroys its own object (a detached thread at its end):
        // nobody will join it.
        pthread_detach(pthread_self());
        return;
    }
    StopThreadNow();
    LLockGuard guard(lock);
    if (hasHandle) {
        pthread_join(handle, nullptr);
        hasHandle = false;
    }
}

void LThread::ApplyPriority(pid_t tid, int priority) {
    // Every refusal is ignored: a worker at the wrong priority still works.
    if (tid < 0)
        return;
    if (priority == kLThreadPriorityRealTime) {
        sched_param param{};
        param.sched_priority = sched_get_priority_min(SCHED_RR);
        sched_setscheduler(tid, SCHED_RR, &param);
        return;
    }
    const int policy = sched_getscheduler(tid);
    if (policy == SCHED_FIFO || policy == SCHED_RR) {
        sched_param param{};
        sched_setscheduler(tid, SCHED_OTHER, &param);
    }
    setpriority(PRIO_PROCESS, static_cast<id_t>(tid), LThreadPriorityToNice(priority));
}

void* LThread::Body(void* arg) {
    LThread* self = static_cast<LThread*>(arg);
    {
        std::lock_guard<std::mutex> g(self->idLock);
        self->threadId = CurrentTid();
        if (self->name[0])
            pthread_setname_np(pthread_self(), self->name);
    }
    // Start wrote the priority before creating us and holds `lock` until we
    // say we run, so it can be read here. Applying it before `started` means
    // the body never runs at the wrong priority.
    ApplyPriority(CurrentTid(), self->priority);
    self->started.Set();
    try {
        self->ThreadFunction();
    } catch (const std::exception&) {
        // Nobody could hear about it on this thread; ending the body cleanly
        // keeps the waiters from hanging.
    }
    if (self->ThreadEnding())
        return nullptr;
    {
        std::lock_guard<std::mutex> g(self->idLock);
        self->threadId = -1;
    }
    self->running.store(false, std::memory_order_release);
    // Last: a waiter may destroy the object as soon as this is set.
    self->finished.Set();
    return nullptr;
}

int LThread::StartReturningCode(int newPriority) {
    LLockGuard guard(lock);
    if (hasHandle) {
        if (running.load(std::memory_order_acquire))
            return 0;
        // Ended: collect the platform thread before making a new one.
        pthread_join(handle, nullptr);
        hasHandle = false;
    }
    stop.Reset();
    finished.Reset();
    started.Reset();
    running.store(true, std::memory_order_release);
    priority = newPriority;
    const int code = gLThreadCreate(&handle, nullptr, &LThread::Body, this);
    if (code != 0) {
        // Nothing runs: waiters for the running flag must not hang.
        running.store(false, std::memory_order_release);
        return code;
    }
    hasHandle = true;
    // An interruption wakes the wait early; the flag is what counts.
    while (!started.IsSignaled())
        started.WaitSignal(kLWaitForever);
    return 0;
}

void LThread::Start(int newPriority) {
    StartReturningCode(newPriority);
}

void LThread::StartSame() {
    Start(LThreadGetCurrentPriority());
}

void LThread::StopThreadSoon() {
    stop.Set();
}

void LThread::StopThreadNow() {
    stop.Set();
    WaitToStop();
}

void LThread::WaitToStop() {
    if (!started.IsSignaled() || IsCurrentThread())
        return;
    while (!finished.IsSignaled())
        finished.WaitSignal(kLWaitForever);
}

bool LThread::WaitToStop(unsigned int milliseconds) {
    if (!started.IsSignaled())
        return true;
    if (IsCurrentThread())
        return false;
    return finished.WaitSignal(milliseconds) && finished.IsSignaled();
}

bool LThread::IsToStop() {
    return stop.IsSignaled();
}

LProcessResult LThread::ProcessWait(unsigned int milliseconds) {
    stop.WaitSignal(milliseconds);
    return stop.IsSignaled() ? LProcessResultStopped : LProcessResultOk;
}

LProcessResult LThread::ProcessWaitSignal(LSignalObjectRef signal, unsigned int milliseconds) {
    pollfd p[2] = {{stop.Ref().readEnd, POLLIN, 0}, {signal.readEnd, POLLIN, 0}};
    const int r = poll(p, 2, LWaitTimeout(milliseconds));
    if (r == 0 || (r < 0 && errno != EINTR))
        return LProcessResultError;
    // Readable, or interrupted, which counts as the signal having come.
    if (stop.IsSignaled())
        return LProcessResultStopped;
    signal.Acquire();
    return LProcessResultOk;
}

LProcessResult LThread::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                     unsigned int milliseconds) {
    group.Add(stop);
    // A full group can't take `stop`; it is waited on all the same.
    if (!group.SelectNarrowing(milliseconds, stop))
        return LProcessResultError;
    return stop.IsSignaled() ? LProcessResultStopped : LProcessResultOk;
}

void LThread::SetPriority(int newPriority) {
    LLockGuard guard(lock);
    priority = newPriority;
    std::lock_guard<std::mutex> g(idLock);
    ApplyPriority(threadId, newPriority);
}

int LThread::GetPriority() {
    LLockGuard guard(lock);
    return priority;
}

pid_t LThread::GetThreadId() const {
    std::lock_guard<std::mutex> g(idLock);
    return threadId;
}

bool LThread::IsCurrentThread() const {
    std::lock_guard<std::mutex> g(idLock);
    return threadId >= 0 && threadId == CurrentTid();
}

void LThread::SetThreadName(const char* newName) {
    std::lock_guard<std::mutex> g(idLock);
    // The system keeps 15 bytes and a terminator.
    std::strncpy(name, newName ? newName : "", sizeof name - 1);
    name[sizeof name - 1] = '\0';
}

// ---------------------------------------------------------------------------

bool LDetachedThread::ThreadEnding() {
    if (!owner)
        return false;
    // Start may still be busy with this object; it holds `lock` until done.
    { LLockGuard guard(lock); }
    bool mine;
    {
        LLockGuard guard(owner->lock);
        mine = owner->threads.Remove(this) != nullptr;
    }
    if (!mine)
        return false; // the owner took us out and will destroy us
    delete this;
    return true;
}

LDetachedThreadsOwner::~LDetachedThreadsOwner() {
    StopThreadsNow();
}

int LDetachedThreadsOwner::StartThread(LDetachedThread* thread, int priority) {
    if (!thread)
        return EINVAL;
    // Held through the start, so that the thread can't end and leave the
    // list before it is fully started.
    LLockGuard guard(lock);
    thread->owner = this;
    threads.PushFront(thread);
    return thread->StartDetached(priority);
}

void LDetachedThreadsOwner::StopThreadsSoon() {
    LLockGuard guard(lock);
    for (LDetachedThread* t = threads.GetFirst(); t; t = t->GetNext())
        t->StopThreadSoon();
}

void LDetachedThreadsOwner::StopThreadsNow() {
    StopThreadsSoon();
    for (;;) {
        LDetachedThread* t;
        {
            LLockGuard guard(lock);
            t = threads.PopFront();
        }
        if (!t)
            break;
        t->StopThreadNow();
        delete t;
    }
}

unsigned long LDetachedThreadsOwner::GetCount() {
    LLockGuard guard(lock);
    return threads.GetCount();
}
