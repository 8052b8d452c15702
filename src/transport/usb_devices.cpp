#include "transport/usb_devices.h"

#include <string_view>
#include <utility>

#include "platform/number_text.h"

namespace nelto {
namespace {

constexpr std::uint32_t kVendorId = 0x3C2D;

/// The text as a decimal number; it ends at its NUL or with the room, whatever the library wrote.
template <std::size_t Size>
std::uint32_t SerialNumberOf(const std::array<char, Size>& text) {
    return platform::LeadingNumber(std::string_view(text.data(), text.size()), UINT32_MAX);
}

}  // namespace

bool IsAnalyser(const UsbDeviceIdentity& identity, std::uint32_t device_type) {
    return identity.vendor_id == kVendorId && identity.product_id == device_type;
}

std::uint32_t CountUsbDevices(const d2xx::DeviceFunctions& functions, std::uint32_t& count) {
    const d2xx::Status status = functions.list_devices(&count, nullptr, d2xx::kListNumberOnly);
    return status == d2xx::kOk ? kUsbOk : kUsbStepCount + status;
}

std::uint32_t UsbCandidate::Open(std::uint32_t index) {
    // The library takes the index in place of a pointer.
    void* const index_argument = reinterpret_cast<void*>(std::uintptr_t{index});  // NOLINT(performance-no-int-to-ptr)
    d2xx::Status status =
        functions_.list_devices(index_argument, listed_serial_.data(), d2xx::kListByIndex | d2xx::kOpenBySerialNumber);
    if (status != d2xx::kOk) return kUsbStepSerial + status;
    listed_serial_.back() = '\0';
    status                = functions_.open_ex(listed_serial_.data(), d2xx::kOpenBySerialNumber, &device_);
    if (status != d2xx::kOk) return kUsbStepOpen + status;
    is_open_ = true;
    return kUsbOk;
}

std::uint32_t UsbCandidate::Identify(d2xx::Identification identification, UsbDeviceIdentity& identity) {
    return identification == d2xx::Identification::kEeprom ? IdentifyByEeprom(identity)
                                                           : IdentifyByDeviceInfo(identity);
}

/// The serial number is the listed one here.
std::uint32_t UsbCandidate::IdentifyByEeprom(UsbDeviceIdentity& identity) {
    Text manufacturer{};
    Text manufacturer_id{};
    Text description{};
    Text serial_number{};
    d2xx::EarlyProgramData data{.manufacturer    = manufacturer.data(),
                                .manufacturer_id = manufacturer_id.data(),
                                .description     = description.data(),
                                .serial_number   = serial_number.data()};
    const d2xx::Status status = functions_.read_eeprom(device_, &data);
    if (status != d2xx::kOk) return kUsbStepEeprom + status;
    identity = {
        .vendor_id = data.vendor_id, .product_id = data.product_id, .serial_number = SerialNumberOf(listed_serial_)};
    return kUsbOk;
}

/// The serial number is the one that the device tells here.
std::uint32_t UsbCandidate::IdentifyByDeviceInfo(UsbDeviceIdentity& identity) {
    if (functions_.get_device_info == nullptr) return kUsbNotAvailable;
    std::uint32_t type = 0;
    std::uint32_t id   = 0;
    Text serial_number{};
    Text description{};
    const d2xx::Status status =
        functions_.get_device_info(device_, &type, &id, serial_number.data(), description.data(), nullptr);
    if (status != d2xx::kOk) return kUsbStepDeviceInfo + status;
    identity = {.vendor_id = id >> 16, .product_id = id & 0xFFFF, .serial_number = SerialNumberOf(serial_number)};
    return kUsbOk;
}

d2xx::Device UsbCandidate::Release() {
    is_open_ = false;
    return std::exchange(device_, nullptr);
}

}  // namespace nelto
