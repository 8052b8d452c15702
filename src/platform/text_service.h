// Text services of the system: debugger output, the 8-bit code page, the string table and the locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace nelto::platform {

/// Shows a text to an attached debugger.
void DebugOutput(const wchar_t* text);

/// The text in the system's ANSI code page; what the code page cannot hold becomes "?".
[[nodiscard]] std::string ToAnsi(std::wstring_view text);

/// Loads text `id` of the string table in the user's language into `text`, cut at its size and always ended. Returns the
/// length; 0 and an empty text when there is none.
std::size_t LoadText(std::uint32_t id, std::span<wchar_t> text);

/// First character of the system default locale's decimal separator.
[[nodiscard]] wchar_t DecimalSeparator();

/// The user's locale as language, hyphen and country, for example "de-DE".
void UserLocaleTag(std::span<wchar_t> tag);

}  // namespace nelto::platform
