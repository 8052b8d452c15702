// The live values of a generation-2004 analyser.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/instrument_connection.h"

namespace nelto {

/// Updates value type, value and resolution of the channels, record by record in the order of the configuration. Returns kDone,
/// kBadAnswer, or kNoValuesZeroing while the analyser zeroes its sensors. Worker thread.
[[nodiscard]] std::uint32_t Nelto780GetOnlineValues2004(const InstrumentConnection& connection, ChannelTable& channels);

}  // namespace nelto
