// What a drop-in library gets from its surroundings, since nobody can give it options.
#pragma once

#include <optional>
#include <string>

#include "scenario.h"

namespace simulator {

/// The scenario in the file that NELTO_SIMULATOR_SCENARIO names, else in scenario.txt beside the library that `inside`
/// belongs to, else the default one. A file that cannot be used gives none and is told.
[[nodiscard]] std::optional<Scenario> DropInScenario(const void* inside);

/// Path of the file that the environment variable names, else of `file_name` beside the library that `inside` belongs to if
/// it is there; empty when there is neither.
[[nodiscard]] std::string DropInFile(const void* inside, const char* variable, const char* file_name);

/// The folder of that library, with its final backslash.
[[nodiscard]] std::string DropInFolder(const void* inside);

/// Milliseconds since the start of the program that uses the library: the simulator's time, the same in all its libraries.
[[nodiscard]] std::uint64_t DropInNowMs();

/// Appends one line with the seconds since the start to the file that NELTO_SIMULATOR_LOG names; without it to nowhere.
void DropInTell(const std::string& line);

}  // namespace simulator
