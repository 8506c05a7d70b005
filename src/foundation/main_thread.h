#pragma once
// The one way a worker speaks to the main thread: it posts a work item to a
// target, and the item runs later on the main thread.
//
// What carries the items is a queue owned by whoever runs the main loop (the
// window toolkit's event loop, or the core queue below for programs and
// tests without one). Every queue keeps this contract:
//   - items run in the order they were posted, and only on the main thread;
//   - the items of one target can be dropped before they run;
//   - a modal wait on the main thread keeps delivering them.

#include <deque>
#include <mutex>
#include <thread>

#include "foundation/lock.h"
#include "foundation/process.h"
#include "foundation/signal.h"

class LThreadRunOnMainThread;

// Set by the owner of the main loop when the loop has ended: from then on
// nothing is delivered any more.
extern LSignalObject soApplicationEventLoopFinished;

// A work item. The queue destroys it after it ran, or instead of running it.
class LThreadRunOnMainThreadData {
public:
    virtual ~LThreadRunOnMainThreadData() = default;
    virtual void MainThreadFunction() = 0;
};

class LMainThreadQueue {
public:
    virtual ~LMainThreadQueue() = default;

    // Any thread: queues `item` for `target` and owns it from now on.
    virtual void Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) = 0;
    // Any thread: takes every queued item of `target` out and drops it
    // (LThreadRunOnMainThread::Drop) without running it.
    virtual void Flush(LThreadRunOnMainThread* target) = 0;
    virtual bool IsMainThread() const = 0;
    // Main thread: runs the items queued now (LThreadRunOnMainThread::Run);
    // items posted meanwhile wait for the next call. Elsewhere it runs
    // nothing. The number run.
    virtual unsigned DeliverPending() = 0;
    // Main thread: waits up to `milliseconds` for a member of `awaited`
    // while delivering items as they come; true when a member came. An
    // empty group just delivers for the whole time.
    virtual bool WaitDelivering(const LSignalObjectGroup& awaited, unsigned int milliseconds) = 0;
};

// The queue whose owner drains it: a program without a window toolkit calls
// DeliverPending in its loop, or waits on GetPendingSignal().
class LMainThreadQueueCore : public LMainThreadQueue {
public:
    // The constructing thread is the main thread.
    LMainThreadQueueCore();
    // Items still queued are dropped, not run.
    ~LMainThreadQueueCore() override;

    void Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) override;
    void Flush(LThreadRunOnMainThread* target) override;
    bool IsMainThread() const override;
    unsigned DeliverPending() override;
    bool WaitDelivering(const LSignalObjectGroup& awaited, unsigned int milliseconds) override;

    // Set while items wait.
    LSignalObjectRef GetPendingSignal() const { return pending; }
    unsigned long GetCount();

private:
    struct Entry {
        LThreadRunOnMainThread* target;
        LThreadRunOnMainThreadData* item;
    };
    std::mutex m;
    std::deque<Entry> items;
    LSignalObject pending;
    std::thread::id mainThread;
};

// The target of posted items. It accepts items from construction until it
// starts closing; items still queued then are dropped, never run.
class LThreadRunOnMainThread {
public:
    LThreadRunOnMainThread() = default;
    // Closes the target, so that nothing runs on it once it is gone.
    ~LThreadRunOnMainThread();
    LThreadRunOnMainThread(const LThreadRunOnMainThread&) = delete;
    LThreadRunOnMainThread& operator=(const LThreadRunOnMainThread&) = delete;

    // At start, on the main thread: makes `queue` the one items go to.
    static void Init(LMainThreadQueue& queue);
    // At the end: no queue any more; posts are dropped from then on.
    static void Destroy();
    static LMainThreadQueue* GetQueue();

    // Any thread: queues the item, which runs later on the main thread. When
    // the target is closing or no longer accepting, when the main loop has
    // finished or there is no queue, the item is destroyed without running.
    void RunOnMainThread(LThreadRunOnMainThreadData* item);
    // Drops every queued item of this target without running it.
    void FlushEventFromQueue();
    // Stops accepting, then drops what is queued. Once closed, a target
    // accepts nothing more.
    void Close();

    bool IsAccepting();
    bool IsClosing();
    // Items queued and not yet run or dropped.
    int GetRefCount();

    // For queues: run one item on the main thread, or drop it; either way
    // the item is destroyed.
    static void Run(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item);
    static void Drop(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item);

private:
    bool accepting = true;
    bool closing = false;
    LLockObject lock;
    int refCount = 0;
};

// Receives notifications, each an id with a copy of some bytes, on the main
// thread in the order they were posted.
class LQueuedNotifyDataHandler {
public:
    LQueuedNotifyDataHandler() = default;
    // Drops notifications still queued.
    virtual ~LQueuedNotifyDataHandler() = default;
    LQueuedNotifyDataHandler(const LQueuedNotifyDataHandler&) = delete;
    LQueuedNotifyDataHandler& operator=(const LQueuedNotifyDataHandler&) = delete;

    // On the main thread. `data` dies after the call: copy what you keep.
    virtual void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) = 0;

    // Any thread. With `data`, its `size` bytes are copied; with null data
    // `size` travels as a plain value, so a pointer-sized number needs no
    // copy. A copy the system has no memory for is not posted.
    void PostNotifyFromSender(unsigned int id, const void* data, unsigned long size);

    LThreadRunOnMainThread& GetRunOnMainThread() { return runOnMainThread; }

protected:
    LThreadRunOnMainThread runOnMainThread;
};

class LQueuedNotifyDataHandlerData : public LThreadRunOnMainThreadData {
public:
    LQueuedNotifyDataHandlerData(LQueuedNotifyDataHandler* handler, unsigned int id,
                                 unsigned char* ownedData, unsigned long size)
        : handler(handler), id(id), data(ownedData), size(size) {}
    ~LQueuedNotifyDataHandlerData() override { delete[] data; }
    void MainThreadFunction() override { handler->EvQueuedNotifyData(id, data, size); }

    LQueuedNotifyDataHandler* handler;
    unsigned int id;
    unsigned char* data;
    unsigned long size;
};

// For long operations run on the main thread without a progress window (a
// command-line program, tests): a stop can be asked for from any thread, and
// every wait and every IsToStop keeps the main queue delivering, so that the
// reports of a worker arrive while the caller waits. Reports go to the
// virtual operations, which drop them unless overridden.
//
// Its waits run in slices of 33 ms and test for stop between slices. They
// give 0 when the signal came, 1 on stop and 2 when the time ran out, so a
// plain ProcessWait that simply passed gives 2. With no time limit they run
// until the signal or a stop comes.
class LProcessInterfaceModal : public LProcessInterface {
public:
    static constexpr unsigned int kSliceMilliseconds = 33;

    LProcessInterfaceModal() = default;
    virtual ~LProcessInterfaceModal() = default;

    // Any thread.
    void RequestStop() { stop.Set(); }
    void ClearStop() { stop.Reset(); }

    // Delivers what is queued, then answers whether a stop was asked for
    // before the delivery began.
    bool IsToStop() override;
    LProcessResult ProcessWait(unsigned int milliseconds) override;
    LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int milliseconds) override;
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int milliseconds) override;

private:
    LProcessResult Wait(const LSignalObjectGroup& awaited, unsigned int milliseconds);
    LSignalObject stop;
};
