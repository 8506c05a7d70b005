#include "foundation/main_thread.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <new>
#include <vector>

LSignalObject soApplicationEventLoopFinished;

namespace {

std::atomic<LMainThreadQueue*> gQueue{nullptr};

using Clock = std::chrono::steady_clock;

// Milliseconds left until `deadline`, 0 when it has passed.
unsigned int Remaining(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<unsigned int>(left) : 0u;
}

Clock::time_point DeadlineAfter(unsigned int milliseconds) {
    return Clock::now() + std::chrono::milliseconds(milliseconds);
}

} // namespace

// ---------------------------------------------------------------------------

LMainThreadQueueCore::LMainThreadQueueCore() : mainThread(std::this_thread::get_id()) {}

LMainThreadQueueCore::~LMainThreadQueueCore() {
    std::deque<Entry> left;
    {
        std::lock_guard<std::mutex> g(m);
        left.swap(items);
    }
    for (const Entry& e : left)
        LThreadRunOnMainThread::Drop(e.target, e.item);
}

void LMainThreadQueueCore::Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) {
    std::lock_guard<std::mutex> g(m);
    if (items.empty())
        pending.Set();
    items.push_back(Entry{target, item});
}

void LMainThreadQueueCore::Flush(LThreadRunOnMainThread* target) {
    std::vector<Entry> dropped;
    {
        std::lock_guard<std::mutex> g(m);
        for (auto it = items.begin(); it != items.end();) {
            if (it->target == target) {
                dropped.push_back(*it);
                it = items.erase(it);
            } else {
                ++it;
            }
        }
        if (items.empty())
            pending.Reset();
    }
    // Outside the queue's lock: dropping takes the target's lock, which a
    // poster holds while it takes ours.
    for (const Entry& e : dropped)
        LThreadRunOnMainThread::Drop(e.target, e.item);
}

bool LMainThreadQueueCore::IsMainThread() const {
    return std::this_thread::get_id() == mainThread;
}

unsigned LMainThreadQueueCore::DeliverPending() {
    if (!IsMainThread())
        return 0;
    std::size_t budget;
    {
        std::lock_guard<std::mutex> g(m);
        budget = items.size();
    }
    unsigned run = 0;
    // One at a time, so that an item may post, flush or deliver (in a modal
    // wait of its own) without upsetting this loop.
    while (budget-- > 0) {
        Entry e;
        {
            std::lock_guard<std::mutex> g(m);
            if (items.empty())
                break;
            e = items.front();
            items.pop_front();
            if (items.empty())
                pending.Reset();
        }
        LThreadRunOnMainThread::Run(e.target, e.item);
        ++run;
    }
    return run;
}

bool LMainThreadQueueCore::WaitDelivering(const LSignalObjectGroup& awaited,
                                          unsigned int milliseconds) {
    if (!IsMainThread())
        return awaited.Select(milliseconds);
    const bool forever = milliseconds == kLWaitForever;
    const Clock::time_point deadline = forever ? Clock::time_point() : DeadlineAfter(milliseconds);
    for (;;) {
        DeliverPending();
        if (awaited.GetCount() && awaited.Select(0))
            return true;
        const unsigned int left = forever ? kLWaitForever : Remaining(deadline);
        if (left == 0)
            return false;
        LSignalObjectGroup both = awaited;
        both.SelectNarrowing(left, pending);
    }
}

unsigned long LMainThreadQueueCore::GetCount() {
    std::lock_guard<std::mutex> g(m);
    return static_cast<unsigned long>(items.size());
}

// ---------------------------------------------------------------------------

LThreadRunOnMainThread::~LThreadRunOnMainThread() {
    Close();
}

void LThreadRunOnMainThread::Init(LMainThreadQueue& queue) {
    gQueue.store(&queue, std::memory_order_release);
}

void LThreadRunOnMainThread::Destroy() {
    gQueue.store(nullptr, std::memory_order_release);
}

LMainThreadQueue* LThreadRunOnMainThread::GetQueue() {
    return gQueue.load(std::memory_order_acquire);
}

void LThreadRunOnMainThread::RunOnMainThread(LThreadRunOnMainThreadData* item) {
    if (!item)
        return;
    LMainThreadQueue* queue = GetQueue();
    {
        LLockGuard guard(lock);
        // Checked and posted under the target's lock, so that Close can't
        // slip in between and leave an item behind its flush.
        if (queue && accepting && !closing && !soApplicationEventLoopFinished.IsSignaled()) {
            ++refCount;
            queue->Post(this, item);
            return;
        }
    }
    // Undelivered; destroyed here rather than lost.
    delete item;
}

