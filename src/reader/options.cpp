#include "reader/options.h"

#include <algorithm>
#include <array>
#include <bitset>

#include "instrument/generation2010/translation.h"
#include "platform/number_text.h"

namespace nelto::reader {
namespace {

constexpr std::uint32_t kHighestPort    = 255;  // as in the settings dialog
constexpr std::uint32_t kMostCounted    = 1'000'000;
constexpr std::uint32_t kLongestTimeout = 86'400;  // seconds

constexpr std::string_view kHelp =
    "nelto-read reads the values of a flue-gas analyser and prints them.\n"
    "\n"
    "  nelto-read [--link usb|irda|COM5] [--watch | --count N] [--format table|csv|json|exchange] [--fuel N]\n"
    "             [--heating-check] [--timeout SECONDS] [--logs FOLDER] [--version] [--help]\n"
    "\n"
    "  --link           how the analyser is connected; without it as in the settings of NeltoStackWatcher\n"
    "  --watch          a measurement each second until Ctrl+C; searches again when the connection breaks\n"
    "  --count N        so many measurements; without it one\n"
    "  --format         table for people; csv with a header; json with one object a line; exchange with the lines of "
    "the\n"
    "                   exchange file\n"
    "  --fuel N         the fuel to set on an analyser of generation 2010: 1 to 9 or 11\n"
    "  --heating-check  the results of the heating check too\n"
    "  --timeout N      seconds to wait for values; 30 without it, 0 for no limit\n"
    "  --logs FOLDER    keep the trace logs for the support in this folder; without it there are none\n"
    "\n"
    "Values go to standard output in UTF-8, progress and errors to standard error. The exit code is\n"
    "  0  what was asked for has been printed\n"
    "  1  no analyser or no values in time\n"
    "  2  wrong options\n"
    "  3  the connection was lost before all measurements were there\n";

/// ASCII letters only, which is all that words of options have.
std::wstring InSmallLetters(std::wstring_view text) {
    std::wstring small(text);
    for (wchar_t& letter : small) {
        if (letter >= L'A' && letter <= L'Z') letter = static_cast<wchar_t>(letter + (L'a' - L'A'));
    }
    return small;
}

/// Digits only, from `lowest` to `highest`.
std::optional<std::uint32_t> NumberIn(std::wstring_view text, std::uint32_t lowest, std::uint32_t highest) {
    const bool is_number = !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
    if (!is_number) return {};
    const std::uint32_t number = platform::LeadingNumber(text, highest + 1);
    return number >= lowest && number <= highest ? std::optional(number) : std::nullopt;
}

bool TakeLink(std::wstring_view value, Options& options) {
    const std::wstring link = InSmallLetters(value);
    if (link == L"usb") options.communication = kUsb;
    if (link == L"irda") options.communication = kIrda;
    if (link.starts_with(L"com")) options.communication = NumberIn(std::wstring_view(link).substr(3), 1, kHighestPort);
    return options.communication.has_value();
}

bool TakeCount(std::wstring_view value, Options& options) {
    const auto count = NumberIn(value, 1, kMostCounted);
    options.count    = count.value_or(1);
    return count.has_value();
}

bool TakeFormat(std::wstring_view value, Options& options) {
    constexpr std::array<std::wstring_view, 4> kNames = {L"table", L"csv", L"json", L"exchange"};  // by Format
    const auto name                                   = std::ranges::find(kNames, InSmallLetters(value));
    options.format                                    = static_cast<Format>(name - kNames.begin());
    return name != kNames.end();
}

bool TakeFuel(std::wstring_view value, Options& options) {
    options.fuel = static_cast<std::int32_t>(NumberIn(value, 1, 99).value_or(0));
    return LibraryFuelOf(options.fuel) != 0;
}

bool TakeTimeout(std::wstring_view value, Options& options) {
    const auto seconds = NumberIn(value, 0, kLongestTimeout);
    options.timeout_s  = seconds.value_or(0);
    return seconds.has_value();
}

bool TakeLogs(std::wstring_view value, Options& options) {
    options.logs = value;
    return !value.empty();
}

/// `wants` is null for an option without a value.
struct OptionRow {
    std::wstring_view name;
    const wchar_t* wants;
    bool (*take)(std::wstring_view value, Options& options);
};

bool TakeWatch(std::wstring_view, Options& options) { return options.watch = true; }
bool TakeHeatingCheck(std::wstring_view, Options& options) { return options.heating_check = true; }

constexpr std::array kOptions = {
    OptionRow{L"--link", L"usb, irda or a port from COM1 to COM255", TakeLink},
    OptionRow{L"--watch", nullptr, TakeWatch},
    OptionRow{L"--count", L"a number from 1 to 1000000", TakeCount},
    OptionRow{L"--format", L"table, csv, json or exchange", TakeFormat},
    OptionRow{L"--fuel", L"a fuel number, 1 to 9 or 11", TakeFuel},
    OptionRow{L"--heating-check", nullptr, TakeHeatingCheck},
    OptionRow{L"--timeout", L"a number of seconds from 0 to 86400", TakeTimeout},
    OptionRow{L"--logs", L"a folder", TakeLogs},
};

/// Walks over the words and keeps in mind which options it has met.
class Parser {
public:
    Parser(std::span<const wchar_t* const> words, Options& options, std::wstring& fault)
        : words_(words), options_(options), fault_(fault) {}

