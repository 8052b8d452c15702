#include "d2xx_exports.h"

#include "exports.h"
#include "platform/memory/memory_dynamic_library.h"
#include "transport/d2xx.h"

namespace nelto::doubles {
namespace {

/// Program and simulator have each written down this record for themselves.
std::uint32_t ReadEeprom(void* device, d2xx::EarlyProgramData* data) {
    return FT_EE_Read(device, reinterpret_cast<simulator::EarlyProgramData*>(data));
}

}  // namespace

void InstallD2xx(const std::string& without) {
    platform::memory::LibraryFunctions exports = {
        {"FT_ListDevices", reinterpret_cast<void*>(&FT_ListDevices)},
        {"FT_OpenEx", reinterpret_cast<void*>(&FT_OpenEx)},
        {"FT_Close", reinterpret_cast<void*>(&FT_Close)},
        {"FT_EE_Read", reinterpret_cast<void*>(&ReadEeprom)},
        {"FT_GetDeviceInfo", reinterpret_cast<void*>(&FT_GetDeviceInfo)},
        {"FT_SetBaudRate", reinterpret_cast<void*>(&FT_SetBaudRate)},
        {"FT_Write", reinterpret_cast<void*>(&FT_Write)},
        {"FT_Read", reinterpret_cast<void*>(&FT_Read)},
        {"FT_SetEventNotification", reinterpret_cast<void*>(&FT_SetEventNotification)},
        {"FT_GetQueueStatus", reinterpret_cast<void*>(&FT_GetQueueStatus)},
    };
    exports.erase(without);
    platform::memory::InstallLibrary(kD2xxName, exports);
}

}  // namespace nelto::doubles
