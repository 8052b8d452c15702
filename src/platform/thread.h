// A thread of the program that ends before its owner goes.
#pragma once

#include <cstdint>

namespace nelto::platform {

constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;  // of a wait in milliseconds

/// Used by one thread, and stays in place while the thread that it started runs.
class Thread {
public:
    using Body = void (*)(void* argument);

    Thread() = default;
    ~Thread() { Join(kNoLimit); }
    Thread(const Thread&)            = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs `body` with `argument` on a new thread, after the one before has ended; false when there is none to be had.
    [[nodiscard]] bool Start(Body body, void* argument);
    /// True when no thread runs any more, after a wait of `limit_ms` milliseconds at most.
    [[nodiscard]] bool EndsWithin(std::uint32_t limit_ms) const;
    /// Waits until the thread has ended, without limit; nothing when there is none. After `grace_ms` milliseconds the calls of the
    /// system in which a driver keeps the thread waiting are cancelled, again and again, as the thread may make another one.
    void Join(std::uint32_t grace_ms);

    /// Called on the new thread.
    void Run() const { body_(argument_); }

private:
    std::uintptr_t handle_ = 0;
    Body body_             = nullptr;
    void* argument_        = nullptr;
};

}  // namespace nelto::platform
