#include "options.h"

#include <charconv>
#include <string_view>

#include "analyser_2004.h"

namespace simulator {

const char* const kUsage =
    "A simulated flue-gas analyser behind a serial port (COM, Bluetooth).\n"
    "\n"
    "nelto-simulator --port COM6  [--scenario FILE] [--ident NUMBER] [--seed NUMBER] [--log]\n"
    "nelto-simulator --port COM6  --replay FILE [--connection NUMBER] [--times] [--log]\n"
    "nelto-simulator --replay FILE --list\n"
    "  --port        the serial port to serve\n"
    "  --scenario    what the analyser knows and does, see README.md; built in: a 780 with oil fuel\n"
    "  --ident       answer as 780, 790, 710 of generation 2004; as 781, 752, 745, 711, 746 of generation 2010 to the "
    "search\n"
    "                alone, for the libraries in generation2010 to take over\n"
    "  --seed        another course of the noise\n"
    "  --replay      answer as the analyser did in this ZIVNelto780.txt\n"
    "  --connection  which connection of the log; without it the last one in which an analyser answered\n"
    "  --times       answer as late as the analyser did then\n"
    "  --list        show the connections of the log\n"
    "  --log         show the bytes on the line too\n"
    "\n"
    "Over the other links the analyser is a library that is put beside the program which looks for it:\n"
    "  USB, generation 2004       ftd2xx\\3.02.11\\FTD2XX.DLL or ftd2xx\\2.08.14\\FTD2XX.DLL, in place of the "
    "driver's\n"
    "  infrared                   winsock\\wsock32.dll, in place of Winsock\n"
    "  generation 2010, all links generation2010\\*.dll, in place of the maker's libraries\n"
    "They read scenario.txt, or scenario2010.txt for generation 2010, beside them.\n";

namespace {

template <typename Number>
bool ReadNumber(std::string_view text, std::optional<Number>& number) {
    const char* end   = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number.emplace());
    return result.ec == std::errc() && result.ptr == end;
}

/// The switch of this name, null for an option that a value follows.
bool* SwitchOf(std::string_view name, Options& options) {
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
    const bool has_link     = !options.port.empty();
    if (options.replay.empty()) {
        if (has_choice || options.list) return false;
    } else if (has_scenario || (options.list && (has_choice || has_link))) {
        return false;
    }
    return options.list || has_link;
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
