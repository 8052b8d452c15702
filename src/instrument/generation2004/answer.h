// An answer of the analyser, read with every bound checked.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "instrument/generation2004/commands.h"

namespace nelto {

/// Received bytes. A number that the bytes do not hold reads as 0; steps that need it ask Covers first.
class ByteView {
public:
    constexpr ByteView() = default;
    constexpr explicit ByteView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    [[nodiscard]] constexpr std::size_t Size() const { return bytes_.size(); }
    [[nodiscard]] constexpr bool Covers(std::size_t offset, std::size_t size) const {
        return offset <= bytes_.size() && size <= bytes_.size() - offset;
    }
    /// The bytes from `offset` on, at most `size` of them; fewer, or none, where they end before.
    [[nodiscard]] constexpr ByteView Part(std::size_t offset, std::size_t size = std::dynamic_extent) const {
        const auto rest = bytes_.subspan(std::min(offset, bytes_.size()));
        return ByteView(rest.first(std::min(size, rest.size())));
    }
    [[nodiscard]] constexpr std::span<const std::uint8_t> Bytes() const { return bytes_; }

    [[nodiscard]] constexpr std::uint8_t Byte(std::size_t offset) const {
        return offset < bytes_.size() ? bytes_[offset] : std::uint8_t{0};
    }
    [[nodiscard]] constexpr std::uint16_t Word(std::size_t offset) const {
        return static_cast<std::uint16_t>(Byte(offset) | (Byte(offset + 1) << 8));
    }
    [[nodiscard]] constexpr std::uint32_t Long(std::size_t offset) const {
        return Word(offset) | (static_cast<std::uint32_t>(Word(offset + 2)) << 16);
    }
    [[nodiscard]] constexpr float Single(std::size_t offset) const { return std::bit_cast<float>(Long(offset)); }

private:
    std::span<const std::uint8_t> bytes_;
};

/// The 32-bit field of a quantity that has no value.
constexpr std::uint32_t kNoValueMark = 0xFFFFFFFF;

/// UTF-16 text in `bytes`, up to its first NUL. A last half character counts with a high byte of 0.
[[nodiscard]] inline std::wstring Utf16Text(const ByteView& bytes) {
    std::wstring text;
    for (std::size_t offset = 0; offset < bytes.Size() && bytes.Word(offset) != 0; offset += 2) {
        text += static_cast<wchar_t>(bytes.Word(offset));
    }
    return text;
}

}  // namespace nelto
