#include "platform/clock.h"

#include <windows.h>

#include "platform/lock.h"

namespace nelto::platform {

std::uint32_t TickMilliseconds() { return GetTickCount(); }

void SleepMilliseconds(std::uint32_t milliseconds) { Sleep(milliseconds); }

CalendarTime LocalTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {.year   = now.wYear,
            .month  = now.wMonth,
            .day    = now.wDay,
            .hour   = now.wHour,
            .minute = now.wMinute,
            .second = now.wSecond};
}

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

void ShortLock::GiveWay() { SwitchToThread(); }

}  // namespace nelto::platform
