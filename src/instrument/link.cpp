#include "instrument/link.h"

#include <utility>

#include "core/instrument.h"
#include "diag/trace_log.h"
#include "transport/irda_transport.h"
#include "transport/serial_transport.h"

namespace nelto {
namespace {

/// Result of a link that has no handle of its transport; the transports' own codes have the same meaning for it.
constexpr std::uint32_t kLinkNotOpen = 2;

void CloseSerial(Link& link) {
    if (link.serial_port == platform::SerialHandle::kNone) return;
    platform::CloseSerialPort(link.serial_port);
    link.serial_port = platform::SerialHandle::kNone;
    ZivLog(L"Serial port closed");
}

/// As the exported function, and besides: ended by a stop, not misled by late replies and repeated packets.
std::uint32_t UsbTransceive(const Link& link, std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                            std::size_t& received, std::uint32_t timeout_ms) {
    UsbLink& usb_link          = *link.usb_link;
    usb_link.stop_request      = link.stop_request;
    usb_link.skip_repetitions  = true;
    link.late.seen             = DropLateUsbBytes(usb_link) || link.late.seen;
    const std::uint32_t result = NeltoUSBTransceive(&usb_link, request, reply, received, timeout_ms);
    link.late.owed             = usb_link.late_bytes_possible;
    return result;
}

}  // namespace

Transport TransportOf(std::uint32_t communication) {
    if (communication == kUsb) return Transport::kUsb;
    if (communication == kIrda) return Transport::kIrda;
    return Transport::kSerial;
}

std::uint32_t LinkTransceive(const Link& link, std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                             std::size_t& received, std::uint32_t timeout_ms) {
    received = 0;
    switch (link.transport) {
        case Transport::kSerial:
            return SerialTransceive(link.serial_port, request, reply, received, timeout_ms, link.stop_request,
                                    &link.late);
        case Transport::kUsb:
            if (link.usb_link == nullptr) break;
            return UsbTransceive(link, request, reply, received, timeout_ms);
        case Transport::kIrda: return IrdaTransceive(request, reply, received);
    }
    return kLinkNotOpen;
}

bool LateReplyArrives(const Link& link, std::uint32_t timeout_ms) {
    switch (link.transport) {
        case Transport::kSerial:
            return LateSerialReplyArrives(link.serial_port, timeout_ms, link.stop_request, link.late);
        case Transport::kUsb:
            return link.usb_link != nullptr && LateUsbReplyArrives(*link.usb_link, timeout_ms, link.late);
        case Transport::kIrda: break;
    }
    return false;
}

void CloseLink(Link& link) {
    if (link.transport == Transport::kSerial) CloseSerial(link);
    if (link.transport == Transport::kUsb) NeltoUSBClose(std::exchange(link.usb_link, nullptr));
    if (link.transport == Transport::kIrda) CloseIrda();
}

}  // namespace nelto
