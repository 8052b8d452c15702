#include "message.h"

#include <bit>

namespace simulator {

void Append8(Message& message, unsigned value) { message.push_back(static_cast<std::uint8_t>(value)); }

void Append16(Message& message, unsigned value) {
    Append8(message, value & 0xFF);
    Append8(message, (value >> 8) & 0xFF);
}

void Append32(Message& message, std::uint32_t value) {
    Append16(message, value & 0xFFFF);
    Append16(message, value >> 16);
}

void AppendZeros(Message& message, std::size_t count) { message.insert(message.end(), count, 0); }

void AppendText(Message& message, std::u16string_view text) {
    for (const char16_t unit : text) Append16(message, unit);
}

void AppendValue(Message& message, std::optional<float> value) {
    Append32(message, value ? std::bit_cast<std::uint32_t>(*value) : 0xFFFFFFFF);
}

unsigned Read16(Bytes bytes, std::size_t offset) { return bytes[offset] | (unsigned{bytes[offset + 1]} << 8); }

std::string HexText(Bytes bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) text += ' ';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace simulator
