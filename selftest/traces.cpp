#include "traces.h"

#include "process.h"

namespace selftest {
namespace {

constexpr const wchar_t* kMakerKey             = L"Software\\Nelto";
constexpr const wchar_t* kKey                  = L"Software\\Nelto\\NeltoStackWatcher";
constexpr std::array<const wchar_t*, 4> kNames = {L"Communication", L"HeatingCheck", L"EnableRS232", L"RS232Port"};

std::optional<DWORD> Read(const wchar_t* name) {
    DWORD number         = 0;
    DWORD size           = sizeof number;
    const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, kKey, name, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? std::optional(number) : std::nullopt;
}

void Write(const wchar_t* name, std::optional<DWORD> number) {
    if (number) {
        RegSetKeyValueW(HKEY_CURRENT_USER, kKey, name, REG_DWORD, &*number, sizeof *number);
    } else {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, name);
    }
}

bool HasKey(const wchar_t* name) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, name, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
}

}  // namespace

Traces::Traces() : had_maker_key_(HasKey(kMakerKey)), had_key_(HasKey(kKey)) {
    for (std::size_t index = 0; index < kNames.size(); ++index) settings_[index] = Read(kNames[index]);
    std::error_code error;
    if (std::filesystem::exists(infrared_log_, error)) infrared_content_ = ContentOf(infrared_log_);
}

Traces::~Traces() {
    for (std::size_t index = 0; index < kNames.size(); ++index) Write(kNames[index], settings_[index]);
    if (!had_key_) RegDeleteKeyW(HKEY_CURRENT_USER, kKey);
    if (!had_maker_key_) RegDeleteKeyW(HKEY_CURRENT_USER, kMakerKey);
    std::error_code error;
    if (infrared_content_) {
        WriteContent(infrared_log_, *infrared_content_);
    } else {
        std::filesystem::remove(infrared_log_, error);
    }
}

void Traces::ChooseLink(DWORD communication) const {
    Write(kNames[0], communication);
    Write(kNames[1], 0);
    Write(kNames[2], 0);
}

}  // namespace selftest
