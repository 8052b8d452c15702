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

/// Appends to the file, unless no logs are kept. Returns 0 or the system's error number.
std::uint32_t Append(const wchar_t* path, std::string_view bytes) {
    return *path == L'\0' ? 0 : platform::AppendToFile(path, bytes);
}

/// Deletes the file and writes the start line to it; false when that cannot be written.
bool StartTraceFile(const wchar_t* path) {
    if (*path != L'\0') platform::RemoveFile(path);
    return WriteTraceLine(path, kStartLine) == 0;
}

}  // namespace

std::uint32_t WriteTraceLine(const wchar_t* path, const wchar_t* text) {
    if (path == nullptr) return 0;
    const platform::CalendarTime now = platform::LocalTime();
    std::array<wchar_t, 64> stamp{};
    platform::FormatText(stamp, L"%02u.%02u.%04u %02u:%02u:%02u ", now.day, now.month, now.year, now.hour, now.minute,
                         now.second);
    return Append(path, LineBytes(std::wstring(platform::TextIn(stamp)) + text));
}

bool StartProtocolFile() { return StartTraceFile(LogPathOf(kProtocolName).c_str()); }

void ZivLog(const wchar_t* text) {
    static_cast<void>(Append(LogPathOf(kZivLogName).c_str(), LineBytes(text)));
    platform::DebugOutput(text);
}

void ZivLogBytes(const wchar_t* heading, std::span<const std::uint8_t> bytes) {
    const std::string hex = platform::HexBytes(bytes);
    ZivLog((heading + std::wstring(hex.begin(), hex.end())).c_str());
}

void BaseLog::Start() {
    path_ = LogPathOf(kBaseLogName);
    StartTraceFile(path_.c_str());
}

void BaseLog::Write(const wchar_t* text) const { WriteTraceLine(path_.c_str(), text); }

}  // namespace nelto
