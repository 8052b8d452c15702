// Channel labels without Greek letters.
#pragma once

#include <string>
#include <string_view>

namespace nelto {

/// `text` with delta, eta, lambda and rho written out and a subscript two as the digit; every other character stays.
[[nodiscard]] std::wstring WithoutGreekLetters(std::wstring_view text);

}  // namespace nelto
