#include "transport/serial_transport.h"

#include <algorithm>
#include <array>

#include "diag/trace_log.h"
#include "platform/clock.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"
#include "transport/block_frame.h"

namespace nelto {
namespace {

constexpr std::uint32_t kBaudRate = 19200;
constexpr std::uint32_t kPollWait = 10;  // milliseconds between two looks at the port
constexpr std::size_t kAckSize    = 3;
constexpr int kMostLateReads      = 64;  // a port that never stops sending is left to the exchange's own time-out

using RawReply = std::array<std::uint8_t, kSerialReplySize>;

std::uint32_t OpenFailed(const wchar_t* message) {
    ZivLog(message);
    return kSerialOpenFailed;
}

/// An acknowledgement, or a whole frame by its own length byte.
bool IsWholeAnswer(std::span<const std::uint8_t> received) {
    if (received.size() >= 2 && received[1] == kAckMark) return received.size() >= kAckSize;
    return IsWholeBlock(received);
}

std::uint32_t Fault(const wchar_t* message, std::uint32_t result) {
    ZivLog(message);
    return result;
}

/// Throws away what came after an earlier exchange had ended: a late answer must not pass for the next one. True when there
/// was anything.
bool DropLateBytes(platform::SerialHandle port) {
    RawReply late;
    int round = 0;
    while (round < kMostLateReads && platform::ReadSerial(port, late) != 0) ++round;
    return round != 0;
}

void Send(platform::SerialHandle port, std::span<const std::uint8_t> request) {
    const std::size_t written = platform::WriteSerial(port, request);
    ZivLogBytes(L"SEND: ", request);
    if (written < request.size()) ZivLogF(L"Bytes written %u", static_cast<unsigned>(written));
}

/// Receives one answer; whatever has come when the time is over, or a stop requested.
std::size_t Receive(platform::SerialHandle port, std::span<std::uint8_t> reply, std::uint32_t timeout_ms,
                    StopRequest stop_request) {
    std::size_t received      = 0;
    const std::uint32_t start = platform::TickMilliseconds();
    while (platform::TickMilliseconds() - start < timeout_ms && !IsRequested(stop_request)) {
        platform::SleepMilliseconds(kPollWait);
        received += platform::ReadSerial(port, reply.subspan(received));
        if (IsWholeAnswer(reply.first(received))) break;
    }
    return received;
}

/// Sends the request blocks; `reply` then holds the answer to the last one. Every block but the last is acknowledged.
std::uint32_t SendMessageBlocks(platform::SerialHandle port, std::span<const std::uint8_t> message, RawReply& reply,
                                std::size_t& received, std::uint32_t timeout_ms) {
    const std::size_t count = BlockCount(message.size(), kSerialPayloadLimit);
    for (std::size_t index = 0; index < count; ++index) {
        const auto rest    = message.subspan(index * kSerialPayloadLimit);
        const auto payload = rest.first(std::min(rest.size(), kSerialPayloadLimit));
        std::array<std::uint8_t, kMaxBlockSize> frame;
        const std::size_t size     = BuildBlock(frame, kProgramStart, static_cast<std::uint16_t>(index),
                                                static_cast<std::uint16_t>(count), payload);
        const std::uint32_t result = SerialExchange(port, std::span(frame).first(size), reply, received, timeout_ms);
        if (result != kSerialOk) return Fault(L"Transceive error 1", result);
        if (index + 1 == count) break;
        if (!std::ranges::equal(std::span(reply).first(received), kAnalyserAck)) {
            return Fault(L"Transceive error 2", kSerialProtocolFault);
        }
    }
    return kSerialOk;
}

std::uint32_t TooShort(std::size_t received) {
    ZivLogF(L"Transceive error 3, number of received bytes %u", static_cast<unsigned>(received));
    return kSerialProtocolFault;
}

/// Result of a reply that cannot be taken any further.
std::uint32_t ReplyFault(ReplyStatus status, std::size_t received) {
    switch (status) {
        case ReplyStatus::kWrongLength: return Fault(L"Transceive error 4", kSerialProtocolFault);
        case ReplyStatus::kEndless:
        case ReplyStatus::kBadIndex: return Fault(L"Transceive error 5", kSerialProtocolFault);
        case ReplyStatus::kBadChecksum: return Fault(L"Transceive error 6", kSerialProtocolFault);
        case ReplyStatus::kTooLong: return Fault(L"Transceive error 7", kSerialReplyTooLong);
        case ReplyStatus::kStopped: return kSerialProtocolFault;
        default: return TooShort(received);
    }
}

}  // namespace

std::uint32_t SerialOpen(std::uint32_t port_number, platform::SerialHandle& port) {
    std::array<wchar_t, platform::kSerialPathSize> path{};
    platform::SerialPath(port_number, path);
    ZivLogF(L"NeltoRS232Open uPort = %u, %ls", port_number, path.data());
    port                = platform::SerialHandle::kNone;
    std::uint32_t error = 0;

    const platform::SerialHandle opened = platform::OpenSerialPort(path.data(), error);
    if (opened == platform::SerialHandle::kNone) {
        ZivLogF(L"Error Number %u", error);
        return OpenFailed(L"Port open failed");
    }
    platform::DebugOutput(L"Serial port opened");
    // A port that refuses its settings is deliberately left open and not handed back.
    if (!platform::SetImmediateReads(opened)) return OpenFailed(L"SetCommTimeouts failed");
    const platform::LineResult line = platform::SetLine(opened, kBaudRate);
    if (line == platform::LineResult::kGetStateFailed) return OpenFailed(L"GetCommState failed");
    if (line == platform::LineResult::kSetStateFailed) return kSerialOpenFailed;
    port = opened;
    ZivLog(L"Port open OK");
    return kSerialOk;
}

std::uint32_t SerialExchange(platform::SerialHandle port, std::span<const std::uint8_t> request,
                             std::span<std::uint8_t, kSerialReplySize> reply, std::size_t& received,
                             std::uint32_t timeout_ms) {
    ZivLogF(L"Timeout %u msec", timeout_ms);
    Send(port, request);

    const std::uint32_t start   = platform::TickMilliseconds();
    received                    = Receive(port, reply, timeout_ms, nullptr);
    const std::uint32_t elapsed = platform::TickMilliseconds() - start;

    ZivLogBytes(L"RECV: ", reply.first(received));
    ZivLogF(L"Receive time %u msec", elapsed);
    return kSerialOk;
}

std::uint32_t SerialTransceive(platform::SerialHandle port, std::span<const std::uint8_t> message,
                               std::span<std::uint8_t> reply, std::size_t& received, std::uint32_t timeout_ms,
                               StopRequest stop_request, LateReplies* late) {
    received = 0;
    if (port == platform::SerialHandle::kNone) return kSerialNotOpen;
    LateReplies nobody_asks;
    LateReplies& replies = late != nullptr ? *late : nobody_asks;
    replies.seen         = DropLateBytes(port) || replies.seen;
    replies.owed         = false;

    RawReply answer;
    std::size_t answer_size    = 0;
    const std::uint32_t result = SendMessageBlocks(port, message, answer, answer_size, timeout_ms);
    if (result != kSerialOk) return result;

    ReplyBuffer assembly{.storage = reply, .stop_request = stop_request, .skip_repetitions = true};
    while (true) {
        const ReplyStatus status = AppendReplyBlock(std::span(answer).first(answer_size), assembly);
        if (status == ReplyStatus::kComplete) break;
        replies.owed = status == ReplyStatus::kTooShort || status == ReplyStatus::kWrongLength;
        if (status != ReplyStatus::kMore) return ReplyFault(status, answer_size);
        const std::uint32_t exchanged = SerialExchange(port, kProgramAck, answer, answer_size, timeout_ms);
        if (exchanged != kSerialOk) return Fault(L"Transceive error 8", exchanged);
    }
    received = assembly.length;
    return kSerialOk;
}

bool LateSerialReplyArrives(platform::SerialHandle port, std::uint32_t timeout_ms, StopRequest stop_request,
                            LateReplies& replies) {
    if (port == platform::SerialHandle::kNone) return false;
    RawReply storage;
    const auto late = std::span(storage).first(Receive(port, storage, timeout_ms, stop_request));
    if (late.empty()) return false;
    ZivLogBytes(L"LATE: ", late);
    replies.seen = true;
    Block block;
    return ParseBlock(late, block) == BlockFault::kNone;
}

}  // namespace nelto
