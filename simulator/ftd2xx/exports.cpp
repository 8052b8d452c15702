#include "exports.h"

#include <algorithm>
#include <string>
#include <utility>

namespace simulator {
namespace {

// Flags of the published interface.
constexpr std::uint32_t kListNumberOnly     = 0x80000000;
constexpr std::uint32_t kListByIndex        = 0x40000000;
constexpr std::uint32_t kOpenBySerialNumber = 1;
constexpr std::uint32_t kEventReceivedChar  = 1;
constexpr std::uint32_t kDeviceType         = 5;  // FT232R
constexpr std::uint8_t kFurtherSetting      = 0xEE;

// Texts as long as they may be: who has less room finds out.
constexpr const char* kManufacturer   = "Nelto, maker of simulated goods";
constexpr const char* kManufacturerId = "NELTO SIMULATED";
constexpr const char* kDescription    = "Flue-gas analyser that is simulated from the wire to the plugs!";

void CopyOut(char* room, const std::string& text) {
    if (room != nullptr) std::copy_n(text.c_str(), text.size() + 1, room);
}

D2xxHandle HandleOf(void* handle) { return reinterpret_cast<D2xxHandle>(handle); }

template <typename Call>
std::uint32_t Run(Call call) {
    const DriverCall under_way;
    return static_cast<std::uint32_t>(call(under_way.driver, under_way.now_ms));
}

}  // namespace
}  // namespace simulator

using namespace simulator;  // the exported functions are nothing but this library's face

extern "C" {

std::uint32_t SIMULATOR_D2XX_CALL FT_ListDevices(void* first, void* second, std::uint32_t flags) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (flags == kListNumberOnly && first != nullptr && second == nullptr) {
            std::uint32_t count     = 0;
            const D2xxStatus status = driver.CountDevices(count);
            if (status == D2xxStatus::kOk) *static_cast<std::uint32_t*>(first) = count;
            return status;
        }
        if (flags != (kListByIndex | kOpenBySerialNumber) || second == nullptr) return D2xxStatus::kInvalidParameter;
        std::string serial;
        const D2xxStatus status = driver.SerialByIndex(reinterpret_cast<std::uintptr_t>(first), serial);
        if (status == D2xxStatus::kOk) CopyOut(static_cast<char*>(second), serial);
        return status;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_OpenEx(void* serial, std::uint32_t flags, void** handle) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (flags != kOpenBySerialNumber || serial == nullptr || handle == nullptr)
            return D2xxStatus::kInvalidParameter;
        D2xxHandle opened       = 0;
        const D2xxStatus status = driver.Open(static_cast<const char*>(serial), opened);
        *handle                 = reinterpret_cast<void*>(opened);
        return status;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_Close(void* handle) {
    return Run([=](Driver& driver, std::uint64_t) { return driver.Close(HandleOf(handle)); });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_EE_Read(void* handle, simulator::EarlyProgramData* data) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (data == nullptr) return D2xxStatus::kInvalidParameter;
        D2xxStatus status          = D2xxStatus::kOk;
        const Converter* converter = driver.Identify("FT_EE_Read", HandleOf(handle), status);
        if (converter == nullptr) return status;
        data->vendor_id  = converter->Setup().vendor_id;
        data->product_id = converter->Setup().product_id;
        CopyOut(data->manufacturer, kManufacturer);
        CopyOut(data->manufacturer_id, kManufacturerId);
        CopyOut(data->description, kDescription);
        CopyOut(data->serial_number, converter->ToldSerial());
        data->further_settings.fill(kFurtherSetting);
        return D2xxStatus::kOk;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_GetDeviceInfo(void* handle, std::uint32_t* type, std::uint32_t* id, char* serial,
                                                   char* description, void* reserved) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (reserved != nullptr) return D2xxStatus::kInvalidParameter;
        D2xxStatus status          = D2xxStatus::kOk;
        const Converter* converter = driver.Identify("FT_GetDeviceInfo", HandleOf(handle), status);
        if (converter == nullptr) return status;
        if (type != nullptr) *type = kDeviceType;
        if (id != nullptr) *id = (std::uint32_t{converter->Setup().vendor_id} << 16) | converter->Setup().product_id;
        CopyOut(serial, converter->ToldSerial());
        CopyOut(description, kDescription);
        return D2xxStatus::kOk;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_SetBaudRate(void* handle, std::uint32_t rate) {
    return Run([=](Driver& driver, std::uint64_t) { return driver.SetBaudRate(HandleOf(handle), rate); });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_SetEventNotification(void* handle, std::uint32_t mask, void* event) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (mask != kEventReceivedChar) return D2xxStatus::kInvalidParameter;
        return driver.SetEvent(HandleOf(handle), event);
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_Write(void* handle, void* bytes, std::uint32_t size, std::uint32_t* written) {
    return Run([=](Driver& driver, std::uint64_t now_ms) {
        if (bytes == nullptr || written == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count = 0;
        const D2xxStatus status =
            driver.Write(HandleOf(handle), {static_cast<const std::uint8_t*>(bytes), size}, count, now_ms);
        *written = count;
        return status;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_Read(void* handle, void* bytes, std::uint32_t size, std::uint32_t* read) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (bytes == nullptr || read == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count     = 0;
        const D2xxStatus status = driver.Read(HandleOf(handle), {static_cast<std::uint8_t*>(bytes), size}, count);
        *read                   = count;
        return status;
    });
}

std::uint32_t SIMULATOR_D2XX_CALL FT_GetQueueStatus(void* handle, std::uint32_t* queued) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (queued == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count     = 0;
        const D2xxStatus status = driver.QueueStatus(HandleOf(handle), count);
        *queued                 = count;
        return status;
    });
}

}  // extern "C"
