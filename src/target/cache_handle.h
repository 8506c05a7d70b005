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
    void Invalidate() { state.store(Invalid); }
    int GetState() const { return state.load(); }
    void SetState(State s) { state.store(s); }
    int GetId() const { return id; }

    bool isImage = false;
    int id = -1;
    int pathSlot = -1;

private:
    std::atomic<int> state{Invalid};
};
