// The maker's libraries in memory: the simulator's own, with one analyser that a test sets up, a record of the calls, and lies.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "analyser_2010.h"
#include "platform/memory/memory_dynamic_library.h"

namespace nelto::doubles {

/// The analyser, a 745 with fuel 104 that is not on the USB bus and has no values, and how its libraries mislead. Functions stand
/// without their prefix.
struct FakeMaker : simulator::Analyser2010 {
    static constexpr std::uint32_t kPipe = 9;

    FakeMaker();

    std::map<std::string, std::uint32_t> results;  // of functions that fail
    std::map<std::string, std::uint32_t> numbers;  // given in place of the true ones
    bool gives_pipe          = true;
    std::size_t failing_call = 0;  // counted from 1; 0 none
    std::function<void()> before_call;

    std::vector<std::string> calls;  // as the simulator tells them, name first

    [[nodiscard]] std::size_t CallsOf(const std::string& name) const;
};

[[nodiscard]] FakeMaker& Maker();

/// Puts a fresh set in place, also under who has it loaded: all libraries and the three text mappers, the instrument functions all
/// in "nelto7XXE.dll".
void InstallFakeMaker();

/// The libraries tell this number of values, current and cached.
void LieAboutCounts(std::uint32_t count);

/// Gives this instrument function to "nelto7XXE.dll" and all others to "nelto7XXT.dll", or the other way round.
void DivideInstrumentFunctions(const std::string& name, bool to_the_first);

/// All functions of "nelto7XXE.dll" and "nelto7XXT.dll" by their full names.
[[nodiscard]] platform::memory::LibraryFunctions InstrumentFunctions();

/// A value, and for the text mapper "V" and the ident in hex if it has no name yet.
[[nodiscard]] simulator::Value2010 BitsRecord(std::uint32_t ident, std::uint32_t bits, std::uint16_t unit = 1);

[[nodiscard]] inline simulator::Value2010 Record(std::uint32_t ident, float value, std::uint16_t unit = 1) {
    return BitsRecord(ident, std::bit_cast<std::uint32_t>(value), unit);
}

}  // namespace nelto::doubles
