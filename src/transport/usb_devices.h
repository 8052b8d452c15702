// The FTDI devices that are attached, one after the other: which of them is an analyser of the wanted type.
#pragma once

#include <array>
#include <cstdint>

#include "transport/d2xx.h"

namespace nelto {

/// Result codes of the USB link.
enum UsbResult : std::uint32_t {
    kUsbOk              = 0,
    kUsbWrongDeviceType = 1,  // not 2, 9 or 16
    kUsbNotAvailable    = 2,  // library not loadable, version not readable, function missing; or link not open
    kUsbDriverFailed    = 3,  // a driver call failed, wrote less than asked, or delivered other than it had announced
    kUsbNoHandle        = 4,
    kUsbNoDevice        = 5,
    kUsbTimeout         = 6,
    kUsbWrongStart      = 7,  // a received packet does not begin with 0x21
    kUsbProtocolFault   = 8,
    kUsbReplyTooLong    = 9,
};

/// Steps of looking at the devices: the listing reports the failed one by this base plus the driver's status.
enum UsbStep : std::uint32_t {
    kUsbStepCount      = 1000,
    kUsbStepSerial     = 2000,
    kUsbStepOpen       = 3000,
    kUsbStepEeprom     = 4000,
    kUsbStepDeviceInfo = 5000,
};

/// Device types are USB product IDs at the same time.
[[nodiscard]] constexpr bool IsUsbDeviceType(std::uint32_t type) { return type == 2 || type == 9 || type == 16; }

/// What a device tells of itself.
struct UsbDeviceIdentity {
    std::uint32_t vendor_id     = 0;
    std::uint32_t product_id    = 0;
    std::uint32_t serial_number = 0;  // read as a decimal number, 0 for one that is none
};

/// True for a device of the maker and of this type.
[[nodiscard]] bool IsAnalyser(const UsbDeviceIdentity& identity, std::uint32_t device_type);

/// One device, open while it is looked at; closes it in the end unless it is released.
class UsbCandidate {
public:
    explicit UsbCandidate(const d2xx::DeviceFunctions& functions) : functions_(functions) {}
    ~UsbCandidate() {
        if (is_open_) static_cast<void>(functions_.close(device_));
    }
    UsbCandidate(const UsbCandidate&)            = delete;
    UsbCandidate& operator=(const UsbCandidate&) = delete;

    /// Opens device `index`, counted from 0. Returns 0 or a UsbStep plus the driver's status.
    [[nodiscard]] std::uint32_t Open(std::uint32_t index);

    /// Asks the open device what it is. Returns 0, a UsbStep plus the driver's status, or kUsbNotAvailable when the
    /// library does not have the function for it.
    [[nodiscard]] std::uint32_t Identify(d2xx::Identification identification, UsbDeviceIdentity& identity);

    /// Gives the open device out of hand: from now on it is the caller's.
    d2xx::Device Release();

private:
    /// More than the library's documentation asks for each text.
    using Text = std::array<char, 256>;

    [[nodiscard]] std::uint32_t IdentifyByEeprom(UsbDeviceIdentity& identity);
    [[nodiscard]] std::uint32_t IdentifyByDeviceInfo(UsbDeviceIdentity& identity);

    const d2xx::DeviceFunctions& functions_;
    d2xx::Device device_ = nullptr;
    bool is_open_        = false;
    Text listed_serial_{};
};

/// Counts the attached devices. Returns 0 or kUsbStepCount plus the driver's status.
[[nodiscard]] std::uint32_t CountUsbDevices(const d2xx::DeviceFunctions& functions, std::uint32_t& count);

}  // namespace nelto
