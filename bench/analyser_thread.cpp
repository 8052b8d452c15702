#include "analyser_thread.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace nelto::bench {
namespace {

constexpr int kEndingLookMs = 50;

std::uint64_t NowMs() {
    static const auto start = std::chrono::steady_clock::now();
    const auto passed       = std::chrono::steady_clock::now() - start;
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}

bool WriteAll(int port, simulator::Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(port, bytes.data(), bytes.size());
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

AnalyserThread::AnalyserThread(const simulator::Scenario& scenario, const std::string& tty)
    : session_(std::make_shared<simulator::ScriptedAnalyser>(scenario.analyser, scenario.faults),
               scenario.block_payload, [](const std::string&) {}),
      port_(open(tty.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (IsOpen()) thread_ = std::thread([this] { Serve(); });
}

AnalyserThread::~AnalyserThread() {
    ending_ = true;
    if (thread_.joinable()) thread_.join();
    if (IsOpen()) close(port_);
}

void AnalyserThread::Serve() {
    std::array<std::uint8_t, 1024> buffer;
    while (!ending_) {
        pollfd wanted{.fd = port_, .events = POLLIN, .revents = 0};
        if (poll(&wanted, 1, kEndingLookMs) <= 0) continue;
        const ssize_t count = read(port_, buffer.data(), buffer.size());
        if (count <= 0) return;
        session_.Receive(simulator::Bytes(buffer).first(static_cast<std::size_t>(count)), NowMs());
        while (const std::optional<simulator::Message> output = session_.TakeOutput(NowMs())) {
            if (!WriteAll(port_, *output)) return;
        }
    }
}

}  // namespace nelto::bench
