// The trace log of an infrared link. It stays open as long as the link and is written piece by piece, without date and time. Without
// an open file everything is written to nowhere. Worker thread.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/files.h"

namespace nelto {

class IrdaLog {
public:
    IrdaLog() = default;
    ~IrdaLog() { Close(); }
    IrdaLog(const IrdaLog&)            = delete;
    IrdaLog& operator=(const IrdaLog&) = delete;

    /// Empties the file. Once.
    void Open();
    void Write(std::string_view text) const;
    /// Writes "SEND 5 Bytes" or "RECEIVE 5 Bytes" and the bytes as hex, sixteen a line.
    void Trace(std::string_view direction, std::span<const std::uint8_t> bytes) const;
    void Close();

private:
    platform::FileHandle file_ = platform::FileHandle::kNone;
};

}  // namespace nelto
