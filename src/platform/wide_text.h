// Wide text in buffers of fixed size: always cut to fit, always ended.
#pragma once

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

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

/// Cuts the first conversion off `format` and says whether it takes an argument of type `T`.
template <typename T>
[[nodiscard]] consteval bool TakeConversion(std::wstring_view& format) {
    format.remove_prefix(std::min(format.find(L'%'), format.size()));
    format.remove_prefix(std::min(format.find_first_not_of(L"%0123456789."), format.size()));
    std::wstring_view conversions = L"";
    if (std::is_same_v<T, const wchar_t*> || std::is_same_v<T, wchar_t*>) conversions = L"l";  // and then "s"
    if (std::is_floating_point_v<T>) conversions = L"f";
    if (std::is_integral_v<T> && sizeof(T) <= sizeof(int)) conversions = L"uxXd";
    if (format.empty() || conversions.find(format.front()) == std::wstring_view::npos) return false;
    return conversions != L"l" || format.substr(1).starts_with(L's');
}

/// A printf format for arguments of these types. It is text of the program itself, never text that came from outside, and the
/// conversions fit the arguments: anything else does not compile. Without "%%".
template <typename... Arguments>
class TextFormat {
public:
    consteval TextFormat(const wchar_t* text) : text_(text) {  // NOLINT: implicit, so that a call takes a literal
        std::wstring_view rest = text;
        if (std::ranges::count(rest, L'%') != sizeof...(Arguments) || !(TakeConversion<Arguments>(rest) && ...)) {
            std::abort();  // cannot happen while compiling, so it is the error that the compiler shows
        }
    }

    [[nodiscard]] constexpr const wchar_t* Text() const { return text_; }

private:
    const wchar_t* text_;
};

/// The format of a call, whose arguments alone say the types.
template <typename... Arguments>
using FormatOf = TextFormat<std::type_identity_t<Arguments>...>;

/// The runtime's printf; only for FormatText.
inline void FormatUnchecked(std::span<wchar_t> buffer, const wchar_t* format, ...) {
    if (buffer.empty()) return;
    buffer.front() = L'\0';
    std::va_list arguments{};
    va_start(arguments, format);
    const int produced = std::vswprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    // A text that does not fit is reported as an error by the runtime, after the buffer has been filled.
    if (produced < 0) buffer.back() = L'\0';
}

/// printf into `buffer`, cut to fit and always ended; wide texts go in with %ls.
template <typename... Arguments>
void FormatText(std::span<wchar_t> buffer, FormatOf<Arguments...> format, Arguments... arguments) {
    FormatUnchecked(buffer, format.Text(), arguments...);
}

/// The same as a text of its own, of at most 127 characters. Not inlined, which would cost more code than the call.
template <typename... Arguments>
[[nodiscard, gnu::noinline]] std::wstring Formatted(FormatOf<Arguments...> format, Arguments... arguments) {
    std::array<wchar_t, 128> text{};
    FormatText(text, format, arguments...);
    return std::wstring(TextIn(text));
}

}  // namespace nelto::platform
