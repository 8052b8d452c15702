#include "diag/irda_log.h"

#include <string>
#include <utility>

#include "diag/log_place.h"
#include "platform/byte_text.h"

namespace nelto {
namespace {

constexpr const wchar_t* kPath      = L"C:\\IRDALOG.TXT";
constexpr const wchar_t* kName      = L"IRDALOG.TXT";
constexpr std::size_t kBytesOfALine = 16;

}  // namespace

void IrdaLog::Open() {
    const std::wstring path = LogPathOf(kPath, kName);
    if (!path.empty()) file_ = platform::OpenEmptiedFile(path.c_str());
}

void IrdaLog::Write(std::string_view text) const {
    if (file_ != platform::FileHandle::kNone) platform::WriteToFile(file_, platform::WithCrLf(text));
}

void IrdaLog::Trace(std::string_view direction, std::span<const std::uint8_t> bytes) const {
    std::string text = std::string(direction) + " " + std::to_string(bytes.size()) + " Bytes\n";
    while (bytes.size() >= kBytesOfALine) {
        text += platform::HexBytes(bytes.first(kBytesOfALine)) + "\n";
        bytes = bytes.subspan(kBytesOfALine);
    }
    Write(text + platform::HexBytes(bytes) + "\n");
}

void IrdaLog::Close() {
    if (file_ == platform::FileHandle::kNone) return;
    platform::CloseFile(std::exchange(file_, platform::FileHandle::kNone));
}

}  // namespace nelto
