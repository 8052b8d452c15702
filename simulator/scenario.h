// Scenario files: what the simulated analyser is, knows and does wrong, one statement a line. README.md describes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analyser_data.h"
#include "faults.h"
#include "infrared_session.h"

namespace simulator {

struct Scenario {
    AnalyserData analyser;
    std::vector<Fault> faults;
    std::size_t block_payload = 120;
    InfraredSetup infrared;
};

/// Reads a scenario in UTF-8. On the first thing it does not understand it gives none and "line 12: ..." in `error`. What it
/// includes lies beside `path`.
[[nodiscard]] std::optional<Scenario> ParseScenario(std::string_view text, std::string& error,
                                                    const std::string& path = {});

/// The same from a file; a file that cannot be read is an error too.
[[nodiscard]] std::optional<Scenario> LoadScenario(const std::string& path, std::string& error);

/// The text of scenarios/default.txt, built in.
[[nodiscard]] std::string_view DefaultScenarioText();

}  // namespace simulator
