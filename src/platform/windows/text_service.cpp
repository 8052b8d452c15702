#include "platform/text_service.h"

#include <windows.h>

#include <array>

#include "platform/wide_text.h"

namespace nelto::platform {
namespace {

std::wstring LocaleText(LCTYPE type) {
    std::array<wchar_t, 128> text{};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text.data(), static_cast<int>(text.size()));
    return std::wstring(TextIn(text));
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

std::wstring LoadText(std::uint32_t id) {
    const wchar_t* text = nullptr;  // in the program's resources, not ended
    const int length    = LoadStringW(GetModuleHandleW(nullptr), id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}

wchar_t DecimalSeparator() {
    wchar_t separator[32] = L".";
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_SDECIMAL, separator, 32);
    return separator[0];
}

std::wstring UserLocaleTag() { return LocaleText(LOCALE_SISO639LANGNAME) + L"-" + LocaleText(LOCALE_SISO3166CTRYNAME); }

}  // namespace nelto::platform
