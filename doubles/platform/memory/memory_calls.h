// Failures of single calls of the in-memory platform: the n-th call of any service can be made to fail.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nelto::platform::memory {

/// Calls of the operating system that can be made to fail.
enum class Call : std::uint8_t {
    kOpenSerial,
    kSerialTimeouts,
    kSerialLine,
    kWriteSerial,
    kReadSerial,
    kLoadLibrary,
    kFindFunction,
    kFileVersion,
    kCreateEvent,
    kStartSockets,
    kOpenSocket,
    kSetBlocking,
    kListDevices,
    kConnect,
    kSend,
    kReceive,
    kOpenFile,
    kAppendFile,
    kTempDirectory,
    kReadRegistry,
    kEnd
};

struct Calls {
    std::array<std::size_t, static_cast<std::size_t>(Call::kEnd)> counts{};  // so far, by Call
    /// The call that reaches `failing_count` of `failing` fails, and only that.
    Call failing              = Call::kEnd;
    std::size_t failing_count = 0;
};

/// Begin anew with each ResetWorld.
[[nodiscard]] Calls& TheCalls();

/// Counts a call; true when it is to fail.
[[nodiscard]] bool Fails(Call call);

}  // namespace nelto::platform::memory
