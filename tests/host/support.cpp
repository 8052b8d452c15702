#include "support.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace nelto::test {

std::unique_ptr<Instrument> Nelto780Open(ProgramState& state) {
    OpenFailure failure;
    auto connection  = nelto::Nelto780Open(state.communication, state.stop_request, failure);
    state.last_error = failure.text;
    state.obstacle   = failure.obstacle;
    return connection;
}

std::vector<std::string> LogLines(const std::wstring& file_name) {
    std::istringstream in(World().files[World().temp_directory + file_name]);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.ends_with('\r')) << line;
        line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::string LogText(const std::wstring& file_name, const std::string& prefix) {
    std::string text;
    for (const std::string& line : LogLines(file_name)) {
        EXPECT_TRUE(line.starts_with(prefix)) << line;
        text += line.substr(prefix.size()) + "|";
    }
    return text;
}

bool LogHas(const std::wstring& file_name, const std::string& text) {
    return std::ranges::any_of(LogLines(file_name), [&](const std::string& line) { return line.ends_with(text); });
}

std::string ResultsOf(const ChannelTable& table) {
    std::ostringstream results;
    results << std::hex << std::uppercase << std::setfill('0');
    for (const ChannelRecord& record : UsedRecords(table)) {
        if (results.tellp() > 0) results << ' ';
        results << std::setw(2) << (record.view_ident & 0xFF) << ':' << record.value;
    }
    return results.str();
}

}  // namespace nelto::test
