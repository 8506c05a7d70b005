#pragma once

#include <mutex>

// The one lock type of the program: a recursive mutex.
class LLockObject {
public:
    void Lock() { m.lock(); }
    void Unlock() { m.unlock(); }
    bool TryLock() { return m.try_lock(); }

private:
    std::recursive_mutex m;
};

// Holds a lock for the life of a scope.
class LLockGuard {
public:
    explicit LLockGuard(LLockObject& l) : lock(l) { lock.Lock(); }
    ~LLockGuard() { lock.Unlock(); }
    LLockGuard(const LLockGuard&) = delete;
    LLockGuard& operator=(const LLockGuard&) = delete;

private:
    LLockObject& lock;
};
