#include "transport/d2xx.h"

#include <utility>

#include "platform/file_version.h"
#include "platform/number_text.h"
#include "platform/wide_text.h"

namespace nelto::d2xx {
namespace {

using platform::FindFunction;

constexpr const wchar_t* kLibraryName        = L"FTD2XX.DLL";
constexpr std::size_t kVersionSize           = 512;
constexpr std::uint32_t kFirstWithDeviceInfo = 3;  // major version

bool ReadIdentification(Identification& identification) {
    std::array<wchar_t, kVersionSize> version{};
    if (!platform::SystemFileVersion(kLibraryName, version)) return false;
    const std::uint32_t major = platform::LeadingNumber(platform::TextIn(version), UINT32_MAX);
    identification            = major < kFirstWithDeviceInfo ? Identification::kEeprom : Identification::kDeviceInfo;
    return true;
}

bool FindDeviceFunctions(platform::LibraryHandle library, Purpose purpose, DeviceFunctions& functions) {
    // May be missing; whoever needs it looks whether it is there.
    static_cast<void>(FindFunction(library, "FT_GetDeviceInfo", functions.get_device_info));
    const bool can_set_up =
        FindFunction(library, "FT_SetBaudRate", functions.set_baud_rate) || purpose == Purpose::kList;
    return FindFunction(library, "FT_ListDevices", functions.list_devices) &&
           FindFunction(library, "FT_OpenEx", functions.open_ex) &&
           FindFunction(library, "FT_Close", functions.close) &&
           FindFunction(library, "FT_EE_Read", functions.read_eeprom) && can_set_up;
}

}  // namespace

Library& Library::operator=(Library&& other) noexcept {
    Unload();
    handle_ = other.Release();
    return *this;
}

void Library::Unload() {
    if (IsLoaded()) platform::UnloadLibrary(Release());
}

platform::LibraryHandle Library::Release() { return std::exchange(handle_, platform::LibraryHandle::kNone); }

bool Load(Purpose purpose, Driver& driver) {
    driver.library = Library(platform::LoadLibraryByName(kLibraryName));
    if (!driver.library.IsLoaded()) return false;
    if (!ReadIdentification(driver.identification)) {
        // Deliberately left loaded: a library whose version cannot be read is never unloaded.
        static_cast<void>(driver.library.Release());
        return false;
    }
    return FindDeviceFunctions(driver.library.Handle(), purpose, driver.functions);
}

bool FindLinkFunctions(platform::LibraryHandle library, LinkFunctions& functions) {
    return FindFunction(library, "FT_Write", functions.write) &&
           FindFunction(library, "FT_SetEventNotification", functions.set_event_notification) &&
           FindFunction(library, "FT_GetQueueStatus", functions.get_queue_status) &&
           FindFunction(library, "FT_Read", functions.read);
}

Close FindClose(platform::LibraryHandle library) {
    Close close = nullptr;
    static_cast<void>(FindFunction(library, "FT_Close", close));
    return close;
}

}  // namespace nelto::d2xx
