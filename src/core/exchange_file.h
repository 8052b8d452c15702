// The exchange file: key=value lines that another program reads after this one has ended.
#pragma once

#include <cstdint>
#include <string>

#include "core/program_state.h"

namespace nelto {

/// Exchange key of a channel record by view ident and unit code; 0 for a record that is not exchanged. Says each look-up to the
/// debugger.
[[nodiscard]] std::uint32_t ExchangeKey(std::uint32_t view_ident, std::uint32_t unit);

/// Exchange key of a heating-check record; 0 for a record that is not exchanged.
[[nodiscard]] std::uint32_t HeatingCheckExchangeKey(std::uint32_t view_ident);

/// The whole file as wide text with "\n" line ends: caller word, channel lines, heating-check lines.
[[nodiscard]] std::wstring ExchangeText(const std::wstring& caller_word, wchar_t decimal_separator,
                                        const Measurement& measurement);

/// Writes the file at once, in the ANSI code page with CR LF line ends. One that cannot be opened is left as it stands, and one
/// that could not be written whole is deleted, so that no reader takes half a file for a whole one; both silently.
void WriteExchangeFile(const ProgramState& state, const Measurement& measurement);

}  // namespace nelto
