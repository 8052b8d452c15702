// The results, as a table on the console and as one file for the support.
#pragma once

#include <string>
#include <vector>

namespace selftest {

constexpr const char* kNotTried = "not tried: ";

class Report {
public:
    /// Tells a result at once. An empty fault is a pass; one that begins with kNotTried says why there is no result. After
    /// an interruption there are none.
    void Result(const std::string& check, const std::string& fault);
    /// Adds a text, or the bytes of a BMP file, to the file for the support.
    void AddText(const std::string& name, const std::string& content);
    void AddPicture(const std::string& name, const std::string& bitmap);

    [[nodiscard]] std::size_t Failed() const { return Count(kFailed); }
    /// The table of passed and failed.
    [[nodiscard]] std::string Table() const;
    /// Everything as one page that any browser opens.
    [[nodiscard]] std::string Page() const;

private:
    enum Verdict : unsigned char { kPassed, kFailed, kNone };

    struct Row {
        std::string check;
        Verdict verdict;
        std::string fault;
    };

    [[nodiscard]] std::size_t Count(Verdict verdict) const;

    std::vector<Row> rows_;
    std::string attached_;  // HTML
};

}  // namespace selftest
