#include "platform/event.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

#include "platform/clock.h"
#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_platform.h"

namespace nelto::platform {
namespace {

struct Events {
    std::map<std::uintptr_t, bool> signalled;  // by handle; handles are never given out twice
    std::uintptr_t last_handle = 0;
};

Events& State() {
    static Events events;
    return events;
}

bool TakeSignal(EventHandle event) {
    const auto found = State().signalled.find(static_cast<std::uintptr_t>(event));
    if (found == State().signalled.end()) std::abort();  // a wait for an event that is closed
    return std::exchange(found->second, false);
}

}  // namespace

EventHandle CreateAutoResetEvent() {
    if (memory::Fails(memory::Call::kCreateEvent)) return EventHandle::kNone;
    State().signalled[++State().last_handle] = false;
    return static_cast<EventHandle>(State().last_handle);
}

bool WaitForEvent(EventHandle event, std::uint32_t timeout_ms) {
    const std::uint32_t step = memory::TheWorld().hurries ? std::max(timeout_ms, 1U) : 1;
    for (std::uint32_t waited = 0;; waited += step) {
        if (TakeSignal(event)) return true;
        if (waited >= timeout_ms) return false;
        SleepMilliseconds(step);
    }
}

void* NativeHandle(EventHandle event) {
    return reinterpret_cast<void*>(event);  // NOLINT(performance-no-int-to-ptr): a handle, never followed
}

void CloseEvent(EventHandle event) {
    if (event == EventHandle::kNone) return;
    if (State().signalled.erase(static_cast<std::uintptr_t>(event)) == 0) std::abort();  // closed twice
}

namespace memory {

void SignalEvent(void* native_handle) {
    const auto found = State().signalled.find(reinterpret_cast<std::uintptr_t>(native_handle));
    if (found != State().signalled.end()) found->second = true;
}

std::size_t OpenEvents() { return State().signalled.size(); }

void ResetEvents() { State() = Events{}; }

}  // namespace memory
}  // namespace nelto::platform
