// Text as the bytes that are written to files and consoles.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace nelto::platform {

/// `text` with CR LF for every line feed in it.
[[nodiscard]] inline std::string WithCrLf(std::string_view text) {
    std::string lines;
    lines.reserve(text.size() + text.size() / 8 + 1);
    for (const char character : text) {
        if (character == '\n') lines += '\r';
        lines += character;
    }
    return lines;
}

/// "0A FF ", two digits and a blank for each byte.
[[nodiscard]] inline std::string HexBytes(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes) text += {kDigits[byte >> 4], kDigits[byte & 0x0F], ' '};
    return text;
}

/// Appends one character. What is none, such as half of a pair, becomes the replacement character.
inline void AppendUtf8(std::string& bytes, std::uint32_t character) {
    constexpr std::uint32_t kReplacement = 0xFFFD;
    const bool is_half                   = character >= 0xD800 && character < 0xE000;
    if (is_half || character > 0x10FFFF) character = kReplacement;
    if (character < 0x80) {
        bytes += static_cast<char>(character);
        return;
    }
    const int followers                = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::uint32_t kFirsts[4] = {0, 0xC0, 0xE0, 0xF0};
    bytes += static_cast<char>(kFirsts[followers] | (character >> (6 * followers)));
    for (int left = followers - 1; left >= 0; --left) {
        bytes += static_cast<char>(0x80 | ((character >> (6 * left)) & 0x3F));
    }
}

/// The number of the character; 0 behind the end.
[[nodiscard]] inline std::uint32_t CodeAt(std::wstring_view text, std::size_t index) {
    return index < text.size() ? std::char_traits<wchar_t>::to_int_type(text[index]) : 0U;
}

/// The text as UTF-8, from UTF-16 as well as from whole characters.
[[nodiscard]] inline std::string ToUtf8(std::wstring_view text) {
    std::string bytes;
    for (std::size_t index = 0; index < text.size(); ++index) {
        std::uint32_t character  = CodeAt(text, index);
        const std::uint32_t next = CodeAt(text, index + 1);
        if (character >= 0xD800 && character < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            character = 0x10000 + ((character - 0xD800) << 10) + (next - 0xDC00);
            ++index;
        }
        AppendUtf8(bytes, character);
    }
    return bytes;
}

}  // namespace nelto::platform
