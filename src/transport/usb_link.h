// Generation-2004 messages over an FTDI USB converter, as the program itself holds them: ended by a stop, not misled by late
// replies and repeated packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "transport/link.h"
#include "transport/usb_port.h"

namespace nelto {

class UsbLink final : public Link {
public:
    /// Opens the first analyser of `device_type`, whatever its serial number; null when there is none or it does not open.
    /// `is_held`, unless null, says that another program seems to have it.
    [[nodiscard]] static std::unique_ptr<UsbLink> Open(std::uint32_t device_type, StopRequest stop_request,
                                                       bool* is_held = nullptr);

    /// Takes an open port over.
    UsbLink(UsbPort* port, StopRequest stop_request) : port_(port), stop_request_(stop_request) {}
    ~UsbLink() override { Close(); }

    [[nodiscard]] LinkStatus Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                        std::size_t& received, std::uint32_t timeout_ms) override;
    [[nodiscard]] bool WaitForSilence(std::uint32_t silence_ms) override;
    void Close() override;

private:
    void DropLateBytes();
    [[nodiscard]] std::ptrdiff_t DropQueued();

    UsbPort* port_;
    StopRequest stop_request_;
    bool late_bytes_possible_ = false;  // the last reply was not taken whole: the rest may be on its way
};

}  // namespace nelto
