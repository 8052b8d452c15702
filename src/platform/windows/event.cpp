#include "platform/event.h"

#include <windows.h>

namespace nelto::platform {

Event::Event() : handle_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

Event::~Event() {
    if (handle_ != nullptr) CloseHandle(handle_);
}

bool Event::Wait(std::uint32_t timeout_ms) const { return WaitForSingleObject(handle_, timeout_ms) == WAIT_OBJECT_0; }

}  // namespace nelto::platform
