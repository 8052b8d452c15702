// Numbers at the beginning of a text.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace nelto::platform {

/// The number that a text begins with in decimal digits, 0 without any; one that is larger counts as `largest`.
template <typename Character>
[[nodiscard]] constexpr std::uint32_t LeadingNumber(std::basic_string_view<Character> text, std::uint32_t largest) {
    std::uint64_t number = 0;
    for (const Character character : text) {
        if (character < Character{'0'} || character > Character{'9'}) break;
        number = std::min<std::uint64_t>(number * 10 + static_cast<std::uint64_t>(character - Character{'0'}), largest);
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace nelto::platform
