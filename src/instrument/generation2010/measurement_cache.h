// What an analyser of generation 2010 remembers of its last measurements.
#pragma once

#include <cstdint>

#include "instrument/generation2010/text_mapper.h"
#include "instrument/session.h"
#include "instrument/table_builder.h"

namespace nelto {

/// Adds all values of the analyser's measurement cache, position by position. Returns kDone or kBadAnswer; what was added before
/// an error stays. Worker thread.
[[nodiscard]] std::uint32_t GetMeasCache(Session& session, const TextMapper& texts, TableBuilder& channels);

}  // namespace nelto
