#include "transport/serial_link.h"

#include <algorithm>
#include <utility>

#include "diag/trace_log.h"
#include "platform/clock.h"
#include "platform/text_service.h"

namespace nelto {
namespace {

constexpr std::uint32_t kBaudRate = 19200;
constexpr std::uint32_t kPollWait = 10;  // milliseconds between two looks at the port
constexpr std::size_t kAckSize    = 3;
constexpr int kMostLateReads      = 64;  // a port that never stops sending is left to the exchange's own time-out

/// How an end is logged, and what it counts as. An answer that is cut has had all its time.
struct EndRow {
    BlockEnd end;
    LinkStatus status;
    const wchar_t* log_line;  // null for none
};

// clang-format off
constexpr std::array kEnds = {
    EndRow{BlockEnd::kComplete,        LinkStatus::kOk,            nullptr},
    EndRow{BlockEnd::kExchangeFailed,  LinkStatus::kStopped,       nullptr},
    EndRow{BlockEnd::kStopped,         LinkStatus::kStopped,       nullptr},
    EndRow{BlockEnd::kNotAcknowledged, LinkStatus::kProtocolFault, L"Transceive error 2"},
    EndRow{BlockEnd::kWrongLength,     LinkStatus::kTimeOut,       L"Transceive error 4"},
    EndRow{BlockEnd::kBadIndex,        LinkStatus::kProtocolFault, L"Transceive error 5"},
    EndRow{BlockEnd::kEndless,         LinkStatus::kProtocolFault, L"Transceive error 5"},
    EndRow{BlockEnd::kBadChecksum,     LinkStatus::kProtocolFault, L"Transceive error 6"},
    EndRow{BlockEnd::kTooLong,         LinkStatus::kReplyTooLong,  L"Transceive error 7"},
};
// clang-format on

LinkStatus Report(const BlockResult& result) {
    const auto row = std::ranges::find(kEnds, result.end, &EndRow::end);
    if (row == kEnds.end()) {  // too short, or nothing at all
        ZivLogF(L"Transceive error 3, number of received bytes %u", static_cast<unsigned>(result.answer_size));
        return LinkStatus::kTimeOut;
    }
    if (row->log_line != nullptr) ZivLog(row->log_line);
    return row->status;
}

/// An acknowledgement, or a whole frame by its own length byte.
bool IsWholeAnswer(std::span<const std::uint8_t> received) {
    if (received.size() >= 2 && received[1] == kAckMark) return received.size() >= kAckSize;
    return IsWholeBlock(received);
}

/// Throws away what came after an earlier exchange had ended: a late answer must not pass for the next one.
void DropLateBytes(platform::SerialHandle port) {
    std::array<std::uint8_t, 1024> late;
    for (int round = 0; round < kMostLateReads && platform::ReadSerial(port, late) != 0; ++round) {}
}

/// No port, with the reason in the log.
platform::SerialHandle OpenFailed(const wchar_t* log_line) {
    ZivLog(log_line);
    return platform::SerialHandle::kNone;
}

/// A call that a stop has cancelled is no failure of the port, and not logged as one.
platform::SerialHandle OpenPort(const wchar_t* path, StopRequest stop_request, std::uint32_t& error) {
    const platform::SerialHandle port = platform::OpenSerialPort(path, error);
    if (port == platform::SerialHandle::kNone) {
        if (IsRequested(stop_request)) return port;
        ZivLogF(L"Error Number %u", error);
        return OpenFailed(L"Port open failed");
    }
    platform::DebugOutput(L"Serial port opened");
    // A port that refuses its settings is deliberately left open and not handed back.
    if (!platform::SetImmediateReads(port)) return OpenFailed(L"SetCommTimeouts failed");
    const platform::LineResult line = platform::SetLine(port, kBaudRate);
    if (line == platform::LineResult::kGetStateFailed) return OpenFailed(L"GetCommState failed");
    if (line == platform::LineResult::kSetStateFailed) return platform::SerialHandle::kNone;
    ZivLog(L"Port open OK");
    return port;
}

}  // namespace

SerialResult SerialResultOf(LinkStatus status) {
    switch (status) {
        case LinkStatus::kOk: return kSerialOk;
        case LinkStatus::kNotOpen: return kSerialNotOpen;
        case LinkStatus::kReplyTooLong: return kSerialReplyTooLong;
        default: return kSerialProtocolFault;
    }
}

std::unique_ptr<SerialLink> SerialLink::Open(std::uint32_t port_number, StopRequest stop_request,
                                             std::uint32_t* error) {
    const std::wstring path = platform::SerialPath(port_number);
    ZivLogF(L"NeltoRS232Open uPort = %u, %ls", port_number, path.c_str());
    std::uint32_t port_error          = 0;
    const platform::SerialHandle port = OpenPort(path.c_str(), stop_request, port_error);
    if (error != nullptr) *error = port_error;
    return port == platform::SerialHandle::kNone ? nullptr : std::make_unique<SerialLink>(port, stop_request);
}

LinkStatus SerialLink::Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                  std::size_t& received, std::uint32_t timeout_ms) {
    received = 0;
    if (port_ == platform::SerialHandle::kNone) return LinkStatus::kNotOpen;
    timeout_ms_ = timeout_ms;
    DropLateBytes(port_);

    patience_ = StopPatience(stop_request_, kBlockStopPatience);
    ReplyBuffer assembly{.storage = reply, .skip_repetitions = true};
    const LinkStatus status = Report(ConverseInBlocks(*this, kSerialPayloadLimit, patience_, request, assembly));
    if (status == LinkStatus::kOk) received = assembly.length;
    return status == LinkStatus::kTimeOut && !is_sent_ ? LinkStatus::kDriverFailed : status;
}

