// The one background thread: search, open, configure, read values once a second, search again after a failure.
#pragma once

#include <cstdint>

#include "core/instrument.h"
#include "core/program_state.h"

namespace nelto {

/// Thread body of the worker: runs until the stop request is set and returns 0. A stop takes effect within 100 ms plus the
/// instrument call under way.
std::uint32_t AcquisitionWorker(ProgramState& state, OpenInstrument open);

}  // namespace nelto