void LThreadRunOnMainThread::FlushEventFromQueue() {
    if (LMainThreadQueue* queue = GetQueue())
        queue->Flush(this);
}

void LThreadRunOnMainThread::Close() {
    {
        LLockGuard guard(lock);
        if (!accepting)
            return;
        closing = true;
    }
    FlushEventFromQueue();
    LLockGuard guard(lock);
    accepting = false;
}

bool LThreadRunOnMainThread::IsAccepting() {
    LLockGuard guard(lock);
    return accepting;
}

bool LThreadRunOnMainThread::IsClosing() {
    LLockGuard guard(lock);
    return closing;
}

int LThreadRunOnMainThread::GetRefCount() {
    LLockGuard guard(lock);
    return refCount;
}

void LThreadRunOnMainThread::Run(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) {
    // Counted down first: the item may end its target's life.
    {
        LLockGuard guard(target->lock);
        --target->refCount;
    }
    item->MainThreadFunction();
    delete item;
}

void LThreadRunOnMainThread::Drop(LThreadRunOnMainThread* target,
                                  LThreadRunOnMainThreadData* item) {
    {
        LLockGuard guard(target->lock);
        --target->refCount;
    }
    delete item;
}

// ---------------------------------------------------------------------------

void LQueuedNotifyDataHandler::PostNotifyFromSender(unsigned int id, const void* data,
                                                    unsigned long size) {
    unsigned char* copy = nullptr;
    if (data) {
        copy = new (std::nothrow) unsigned char[size ? size : 1];
        if (!copy)
            return;
        if (size)
            std::memcpy(copy, data, size);
    }
    auto* item = new (std::nothrow) LQueuedNotifyDataHandlerData(this, id, copy, size);
    if (!item) {
        delete[] copy;
        return;
    }
    runOnMainThread.RunOnMainThread(item);
}

// ---------------------------------------------------------------------------

bool LProcessInterfaceModal::IsToStop() {
    // Read before delivering: whatever was posted before the stop was asked
    // for still arrives.
    const bool stopped = stop.IsSignaled() || soApplicationEventLoopFinished.IsSignaled();
    if (LMainThreadQueue* queue = LThreadRunOnMainThread::GetQueue())
        queue->DeliverPending();
    return stopped;
}

LProcessResult LProcessInterfaceModal::Wait(const LSignalObjectGroup& awaited,
                                            unsigned int milliseconds) {
    const bool forever = milliseconds == kLWaitForever;
    const Clock::time_point deadline = forever ? Clock::time_point() : DeadlineAfter(milliseconds);
    LSignalObjectGroup withStop = awaited;
    withStop.Add(stop);
    withStop.Add(soApplicationEventLoopFinished);
    for (;;) {
        if (IsToStop())
            return LProcessResultStopped;
        if (awaited.GetCount() && awaited.Select(0)) {
            // What was posted before the signal was set is queued by now:
            // a worker's last reports arrive before its end does.
            if (LMainThreadQueue* queue = LThreadRunOnMainThread::GetQueue())
                queue->DeliverPending();
            return LProcessResultOk;
        }
        const unsigned int left = forever ? kLWaitForever : Remaining(deadline);
        if (left == 0)
            return LProcessResultError;
        const unsigned int slice = left < kSliceMilliseconds ? left : kSliceMilliseconds;
        if (LMainThreadQueue* queue = LThreadRunOnMainThread::GetQueue())
            queue->WaitDelivering(withStop, slice);
        else
            withStop.Select(slice);
    }
}

LProcessResult LProcessInterfaceModal::ProcessWait(unsigned int milliseconds) {
    return Wait(LSignalObjectGroup(), milliseconds);
}

LProcessResult LProcessInterfaceModal::ProcessWaitSignal(LSignalObjectRef signal,
                                                         unsigned int milliseconds) {
    LSignalObjectGroup awaited;
    awaited.Add(signal);
    return Wait(awaited, milliseconds);
}

LProcessResult LProcessInterfaceModal::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                                    unsigned int milliseconds) {
    return Wait(group, milliseconds);
}
