#include "instrument/generation2004/modes.h"

#include <array>

#include "diag/trace_log.h"
#include "instrument/generation2004/answer.h"
#include "instrument/generation2004/commands.h"
#include "platform/clock.h"

namespace nelto {
namespace {

constexpr std::size_t kSlaveModeAnswer         = 12;
constexpr std::size_t kInfraredSlaveModeAnswer = 4;
constexpr std::uint32_t kYearsBefore710        = 1900;

constexpr std::uint8_t Low(std::uint32_t number) { return static_cast<std::uint8_t>(number); }

/// Sends one clock command of a 710. The transport's own result does not count, only the answer.
bool Set710(const InstrumentConnection& connection, const std::array<std::uint8_t, 5>& command) {
    DirectAnswer answer{};
    std::size_t received = 0;
    static_cast<void>(LinkTransceive(connection.link, command, answer, received, kAnswerTimeout));
    return received >= kAnswerHeaderSize && answer[0] == 0;
}

}  // namespace

std::uint32_t SetSlaveMode2004(const InstrumentConnection& connection, bool on) {
    const bool infrared = connection.link.transport == Transport::kIrda;
    DirectAnswer storage{};
    std::size_t received = 0;
    const auto answer    = std::span(storage).first(infrared ? kSlaveModeAnswer : storage.size());
    if (LinkTransceive(connection.link, kGetSlaveMode, answer, received, kShortTimeout) != 0) return kTransportFailure;
    // Over infrared the length is deliberately not checked, beyond that the mode came at all.
    const ByteView view(answer.first(received));
    if (infrared ? !view.Covers(4, 1) : view.Size() != kSlaveModeAnswer) return kBadAnswer;
    if ((view.Byte(4) != 0) == on) return kDone;

    const std::array<std::uint8_t, 2> command = {kSetSlaveMode, static_cast<std::uint8_t>(on ? 1 : 0)};
    const auto reply           = std::span(storage).first(infrared ? kInfraredSlaveModeAnswer : storage.size());
    const std::uint32_t result = LinkTransceive(connection.link, command, reply, received, kShortTimeout);
    return result == 0 ? kDone : kModeChangeFailed;
}

std::uint32_t GetSubType2004(const InstrumentConnection& connection, std::uint32_t& sub_type) {
    if (connection.link.transport == Transport::kIrda) return kDone;
    const bool serial = connection.link.transport == Transport::kSerial;
    connection.log.Write(serial ? L"GetSubType2004 (Bluetooth)" : L"GetSubType2004 (USB)");

    const auto command =
        serial ? std::span<const std::uint8_t>(kGetDeviceTypeSerial) : std::span<const std::uint8_t>(kGetDeviceType);
    DirectAnswer answer{};
    std::size_t received = 0;
    if (LinkTransceive(connection.link, command, answer, received, kAnswerTimeout) != 0) {
        if (!serial) connection.log.Write(L"GetSubType2004 error");
        return kTransportFailure;
    }
    if (received < 5) return kTransportFailure;
    sub_type = answer[4];
    return kDone;
}

std::uint32_t SynchronizeClock2004(const InstrumentConnection& connection) {
    if (connection.link.transport != Transport::kUsb) return kDone;
    const platform::CalendarTime now          = platform::LocalTime();
    const std::array<std::uint8_t, 9> command = {kSetClock,     Low(now.hour),      Low(now.minute), Low(now.second), 0,
                                                 Low(now.year), Low(now.year >> 8), Low(now.month),  Low(now.day)};
    DirectAnswer answer{};
    std::size_t received       = 0;
    const std::uint32_t result = LinkTransceive(connection.link, command, answer, received, kAnswerTimeout);
    return result == 0 ? kDone : kTransportFailure;
}

std::uint32_t SynchronizeClock710(const InstrumentConnection& connection) {
    ZivLog(L"nelto 710 SynchronizeClock");
    const platform::CalendarTime now = platform::LocalTime();
    if (!Set710(connection, {kSetDate710, Low(now.day), Low(now.month), Low(now.year - kYearsBefore710), 0})) {
        return kBadAnswer;
    }
    if (connection.StopRequested()) return kBadAnswer;
    if (!Set710(connection, {kSetTime710, Low(now.hour), Low(now.minute), Low(now.second), 0})) return kBadAnswer;
    return kDone;
}

}  // namespace nelto
