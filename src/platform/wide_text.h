// Wide text in buffers of fixed size: always cut to fit, always ended.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <span>
#include <string_view>

namespace nelto::platform {

/// Copies `source` into `destination`, cut to fit, and ends it. Returns the copied length. An empty buffer stays untouched.
inline std::size_t CopyText(std::span<wchar_t> destination, std::wstring_view source) {
    if (destination.empty()) return 0;
    const std::size_t length = std::min(source.size(), destination.size() - 1);
    std::copy_n(source.begin(), length, destination.begin());
    destination[length] = L'\0';
    return length;
}

/// The text in `buffer` up to its NUL, or all of it where none stands.
[[nodiscard]] inline std::wstring_view TextIn(std::span<const wchar_t> buffer) {
    const auto end = std::find(buffer.begin(), buffer.end(), L'\0');
    return {buffer.data(), static_cast<std::size_t>(end - buffer.begin())};
}

/// Appends `addition` to the text in `buffer`, cut to fit.
inline void AppendText(std::span<wchar_t> buffer, std::wstring_view addition) {
    CopyText(buffer.subspan(std::min(TextIn(buffer).size(), buffer.size())), addition);
}

/// printf into `buffer`, cut to fit and always ended; wide texts go in with %ls. Formats never come from outside.
inline void FormatTextV(std::span<wchar_t> buffer, const wchar_t* format, std::va_list arguments) {
    if (buffer.empty()) return;
    buffer.front()     = L'\0';
    const int produced = std::vswprintf(buffer.data(), buffer.size(), format, arguments);
    // A text that does not fit is reported as an error by the runtime, after the buffer has been filled.
    if (produced < 0) buffer.back() = L'\0';
}

inline void FormatText(std::span<wchar_t> buffer, const wchar_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    FormatTextV(buffer, format, arguments);
    va_end(arguments);
}

}  // namespace nelto::platform
