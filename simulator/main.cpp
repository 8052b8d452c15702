// nelto-simulator: a flue-gas analyser of generation 2004 behind a serial port.
#include <charconv>
#include <cstdio>
#include <span>
#include <string_view>

#include "scenario.h"
#include "serial_server.h"

namespace {

using simulator::Scenario;

constexpr int kWrongUse    = 2;
constexpr int kNoScenario  = 3;
constexpr int kPortFailure = 4;

constexpr const char* kUsage =
    "nelto-simulator --port COM6 | --pty  [--scenario FILE] [--ident NUMBER] [--seed NUMBER] [--log]\n"
    "  --port      the serial port to serve\n"
    "  --pty       serve a pseudo terminal, told in the first line as \"port PATH\" (not on Windows)\n"
    "  --scenario  what the analyser knows and does, see README.md; built in: a 780 with oil fuel\n"
    "  --ident     answer as 780, 790, 710, or by ident alone as 781, 752, 745, 711, 746\n"
    "  --seed      another course of the noise\n"
    "  --log       show the bytes on the line too\n";

struct Options {
    std::string port;
    std::string scenario;
    std::optional<unsigned> ident;
    std::optional<std::uint64_t> seed;
    bool with_pair   = false;
    bool with_frames = false;
};

template <typename Number>
bool ReadNumber(std::string_view text, std::optional<Number>& number) {
    const char* end   = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number.emplace());
    return result.ec == std::errc() && result.ptr == end;
}

bool ReadOptions(std::span<char*> words, Options& options) {
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string_view name = words[i];
        if (name == "--pty") {
            options.with_pair = true;
        } else if (name == "--log") {
            options.with_frames = true;
        } else {
            if (++i == words.size()) return false;
            const std::string_view value = words[i];
            if (name == "--port") {
                options.port = value;
            } else if (name == "--scenario") {
                options.scenario = value;
            } else if (name == "--ident") {
                if (!ReadNumber(value, options.ident) || !simulator::IsKnownModel(*options.ident)) return false;
            } else if (name != "--seed" || !ReadNumber(value, options.seed)) {
                return false;
            }
        }
    }
    return options.with_pair == options.port.empty();
}

std::optional<Scenario> ChosenScenario(const Options& options) {
    std::string error;
    std::optional<Scenario> scenario = options.scenario.empty()
                                           ? simulator::ParseScenario(simulator::DefaultScenarioText(), error)
                                           : simulator::LoadScenario(options.scenario, error);
    if (!scenario) {
        std::fprintf(stderr, "scenario %s: %s\n", options.scenario.c_str(), error.c_str());
        return std::nullopt;
    }
    if (options.ident) scenario->analyser.model = *options.ident;
    if (options.seed) scenario->analyser.seed = *options.seed;
    return scenario;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ReadOptions({argv, static_cast<std::size_t>(argc)}, options)) {
        std::fputs(kUsage, stderr);
        return kWrongUse;
    }
    const std::optional<Scenario> scenario = ChosenScenario(options);
    if (!scenario) return kNoScenario;

    const simulator::Console console;
    simulator::Analyser2004 analyser(scenario->analyser);
    simulator::FaultScript faults(scenario->faults);
    simulator::BlockSession session(analyser, faults, scenario->block_payload,
                                    [&console](const std::string& line) { console.Tell(line); });
    simulator::SerialServer server(session, console, options.with_frames);
    if (!options.with_pair) server.Serve(options.port);
    if (!server.ServePair()) std::fputs("no pseudo terminal\n", stderr);
    return kPortFailure;
}
