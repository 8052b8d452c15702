#include "options.h"

#include <charconv>
#include <string_view>

#include "analyser_2004.h"

namespace simulator {

const char* const kUsage =
    "nelto-simulator --port COM6 | --pty  [--scenario FILE] [--ident NUMBER] [--seed NUMBER] [--log]\n"
    "nelto-simulator --port COM6 | --pty  --replay FILE [--connection NUMBER] [--times] [--log]\n"
    "nelto-simulator --replay FILE --list\n"
    "  --port        the serial port to serve\n"
    "  --pty         serve a pseudo terminal, told in the first line as \"port PATH\" (not on Windows)\n"
    "  --scenario    what the analyser knows and does, see README.md; built in: a 780 with oil fuel\n"
    "  --ident       answer as 780, 790, 710, or by ident alone as 781, 752, 745, 711, 746\n"
    "  --seed        another course of the noise\n"
    "  --replay      answer as the analyser did in this ZIVNelto780.txt\n"
    "  --connection  which connection of the log; without it the last one in which an analyser answered\n"
    "  --times       answer as late as the analyser did then\n"
    "  --list        show the connections of the log\n"
    "  --log         show the bytes on the line too\n";

namespace {

template <typename Number>
bool ReadNumber(std::string_view text, std::optional<Number>& number) {
    const char* end   = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number.emplace());
    return result.ec == std::errc() && result.ptr == end;
}

/// The switch of this name, null for an option that a value follows.
bool* SwitchOf(std::string_view name, Options& options) {
    if (name == "--pty") return &options.with_pair;
    if (name == "--log") return &options.with_frames;
    if (name == "--times") return &options.with_times;
    if (name == "--list") return &options.list;
    return nullptr;
}

bool TakeValue(std::string_view name, std::string_view value, Options& options) {
    if (name == "--port") options.port = value;
    if (name == "--scenario") options.scenario = value;
    if (name == "--replay") options.replay = value;
    if (name == "--port" || name == "--scenario" || name == "--replay") return !value.empty();
    if (name == "--ident") return ReadNumber(value, options.ident) && IsKnownModel(*options.ident);
    if (name == "--connection") return ReadNumber(value, options.connection) && *options.connection > 0;
    return name == "--seed" && ReadNumber(value, options.seed);
}

bool IsSensible(const Options& options) {
    const bool has_scenario = !options.scenario.empty() || options.ident || options.seed;
    const bool has_choice   = options.connection || options.with_times;
    const bool has_link     = options.with_pair || !options.port.empty();
    if (options.replay.empty()) {
        if (has_choice || options.list) return false;
    } else if (has_scenario || (options.list && (has_choice || has_link))) {
        return false;
    }
    return options.list || options.with_pair == options.port.empty();
}

}  // namespace

std::optional<Options> ReadOptions(std::span<char* const> words) {
    Options options;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string_view name = words[i];
        if (bool* const on = SwitchOf(name, options)) {
            *on = true;
            continue;
        }
        if (++i == words.size() || !TakeValue(name, words[i], options)) return std::nullopt;
    }
    return IsSensible(options) ? std::optional(options) : std::nullopt;
}

void ApplyOptions(const Options& options, AnalyserData& analyser) {
    if (options.ident) analyser.model = *options.ident;
    if (options.seed) analyser.seed = *options.seed;
}

}  // namespace simulator
