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

void ShortLock::GiveWay() { SwitchToThread(); }

}  // namespace nelto::platform
