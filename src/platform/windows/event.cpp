#include "platform/event.h"

#include <windows.h>

namespace nelto::platform {

EventHandle CreateAutoResetEvent() {
    return static_cast<EventHandle>(reinterpret_cast<std::uintptr_t>(CreateEventW(nullptr, FALSE, FALSE, nullptr)));
}

bool WaitForEvent(EventHandle event, std::uint32_t timeout_ms) {
    return WaitForSingleObject(NativeHandle(event), timeout_ms) == WAIT_OBJECT_0;
}

void* NativeHandle(EventHandle event) { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(event)); }

void CloseEvent(EventHandle event) {
    if (event != EventHandle::kNone) CloseHandle(NativeHandle(event));
}

}  // namespace nelto::platform
