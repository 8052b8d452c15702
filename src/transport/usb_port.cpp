#include "transport/usb_port.h"

#include <memory>
#include <utility>

#include "platform/text_service.h"

namespace nelto {
namespace {

constexpr std::uint32_t kSlowDeviceType     = 9;
constexpr std::uint32_t kSlowDeviceBaudRate = 57600;
constexpr std::uint32_t kDeviceBaudRate     = 921600;

using d2xx::Driver;

/// What every device passes through. Returns 0, or why the device cannot be looked at.
std::uint32_t LookAt(const Driver& driver, std::uint32_t index, UsbCandidate& candidate, UsbDeviceIdentity& identity) {
    const std::uint32_t opened = candidate.Open(index);
    return opened == kUsbOk ? candidate.Identify(driver.identification, identity) : opened;
}

/// The old way skips analysers without a serial number, the new way lists them as 0; on purpose.
bool IsListed(const Driver& driver, const UsbDeviceIdentity& identity, std::uint32_t device_type) {
    if (!IsAnalyser(identity, device_type)) return false;
    return driver.identification == d2xx::Identification::kDeviceInfo || identity.serial_number != 0;
}

/// The new way takes the first analyser of the type, whatever its serial number; on purpose.
bool IsWanted(const Driver& driver, const UsbDeviceIdentity& identity, std::uint32_t device_type,
              std::uint32_t serial_number) {
    if (!IsAnalyser(identity, device_type)) return false;
    return driver.identification == d2xx::Identification::kDeviceInfo || serial_number == 0 ||
           serial_number == identity.serial_number;
}

/// The open procedure does not tell its failures apart as the listing does, on purpose.
std::uint32_t PlainResult(std::uint32_t failure) {
    return failure == kUsbNotAvailable ? kUsbNotAvailable : kUsbDriverFailed;
}

/// A device that is listed and not there, or not to be opened, is another program's.
bool IsHeldElsewhere(std::uint32_t failure) {
    return failure == kUsbStepOpen + d2xx::kDeviceNotFound || failure == kUsbStepOpen + d2xx::kDeviceNotOpened;
}

/// Leaves the first wanted device open in `device`.
std::uint32_t FindDevice(const Driver& driver, std::uint32_t device_type, std::uint32_t serial_number,
                         d2xx::Device& device) {
    std::uint32_t attached = 0;
    if (CountUsbDevices(driver.functions, attached) != kUsbOk) return kUsbDriverFailed;
    for (std::uint32_t index = 0; index < attached; ++index) {
        UsbCandidate candidate(driver.functions);
        UsbDeviceIdentity identity;
        const std::uint32_t failure = LookAt(driver, index, candidate, identity);
        if (IsHeldElsewhere(failure)) return kUsbHeldElsewhere;
        if (failure != kUsbOk) return PlainResult(failure);
        if (!IsWanted(driver, identity, device_type, serial_number)) continue;
        device = candidate.Release();
        return kUsbOk;
    }
    return kUsbNoDevice;
}

/// Makes the open device ready for messages.
std::uint32_t SetUp(const Driver& driver, std::uint32_t device_type, UsbPort& port) {
    if (!d2xx::FindLinkFunctions(driver.library.Handle(), port.functions)) return kUsbNotAvailable;
    const std::uint32_t baud_rate = device_type == kSlowDeviceType ? kSlowDeviceBaudRate : kDeviceBaudRate;
    return driver.functions.set_baud_rate(port.device, baud_rate) == d2xx::kOk ? kUsbOk : kUsbDriverFailed;
}

std::uint32_t RunOpenProcedure(std::uint32_t device_type, std::uint32_t serial_number, UsbPort& port) {
    Driver driver;
    if (!d2xx::Load(d2xx::Purpose::kOpen, driver)) return kUsbNotAvailable;
    std::uint32_t result = FindDevice(driver, device_type, serial_number, port.device);
    if (result != kUsbOk) return result;
    result = SetUp(driver, device_type, port);
    if (result != kUsbOk) {
        static_cast<void>(driver.functions.close(port.device));
        return result;
    }
    port.library = std::move(driver.library);
    return kUsbOk;
}

}  // namespace

std::uint32_t ListUsbDevices(std::uint32_t device_type, std::span<std::uint32_t> serials, std::uint32_t& count) {
    count = 0;
    if (!IsUsbDeviceType(device_type)) return kUsbWrongDeviceType;
    Driver driver;
    if (!d2xx::Load(d2xx::Purpose::kList, driver)) return kUsbNotAvailable;
    std::uint32_t attached      = 0;
    const std::uint32_t counted = CountUsbDevices(driver.functions, attached);
    if (counted != kUsbOk) return counted;

    std::uint32_t stored = 0;
    for (std::uint32_t index = 0; index < attached; ++index) {
        UsbCandidate candidate(driver.functions);
        UsbDeviceIdentity identity;
        const std::uint32_t failure = LookAt(driver, index, candidate, identity);
        if (failure != kUsbOk) return failure;
        if (stored < serials.size() && IsListed(driver, identity, device_type)) {
            serials[stored++] = identity.serial_number;
        }
    }
    count = stored;
    return kUsbOk;
}

std::uint32_t OpenUsbPort(std::uint32_t device_type, std::uint32_t serial_number, UsbPort*& handle) {
    handle = nullptr;
    if (!IsUsbDeviceType(device_type)) return kUsbWrongDeviceType;
    auto port                  = std::make_unique<UsbPort>();
    const std::uint32_t result = RunOpenProcedure(device_type, serial_number, *port);
    if (result != kUsbOk) return result;
    handle = port.release();
    platform::DebugOutput(L"NeltoUSBOpen finished without error");
    return kUsbOk;
}

std::uint32_t CloseUsbPort(UsbPort* handle) {
    if (handle == nullptr) return kUsbNoHandle;
    const std::unique_ptr<UsbPort> port(handle);
    const d2xx::Close close = d2xx::FindClose(port->library.Handle());
    if (close == nullptr) return kUsbNotAvailable;
    return close(port->device) == d2xx::kOk ? kUsbOk : kUsbDriverFailed;
}

}  // namespace nelto
