// The labelling pass over the tables after each configuration read.
#pragma once

#include <array>
#include <cstdint>

#include "core/program_state.h"

namespace nelto {

/// Gives the special channels their labels in the user's language, takes the instrument name from the device channel and
/// sets `oil_fuel` to 1 when the fuel channel's value is exactly 1.0, else 0; without a fuel channel it stays. Worker thread.
void LabelChannelTable(Measurement& measurement, std::atomic<std::uint32_t>& oil_fuel);

/// Gives the heating-check results their labels. Worker thread.
void LabelHeatingCheckTable(ChannelTable& table);

}  // namespace nelto
