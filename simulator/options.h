// The command line of nelto-simulator.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "analyser_data.h"

namespace simulator {

extern const char* const kUsage;

struct Options {
    std::string port;
    bool with_frames = false;

    // An analyser made from a scenario.
    std::string scenario;
    std::optional<unsigned> ident;
    std::optional<std::uint64_t> seed;

    // An analyser played from a log.
    std::string replay;
    std::optional<std::size_t> connection;
    bool with_times = false;
    bool list       = false;
};

/// What the options say about the analyser of a scenario.
void ApplyOptions(const Options& options, AnalyserData& analyser);

/// The options in the words of a command line, the program's name first; none when they make no sense.
[[nodiscard]] std::optional<Options> ReadOptions(std::span<char* const> words);

}  // namespace simulator
