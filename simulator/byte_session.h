// An analyser's end of a byte link, as a port server drives it: bytes in, bytes out, no clock and no link of its own.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "message.h"

namespace simulator {

/// Takes one line for people about what happens.
using EventSink = std::function<void(const std::string& line)>;

/// One link at a time; used by one thread.
class ByteSession {
public:
    virtual ~ByteSession()                     = default;
    ByteSession()                              = default;
    ByteSession(const ByteSession&)            = delete;
    ByteSession& operator=(const ByteSession&) = delete;

    /// Takes what arrived at `now_ms`, in pieces of any size.
    virtual void Receive(Bytes bytes, std::uint64_t now_ms) = 0;

    /// The next bytes that are due for sending at `now_ms`, if any. Call until it gives none.
    [[nodiscard]] virtual std::optional<Message> TakeOutput(std::uint64_t now_ms) = 0;

    /// True while something waits for its time to be sent.
    [[nodiscard]] virtual bool HasOutput() const = 0;

    /// Forgets everything under way: the link was closed or lost.
    virtual void Reset() = 0;
};

}  // namespace simulator
