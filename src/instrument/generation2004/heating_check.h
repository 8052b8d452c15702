// The results of the analyser's heating check.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/instrument_connection.h"

namespace nelto {

/// Fills free records of the table with the results that the analyser has stored. Returns kDone, kTransportFailure or, for an
/// opening answer of the wrong length, kBadAnswer. Used whatever the instrument kind. Worker thread.
std::uint32_t ReadHeatingCheck2004(const InstrumentConnection& connection, ChannelTable& heating_check);

}  // namespace nelto
