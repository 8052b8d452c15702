#include "scenario_line.h"

#include <algorithm>
#include <cmath>

#include "value_course.h"

namespace simulator {
namespace {

constexpr std::string_view kBlanks = " \t\r";

void AppendUtf8(std::string& text, unsigned unit) {
    if (unit >= 0x800) {
        text += static_cast<char>(0xE0 | (unit >> 12));
        text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
    } else if (unit >= 0x80) {
        text += static_cast<char>(0xC0 | (unit >> 6));
    }
    text += static_cast<char>(unit >= 0x80 ? 0x80 | (unit & 0x3F) : unit);
}

/// The byte length of a character in UTF-8 by its first byte; 0 for a byte that begins none.
constexpr std::size_t Utf8Length(unsigned first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return 2;
    if (first >= 0xE0 && first < 0xF0) return 3;
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool ToUtf16(std::string_view text, std::u16string& wide) {
    for (std::size_t at = 0; at < text.size();) {
        const unsigned first     = static_cast<std::uint8_t>(text[at]);
        const std::size_t length = Utf8Length(first);
        if (length == 0 || text.size() - at < length) return false;
        unsigned character = length == 1 ? first : first & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const unsigned next = static_cast<std::uint8_t>(text[at + i]);
            if ((next & 0xC0) != 0x80) return false;
            character = (character << 6) | (next & 0x3F);
        }
        if (character > 0xFFFF) {
            wide += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            character = 0xDC00 + (character & 0x3FF);
        }
        wide += static_cast<char16_t>(character);
        at += length;
    }
    return true;
}

template <typename Number, typename... Base>
bool ParseWhole(std::string_view text, Number& number, Base... base) {
    const char* end   = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, base...);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

bool ScenarioLine::Split(std::string_view line) {
    while (true) {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
        if (line.empty() || line[0] == '#') return true;
        if (line[0] == '"') {
            line.remove_prefix(1);
            if (!SplitText(line)) return false;
        } else {
            const std::size_t length = std::min(line.find_first_of(" \t\r#"), line.size());
            words_.push_back({std::string(line.substr(0, length)), false});
            line.remove_prefix(length);
        }
    }
}

bool ScenarioLine::SplitText(std::string_view& rest) {
    std::string text;
    while (!rest.empty() && rest[0] != '"') {
        if (rest[0] != '\\') {
            text += rest[0];
            rest.remove_prefix(1);
        } else if (rest.size() >= 2 && (rest[1] == '"' || rest[1] == '\\')) {
            text += rest[1];
            rest.remove_prefix(2);
        } else {
            unsigned unit = 0;
            if (rest.size() < 6 || rest[1] != 'u' || !ParseWhole(rest.substr(2, 4), unit, 16)) {
                return Fail("unknown escape in a text");
            }
            AppendUtf8(text, unit);
            rest.remove_prefix(6);
        }
    }
    if (rest.empty()) return Fail("text without its closing \"");
    rest.remove_prefix(1);
    words_.push_back({std::move(text), true});
    return true;
}

bool ScenarioLine::NextIs(std::string_view word) const {
    return !AtEnd() && !words_[next_].is_text && words_[next_].text == word;
}

bool ScenarioLine::NextIsValue() const {
    if (AtEnd() || words_[next_].is_text) return false;
    float number = 0;
    return NextIs("-") || NextIs("unset") || ParseWhole(words_[next_].text, number);
}

bool ScenarioLine::ReadWord(std::string& word) {
    const Word* next = Take(false, "a word");
    if (next != nullptr) word = next->text;
    return next != nullptr;
}

bool ScenarioLine::ReadText(std::u16string& text) {
    const Word* next = Take(true, "a text in \"\"");
    if (next == nullptr) return false;
    text.clear();
    return ToUtf16(next->text, text) || Fail("text is not UTF-8");
}

bool ScenarioLine::ReadPlainText(std::string& text) {
    std::u16string wide;
    if (!ReadText(wide)) return false;
    if (std::ranges::any_of(wide, [](char16_t unit) { return unit == 0 || unit > 0x7E; })) {
        return Fail("the text must be plain ASCII");
    }
    text.assign(wide.begin(), wide.end());
    return true;
}

bool ScenarioLine::ReadFloat(float& number) {
    const Word* next = Take(false, "a number");
    if (next == nullptr) return false;
    return ParseWhole(next->text, number) || Fail("bad number \"" + next->text + "\"");
}

bool ScenarioLine::ReadPositive(float& number) {
    if (!ReadFloat(number)) return false;
    return (std::isfinite(number) && number > 0) || Fail("the number must be above 0");
}

bool ScenarioLine::ReadSeconds(std::uint64_t& milliseconds) {
    float seconds = 0;
    if (!ReadFloat(seconds)) return false;
    if (!(seconds >= 0 && seconds <= 1e6f)) return Fail("seconds must be from 0 to 1000000");
    milliseconds = static_cast<std::uint64_t>(std::llround(static_cast<double>(seconds) * 1000.0));
    return true;
}

bool ScenarioLine::ReadValue(std::optional<float>& value) {
    if (NextIs("-")) {
        ++next_;
        value.reset();
        return true;
    }
    if (NextIs("unset")) {
        ++next_;
        value = kNotEntered;
        return true;
    }
    return ReadFloat(value.emplace());
}

bool ScenarioLine::ReadWide(std::uint64_t& number, std::uint64_t least, std::uint64_t most) {
    const Word* next = Take(false, "a whole number");
    if (next == nullptr) return false;
    const std::string_view text = next->text;
    const bool is_hex           = text.starts_with("0x") || text.starts_with("0X");
    if (!ParseWhole(is_hex ? text.substr(2) : text, number, is_hex ? 16 : 10)) {
        return Fail("bad number \"" + next->text + "\"");
    }
    if (number >= least && number <= most) return true;
    return Fail("number " + next->text + " is not from " + std::to_string(least) + " to " + std::to_string(most));
}

bool ScenarioLine::ReadAttributes(std::initializer_list<Attribute> attributes) {
    std::vector<std::string> read;
    while (!AtEnd()) {
        std::string name;
        if (!ReadWord(name)) return false;
        const auto* attribute = std::ranges::find(attributes, name, &Attribute::name);
        if (attribute == attributes.end()) return Fail("unknown word \"" + name + "\"");
        if (std::ranges::find(read, name) != read.end()) return Fail("\"" + name + "\" stands twice");
        if (!attribute->read()) return false;
        read.push_back(std::move(name));
    }
    return true;
}

bool ScenarioLine::Fail(std::string reason) {
    if (error_.empty()) error_ = std::move(reason);
    return false;
}

const ScenarioLine::Word* ScenarioLine::Take(bool is_text, std::string_view expected) {
    if (!AtEnd() && words_[next_].is_text == is_text) return &words_[next_++];
    Fail("expected " + std::string(expected) + (AtEnd() ? ", the line ends" : ", got \"" + words_[next_].text + "\""));
    return nullptr;
}

}  // namespace simulator
