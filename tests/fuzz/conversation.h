// A connection to a generation-2004 analyser that answers from the input. The first byte chooses: bits 0 and 1 the link (USB,
// USB, serial, infrared), bits 2 and 3 the size of the pieces, bit 4 a stop that is requested already.
#pragma once

#include "fake_d2xx.h"
#include "instrument/opening_steps.h"
#include "peers.h"
#include "platform/memory/memory_event.h"
#include "transport/irda_link.h"
#include "transport/serial_link.h"
#include "transport/usb_link.h"

namespace nelto::test {

class Conversation {
public:
    explicit Conversation(Input& input) : Conversation(input, input.Byte()) {}
    ~Conversation() {
        session_.link.reset();
        Require(OpenEvents() == 0 && TheIrdaWorld().open_sockets == 0 && TheIrdaWorld().references == 0);
    }
    Conversation(const Conversation&)            = delete;
    Conversation& operator=(const Conversation&) = delete;

    nelto::Session& Session() { return session_; }
    [[nodiscard]] std::size_t Requests() const { return analyser_.requests; }
    [[nodiscard]] bool Stopped() const { return stop_ != 0; }

private:
    static constexpr std::uint32_t kCommunications[] = {kUsb, kUsb, 5, kIrda};

    Conversation(Input& input, std::uint8_t choice)
        : analyser_(input), stop_(choice >> 4 & 1u), session_(TransportOf(kCommunications[choice & 3]), &stop_) {
        constexpr std::size_t kSizes[] = {SIZE_MAX, 64, 9, 1};
        analyser_.SetPieceSize(kSizes[choice >> 2 & 3]);
        analyser_.infrared                        = session_.transport == Transport::kIrda;
        FreshWorld().serial_ports[L"COM5"].device = &analyser_;
        AlwaysFail(Call::kOpenFile);  // the infrared log
        analyser_.Appear();
        session_.link = OpenLink();
    }

    std::unique_ptr<Link> OpenLink() {
        IrdaOpenResult result = kIrdaOpenOk;
        switch (session_.transport) {
            case Transport::kUsb: driver_.emplace().Attach(2, "1", &analyser_); return UsbLink::Open(2, &stop_);
            case Transport::kSerial: return SerialLink::Open(5, &stop_);
            default: return IrdaLink::Open(&stop_, result);
        }
    }

    Analyser analyser_;
    std::atomic<std::uint32_t> stop_;
    std::optional<doubles::FakeD2xx> driver_;
    nelto::Session session_;
};

}  // namespace nelto::test
