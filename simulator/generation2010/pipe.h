// The COM port that a pipe works on.
#pragma once

#include <cstdint>

namespace simulator {

/// Closes the port of a pipe, whose handle it is.
void ClosePipe(std::uint32_t pipe);

}  // namespace simulator
