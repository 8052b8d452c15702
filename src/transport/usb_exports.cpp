// The five functions for other programs. They are exported from NeltoUSB.dll and from the program itself.
#define NELTO_USB_EXPORTS
#include "NeltoUSB.h"

#include <span>

#include "transport/usb_exchange.h"

namespace {

using nelto::LinkStatus;
using nelto::UsbPort;

static_assert(nelto::IsUsbDeviceType(NELTO_USB_TYPE_2) && nelto::IsUsbDeviceType(NELTO_USB_TYPE_9) &&
              nelto::IsUsbDeviceType(NELTO_USB_TYPE_16));

// The published result codes and those of the link are the same ones.
constexpr bool Same(NeltoUSBResult published, std::uint32_t own) {
    return static_cast<std::uint32_t>(published) == own;
}
static_assert(Same(NELTO_USB_OK, nelto::kUsbOk));
static_assert(Same(NELTO_USB_WRONG_DEVICE_TYPE, nelto::kUsbWrongDeviceType));
static_assert(Same(NELTO_USB_NOT_AVAILABLE, nelto::kUsbNotAvailable));
static_assert(Same(NELTO_USB_DRIVER_FAILED, nelto::kUsbDriverFailed));
static_assert(Same(NELTO_USB_NO_HANDLE, nelto::kUsbNoHandle));
static_assert(Same(NELTO_USB_NO_DEVICE, nelto::kUsbNoDevice));
static_assert(Same(NELTO_USB_TIMEOUT, nelto::kUsbTimeout));
static_assert(Same(NELTO_USB_WRONG_START, nelto::kUsbWrongStart));
static_assert(Same(NELTO_USB_PROTOCOL_FAULT, nelto::kUsbProtocolFault));
static_assert(Same(NELTO_USB_REPLY_TOO_LONG, nelto::kUsbReplyTooLong));
static_assert(Same(NELTO_USB_COUNT_FAILED, nelto::kUsbStepCount));
static_assert(Same(NELTO_USB_SERIAL_FAILED, nelto::kUsbStepSerial));
static_assert(Same(NELTO_USB_OPEN_FAILED, nelto::kUsbStepOpen));
static_assert(Same(NELTO_USB_EEPROM_FAILED, nelto::kUsbStepEeprom));
static_assert(Same(NELTO_USB_DEVICE_INFO_FAILED, nelto::kUsbStepDeviceInfo));

/// Array and length of a caller; a null array has no elements.
template <typename Element>
std::span<Element> Room(Element* elements, std::uint32_t count) {
    return {elements, elements == nullptr ? 0 : count};
}

void Report(std::uint32_t* out, std::size_t value) {
    if (out != nullptr) *out = static_cast<std::uint32_t>(value);
}

UsbPort* PortOf(NeltoUSBHandle handle) { return reinterpret_cast<UsbPort*>(handle); }

std::uint32_t ResultOf(LinkStatus status) {
    switch (status) {
        case LinkStatus::kOk: return nelto::kUsbOk;
        case LinkStatus::kTimeOut: return nelto::kUsbTimeout;
        case LinkStatus::kWrongStart: return nelto::kUsbWrongStart;
        case LinkStatus::kDriverFailed: return nelto::kUsbDriverFailed;
        case LinkStatus::kReplyTooLong: return nelto::kUsbReplyTooLong;
        default: return nelto::kUsbProtocolFault;
    }
}

}  // namespace

std::uint32_t NeltoUSBGetDevices(std::uint32_t device_type, std::uint32_t* serials, std::uint32_t capacity,
                                 std::uint32_t* count) {
    Report(count, 0);
    std::uint32_t stored       = 0;
    const std::uint32_t result = nelto::ListUsbDevices(device_type, Room(serials, capacity), stored);
    Report(count, stored);
    return result;
}

std::uint32_t NeltoUSBOpen(std::uint32_t device_type, std::uint32_t serial_number, NeltoUSBHandle* handle) {
    if (handle == nullptr) return nelto::kUsbNoHandle;
    UsbPort* port              = nullptr;
    const std::uint32_t result = nelto::OpenUsbPort(device_type, serial_number, port);
    *handle                    = reinterpret_cast<NeltoUSBHandle>(port);
    return result == nelto::kUsbHeldElsewhere ? std::uint32_t{nelto::kUsbDriverFailed} : result;
}

std::uint32_t NeltoUSBTransceive(NeltoUSBHandle handle, const std::uint8_t* request, std::uint32_t request_length,
                                 std::uint8_t* reply, std::uint32_t reply_capacity, std::uint32_t* reply_length,
                                 std::uint32_t timeout_ms) {
    Report(reply_length, 0);
    if (handle == nullptr) return nelto::kUsbNoHandle;
    UsbPort& port   = *PortOf(handle);
    port.timeout_ms = timeout_ms;

    nelto::UsbLine line(port);
    nelto::StopPatience nobody_stops(nullptr, 0);
    nelto::ReplyBuffer assembly{.storage = Room(reply, reply_capacity)};
    const std::uint32_t result = ResultOf(nelto::UsbStatusOf(
        nelto::ConverseInBlocks(line, nelto::kUsbPayloadLimit, nobody_stops, Room(request, request_length), assembly)));
    if (result == nelto::kUsbOk) Report(reply_length, assembly.length);
    return result;
}

std::uint32_t NeltoUSBClose(NeltoUSBHandle handle) { return nelto::CloseUsbPort(PortOf(handle)); }

std::uint32_t NeltoUSBSetTimeout(NeltoUSBHandle handle, std::uint32_t timeout_ms) {
    if (handle == nullptr) return nelto::kUsbNoHandle;
    PortOf(handle)->timeout_ms = timeout_ms;
    return nelto::kUsbOk;
}
