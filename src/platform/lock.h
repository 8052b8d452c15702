// A lock for the short moments in which the two threads hand over the measured values.
#pragma once

#include <atomic>

namespace nelto::platform {

/// Held for a copy of some kilobytes at most, never across a wait: the other thread spins meanwhile. For std::scoped_lock.
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

}  // namespace nelto::platform
