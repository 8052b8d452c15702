// The results of the analyser's heating check.
#pragma once

#include <cstdint>

#include "core/channel_table.h"
#include "instrument/session.h"

namespace nelto {

/// Fills free records of `results` with what the analyser has stored, list by list; for a list that cannot be read, with what
/// `earlier` holds of it. Returns kDone, kTransportFailure or, for an opening answer of the wrong length, kBadAnswer. Worker
/// thread.
std::uint32_t ReadHeatingCheck2004(Session& session, const ChannelTable& earlier, ChannelTable& results);

}  // namespace nelto
