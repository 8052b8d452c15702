// Wide text, as Windows has it, and UTF-8, as the report does.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace selftest {

[[nodiscard]] inline std::string Narrow(std::wstring_view text) {
    const int size   = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

}  // namespace selftest
