// The user's time zone.
#pragma once

#include <cstdint>

namespace nelto::platform {

/// By how many minutes local time is ahead of universal time now.
[[nodiscard]] std::int32_t MinutesAheadOfUniversalTime();

}  // namespace nelto::platform
