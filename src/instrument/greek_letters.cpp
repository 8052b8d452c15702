#include "instrument/greek_letters.h"

#include <algorithm>
#include <array>

namespace nelto {
namespace {

struct LetterRow {
    wchar_t letter;
    std::wstring_view word;
};

constexpr std::array kLetters = {
    LetterRow{0x0394, L"delta"}, LetterRow{0x03B7, L"eta"}, LetterRow{0x03BB, L"lambda"},
    LetterRow{0x03C1, L"rho"},   LetterRow{0x2082, L"2"},  // subscript two
};

}  // namespace

std::wstring WithoutGreekLetters(std::wstring_view text) {
    std::wstring plain;
    for (const wchar_t character : text) {
        const auto row = std::ranges::find(kLetters, character, &LetterRow::letter);
        if (row == kLetters.end()) {
            plain += character;
        } else {
            plain += row->word;
        }
    }
    return plain;
}

}  // namespace nelto
