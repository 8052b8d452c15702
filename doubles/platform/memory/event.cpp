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

std::uintptr_t NumberOf(void* handle) { return reinterpret_cast<std::uintptr_t>(handle); }

bool TakeSignal(void* handle) {
    const auto found = State().signalled.find(NumberOf(handle));
    if (found == State().signalled.end()) std::abort();  // a wait for an event that there is not
    return std::exchange(found->second, false);
}

}  // namespace

Event::Event() : handle_(nullptr) {
    if (memory::Fails(memory::Call::kCreateEvent)) return;
    State().signalled[++State().last_handle] = false;
    handle_ = reinterpret_cast<void*>(State().last_handle);  // NOLINT(performance-no-int-to-ptr): never followed
}

Event::~Event() {
    if (handle_ != nullptr) State().signalled.erase(NumberOf(handle_));
}

bool Event::Wait(std::uint32_t timeout_ms) const {
    const std::uint32_t step = memory::TheWorld().hurries ? std::max(timeout_ms, 1U) : 1;
    for (std::uint32_t waited = 0;; waited += step) {
        if (TakeSignal(handle_)) return true;
        if (waited >= timeout_ms) return false;
        SleepMilliseconds(step);
    }
}

namespace memory {

void SignalEvent(void* native_handle) {
    const auto found = State().signalled.find(NumberOf(native_handle));
    if (found != State().signalled.end()) found->second = true;
}

std::size_t OpenEvents() { return State().signalled.size(); }

void ResetEvents() { State() = Events{}; }

}  // namespace memory
}  // namespace nelto::platform
