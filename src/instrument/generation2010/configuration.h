// Which quantities an analyser of generation 2010 shows.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/generation2010/text_mapper.h"
#include "instrument/session.h"

namespace nelto {

/// Clears the table and fills it from its first record: measurement cache, current values, fuel with CO2max and O2Ref, device,
/// version, serial number and smoke pump, as far as there is room. `model` is an instrument kind. Returns kDone or kBadAnswer;
/// after an error the channels added so far stay. Worker thread.
[[nodiscard]] std::uint32_t GetOnlineConfiguration2010(Session& session, std::uint32_t model, const TextMapper& texts,
                                                       ChannelTable& channels);

}  // namespace nelto
