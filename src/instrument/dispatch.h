// Every operation that differs by instrument kind: one dispatcher an operation, one row a kind.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/instrument_connection.h"

namespace nelto {

/// Kinds that are reached through the maker's libraries.
[[nodiscard]] bool IsGeneration2010(std::uint32_t kind);

/// InstrumentResult; kUnknownInstrument for an unknown kind.
std::uint32_t SetSlaveMode(InstrumentConnection& connection, bool on);
[[nodiscard]] std::uint32_t GetSubType(InstrumentConnection& connection);
[[nodiscard]] std::uint32_t SynchronizeClock(InstrumentConnection& connection);

/// InstrumentResult; 1 for an unknown kind.
std::uint32_t SetActiveFuel(InstrumentConnection& connection, std::int32_t fuel_number);
[[nodiscard]] std::uint32_t GetOnlineConfiguration(InstrumentConnection& connection, ChannelTable& channels);
[[nodiscard]] std::uint32_t GetOnlineValues(InstrumentConnection& connection, ChannelTable& channels);

}  // namespace nelto
