#include "scenario_parts.h"

#include <array>
#include <cstdio>
#include <memory>

#include "scenario.h"
#include "scenario_2010.h"

namespace simulator {
namespace {

constexpr std::size_t kMostChain = 8;

struct BuiltIn {
    std::string_view name;
    std::string_view (*text)();
};

constexpr std::array kBuiltIn = {
    BuiltIn{"default", DefaultScenarioText},
    BuiltIn{"generation2010", DefaultScenario2010Text},
};

}  // namespace

bool ReadScenarioFile(const std::string& path, std::string& text) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    std::array<char, 4096> part;
    std::size_t length = 0;
    while (file != nullptr && (length = std::fread(part.data(), 1, part.size(), file.get())) > 0) {
        text.append(part.data(), length);
    }
    return file != nullptr && std::ferror(file.get()) == 0;
}

bool IsInclude(std::string_view text) {
    ScenarioLine line;
    return line.Split(text) && line.NextIs("include");
}

bool OpenIncluded(std::string_view text, ScenarioChain& chain, std::string& included, std::string& error) {
    ScenarioLine line;
    std::string name;
    const auto* built_in = kBuiltIn.end();
    const auto open      = [&] {
        if (!line.Split(text) || !line.ReadWord(name)) return false;
        if (line.NextIsText()) {
            if (!line.ReadPlainText(name) || !line.ReadAttributes({})) return false;
            name.insert(0, chain.back(), 0, chain.back().find_last_of("/\\") + 1);
        } else {
            if (!line.ReadWord(name) || !line.ReadAttributes({})) return false;
            built_in = std::ranges::find(kBuiltIn, name, &BuiltIn::name);
            if (built_in == kBuiltIn.end()) return line.Fail("no scenario \"" + name + "\" is built in");
        }
        if (std::ranges::find(chain, name) != chain.end()) return line.Fail(name + " includes itself");
        if (chain.size() == kMostChain) return line.Fail("too many scenarios inside each other");
        if (built_in != kBuiltIn.end()) return included = built_in->text(), true;
        return ReadScenarioFile(name, included) || line.Fail(name + " cannot be read");
    };
    if (!open()) return error = line.Error(), false;
    chain.push_back(name);
    return true;
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
