// A D2XX library in memory whose one FTDI converter leads to the simulated analyser, in real time and on a thread of its own.
// It keeps account of the time that is the driver's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scenario.h"

namespace nelto::bench {

constexpr std::uint32_t kSimulatedDeviceType = 2;

/// What the driver did since the account was last cleared.
struct DriverAccount {
    double calls_micro         = 0;  // inside the library's functions
    double waits_micro         = 0;  // from the end of a call until the driver signals bytes
    std::size_t host_packets   = 0;
    std::size_t answer_packets = 0;
    std::size_t pieces         = 0;  // in which the answers came
};

/// One at a time.
class SimulatedD2xx {
public:
    explicit SimulatedD2xx(const simulator::Scenario& scenario);
    ~SimulatedD2xx();
    SimulatedD2xx(const SimulatedD2xx&)            = delete;
    SimulatedD2xx& operator=(const SimulatedD2xx&) = delete;

    /// Between two conversations only.
    [[nodiscard]] static const DriverAccount& Account();
    static void ClearAccount();
};

}  // namespace nelto::bench
