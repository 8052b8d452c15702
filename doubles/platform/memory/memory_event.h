// Control of the in-memory events. A wait lets the virtual time pass in steps of one millisecond, so that what happens
// with time (World::on_wait) can signal the event meanwhile.
#pragma once

#include <cstddef>

namespace nelto::platform::memory {

/// Signals the event that `native_handle` stands for; one that is closed already is passed over.
void SignalEvent(void* native_handle);

/// Events that are created and not yet closed.
[[nodiscard]] std::size_t OpenEvents();

/// No events, no failures.
void ResetEvents();

}  // namespace nelto::platform::memory
