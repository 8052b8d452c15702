// The analyser's messages as bytes: numbers low byte first, texts in UTF-16 without an end mark.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

using Message = std::vector<std::uint8_t>;
using Bytes   = std::span<const std::uint8_t>;

constexpr std::size_t kAnswerHeaderSize = 4;  // status, echo of the command, two zero bytes

void Append8(Message& message, unsigned value);
void Append16(Message& message, unsigned value);
void Append32(Message& message, std::uint32_t value);
void AppendZeros(Message& message, std::size_t count);
void AppendText(Message& message, std::u16string_view text);

/// Four bytes, IEEE 754 single; no value is FF FF FF FF.
void AppendValue(Message& message, std::optional<float> value);

/// The caller has checked that `bytes` reaches to `offset` + 1.
[[nodiscard]] unsigned Read16(Bytes bytes, std::size_t offset);

/// "12 00 0F", for people.
[[nodiscard]] std::string HexText(Bytes bytes);

}  // namespace simulator
