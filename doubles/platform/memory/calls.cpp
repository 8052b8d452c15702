#include "platform/memory/memory_calls.h"

#include <atomic>

namespace nelto::platform::memory {

Calls& TheCalls() {
    static Calls calls;
    return calls;
}

bool Fails(Call call) {
    // The dialog's thread calls too: the serial output.
    const std::size_t count = std::atomic_ref(TheCalls().counts[static_cast<std::size_t>(call)]).fetch_add(1) + 1;
    return call == TheCalls().failing && count == TheCalls().failing_count;
}

}  // namespace nelto::platform::memory
