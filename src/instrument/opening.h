// From the "Communication" setting to an analyser that is ready to be read.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/instrument.h"

namespace nelto {

/// Finds, identifies and prepares the analyser on the link that `communication` names: clock set, sub type read. Null on failure,
/// with the reason in `failure` and the cause in the base log. Worker thread.
[[nodiscard]] std::unique_ptr<Instrument> Nelto780Open(std::uint32_t communication,
                                                       const std::atomic<std::uint32_t>& stop_request,
                                                       OpenFailure& failure);

}  // namespace nelto
