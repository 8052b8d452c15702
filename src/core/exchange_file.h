// The exchange file: key=value lines that another program reads after this one has ended.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/program_state.h"

namespace nelto {

/// A record with its exchange key, 0 for one that is not exchanged.
struct KeyedRecord {
    const ChannelRecord& record;
    std::uint32_t key;
};

/// What the dialog lists, in its order. Says each look-up of a channel's key to the debugger.
[[nodiscard]] std::vector<KeyedRecord> KeyedRecords(const Measurement& measurement);

/// The whole file as wide text with "\n" line ends: caller word, channel lines, heating-check lines.
[[nodiscard]] std::wstring ExchangeText(const std::wstring& caller_word, wchar_t decimal_separator,
                                        const Measurement& measurement);

/// Writes the file at once, in the ANSI code page with CR LF line ends. One that cannot be opened is left as it stands, and one
/// that could not be written whole is deleted, so that no reader takes half a file for a whole one; both silently.
void WriteExchangeFile(const ProgramState& state, const Measurement& measurement);

}  // namespace nelto
