// A connection to a generation-2004 analyser that answers from the input. The first byte chooses: bits 0 and 1 the link (USB,
// USB, serial, infrared), bits 2 and 3 the size of the pieces, bit 4 a stop that is requested already.
#pragma once

#include "instrument/instrument_connection.h"
#include "peers.h"
#include "quick_driver.h"
#include "transport/irda_transport.h"

namespace nelto::test {

class Conversation {
public:
    explicit Conversation(Input& input) : analyser_(input) {
        const std::uint8_t choice      = input.Byte();
        constexpr std::size_t kSizes[] = {SIZE_MAX, 64, 9, 1};
        analyser_.SetPieceSize(kSizes[choice >> 2 & 3]);
        stop_ = choice >> 4 & 1;
        ResetQuick(&analyser_, kFailIrdaLog);
        connection_.link.stop_request = &stop_;
        connection_.link.transport    = TransportOf(kCommunications[choice & 3]);
        connection_.communication     = kCommunications[choice & 3];
        analyser_.infrared            = connection_.link.transport == Transport::kIrda;
        Open();
    }
    ~Conversation() {
        if (connection_.link.transport == Transport::kIrda) CloseIrda();
        Require(Quick().events == 0 && Quick().sockets == 0 && Quick().winsock == 0);
    }
    Conversation(const Conversation&)            = delete;
    Conversation& operator=(const Conversation&) = delete;

    InstrumentConnection& Connection() { return connection_; }
    [[nodiscard]] std::size_t Requests() const { return analyser_.requests; }
    [[nodiscard]] bool Stopped() const { return stop_ != 0; }

private:
    static constexpr std::uint32_t kCommunications[] = {kUsb, kUsb, 5, kIrda};

    void Open() {
        switch (connection_.link.transport) {
            case Transport::kUsb:
                usb_link_                 = rigs::QuickUsbLink();
                connection_.link.usb_link = &usb_link_;
                break;
            case Transport::kSerial: connection_.link.serial_port = platform::SerialHandle{1}; break;
            case Transport::kIrda:
                Quick().irda_devices = rigs::OneIrdaAnalyser();
                Require(IrdaOpen() == kIrdaOpenOk);
                break;
        }
    }

    Analyser analyser_;
    InstrumentConnection connection_;
    UsbLink usb_link_;
    std::atomic<std::uint32_t> stop_{0};
};

}  // namespace nelto::test
