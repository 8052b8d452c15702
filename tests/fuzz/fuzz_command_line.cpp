// The command line. Each byte is one character; the first one chooses whether the others are single bytes or pairs.
#include "core/program_state.h"
#include "core/settings.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    using test::Require;
    test::Input input(data, size);
    static std::wstring line;
    line.clear();
    const bool is_wide = input.Byte() % 2 != 0;
    while (!input.IsEmpty()) line += static_cast<wchar_t>(is_wide ? input.Take<std::uint16_t>() : input.Byte());

    const std::wstring word = CallerWord(line);
    Require(word.find(L' ') == std::wstring::npos && line.starts_with(word));
    Require(word.size() == line.size() || line[word.size()] == L' ');

    const std::int32_t fuel  = FuelChoice(line);
    const std::size_t option = line.find(L"6420=");
    const bool is_given      = option != std::wstring::npos && option + 5 < line.size();
    Require(fuel >= kNoFuelChoice && (fuel != kNoFuelChoice) == is_given);
    if (!is_given) return 0;
    const wchar_t first = line[option + 5];
    if (first < L'0' || first > L'9') Require(fuel == 0);
    // Digit by digit from behind, as long as no digit is lost.
    std::size_t end = option + 5;
    while (end < line.size() && line[end] >= L'0' && line[end] <= L'9') ++end;
    if (end - option - 5 > 9) return 0;
    std::int32_t rest = fuel;
    for (; end-- > option + 5; rest /= 10) Require(rest % 10 == line[end] - L'0');
    Require(rest == 0);
    return 0;
}
