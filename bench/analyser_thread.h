// The simulated analyser at the far end of a link, on a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "analyser_2004.h"
#include "block_session.h"
#include "scenario.h"

namespace nelto::bench {

/// Reads a scenario; ends the program with a message when there is none to be had.
[[nodiscard]] simulator::Scenario LoadScenarioOrEnd(const std::string& path);

class AnalyserThread {
public:
    AnalyserThread(const simulator::Scenario& scenario, const std::string& tty);
    ~AnalyserThread();
    AnalyserThread(const AnalyserThread&)            = delete;
    AnalyserThread& operator=(const AnalyserThread&) = delete;

    [[nodiscard]] bool IsOpen() const { return port_ >= 0; }

private:
    void Serve();

    simulator::Analyser2004 analyser_;
    simulator::FaultScript faults_;
    simulator::BlockSession session_;
    int port_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace nelto::bench
