// Text on its way to other software.
#pragma once

#include <algorithm>
#include <string>

namespace nelto {

/// A received text never breaks a line of the exchange file or of the serial output: control characters become blanks.
[[nodiscard]] inline std::wstring OnOneLine(std::wstring text) {
    std::ranges::replace_if(
        text, [](wchar_t character) { return character < L' ' || character == 0x7F; }, L' ');
    return text;
}

}  // namespace nelto
