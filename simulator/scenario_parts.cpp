#include "scenario_parts.h"

#include <array>
#include <cstdio>
#include <memory>

namespace simulator {

bool ReadScenarioFile(const std::string& path, std::string& text) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    std::array<char, 4096> part;
    std::size_t length = 0;
    while (file != nullptr && (length = std::fread(part.data(), 1, part.size(), file.get())) > 0) {
        text.append(part.data(), length);
    }
    return file != nullptr && std::ferror(file.get()) == 0;
}

bool ReadCourse(ScenarioLine& line, ValueCourse& course) {
    if (line.NextIs("ramp") || line.NextIs("sine")) {
        course.shape = line.NextIs("ramp") ? ValueCourse::Shape::kRamp : ValueCourse::Shape::kSine;
        std::string word;
        return line.ReadWord(word) && line.ReadFloat(course.start) && line.ReadFloat(course.end) &&
               line.ReadPositive(course.seconds);
    }
    if (line.NextIs("steps")) {
        std::string word;
        return line.ReadWord(word) && line.ReadPositive(course.seconds) && ReadSteps(line, course.steps);
    }
    return line.ReadValue(course.steps.emplace_back());
}

bool ReadSteps(ScenarioLine& line, std::vector<std::optional<float>>& steps) {
    do {
        if (!line.ReadValue(steps.emplace_back())) return false;
    } while (line.NextIsValue());
    return true;
}

bool ReadWindow(ScenarioLine& line, TimeWindow& window) {
    if (!line.ReadSeconds(window.from_ms) || !line.ReadSeconds(window.to_ms)) return false;
    return window.from_ms < window.to_ms || line.Fail("a time window must end after its beginning");
}

}  // namespace simulator
