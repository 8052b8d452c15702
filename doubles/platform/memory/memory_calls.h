// Failures of calls of the in-memory platform: the n-th one of any service can be made to fail, or all of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nelto::platform::memory {

/// Calls of the operating system that can be made to fail.
enum class Call : std::uint8_t {
    kOpenSerial,
    kSerialTimeouts,
    kGetLine,
    kSetLine,
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
    kWriteRegistry,
    kEnd
};

struct Calls {
    std::array<std::size_t, static_cast<std::size_t>(Call::kEnd)> counts{};  // so far, by Call
    /// The call that reaches `failing_count` of `failing` fails, and only that.
    Call failing              = Call::kEnd;
    std::size_t failing_count = 0;
    std::uint32_t always      = 0;  // bits by Call: those fail whenever they are made
};

/// Begin anew with each ResetWorld.
[[nodiscard]] Calls& TheCalls();

/// From now on the call fails, or no longer.
void AlwaysFail(Call call, bool fails = true);

/// Counts a call; true when it is to fail.
[[nodiscard]] bool Fails(Call call);

}  // namespace nelto::platform::memory
