// An event: something that another party signals and one thread waits for.
#pragma once

#include <cstdint>

namespace nelto::platform {

enum class EventHandle : std::uintptr_t { kNone = 0 };

/// An unnamed, unsignalled event that falls back by itself once a wait has seen it; kNone when there is none to be had.
[[nodiscard]] EventHandle CreateAutoResetEvent();

/// True once the event is signalled, false after `timeout_ms` milliseconds; 0xFFFFFFFF waits without end.
[[nodiscard]] bool WaitForEvent(EventHandle event, std::uint32_t timeout_ms);

/// The system's own handle of the event, for libraries that signal it.
[[nodiscard]] void* NativeHandle(EventHandle event);

/// Releases the event; kNone is allowed.
void CloseEvent(EventHandle event);

}  // namespace nelto::platform
