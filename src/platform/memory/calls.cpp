#include "platform/memory/memory_calls.h"

namespace nelto::platform::memory {

Calls& TheCalls() {
    static Calls calls;
    return calls;
}

bool Fails(Call call) {
    const std::size_t count = ++TheCalls().counts[static_cast<std::size_t>(call)];
    return call == TheCalls().failing && count == TheCalls().failing_count;
}

}  // namespace nelto::platform::memory
