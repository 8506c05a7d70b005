#pragma once
// Worker threads. A thread is itself a process interface: the code it runs
// asks it whether to stop and waits through it, so a stop request ends any
// wait at once.

#include <atomic>
#include <mutex>
#include <pthread.h>
#include <sys/types.h>

#include "foundation/list.h"
#include "foundation/lock.h"
#include "foundation/process.h"
#include "foundation/signal.h"

// The scheduling priorities the workers use. 91 asks for a real-time policy,
// which the system usually refuses to ordinary users; that is fine.
constexpr int kLThreadPriorityBackground = 4;
constexpr int kLThreadPriorityWork = 8;
constexpr int kLThreadPriorityNormal = 20;
constexpr int kLThreadPriorityRealTime = 91;

// The per-thread nice value that stands for a priority (20 -> 0, 8 -> 5,
// 4 -> 10, in between on straight lines), and back.
int LThreadPriorityToNice(int priority);
int LThreadNiceToPriority(int nice);
// The calling thread's priority; 20 when it can't be read.
int LThreadGetCurrentPriority();

class LThread : public LProcessInterface {
public:
    LThread();

    // True once `stop` is set.
    bool IsToStop() override;
    // 1 when the stop came, 0 when the time ran out (or the wait was
    // interrupted). Test for 1, never for 0.
    LProcessResult ProcessWait(unsigned int milliseconds) override;
    // 2 when nothing came in time; otherwise 1 if `stop` is set, even when the
    // other signal came too, else 0.
    LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int milliseconds) override;
    // Adds `stop` to the group for good and waits on the group itself, which
    // is narrowed to what was readable: a group serves one wait.
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int milliseconds) override;

    // Stops the thread and waits for it. A subclass must stop the thread in
    // its own destructor, before its fields go.
    virtual ~LThread();

    // The thread's body. It polls IsToStop() and waits through this object.
    virtual void ThreadFunction() = 0;

    // Starts the body at a priority, and returns once it runs. A thread that
    // is running is left as it is, priority included; one that has ended is
    // started afresh. A thread the system refuses to create does not start;
    // the next Start tries again.
    void Start(int priority);
    // Start at the calling thread's own priority.
    void StartSame();
    // Sets `stop` and returns at once.
    void StopThreadSoon();
    // Sets `stop` and waits for the body to end.
    void StopThreadNow();
    // Waits for the body to end; returns at once for a thread that never ran
    // (and when called from the thread itself, which would wait for ever).
    void WaitToStop();
    // True when the body ended (or never ran) within the time.
    bool WaitToStop(unsigned int milliseconds);

    // Changes the priority of a running thread; a refusal is ignored.
    void SetPriority(int priority);

    int GetPriority();
    bool IsRunning() const { return running.load(std::memory_order_acquire); }
    // The body was entered since the last Start (and may have ended since).
    bool HasStarted() const { return started.IsSignaled(); }
    // The kernel's id of the running thread; -1 when none.
    pid_t GetThreadId() const;
    LSignalObjectRef GetStopSignal() const { return stop; }

protected:
    // The name the system shows for the thread (at most 15 bytes are kept);
    // it takes effect at the next Start.
    void SetThreadName(const char* name);

    // Runs on the thread after ThreadFunction returns. True means the object
    // has destroyed itself and nothing of it may be touched any more.
    virtual bool ThreadEnding() { return false; }

    // The system's answer to the last creation (0 when the thread runs).
    int StartReturningCode(int priority);

    // Guards the thread's life cycle. Recursive, so a subclass may hold it
    // around Start.
    LLockObject lock;

private:
    static void* Body(void* self);
    bool IsCurrentThread() const;
    // Applies a priority to the thread with kernel id `tid`.
    static void ApplyPriority(pid_t tid, int priority);

    pthread_t handle{};
    bool hasHandle = false;
    pid_t threadId = -1; // under idLock
    int priority = kLThreadPriorityNormal;
    std::atomic<bool> running{false};
    LSignalObject stop;
    LSignalObject finished;
    LSignalObject started;
    // A leaf lock for the id and name, which the body needs while Start
    // holds `lock`.
    mutable std::mutex idLock;
    char name[16] = "";
};

class LDetachedThreadsOwner;

// A thread that belongs to an owner's list while it runs, and destroys itself
// when it ends by itself.
class LDetachedThread : public LThread, public LListLink<LDetachedThread> {
public:
    // Starts without an owner; the platform's code, 0 when it runs.
    int StartDetached(int priority) { return StartReturningCode(priority); }

protected:
    bool ThreadEnding() override;

private:
    friend class LDetachedThreadsOwner;
    LDetachedThreadsOwner* owner = nullptr;
};

class LDetachedThreadsOwner {
public:
    LDetachedThreadsOwner() = default;
    LDetachedThreadsOwner(const LDetachedThreadsOwner&) = delete;
    LDetachedThreadsOwner& operator=(const LDetachedThreadsOwner&) = delete;
    // Ends every thread still running.
    ~LDetachedThreadsOwner();

    // Takes the thread and starts it; the platform's code, 0 when it runs.
    // The thread may be gone already when this returns.
    int StartThread(LDetachedThread* thread, int priority);
    // Asks every thread to stop.
    void StopThreadsSoon();
    // Stops the threads one at a time and destroys them.
    void StopThreadsNow();
    unsigned long GetCount();

private:
    friend class LDetachedThread;
    LLockObject lock;
    LList<LDetachedThread> threads;
};
