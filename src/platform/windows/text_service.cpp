#include "platform/text_service.h"

#include <windows.h>

#include <array>

#include "platform/wide_text.h"

namespace nelto::platform {
namespace {

constexpr int kLocaleTextSize = 128;

std::array<wchar_t, kLocaleTextSize> LocaleText(LCID locale, LCTYPE type) {
    std::array<wchar_t, kLocaleTextSize> text{};
    GetLocaleInfoW(locale, type, text.data(), kLocaleTextSize);
    return text;
}

}  // namespace

void DebugOutput(const wchar_t* text) { OutputDebugStringW(text); }

std::string ToAnsi(std::wstring_view text) {
    if (text.empty()) return {};
    const int size = static_cast<int>(text.size());
    // No best fit: a character that the code page does not hold becomes "?", not one that merely looks alike.
    const DWORD flags = GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
    const int needed  = WideCharToMultiByte(CP_ACP, flags, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_ACP, flags, text.data(), size, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

std::size_t LoadText(std::uint32_t id, std::span<wchar_t> text) {
    if (text.empty()) return 0;
    text.front()     = L'\0';
    const int length = LoadStringW(GetModuleHandleW(nullptr), id, text.data(), static_cast<int>(text.size()));
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

wchar_t DecimalSeparator() {
    wchar_t separator[32] = L".";
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_SDECIMAL, separator, 32);
    return separator[0];
}

void UserLocaleTag(std::span<wchar_t> tag) {
    CopyText(tag, TextIn(LocaleText(LOCALE_USER_DEFAULT, LOCALE_SISO639LANGNAME)));
    AppendText(tag, L"-");
    AppendText(tag, TextIn(LocaleText(LOCALE_USER_DEFAULT, LOCALE_SISO3166CTRYNAME)));
}

}  // namespace nelto::platform
