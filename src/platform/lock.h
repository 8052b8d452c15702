// A lock for the short moments in which the two threads hand over the measured values.
#pragma once

#include <atomic>

namespace nelto::platform {

/// Held for a copy of some kilobytes at most, never across a wait: the other thread spins meanwhile.
class ShortLock {
public:
    void lock() {
        while (held_.test_and_set(std::memory_order_acquire)) GiveWay();
    }
    void unlock() { held_.clear(std::memory_order_release); }

private:
    /// Lets the thread that holds the lock run.
    static void GiveWay();

    std::atomic_flag held_;
};

class ShortLockGuard {
public:
    explicit ShortLockGuard(ShortLock& lock) : lock_(lock) { lock_.lock(); }
    ~ShortLockGuard() { lock_.unlock(); }
    ShortLockGuard(const ShortLockGuard&)            = delete;
    ShortLockGuard& operator=(const ShortLockGuard&) = delete;

private:
    ShortLock& lock_;
};

}  // namespace nelto::platform
