// The threads beside a program's own: the acquisition worker, and the writer of the serial output.
#pragma once

#include "core/acquisition_worker.h"
#include "core/program_state.h"
#include "core/serial_output.h"
#include "platform/thread.h"

namespace nelto {

/// Used by the dialog, or whoever else shows the values. Must stay in place between Start and Stop: the thread refers to it.
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
    static void Run(void* worker_thread);

    ProgramState& state_;
    OpenInstrument open_;
    platform::Thread thread_;
};

/// Dialog thread; writes one block at a time on a thread of its own.
class SerialOutputThread {
public:
    SerialOutputThread() = default;
    ~SerialOutputThread() { Stop(); }
    SerialOutputThread(const SerialOutputThread&)            = delete;
    SerialOutputThread& operator=(const SerialOutputThread&) = delete;

    /// Sends the measurement when the setting asks for it; nothing while the block before is still under way.
    void Send(const ProgramState& state, const Measurement& measurement);
    /// Leaves a block under way a short time, cancels the rest, and waits for its writer.
    void Stop();

private:
    static void Run(void* output);

    SerialOutput output_;
    platform::Thread thread_;
};

}  // namespace nelto
