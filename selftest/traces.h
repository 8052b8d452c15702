// What the program under test writes outside of its folder, put aside before the test and back after it.
#pragma once

#include <windows.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace selftest {

/// The four settings of the program and its log in the root of drive C. Puts both back in the end.
class Traces {
public:
    Traces();
    ~Traces();
    Traces(const Traces&)            = delete;
    Traces& operator=(const Traces&) = delete;

    /// Settings for the test: the link, and neither heating check nor serial output.
    void ChooseLink(DWORD communication) const;
    [[nodiscard]] const std::filesystem::path& InfraredLog() const { return infrared_log_; }

private:
    static constexpr std::size_t kSettingCount = 4;

    bool had_maker_key_;
    bool had_key_;
    std::array<std::optional<DWORD>, kSettingCount> settings_;
    std::filesystem::path infrared_log_ = L"C:\\IRDALOG.TXT";
    std::optional<std::string> infrared_content_;
};

}  // namespace selftest
