// Scenario files of the analysers of generation 2010, one statement a line. README.md describes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "analyser_2010.h"

namespace simulator {

/// Reads a scenario in UTF-8. On the first thing it does not understand it gives none and "line 12: ..." in `error`. What it
/// includes lies beside `path`.
[[nodiscard]] std::optional<AnalyserData2010> ParseScenario2010(std::string_view text, std::string& error,
                                                                const std::string& path = {});

/// The same from a file; a file that cannot be read is an error too.
[[nodiscard]] std::optional<AnalyserData2010> LoadScenario2010(const std::string& path, std::string& error);

/// The text of scenarios/generation2010.txt, built in.
[[nodiscard]] std::string_view DefaultScenario2010Text();

}  // namespace simulator
