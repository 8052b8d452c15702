// Serves an analyser behind a serial port.
#pragma once

#include <string>

#include "byte_session.h"
#include "console.h"
#include "port.h"

namespace simulator {

class SerialServer {
public:
    /// All three must outlive the server. With `with_frames` every piece of bytes is told too.
    SerialServer(ByteSession& session, const Console& console, bool with_frames)
        : session_(session), console_(console), with_frames_(with_frames) {}

    /// Serves the port `name` until the process ends; a port that is missing or lost is tried again every second.
    [[noreturn]] void Serve(const std::string& name);

private:
    void ServeUntilLost();
    [[nodiscard]] bool Receive();
    [[nodiscard]] bool Send();

    ByteSession& session_;
    const Console& console_;
    bool with_frames_;
    Port port_;
    std::uint64_t last_byte_ms_ = 0;
};

}  // namespace simulator
