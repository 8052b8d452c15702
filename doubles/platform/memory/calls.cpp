#include "platform/memory/memory_calls.h"

#include <atomic>

namespace nelto::platform::memory {

Calls& TheCalls() {
    static constinit Calls calls;
    return calls;
}

void AlwaysFail(Call call, bool fails) {
    const std::uint32_t bit = 1U << static_cast<unsigned>(call);
    TheCalls().always       = (TheCalls().always & ~bit) | (fails ? bit : 0);
}

bool Fails(Call call) {
    // The dialog's thread calls too, for the serial output; that none is lost matters to tests of one thread alone.
    const std::atomic_ref counter(TheCalls().counts[static_cast<std::size_t>(call)]);
    const std::size_t count = counter.load(std::memory_order_relaxed) + 1;
    counter.store(count, std::memory_order_relaxed);
    return (call == TheCalls().failing && count == TheCalls().failing_count) ||
           (TheCalls().always >> static_cast<unsigned>(call) & 1U) != 0;
}

}  // namespace nelto::platform::memory