LinkStatus SerialLink::Exchange(std::span<const std::uint8_t> frame, std::span<const std::uint8_t>& answer) {
    ZivLogF(L"Timeout %u msec", timeout_ms_);
    Send(frame);
    // To what could not be sent before the user wanted to end no answer is waited for.
    const bool is_cut           = !is_sent_ && IsRequested(stop_request_);
    const std::uint32_t start   = platform::TickMilliseconds();
    answer                      = std::span(answer_).first(is_cut ? 0 : Receive());
    const std::uint32_t elapsed = platform::TickMilliseconds() - start;

    ZivLogBytes(L"RECV: ", answer);
    ZivLogF(L"Receive time %u msec", elapsed);
    const bool is_over = patience_.IsOver() && !IsWholeAnswer(answer);
    return is_cut || is_over ? LinkStatus::kStopped : LinkStatus::kOk;
}

void SerialLink::Send(std::span<const std::uint8_t> frame) {
    const std::size_t written = platform::WriteSerial(port_, frame);
    ZivLogBytes(L"SEND: ", frame);
    if (written < frame.size()) ZivLogF(L"Bytes written %u", static_cast<unsigned>(written));
    is_sent_ = written >= frame.size();
}

/// One answer, or whatever has come when the time or the patience is over.
std::size_t SerialLink::Receive() {
    std::size_t received      = 0;
    const std::uint32_t start = platform::TickMilliseconds();
    while (platform::TickMilliseconds() - start < timeout_ms_) {
        platform::SleepMilliseconds(kPollWait);
        received += platform::ReadSerial(port_, std::span(answer_).subspan(received));
        if (IsWholeAnswer(std::span(answer_).first(received))) break;
        patience_.Look();
        if (patience_.IsOver()) break;
    }
    return received;
}

bool SerialLink::WaitForSilence(std::uint32_t silence_ms) {
    if (port_ == platform::SerialHandle::kNone) return false;
    return ListenUntilSilent(silence_ms, stop_request_, [this] {
        const std::size_t size = platform::ReadSerial(port_, answer_);
        if (size != 0) ZivLogBytes(L"LATE: ", std::span(answer_).first(size));
        return static_cast<std::ptrdiff_t>(size);
    });
}

void SerialLink::Close() {
    if (port_ == platform::SerialHandle::kNone) return;
    platform::CloseSerialPort(Release());
    ZivLog(L"Serial port closed");
}

platform::SerialHandle SerialLink::Release() { return std::exchange(port_, platform::SerialHandle::kNone); }

}  // namespace nelto
