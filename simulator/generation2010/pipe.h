// The COM port that a pipe works on.
#pragma once

#include <cstdint>

namespace simulator {

/// True for the handle of an open port.
[[nodiscard]] bool IsPipe(std::uint32_t pipe);

/// Closes the port of a pipe, whose handle it is.
void ClosePipe(std::uint32_t pipe);

}  // namespace simulator
