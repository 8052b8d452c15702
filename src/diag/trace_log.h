// The trace logs: text files in the temporary directory in which service staff read what happened between the program and
// the analyser. Every line opens, writes and closes its file; a line that cannot be written is dropped. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "diag/log_place.h"
#include "platform/wide_text.h"

namespace nelto {

constexpr std::size_t kZivLineSize = 512;

using LogLine = std::array<wchar_t, kZivLineSize>;

/// Appends one line with date and time. Returns 0, or the system's error number when the file cannot be opened. A null or empty
/// path writes nothing and returns 0.
std::uint32_t WriteTraceLine(const wchar_t* path, const wchar_t* text);

/// Deletes the protocol file and writes its start line, which is all that ever stands in it, on purpose. False when it cannot be
/// written.
bool StartProtocolFile();

/// Appends the text to the ZIV log, without date and time, and echoes it to the debugger. The log is never emptied.
void ZivLog(const wchar_t* text);

/// ZivLog of a formatted text of at most 511 characters, cut there. Wide texts go in with %ls.
template <typename... Arguments>
void ZivLogF(platform::FormatOf<Arguments...> format, Arguments... arguments) {
    LogLine line{};
    platform::FormatText(line, format, arguments...);
    ZivLog(line.data());
}

/// ZivLog of "SEND: " or "RECV: " and the bytes as hex; whole, however long.
void ZivLogBytes(const wchar_t* heading, std::span<const std::uint8_t> bytes);

/// The base log of one instrument connection, started anew with each.
class BaseLog {
public:
    /// Names the file and starts it.
    void Start();
    void Write(const wchar_t* text) const;
    /// Writes a formatted text, cut at 511 characters. Wide texts go in with %ls.
    template <typename... Arguments>
    void WriteF(platform::FormatOf<Arguments...> format, Arguments... arguments) const {
        LogLine line{};
        platform::FormatText(line, format, arguments...);
        Write(line.data());
    }

private:
    std::wstring path_;  // empty before the start, and when no logs are kept
};

}  // namespace nelto
