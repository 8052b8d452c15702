// nelto-simulator: a flue-gas analyser behind a serial port, made from a scenario or played from a log. Of generation 2010 it answers
// the search alone; the drop-in libraries do the rest, and serve the other links.
#include <cstdio>
#include <fstream>

#include "block_session.h"
#include "options.h"
#include "replay_session.h"
#include "scenario.h"
#include "serial_server.h"
#include "ziv_log.h"

namespace {

using simulator::Options;
using simulator::RecordedConnection;
using simulator::Scenario;

constexpr int kWrongUse   = 2;
constexpr int kNoScenario = 3;  // also: no log

constexpr std::size_t kMostLogFaults = 20;  // told one by one

std::optional<Scenario> ChosenScenario(const Options& options) {
    std::string error;
    std::optional<Scenario> scenario = options.scenario.empty()
                                           ? simulator::ParseScenario(simulator::DefaultScenarioText(), error)
                                           : simulator::LoadScenario(options.scenario, error);
    if (!scenario) {
        std::fprintf(stderr, "scenario %s: %s\n", options.scenario.c_str(), error.c_str());
        return std::nullopt;
    }
    simulator::ApplyOptions(options, scenario->analyser);
    return scenario;
}

/// Tells the first faults of a log and counts the others.
class LogFaults {
public:
    void operator()(const std::string& line) {
        if (++count_ <= kMostLogFaults) std::fprintf(stderr, "passed over: %s\n", line.c_str());
    }
    void End() const {
        if (count_ > kMostLogFaults) std::fprintf(stderr, "passed over: %zu more\n", count_ - kMostLogFaults);
    }

private:
    std::size_t count_ = 0;
};

int ListConnections(std::ifstream& log) {
    LogFaults faults;
    simulator::ReadZivLog(
        log, {.on_connection =
                  [](const RecordedConnection& connection) { std::printf("%s\n", connection.Summary().c_str()); },
              .on_failed_openings = [](const std::string& line) { std::printf("%s\n", line.c_str()); },
              .on_fault           = std::ref(faults)});
    faults.End();
    return 0;
}

std::optional<RecordedConnection> ChosenConnection(std::ifstream& log, const Options& options) {
    LogFaults faults;
    auto connection = simulator::ChooseConnection(log, options.connection, std::ref(faults));
    faults.End();
    if (!connection) std::fprintf(stderr, "log %s: no such connection\n", options.replay.c_str());
    return connection;
}

[[noreturn]] void Serve(simulator::ByteSession& session, const simulator::Console& console, const Options& options) {
    simulator::SerialServer server(session, console, options.with_frames);
    server.Serve(options.port);
}

int Simulate(const Options& options) {
    const std::optional<Scenario> scenario = ChosenScenario(options);
    if (!scenario) return kNoScenario;
    const simulator::Console console;
    simulator::BlockSession session(std::make_shared<simulator::ScriptedAnalyser>(scenario->analyser, scenario->faults),
                                    scenario->block_payload,
                                    [&console](const std::string& line) { console.Tell(line); });
    Serve(session, console, options);
}

int Replay(const Options& options) {
    std::ifstream log(options.replay, std::ios::binary);
    if (!log) {
        std::fprintf(stderr, "log %s: cannot be read\n", options.replay.c_str());
        return kNoScenario;
    }
    if (options.list) return ListConnections(log);
    const std::optional<RecordedConnection> connection = ChosenConnection(log, options);
    if (!connection) return kNoScenario;
    const simulator::Console console;
    simulator::ReplaySession session(*connection, options.with_times,
                                     [&console](const std::string& line) { console.Tell(line); });
    std::fprintf(stderr, "replaying %s\n", connection->Summary().c_str());
    Serve(session, console, options);
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = simulator::ReadOptions({argv, static_cast<std::size_t>(argc)});
    if (!options) {
        std::fputs(simulator::kUsage, stderr);
        return kWrongUse;
    }
    return options->replay.empty() ? Simulate(*options) : Replay(*options);
}
