#include "platform/registry.h"

#include <windows.h>

namespace nelto::platform {
namespace {

constexpr const wchar_t* kSettingsKey = L"Software\\Nelto\\NeltoStackWatcher";

}  // namespace

std::uint32_t RegReadDword(const wchar_t* name, std::uint32_t fallback) {
    DWORD number = 0;
    DWORD size   = sizeof(number);
    const LSTATUS query =
        RegGetValueW(HKEY_CURRENT_USER, kSettingsKey, name, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return query == ERROR_SUCCESS && size == sizeof(number) ? number : fallback;
}

std::uint32_t RegWriteDword(const wchar_t* name, std::uint32_t number) {
    HKEY key          = nullptr;
    wchar_t type_of[] = L"TestClass";
    if (RegCreateKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, type_of, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS) {
        return 1;
    }
    const DWORD value = number;
    // After a failed write the key is deliberately left open.
    if (RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)) !=
        ERROR_SUCCESS) {
        return 1;
    }
    RegCloseKey(key);
    return 0;
}

}  // namespace nelto::platform
