// The D2XX library of FTDI converters: its published functions as far as they are used here, and the loading of it.
#pragma once

#include <array>
#include <cstdint>

#include "platform/dynamic_library.h"

// The library's functions are WINAPI. That convention exists only on 32-bit Windows; 64-bit compilers pass over it.
#if defined(_WIN32)
#define NELTO_D2XX_CALL __stdcall
#else
#define NELTO_D2XX_CALL
#endif

namespace nelto::d2xx {

using Status = std::uint32_t;
using Device = void*;

constexpr Status kOk = 0, kDeviceNotFound = 2, kDeviceNotOpened = 3;

// Flags of FT_ListDevices and FT_OpenEx, event of FT_SetEventNotification.
constexpr std::uint32_t kListNumberOnly     = 0x80000000;
constexpr std::uint32_t kListByIndex        = 0x40000000;
constexpr std::uint32_t kOpenBySerialNumber = 0x00000001;
constexpr std::uint32_t kEventReceivedChar  = 0x00000001;

/// The program data of the EEPROM as early libraries have it: no signature words before the vendor ID. The caller gives
/// the four texts their room. Aligned as the running bitness does by nature.
struct EarlyProgramData {
    std::uint16_t vendor_id  = 0;
    std::uint16_t product_id = 0;
    char* manufacturer       = nullptr;
    char* manufacturer_id    = nullptr;
    char* description        = nullptr;
    char* serial_number      = nullptr;
    std::array<std::uint8_t, 1024> further_settings{};  // not used here; the library writes them
};

// Arguments in this order: list devices (number out or index, null or text out, flags), open (serial number text,
// flags, device out), device information (device, type out, product and vendor ID out, serial number text out,
// description out, null).
using ListDevices          = Status(NELTO_D2XX_CALL*)(void*, void*, std::uint32_t);
using OpenEx               = Status(NELTO_D2XX_CALL*)(void*, std::uint32_t, Device*);
using Close                = Status(NELTO_D2XX_CALL*)(Device);
using ReadEeprom           = Status(NELTO_D2XX_CALL*)(Device, EarlyProgramData*);
using GetDeviceInfo        = Status(NELTO_D2XX_CALL*)(Device, std::uint32_t*, std::uint32_t*, char*, char*, void*);
using SetBaudRate          = Status(NELTO_D2XX_CALL*)(Device, std::uint32_t);
using Write                = Status(NELTO_D2XX_CALL*)(Device, void*, std::uint32_t, std::uint32_t*);
using Read                 = Status(NELTO_D2XX_CALL*)(Device, void*, std::uint32_t, std::uint32_t*);
using SetEventNotification = Status(NELTO_D2XX_CALL*)(Device, std::uint32_t, void*);
using GetQueueStatus       = Status(NELTO_D2XX_CALL*)(Device, std::uint32_t*);

/// What finds, opens and closes devices. Each is set but the last two: `get_device_info` may be missing,
/// `set_baud_rate` too when it was not asked for.
struct DeviceFunctions {
    ListDevices list_devices      = nullptr;
    OpenEx open_ex                = nullptr;
    Close close                   = nullptr;
    ReadEeprom read_eeprom        = nullptr;
    GetDeviceInfo get_device_info = nullptr;
    SetBaudRate set_baud_rate     = nullptr;
};

/// What exchanges bytes with an open device.
struct LinkFunctions {
    Write write                                 = nullptr;
    SetEventNotification set_event_notification = nullptr;
    GetQueueStatus get_queue_status             = nullptr;
    Read read                                   = nullptr;
};

/// One load of the library; unloads it in the end unless it is released.
class Library {
public:
    Library() = default;
    explicit Library(platform::LibraryHandle handle) : handle_(handle) {}
    ~Library() { Unload(); }
    Library(Library&& other) noexcept : handle_(other.Release()) {}
    Library& operator=(Library&& other) noexcept;

    [[nodiscard]] platform::LibraryHandle Handle() const { return handle_; }
    [[nodiscard]] bool IsLoaded() const { return handle_ != platform::LibraryHandle::kNone; }
    void Unload();
    /// Gives the load out of hand: from now on it is the caller's.
    platform::LibraryHandle Release();

private:
    platform::LibraryHandle handle_ = platform::LibraryHandle::kNone;
};

/// How a device tells what it is.
enum class Identification : std::uint8_t {
    kEeprom,      // library versions below 3
    kDeviceInfo,  // 3 and above
};

enum class Purpose : std::uint8_t { kList, kOpen };

/// The loaded library, and what is needed of it to look for devices.
struct Driver {
    Library library;
    Identification identification = Identification::kEeprom;
    DeviceFunctions functions;
};

/// Loads the library by its bare name, decides by the version of the copy in the system directory, whichever copy was
/// loaded, how devices are identified, and finds the functions that `purpose` needs. False when anything is missing.
[[nodiscard]] bool Load(Purpose purpose, Driver& driver);

/// False when one is missing.
[[nodiscard]] bool FindLinkFunctions(platform::LibraryHandle library, LinkFunctions& functions);

/// FT_Close, or null.
[[nodiscard]] Close FindClose(platform::LibraryHandle library);

}  // namespace nelto::d2xx
