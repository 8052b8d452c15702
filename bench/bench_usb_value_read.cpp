// One value read of an analyser with 40 channels over USB: what the program adds to the time of the driver, an exchange, and
// how many packets go over the link. The driver is simulated in the same process, on a thread of its own.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "analyser_thread.h"
#include "figures.h"
#include "instrument/generation2004/analyser_2004.h"
#include "posix_platform.h"
#include "simulated_d2xx.h"
#include "transport/usb_link.h"

namespace {

using namespace nelto;
using namespace nelto::bench;

constexpr int kCycles              = 400;
constexpr std::size_t kChannels    = 40;
constexpr double kExchangesOfARead = 3;  // zero flag, measuring configuration, values

/// Microseconds of one value read that are not the driver's, or less than 0 when it failed.
double TimeBeyondDriver(Analyser2004& analyser, ChannelTable& channels) {
    SimulatedD2xx::ClearAccount();
    const auto start           = std::chrono::steady_clock::now();
    const std::uint32_t result = analyser.ReadValues(channels);
    const auto elapsed         = std::chrono::steady_clock::now() - start;
    const bool is_whole        = result == kDone && channels[kChannels - 1].value_type == kNumber;
    if (!is_whole) return -1;
    const DriverAccount& driver = SimulatedD2xx::Account();
    return std::chrono::duration<double, std::micro>(elapsed).count() - driver.calls_micro - driver.waits_micro;
}

}  // namespace

int main() {
    std::string error;
    const auto scenario = LoadFortyChannels(error);
    if (!scenario) return CannotMeasure(error.c_str());
    const platform::posix::TemporaryDirectory logs;
    const SimulatedD2xx library(*scenario);

    Session session(Transport::kUsb, nullptr);
    session.log.Start();
    session.link = UsbLink::Open(kSimulatedDeviceType, nullptr);
    if (session.link == nullptr) return CannotMeasure("no USB link");
    Analyser2004 analyser(std::move(session));

    ChannelTable channels{};
    std::vector<double> beyond;
    for (int round = 0; round < kCycles; ++round) {
        beyond.push_back(TimeBeyondDriver(analyser, channels) / kExchangesOfARead);
        if (beyond.back() < 0) return CannotMeasure("a value read failed");
    }
    const DriverAccount last = SimulatedD2xx::Account();

    std::printf("one value read: %zu packets and acknowledgements out, %zu packets in, in %zu pieces\n",
                last.host_packets, last.answer_packets, last.pieces);
    TellFigure("value read, 40 channels, USB: time beyond the driver, an exchange", "<", 200, Median(beyond), "us");
    TellForComparison("  packets out of a value read", static_cast<double>(last.host_packets), "");
    TellForComparison("  packets in of a value read", static_cast<double>(last.answer_packets), "");
    return 0;
}
