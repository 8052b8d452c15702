#include "core/worker_thread.h"

namespace nelto {
namespace {

// What a worker that is asked to stop may take, in milliseconds, before it counts as held by a driver: the time-out of the longest
// exchange, and what leaving the analyser needs, two exchanges of 200 ms and the reply that is still coming in.
constexpr std::uint32_t kLongestExchange = 3000;
constexpr std::uint32_t kLeaving         = 1000;

constexpr std::uint32_t kOutputGrace = 500;  // milliseconds; a block takes less at 9600 baud with a dozen channels

}  // namespace

void WorkerThread::Start() {
    state_.stop_request = 0;
    state_.status       = kSearching;
    static_cast<void>(thread_.Start(Run, this));
}

void WorkerThread::Stop() {
    state_.stop_request = 1;
    thread_.Join(kLongestExchange + kLeaving);
}

void WorkerThread::Run(void* worker_thread) {
    auto* const self = static_cast<WorkerThread*>(worker_thread);
    AcquisitionWorker(self->state_, self->open_);
}

void SerialOutputThread::Send(const ProgramState& state, const Measurement& measurement) {
    if (output_.Begin(state, measurement) && !thread_.Start(Run, &output_)) output_.Drop();
}

void SerialOutputThread::Stop() {
    if (!thread_.EndsWithin(kOutputGrace)) output_.Cancel();
    thread_.Join(0);
}

void SerialOutputThread::Run(void* output) { static_cast<SerialOutput*>(output)->Write(); }

}  // namespace nelto
