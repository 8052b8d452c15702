// Parts of a statement that several kinds of scenario files share. Each reads the next words of the line and gives false, with
// the reason in the line, on anything unexpected.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analyser_data.h"
#include "scenario_line.h"
#include "value_course.h"

namespace simulator {

/// The whole file; false when it cannot be read.
[[nodiscard]] bool ReadScenarioFile(const std::string& path, std::string& text);

/// Names of the scenarios that are being read, each included by the one before; the first is a path, or empty for a text alone.
using ScenarioChain = std::vector<std::string>;

/// True for an "include" line, whatever stands behind the word.
[[nodiscard]] bool IsInclude(std::string_view line);

/// Reads what `include default`, `include generation2010` (built in) or `include "FILE"` (in the folder of the file that holds the
/// line) names into `text`, and its name to the end of `chain`. False with the reason in `error` for a scenario that
/// cannot be read, that is being read already, or that lies too deep.
[[nodiscard]] bool OpenIncluded(std::string_view line, ScenarioChain& chain, std::string& text, std::string& error);

/// Gives each line of `text`, which is the last of `chain`, to `reader`, those of an included scenario in the place of its line; a
/// byte-order mark before them is passed over. On the first that it does not understand false, and "line 3: ..." in `error`.
template <typename Reader>
[[nodiscard]] bool ReadScenarioLines(std::string_view text, const ScenarioChain& chain, Reader& reader,
                                     std::string& error) {
    const auto read = [&](std::string_view line) {
        if (!IsInclude(line)) return reader.ReadLine(line) || (error = reader.Error(), false);
        ScenarioChain longer = chain;
        std::string included;
        if (!OpenIncluded(line, longer, included, error)) return false;
        return ReadScenarioLines(included, longer, reader, error) || (error.insert(0, longer.back() + " "), false);
    };
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        if (!read(text.substr(0, length))) {
            error.insert(0, "line " + std::to_string(number) + ": ");
            return false;
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return true;
}

/// A constant, or "ramp A B SECONDS", "sine MIDDLE AMPLITUDE SECONDS", "steps SECONDS V V ...".
[[nodiscard]] bool ReadCourse(ScenarioLine& line, ValueCourse& course);

/// Values up to the first word that is none; at least one.
[[nodiscard]] bool ReadSteps(ScenarioLine& line, std::vector<std::optional<float>>& steps);

/// "FROM TO" in seconds.
[[nodiscard]] bool ReadWindow(ScenarioLine& line, TimeWindow& window);

}  // namespace simulator
