// The simulated analyser at the far end of a link, on a thread of its own.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <thread>

#include "block_session.h"
#include "scenario.h"

namespace nelto::bench {

/// The scenario with 40 channels; without it the reason is in `error`.
[[nodiscard]] inline std::optional<simulator::Scenario> LoadFortyChannels(std::string& error) {
    return simulator::LoadScenario(NELTO_SCENARIO_40_CHANNELS, error);
}

class AnalyserThread {
public:
    AnalyserThread(const simulator::Scenario& scenario, const std::string& tty);
    ~AnalyserThread();
    AnalyserThread(const AnalyserThread&)            = delete;
    AnalyserThread& operator=(const AnalyserThread&) = delete;

    [[nodiscard]] bool IsOpen() const { return port_ >= 0; }

private:
    void Serve();

    simulator::BlockSession session_;
    int port_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace nelto::bench
