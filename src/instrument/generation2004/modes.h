// Slave mode, sub type and clock of a generation-2004 780, and the clock of a 710. Worker thread.
#pragma once

#include <cstdint>

#include "instrument/instrument_connection.h"

namespace nelto {

/// Switches the remote-controlled mode. Returns kDone, also when the analyser is in that mode already, kTransportFailure,
/// kBadAnswer or kModeChangeFailed.
std::uint32_t SetSlaveMode2004(const InstrumentConnection& connection, bool on);

/// Reads the sub type, 0 to 255; over infrared it stays as it is. Returns kDone or kTransportFailure.
[[nodiscard]] std::uint32_t GetSubType2004(const InstrumentConnection& connection, std::uint32_t& sub_type);

/// Sets the analyser's clock to the local time, over USB alone. Returns kDone or kTransportFailure.
[[nodiscard]] std::uint32_t SynchronizeClock2004(const InstrumentConnection& connection);

/// Sets date and time of a 710. Returns kDone or kBadAnswer.
[[nodiscard]] std::uint32_t SynchronizeClock710(const InstrumentConnection& connection);

}  // namespace nelto
