// Generation-2004 messages over a COM port: a cable, or the virtual port of a Bluetooth serial link. Every exchange is
// traced in the ZIV log.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/serial_port.h"
#include "transport/block_conversation.h"
#include "transport/link.h"

namespace nelto {

/// The numbers of the serial link, as the logs show them.
enum SerialResult : std::uint32_t {
    kSerialOk            = 0,
    kSerialOpenFailed    = 1,
    kSerialNotOpen       = 2,
    kSerialProtocolFault = 3,  // missing acknowledgement, short answer, wrong length, bad index, bad checksum
    kSerialReplyTooLong  = 5,
};

[[nodiscard]] SerialResult SerialResultOf(LinkStatus status);

class SerialLink final : public Link, private BlockLine {
public:
    /// Opens COM port `port_number` at 19200 baud, 8 data bits, no parity, one stop bit; null on failure, with the cause in the
    /// ZIV log, and the system's error number in `error`, unless null, where the port itself did not open.
    [[nodiscard]] static std::unique_ptr<SerialLink> Open(std::uint32_t port_number, StopRequest stop_request,
                                                          std::uint32_t* error = nullptr);

    /// Takes an open port over.
    SerialLink(platform::SerialHandle port, StopRequest stop_request) : port_(port), stop_request_(stop_request) {}
    ~SerialLink() override { Close(); }

    /// What came after an earlier message had ended is thrown away first.
    [[nodiscard]] LinkStatus Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                        std::size_t& received, std::uint32_t timeout_ms) override;
    [[nodiscard]] bool WaitForSilence(std::uint32_t silence_ms) override;
    void Close() override;

    [[nodiscard]] platform::SerialHandle Port() const { return port_; }
    /// Gives the port out of hand: from now on it is the caller's.
    platform::SerialHandle Release();

private:
    /// One raw write and read: ends with an acknowledgement, with a whole frame or with the time-out.
    [[nodiscard]] LinkStatus Exchange(std::span<const std::uint8_t> frame,
                                      std::span<const std::uint8_t>& answer) override;
    void Send(std::span<const std::uint8_t> frame);
    [[nodiscard]] std::size_t Receive();

    platform::SerialHandle port_;
    StopRequest stop_request_;
    StopPatience patience_{nullptr, 0};  // of the message under way
    std::uint32_t timeout_ms_ = 0;
    bool is_sent_             = false;  // the last frame, whole
    std::array<std::uint8_t, 1024> answer_{};
};

}  // namespace nelto
