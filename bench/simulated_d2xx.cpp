#include "simulated_d2xx.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

#include "block_session.h"
#include "d2xx_exports.h"
#include "exports.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_file_version.h"
#include "posix_platform.h"

namespace nelto::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kUsbPiece = 62;  // a USB packet of 64 bytes without its two status bytes
constexpr auto kUsbFrame        = std::chrono::milliseconds(1);

double Micro(Clock::duration time) { return std::chrono::duration<double, std::micro>(time).count(); }

std::uint64_t NowMs() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

/// Counts the packets that the analyser sends.
class CountedSession final : public simulator::BlockSession {
public:
    CountedSession(const simulator::Scenario& scenario, std::size_t payload, std::size_t& packets)
        : BlockSession(std::make_shared<simulator::ScriptedAnalyser>(scenario.analyser, scenario.faults), payload,
                       [](const std::string&) {}),
          packets_(packets) {}
    std::optional<simulator::Message> TakeOutput(std::uint64_t now_ms) override {
        std::optional<simulator::Message> packet = BlockSession::TakeOutput(now_ms);
        if (packet) ++packets_;
        return packet;
    }

private:
    std::size_t& packets_;
};

/// The driver, and a thread that lets in one piece each USB frame.
class Bus {
public:
    explicit Bus(const simulator::Scenario& scenario) {
        driver_.Setup().piece = kUsbPiece;
        simulator::ConverterSetup converter;
        converter.serial = std::to_string(scenario.analyser.serial_number);
        driver_.Attach(converter,
                       std::make_unique<CountedSession>(scenario, driver_.Setup().payload, account_.answer_packets));
        thread_ = std::thread([this] { Work(); });
    }
    ~Bus() {
        ending_ = true;
        thread_.join();
    }

    /// One call at a time.
    simulator::Driver& Begin() {
        mutex_.lock();
        start_ = Clock::now();
        // The first call after a wait: until the signal it was the driver who kept the program waiting.
        if (last_signal_ > last_end_) account_.waits_micro += Micro(last_signal_ - last_end_);
        return driver_;
    }
    void End() {
        account_.host_packets = driver_.CallsOf("FT_Write") - writes_before_;
        last_end_             = Clock::now();
        account_.calls_micro += Micro(last_end_ - start_);
        mutex_.unlock();
    }

    const DriverAccount& Account() const { return account_; }
    void ClearAccount() {
        const std::lock_guard guard(mutex_);
        account_       = {};
        writes_before_ = driver_.CallsOf("FT_Write");
        last_end_      = Clock::now();
    }

private:
    void Work() {
        while (!ending_) {
            std::this_thread::sleep_for(kUsbFrame);
            const std::lock_guard guard(mutex_);
            for (void* event : driver_.Deliver(NowMs())) {
                ++account_.pieces;
                last_signal_ = Clock::now();
                platform::posix::SignalEvent(event);
            }
        }
    }

    std::mutex mutex_;
    simulator::Driver driver_{{}, [](const std::string&) {}};
    DriverAccount account_;
    std::uint32_t writes_before_ = 0;
    Clock::time_point start_, last_end_, last_signal_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

std::unique_ptr<Bus> bus;

}  // namespace

SimulatedD2xx::SimulatedD2xx(const simulator::Scenario& scenario) {
    bus = std::make_unique<Bus>(scenario);
    doubles::InstallD2xx();
    platform::memory::SetSystemFileVersion(doubles::kD2xxName, L"3.02.11");
}

SimulatedD2xx::~SimulatedD2xx() {
    platform::memory::ResetLibraries();
    bus.reset();
}

const DriverAccount& SimulatedD2xx::Account() { return bus->Account(); }

void SimulatedD2xx::ClearAccount() { bus->ClearAccount(); }

}  // namespace nelto::bench

namespace simulator {

using nelto::bench::bus;

DriverCall::DriverCall() : driver(bus->Begin()), now_ms(nelto::bench::NowMs()) {}
DriverCall::~DriverCall() { bus->End(); }

}  // namespace simulator
