#include "diag/trace_log.h"

#include <string>

#include "platform/byte_text.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr const wchar_t* kZivLogName   = L"ZIVNelto780.txt";
constexpr const wchar_t* kStartLine    = L"=== Start ===";
constexpr const wchar_t* kBaseLogName  = L"Nelto780Base.txt";
constexpr const wchar_t* kProtocolName = L"NeltoStackWatcherProtocol.txt";

/// The line in the 8-bit code page, with CR LF for every line feed in it and at its end.
std::string LineBytes(std::wstring_view line) { return platform::WithCrLf(platform::ToAnsi(line)) + "\r\n"; }

/// Temporary directory and file name, cut at the size of a log path.
LogPath MakeLogPath(const wchar_t* file_name) {
    LogPath path{};
    platform::TempDirectory(path);
    platform::AppendText(path, file_name);
    return path;
}

/// Deletes the file and writes the start line to it.
void StartTraceFile(const wchar_t* path) {
    platform::RemoveFile(path);
    WriteTraceLine(path, kStartLine);
}

}  // namespace

std::uint32_t WriteTraceLine(const wchar_t* path, const wchar_t* text) {
    if (path == nullptr) return 0;
    const platform::CalendarTime now = platform::LocalTime();
    std::array<wchar_t, 64> stamp{};
    platform::FormatText(stamp, L"%02u.%02u.%04u %02u:%02u:%02u ", now.day, now.month, now.year, now.hour, now.minute,
                         now.second);
    return platform::AppendToFile(path, LineBytes(std::wstring(platform::TextIn(stamp)) + text));
}

void StartProtocolFile() { StartTraceFile(MakeLogPath(kProtocolName).data()); }

void ZivLog(const wchar_t* text) {
    static_cast<void>(platform::AppendToFile(MakeLogPath(kZivLogName).data(), LineBytes(text)));
    platform::DebugOutput(text);
}

void ZivLogBytes(const wchar_t* heading, std::span<const std::uint8_t> bytes) {
    const std::string hex = platform::HexBytes(bytes);
    ZivLog((heading + std::wstring(hex.begin(), hex.end())).c_str());
}

void BaseLog::Start() {
    path_    = MakeLogPath(kBaseLogName);
    started_ = true;
    StartTraceFile(path_.data());
}

void BaseLog::Write(const wchar_t* text) const {
    if (started_) WriteTraceLine(path_.data(), text);
}

}  // namespace nelto
