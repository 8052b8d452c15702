// The thread that the acquisition worker runs on.
#pragma once

#include <windows.h>

#include "core/acquisition_worker.h"
#include "core/program_state.h"

namespace nelto::ui {

/// Dialog thread. Must stay in place between Start and Stop: the thread refers to it.
class WorkerThread {
public:
    WorkerThread(ProgramState& state, OpenInstrument open) : state_(state), open_(open) {}
    ~WorkerThread() { Stop(); }
    WorkerThread(const WorkerThread&)            = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    void Start();
    /// Asks the worker to stop and waits for it without limit; nothing when it does not run.
    void Stop();

private:
    static DWORD WINAPI Run(void* worker_thread);

    ProgramState& state_;
    OpenInstrument open_;
    HANDLE thread_ = nullptr;
};

}  // namespace nelto::ui
