#include "ui/thread.h"

#include <utility>

namespace nelto::ui {
namespace {

constexpr DWORD kCancelPeriod = 100;  // milliseconds

}  // namespace

bool Thread::Start(LPTHREAD_START_ROUTINE body, void* argument) {
    Join(INFINITE);
    thread_ = CreateThread(nullptr, 0, body, argument, 0, nullptr);
    return thread_ != nullptr;
}

bool Thread::EndsWithin(DWORD limit_ms) const {
    return thread_ == nullptr || WaitForSingleObject(thread_, limit_ms) != WAIT_TIMEOUT;
}

void Thread::Join(DWORD grace_ms) {
    if (thread_ == nullptr) return;
    for (DWORD wait = grace_ms; !EndsWithin(wait); wait = kCancelPeriod) CancelSynchronousIo(thread_);
    CloseHandle(std::exchange(thread_, nullptr));
}

}  // namespace nelto::ui
