// A COM port that is only written to, as the system has it set, and that may stand still for as long as its receiver likes.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

namespace nelto::platform {

enum class OutputPort : std::uintptr_t { kNone = 0 };

/// Opens an existing port by its device path, read and write, no sharing; no line setting is made. kNone on failure.
[[nodiscard]] OutputPort OpenOutputPort(const wchar_t* path);

/// Writes `bytes` and waits until the port has done with them, for `limit_ms` milliseconds at most and only until another thread
/// sets `cancelled`: then what is left is taken back and the result is false. How many bytes a port takes that has not stood
/// still is not looked at.
[[nodiscard]] bool WriteOutput(OutputPort port, std::string_view bytes, std::uint32_t limit_ms,
                               const std::atomic<std::uint32_t>& cancelled);

void CloseOutputPort(OutputPort port);

}  // namespace nelto::platform
