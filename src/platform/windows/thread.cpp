#include "platform/thread.h"

#include <windows.h>

#include <utility>

namespace nelto::platform {
namespace {

constexpr DWORD kCancelPeriod = 100;  // milliseconds

static_assert(kNoLimit == INFINITE);

HANDLE ToHandle(std::uintptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

DWORD WINAPI RunThread(void* thread) {
    static_cast<const Thread*>(thread)->Run();
    return 0;
}

}  // namespace

bool Thread::Start(Body body, void* argument) {
    Join(kNoLimit);
    body_     = body;
    argument_ = argument;
    handle_   = reinterpret_cast<std::uintptr_t>(CreateThread(nullptr, 0, RunThread, this, 0, nullptr));
    return handle_ != 0;
}

bool Thread::EndsWithin(std::uint32_t limit_ms) const {
    return handle_ == 0 || WaitForSingleObject(ToHandle(handle_), limit_ms) != WAIT_TIMEOUT;
}

void Thread::Join(std::uint32_t grace_ms) {
    if (handle_ == 0) return;
    for (DWORD wait = grace_ms; !EndsWithin(wait); wait = kCancelPeriod) CancelSynchronousIo(ToHandle(handle_));
    CloseHandle(ToHandle(std::exchange(handle_, 0)));
}

}  // namespace nelto::platform
