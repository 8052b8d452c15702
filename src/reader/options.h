// The command line of nelto-read.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/program_state.h"

namespace nelto::reader {

enum class Task : std::uint8_t { kRead, kShowHelp, kShowVersion };

enum class Format : std::uint8_t { kTable, kCsv, kJson, kExchange };

struct Options {
    Task task = Task::kRead;
    std::optional<std::uint32_t> communication;  // as in the setting of that name, which counts without it
    bool watch              = false;
    std::uint32_t count     = 1;  // measurements, unless it is to watch
    Format format           = Format::kTable;
    std::int32_t fuel       = kNoFuelChoice;
    bool heating_check      = false;
    std::uint32_t timeout_s = 30;  // 0 for none
    std::wstring logs;             // a folder; empty for no logs

    bool operator==(const Options& other) const = default;
};

/// The options in the words of a command line without the program's name. False when they make no sense: then `fault` says which one
/// in one line.
[[nodiscard]] bool ReadOptions(std::span<const wchar_t* const> words, Options& options, std::wstring& fault);

/// What --help and --version show.
[[nodiscard]] std::string HelpText();
[[nodiscard]] std::string VersionText();

}  // namespace nelto::reader
