#include "ui/worker_thread.h"

namespace nelto::ui {

void WorkerThread::Start() {
    state_.stop_request = 0;
    state_.status       = kSearching;
    thread_             = CreateThread(nullptr, 0, Run, this, 0, nullptr);
}

void WorkerThread::Stop() {
    if (thread_ == nullptr) return;
    state_.stop_request = 1;
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
    thread_ = nullptr;
}

DWORD WINAPI WorkerThread::Run(void* worker_thread) {
    auto* const self = static_cast<WorkerThread*>(worker_thread);
    return AcquisitionWorker(self->state_, self->open_);
}

}  // namespace nelto::ui
