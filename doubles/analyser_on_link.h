// An analyser of the simulator at the far end of one link: a COM port, a converter behind the D2XX library, or infrared.
#pragma once

#include <memory>
#include <string>

#include "block_session.h"
#include "fake_d2xx.h"
#include "infrared_session.h"
#include "session_port.h"
#include "transport/link.h"

namespace nelto::doubles {

/// One at a time. The world stays in place while it is there; over USB its `on_wait` is in use.
class AnalyserOnLink {
public:
    static constexpr std::uint32_t kPort = 5;

    AnalyserOnLink(
        Transport transport, std::shared_ptr<simulator::Responder> analyser, std::size_t payload_limit = 120,
        const simulator::EventSink& events = [](const std::string&) {},
        const std::wstring& driver_version = L"3.02.11");
    ~AnalyserOnLink();
    AnalyserOnLink(const AnalyserOnLink&)            = delete;
    AnalyserOnLink& operator=(const AnalyserOnLink&) = delete;

    /// The setting by which the program comes here.
    [[nodiscard]] std::uint32_t Communication() const;
    /// Handles, sockets, files, devices, events and loads of the driver's library that the program has not released.
    [[nodiscard]] std::size_t Held() const;
    /// The link fails the program once; a COM port is dead until it is opened anew.
    void Break();

    const Transport transport;
    SessionPort wire{blocks_};         // serial and USB
    std::unique_ptr<FakeD2xx> driver;  // USB
    bool blocked = false;              // a receive call over infrared would never have returned

private:
    void PutIntoInfraredWorld();
    void TakeInfrared(const simulator::Message& request);
    void GiveInfrared();
    void WaitForInfrared();

    simulator::BlockSession blocks_;
    simulator::InfraredSession infrared_;
    std::uint32_t connection_ = 0;
};

}  // namespace nelto::doubles
