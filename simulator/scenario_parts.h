// Parts of a statement that several kinds of scenario files share. Each reads the next words of the line and gives false, with
// the reason in the line, on anything unexpected.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analyser_data.h"
#include "scenario_line.h"
#include "value_course.h"

namespace simulator {

/// The whole file; false when it cannot be read.
[[nodiscard]] bool ReadScenarioFile(const std::string& path, std::string& text);

/// A constant, or "ramp A B SECONDS", "sine MIDDLE AMPLITUDE SECONDS", "steps SECONDS V V ...".
[[nodiscard]] bool ReadCourse(ScenarioLine& line, ValueCourse& course);

/// Values up to the first word that is none; at least one.
[[nodiscard]] bool ReadSteps(ScenarioLine& line, std::vector<std::optional<float>>& steps);

/// "FROM TO" in seconds.
[[nodiscard]] bool ReadWindow(ScenarioLine& line, TimeWindow& window);

}  // namespace simulator
