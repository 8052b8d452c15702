// An event: something that another party signals and one thread waits for.
#pragma once

#include <cstdint>

namespace nelto::platform {

/// Unnamed and unsignalled at first; falls back by itself once a wait has seen it.
class Event {
public:
    Event();
    ~Event();
    Event(const Event&)            = delete;
    Event& operator=(const Event&) = delete;

    /// True once the event is signalled, false after `timeout_ms` milliseconds; 0xFFFFFFFF waits without end.
    [[nodiscard]] bool Wait(std::uint32_t timeout_ms) const;
    /// The system's own handle, for libraries that signal it; null when there was none to be had.
    [[nodiscard]] void* Handle() const { return handle_; }

private:
    void* handle_;
};

}  // namespace nelto::platform
