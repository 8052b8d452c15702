#include "platform/time_zone.h"

#include <windows.h>

namespace nelto::platform {

std::int32_t MinutesAheadOfUniversalTime() {
    TIME_ZONE_INFORMATION zone{};
    LONG bias = 0;
    switch (GetTimeZoneInformation(&zone)) {
        case TIME_ZONE_ID_DAYLIGHT: bias = zone.DaylightBias; break;
        case TIME_ZONE_ID_STANDARD: bias = zone.StandardBias; break;
        default: break;
    }
    return static_cast<std::int32_t>(-(zone.Bias + bias));
}

}  // namespace nelto::platform
