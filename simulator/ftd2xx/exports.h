// The functions that the library exports, as they are published. They need no operating system: whoever links them tells what a
// call is surrounded by.
#pragma once

#include <array>

#include "driver.h"

// The library's functions are WINAPI.
#if defined(_WIN32)
#define SIMULATOR_D2XX_CALL __stdcall
#else
#define SIMULATOR_D2XX_CALL
#endif

namespace simulator {

/// One call into the driver, from its first line to its last: with the lock held, what is plugged in looked at before and what is
/// due let in after. Beginning and end are the surroundings' own.
class DriverCall {
public:
    DriverCall();
    ~DriverCall();
    DriverCall(const DriverCall&)            = delete;
    DriverCall& operator=(const DriverCall&) = delete;

    Driver& driver;
    const std::uint64_t now_ms;
};

/// The early EEPROM record. Every early library writes other settings behind its texts, some of them many.
struct EarlyProgramData {
    std::uint16_t vendor_id;
    std::uint16_t product_id;
    char* manufacturer;
    char* manufacturer_id;
    char* description;
    char* serial_number;
    std::array<std::uint8_t, 1000> further_settings;
};

}  // namespace simulator

extern "C" {
std::uint32_t SIMULATOR_D2XX_CALL FT_ListDevices(void* first, void* second, std::uint32_t flags);
std::uint32_t SIMULATOR_D2XX_CALL FT_OpenEx(void* serial, std::uint32_t flags, void** handle);
std::uint32_t SIMULATOR_D2XX_CALL FT_Close(void* handle);
std::uint32_t SIMULATOR_D2XX_CALL FT_EE_Read(void* handle, simulator::EarlyProgramData* data);
std::uint32_t SIMULATOR_D2XX_CALL FT_GetDeviceInfo(void* handle, std::uint32_t* type, std::uint32_t* id, char* serial,
                                                   char* description, void* reserved);
std::uint32_t SIMULATOR_D2XX_CALL FT_SetBaudRate(void* handle, std::uint32_t rate);
std::uint32_t SIMULATOR_D2XX_CALL FT_SetEventNotification(void* handle, std::uint32_t mask, void* event);
std::uint32_t SIMULATOR_D2XX_CALL FT_Write(void* handle, void* bytes, std::uint32_t size, std::uint32_t* written);
std::uint32_t SIMULATOR_D2XX_CALL FT_Read(void* handle, void* bytes, std::uint32_t size, std::uint32_t* read);
std::uint32_t SIMULATOR_D2XX_CALL FT_GetQueueStatus(void* handle, std::uint32_t* queued);
}
