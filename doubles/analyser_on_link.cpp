#include "analyser_on_link.h"

#include "core/instrument.h"
#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_irda_socket.h"

namespace nelto::doubles {

using platform::memory::RunningMilliseconds;
using platform::memory::TheIrdaWorld;
using platform::memory::TheWorld;

namespace {

constexpr const char* kInfraredName    = "NELTO T780";
constexpr std::uint64_t kLongerThanAny = 3'600'000;  // delay, in milliseconds

}  // namespace

AnalyserOnLink::AnalyserOnLink(Transport link, std::shared_ptr<simulator::Responder> analyser,
                               std::size_t payload_limit, const simulator::EventSink& events,
                               const std::wstring& driver_version)
    : transport(link),
      blocks_(analyser, payload_limit, events),
      infrared_(analyser, {.devices = {kInfraredName}}, events) {
    if (transport == Transport::kSerial) TheWorld().serial_ports[L"COM5"].device = &wire;
    if (transport == Transport::kIrda) PutIntoInfraredWorld();
    if (transport != Transport::kUsb) return;
    driver = std::make_unique<FakeD2xx>(driver_version);
    driver->Attach(2, "40712345", &wire);
}

AnalyserOnLink::~AnalyserOnLink() {
    if (transport == Transport::kSerial) TheWorld().serial_ports[L"COM5"].device = nullptr;
    if (transport == Transport::kIrda) platform::memory::ResetIrdaWorld();
}

std::uint32_t AnalyserOnLink::Communication() const {
    return transport == Transport::kSerial ? kPort : transport == Transport::kUsb ? kUsb : kIrda;
}

std::size_t AnalyserOnLink::Held() const {
    std::size_t held = TheWorld().open_files + TheIrdaWorld().open_sockets + TheIrdaWorld().references;
    if (transport == Transport::kSerial) held += TheWorld().serial_ports[L"COM5"].open_handles;
    if (driver != nullptr) held += driver->Held();
    return held;
}

void AnalyserOnLink::Break() {
    auto& calls = platform::memory::TheCalls();
    switch (transport) {
        case Transport::kSerial: wire.is_broken = true; return;
        case Transport::kUsb:
            return driver->Fail("FT_GetQueueStatus", FakeD2xx::kIoError,
                                driver->driver.CallsOf("FT_GetQueueStatus") + 1, 1);
        case Transport::kIrda:
            calls.failing       = platform::memory::Call::kReceive;
            calls.failing_count = calls.counts[static_cast<std::size_t>(calls.failing)] + 1;
            return;
    }
}

void AnalyserOnLink::PutIntoInfraredWorld() {
    platform::memory::ResetIrdaWorld();
    TheIrdaWorld().on_list = [this] {
        TheIrdaWorld().device_list = platform::memory::MakeIrdaDeviceList(infrared_.Devices(RunningMilliseconds()));
    };
    TheIrdaWorld().on_request = [this](const simulator::Message& request) { TakeInfrared(request); };
    TheIrdaWorld().on_idle    = [this] { WaitForInfrared(); };
}

/// A request to an analyser that is gone is lost, and so is with its connection what nobody has received.
void AnalyserOnLink::TakeInfrared(const simulator::Message& request) {
    const std::uint64_t now = RunningMilliseconds();
    if (connection_ != TheIrdaWorld().connections) {
        connection_ = TheIrdaWorld().connections;
        TheIrdaWorld().pieces.clear();
        infrared_.Disconnect();
        if (!infrared_.Connect(0, kInfraredName, now)) return;
    }
    static_cast<void>(infrared_.Send(request, now));
    GiveInfrared();
}

void AnalyserOnLink::GiveInfrared() {
    const std::uint64_t now = RunningMilliseconds();
    while (infrared_.CanReceive(now)) {
        simulator::Message piece(512);
        std::size_t size = 0;
        static_cast<void>(infrared_.Receive(piece, size, now));
        piece.resize(size);
        TheIrdaWorld().pieces.emplace_back(std::move(piece));
        if (size == 0) return;  // the other side has closed
    }
}

void AnalyserOnLink::WaitForInfrared() {
    GiveInfrared();
    TheIrdaWorld().is_silent = infrared_.CanReceive(RunningMilliseconds() + kLongerThanAny);
    blocked                  = blocked || (TheIrdaWorld().pieces.empty() && !TheIrdaWorld().is_silent);
}

}  // namespace nelto::doubles
