// Which quantities a generation-2004 analyser shows.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/session.h"

namespace nelto {

/// Fills the table from its first record: the measured channels with their labels, up to six additional channels, the fuel with
/// CO2max and O2Ref, device, version, serial number and smoke pump. Returns kDone or kBadAnswer; after a failure the
/// channels filled so far stay. Worker thread.
[[nodiscard]] std::uint32_t Nelto780GetOnlineConfiguration2004(Session& session, ChannelTable& channels);

}  // namespace nelto
