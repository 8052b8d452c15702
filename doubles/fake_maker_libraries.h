// The maker's instrument libraries and text mapper in memory: one analyser whose every answer a test sets, and a record of the
// calls. One set, reset by each test.
#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "instrument/generation2010/library_records.h"
#include "platform/memory/memory_dynamic_library.h"

namespace nelto::rigs {

struct FakeMaker {
    static constexpr std::uint64_t kUsbHandle  = 0x1122334400000007;
    static constexpr std::uint64_t kPipeHandle = 0x1122334400000009;

    std::map<std::string, std::uint32_t> results;        // of functions that do not return 0
    std::size_t failing_call = 0;                        // counted from 1; 0 none
    std::map<std::uint32_t, std::uint32_t> usb_devices;  // number by product
    std::wstring usb_serial_number = L"usb-1";
    bool gives_pipe                = true;

    std::uint32_t ident          = 745;
    std::uint32_t device_type    = 0;
    std::wstring device_name     = L"NELTO 745";
    std::uint32_t firmware       = 0x0215;
    std::uint32_t serial_number  = 12345;
    std::wstring smoke_pump      = L"SP-1";
    std::uint32_t measurement    = 3;
    std::uint32_t fuel           = 104;
    float maximum_carbon_dioxide = 11.9F;
    float reference_oxygen       = 3.0F;
    std::vector<ValueRecord2010> values;
    std::vector<std::vector<ValueRecord2010>> cache;
    std::uint32_t value_count_lie = 0;  // told instead of the true number, where it is not 0
    std::uint32_t position_count  = 0;  // bits above the byte that holds the number of positions

    std::map<std::uint32_t, std::wstring> view_texts;  // by ident; others are "V" and the ident in hex
    std::map<std::uint32_t, std::wstring> fuel_texts;

    // What the program did.
    std::vector<std::string> calls;  // name without its prefix, then the numbers handed over
    DateTime2010 date_time{};
    std::vector<std::wstring> languages;

    [[nodiscard]] std::size_t CallsOf(const std::string& name) const;
};

[[nodiscard]] FakeMaker& Maker();

/// Puts a fresh set in place, also under who has it loaded: all libraries and the three text mappers, the instrument functions all in "nelto7XXE.dll".
void InstallFakeMaker();

/// Gives "nelto7XXE.dll" the instrument functions of `first` alone and "nelto7XXT.dll" all others.
void DivideInstrumentFunctions(const std::set<std::string>& first);

/// All functions of "nelto7XXE.dll" and "nelto7XXT.dll" by their full names.
[[nodiscard]] const platform::memory::LibraryFunctions& InstrumentFunctions();

[[nodiscard]] inline ValueRecord2010 BitsRecord(std::uint32_t ident, std::uint32_t bits, std::uint16_t unit = 1) {
    return {.unused_0 = 0xEE, .ident = ident, .value = bits, .unit = unit, .resolution = 254, .unused_12 = {}};
}

[[nodiscard]] inline ValueRecord2010 Record(std::uint32_t ident, float value, std::uint16_t unit = 1) {
    return BitsRecord(ident, std::bit_cast<std::uint32_t>(value), unit);
}

}  // namespace nelto::rigs
