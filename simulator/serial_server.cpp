#include "serial_server.h"

#include <array>

namespace simulator {
namespace {

constexpr std::uint32_t kRetryMs    = 1000;
constexpr std::uint32_t kBusyWaitMs = 2;
constexpr std::uint32_t kIdleWaitMs = 10;
constexpr std::uint64_t kBusyMs     = 250;  // an exchange is taken to be under way this long after its last byte

}  // namespace

void SerialServer::Serve(const std::string& name) {
    bool is_missing_told = false;
    while (true) {
        if (port_.Open(name)) {
            console_.Tell("port " + name + " opened");
            ServeUntilLost();
            console_.Tell("port " + name + " lost");
            is_missing_told = false;
        } else if (!is_missing_told) {
            console_.Tell("port " + name + " cannot be opened, trying again every second");
            is_missing_told = true;
        }
        Rest(kRetryMs);
    }
}

void SerialServer::ServeUntilLost() {
    session_.Reset();
    while (Receive() && Send()) {}
    port_.Close();
}

bool SerialServer::Receive() {
    std::array<std::uint8_t, 1024> buffer;
    const bool is_busy                     = console_.NowMs() - last_byte_ms_ < kBusyMs || session_.HasOutput();
    const std::optional<std::size_t> count = port_.Read(buffer, is_busy ? kBusyWaitMs : kIdleWaitMs);
    if (!count) return false;
    const Bytes received = Bytes(buffer).first(*count);
    if (!received.empty()) last_byte_ms_ = console_.NowMs();
    if (with_frames_ && !received.empty()) console_.Tell("< " + HexText(received));
    session_.Receive(received, console_.NowMs());
    return true;
}

bool SerialServer::Send() {
    while (const std::optional<Message> bytes = session_.TakeOutput(console_.NowMs())) {
        if (with_frames_) console_.Tell("> " + HexText(*bytes));
        if (!port_.Write(*bytes)) return false;
    }
    return true;
}

}  // namespace simulator
