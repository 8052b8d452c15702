// Current values of an analyser of generation 2010.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/generation2010/measurement_cache.h"

namespace nelto {

/// Reads the records of all current values. Returns kDone or kBadAnswer, the latter also for a number of values that is refused.
/// Worker thread.
[[nodiscard]] std::uint32_t ReadCurrentValues(const InstrumentConnection& connection, RecordArray& records);

/// Updates the channels that hold the quantities reported now; quantities without a channel are passed over. Returns kDone or
/// kBadAnswer. Worker thread.
[[nodiscard]] std::uint32_t GetOnlineValues2010(const InstrumentConnection& connection, ChannelTable& channels);

}  // namespace nelto
