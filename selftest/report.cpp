#include "report.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "interruption.h"

namespace selftest {
namespace {

constexpr std::array<const char*, 3> kVerdicts = {"passed", "FAILED", "------"};

std::string Escaped(const std::string& text) {
    std::string html;
    for (const char character : text) {
        switch (character) {
            case '<': html += "&lt;"; break;
            case '>': html += "&gt;"; break;
            case '&': html += "&amp;"; break;
            default: html += character;
        }
    }
    return html;
}

std::string Base64(const std::string& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t index = at; index < at + 3; ++index) {
            group = group << 8 | (index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            text += at + digit > bytes.size() ? '=' : kDigits[group >> (18 - 6 * digit) & 0x3F];
        }
    }
    return text;
}

}  // namespace

void Report::Result(const std::string& check, const std::string& fault) {
    if (IsInterrupted()) return;
    const Verdict verdict = fault.starts_with(kNotTried) ? kNone : kFailed;
    rows_.push_back({check, fault.empty() ? kPassed : verdict, fault});
    std::printf("  %s  %s%s%s\n", kVerdicts[rows_.back().verdict], check.c_str(), fault.empty() ? "" : ": ",
                fault.c_str());
    std::fflush(stdout);
}

void Report::AddText(const std::string& name, const std::string& content) {
    attached_ += "<h2>" + Escaped(name) + "</h2>\n<pre>" + Escaped(content) + "</pre>\n";
}

void Report::AddPicture(const std::string& name, const std::string& bitmap) {
    attached_ +=
        "<h2>" + Escaped(name) + "</h2>\n<img alt=\"\" src=\"data:image/bmp;base64," + Base64(bitmap) + "\">\n";
}

std::size_t Report::Count(Verdict verdict) const {
    return static_cast<std::size_t>(std::ranges::count(rows_, verdict, &Row::verdict));
}

std::string Report::Table() const {
    std::string table;
    for (const Row& row : rows_) table += std::string("  ") + kVerdicts[row.verdict] + "  " + row.check + "\n";
    return table + "  " + std::to_string(Count(kPassed)) + " passed, " + std::to_string(Failed()) + " failed, " +
           std::to_string(Count(kNone)) + " not tried\n";
}

std::string Report::Page() const {
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Self-test of Nelto "
        "StackWatcher</title></head>\n"
        "<body><h1>Self-test of Nelto StackWatcher</h1>\n<table border=\"1\">\n";
    for (const Row& row : rows_) {
        page += "<tr><td>" + Escaped(row.check) + "</td><td>" + kVerdicts[row.verdict] + "</td><td>" +
                Escaped(row.fault) + "</td></tr>\n";
    }
    return page + "</table>\n" + attached_ + "</body></html>\n";
}

}  // namespace selftest
