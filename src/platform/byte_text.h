// 8-bit text as it is written to files.
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

}  // namespace nelto::platform
