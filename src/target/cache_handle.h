#pragma once
// An element's entry in the render cache. Until the cache object hands out ids
// a handle has none (negative id), so it is never valid and needs no lock.

#include <atomic>

class KVCacheHandle {
public:
    enum State { Invalid = 0, Processing = 1, Valid = 2 };

    KVCacheHandle() = default;
    KVCacheHandle(const KVCacheHandle&) = delete;
    KVCacheHandle& operator=(const KVCacheHandle&) = delete;

    bool IsValid() const { return state.load() == Valid; }
    // Every change of how the element looks invalidates its entry; the stamp
    // that changes with it tells other pictures made from the element (a
    // layer's thumbnail) that they are stale too.
    void Invalidate() {
        state.store(Invalid);
        stamp.store(NextStamp());
    }
    // Unique among all handles ever made, so that a new element at the
    // address of a deleted one does not pass for it.
    unsigned long GetStamp() const { return stamp.load(); }
    int GetState() const { return state.load(); }
    void SetState(State s) { state.store(s); }
    int GetId() const { return id; }

    bool isImage = false;
    int id = -1;
    int pathSlot = -1;

private:
    static unsigned long NextStamp() {
        static std::atomic<unsigned long> counter{0};
        return ++counter;
    }

    std::atomic<int> state{Invalid};
    std::atomic<unsigned long> stamp{NextStamp()};
};
