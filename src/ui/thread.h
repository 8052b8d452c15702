// A thread of the program that ends before its owner goes.
#pragma once

#include <windows.h>

namespace nelto::ui {

/// Used from the dialog's thread.
class Thread {
public:
    Thread() = default;
    ~Thread() { Join(INFINITE); }
    Thread(const Thread&)            = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs `body` with `argument` on a new thread, after the one before has ended; false when there is none to be had.
    [[nodiscard]] bool Start(LPTHREAD_START_ROUTINE body, void* argument);
    /// True when no thread runs any more, after a wait of `limit_ms` milliseconds at most.
    [[nodiscard]] bool EndsWithin(DWORD limit_ms) const;
    /// Waits until the thread has ended, without limit; nothing when there is none. After `grace_ms` milliseconds the calls of the
    /// system in which a driver keeps the thread waiting are cancelled, again and again, as the thread may make another one.
    void Join(DWORD grace_ms);

private:
    HANDLE thread_ = nullptr;
};

}  // namespace nelto::ui