    bool Run() {
        while (next_ < words_.size()) {
            const std::wstring_view word = words_[next_++];
            if (TakeTask(word)) return true;
            if (!TakeWord(word)) return false;
        }
        if (options_.watch && WasMet(L"--count")) return Fault(L"--watch and --count do not go together");
        return true;
    }

private:
    bool Fault(std::wstring text) {
        fault_ = std::move(text);
        return false;
    }

    [[nodiscard]] bool WasMet(std::wstring_view name) const {
        return met_[static_cast<std::size_t>(std::ranges::find(kOptions, name, &OptionRow::name) - kOptions.begin())];
    }

    /// Help and version leave everything behind them alone.
    bool TakeTask(std::wstring_view word) {
        if (word == L"--help" || word == L"-h" || word == L"/?") options_.task = Task::kShowHelp;
        if (word == L"--version") options_.task = Task::kShowVersion;
        return options_.task != Task::kRead;
    }

    bool TakeWord(std::wstring_view word) {
        const std::size_t equals     = word.find(L'=');
        const std::wstring_view name = word.substr(0, equals);
        const auto row               = std::ranges::find(kOptions, name, &OptionRow::name);
        if (row == kOptions.end()) return Fault(L"unknown option '" + std::wstring(word) + L"'; --help shows all");
        const auto number = static_cast<std::size_t>(row - kOptions.begin());
        if (met_[number]) return Fault(std::wstring(name) + L" stands twice");
        met_.set(number);
        const bool has_value = equals != std::wstring_view::npos;
        if (row->wants == nullptr)
            return has_value ? Fault(std::wstring(name) + L" takes no value") : row->take({}, options_);
        if (!has_value && next_ == words_.size()) return Fault(std::wstring(name) + L" wants " + row->wants);
        const std::wstring_view value = has_value ? word.substr(equals + 1) : words_[next_++];
        return row->take(value, options_) ||
               Fault(std::wstring(name) + L" wants " + row->wants + L", not '" + std::wstring(value) + L"'");
    }

    std::span<const wchar_t* const> words_;
    std::size_t next_ = 0;
    std::bitset<kOptions.size()> met_;
    Options& options_;
    std::wstring& fault_;
};

}  // namespace

bool ReadOptions(std::span<const wchar_t* const> words, Options& options, std::wstring& fault) {
    return Parser(words, options, fault).Run();
}

std::string HelpText() { return std::string(kHelp); }

std::string VersionText() { return "nelto-read " NELTO_VERSION "\n"; }

}  // namespace nelto::reader
