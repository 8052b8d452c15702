// The results of the analyser's heating check.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/session.h"

namespace nelto {

/// Fills free records of the table with the results that the analyser has stored. Returns kDone, kTransportFailure or, for an
/// opening answer of the wrong length, kBadAnswer; `whole` says whether all results were read. Worker thread.
std::uint32_t ReadHeatingCheck2004(Session& session, ChannelTable& heating_check, bool& whole);

}  // namespace nelto
