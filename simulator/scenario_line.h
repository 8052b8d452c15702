// One line of a scenario file as words, and the checked reading of them from left to right.
#pragma once

#include <charconv>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// Every Read... takes the next word; on anything unexpected it gives false and leaves the reason in `Error()`.
class ScenarioLine {
public:
    struct Attribute {
        std::string_view name;
        std::function<bool()> read;
    };

    /// Splits at blanks; "..." holds a text with the escapes \" \\ and \uXXXX; # outside of a text begins a comment.
    [[nodiscard]] bool Split(std::string_view line);

    [[nodiscard]] bool AtEnd() const { return next_ == words_.size(); }
    [[nodiscard]] bool NextIs(std::string_view word) const;
    [[nodiscard]] bool NextIsText() const { return !AtEnd() && words_[next_].is_text; }
    [[nodiscard]] bool NextIsValue() const;

    [[nodiscard]] bool ReadWord(std::string& word);
    [[nodiscard]] bool ReadText(std::u16string& text);
    [[nodiscard]] bool ReadPlainText(std::string& text);
    [[nodiscard]] bool ReadFloat(float& number);
    [[nodiscard]] bool ReadPositive(float& number);
    [[nodiscard]] bool ReadSeconds(std::uint64_t& milliseconds);

    /// A number, "-" for no value, or "unset" for what nobody has entered yet.
    [[nodiscard]] bool ReadValue(std::optional<float>& value);

    /// Decimal, or hexadecimal after 0x; from `least` to `most`.
    template <typename Number>
    [[nodiscard]] bool ReadNumber(Number& number, Number least = 0, Number most = std::numeric_limits<Number>::max()) {
        std::uint64_t wide = 0;
        if (!ReadWide(wide, least, most)) return false;
        number = static_cast<Number>(wide);
        return true;
    }

    /// Reads `name value` pairs to the end of the line, each name at most once.
    [[nodiscard]] bool ReadAttributes(std::initializer_list<Attribute> attributes);

    /// Always false.
    bool Fail(std::string reason);
    [[nodiscard]] const std::string& Error() const { return error_; }

private:
    struct Word {
        std::string text;
        bool is_text = false;
    };

    [[nodiscard]] bool SplitText(std::string_view& rest);
    [[nodiscard]] bool ReadWide(std::uint64_t& number, std::uint64_t least, std::uint64_t most);
    [[nodiscard]] const Word* Take(bool is_text, std::string_view expected);

    std::vector<Word> words_;
    std::size_t next_ = 0;
    std::string error_;
};

}  // namespace simulator
