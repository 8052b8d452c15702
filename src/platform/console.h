// The standard outputs of a console program, and the wishes of whoever sits before it to end it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

namespace nelto::platform {

enum class OutputResult : std::uint8_t { kWritten, kReaderGone, kFailed };

/// Writes UTF-8, all of it, with CR LF for each line feed; to a console, a pipe or a file. Waits for a reader that takes its time.
[[nodiscard]] OutputResult WriteToOutput(std::string_view text);
void WriteToErrors(std::string_view text);

/// True once standard output is a pipe whose other end is closed. Where the system does not say so, the next writing call does.
[[nodiscard]] bool IsReaderGone();

/// From now on Ctrl+C, Ctrl+Break, a closed console, the end of the session and of the system set `request` and break off a
/// writing call of the calling thread, instead of ending the process. Where the system ends it all the same, it is kept waiting for as
/// long as it does.
void CatchInterrupts(std::atomic<std::uint32_t>& request);

}  // namespace nelto::platform
