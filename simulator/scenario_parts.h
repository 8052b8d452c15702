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

/// Gives each line of `text` to `reader`, a byte-order mark before them passed over. On the first that it does not understand false,
/// and "line 3: ..." in `error`.
template <typename Reader>
[[nodiscard]] bool ReadScenarioLines(std::string_view text, Reader& reader, std::string& error) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        if (!reader.ReadLine(text.substr(0, length))) {
            error = "line " + std::to_string(number) + ": " + reader.Error();
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
