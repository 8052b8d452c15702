// Text services of the system: debugger output, the 8-bit code page, the string table and the locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace nelto::platform {

/// Shows a text to an attached debugger.
void DebugOutput(const wchar_t* text);

/// The text in the system's ANSI code page; what the code page cannot hold becomes "?".
[[nodiscard]] std::string ToAnsi(std::wstring_view text);

/// Text `id` of the string table in the user's language; empty when there is none.
[[nodiscard]] std::wstring LoadText(std::uint32_t id);

/// First character of the system default locale's decimal separator.
[[nodiscard]] wchar_t DecimalSeparator();

/// The user's locale as language, hyphen and country, for example "de-DE".
[[nodiscard]] std::wstring UserLocaleTag();

}  // namespace nelto::platform
