#include "instrument/generation2004/analyser_710.h"

#include "diag/trace_log.h"
#include "platform/clock.h"

namespace nelto {
namespace {

constexpr std::uint32_t kYearsBefore = 1900;

/// The line goes through both writers, so it stands in the log twice.
std::uint32_t LogTwice(const wchar_t* text) {
    ZivLog(text);
    ZivLogF(L"%ls", text);
    return kDone;
}

}  // namespace

std::uint32_t Analyser710::SetActiveFuel(std::int32_t /*fuel_number*/) { return kTransportFailure; }

std::uint32_t Analyser710::ReadConfiguration(ChannelTable& /*channels*/) {
    return LogTwice(L"nelto 710 GetOnlineConfiguration");
}

std::uint32_t Analyser710::ReadValues(ChannelTable& /*channels*/) { return LogTwice(L"nelto 710 GetOnlineValues"); }

std::uint32_t Analyser710::SynchronizeClock() {
    ZivLog(L"nelto 710 SynchronizeClock");
    const platform::CalendarTime now = platform::LocalTime();
    if (!Set({kSetDate710, Low(now.day), Low(now.month), Low(now.year - kYearsBefore), 0})) return kBadAnswer;
    if (session_.StopRequested()) return kBadAnswer;
    return Set({kSetTime710, Low(now.hour), Low(now.minute), Low(now.second), 0}) ? kDone : kBadAnswer;
}

/// Sends one clock command. The link's own result does not count, only the answer.
bool Analyser710::Set(const std::array<std::uint8_t, 5>& command) {
    DirectAnswer answer{};
    std::size_t received = 0;
    static_cast<void>(session_.Transceive(command, answer, received, kAnswerTimeout));
    return received >= kAnswerHeaderSize && answer[0] == 0;
}

std::uint32_t Analyser710::GetSubType() { return kDone; }

std::uint32_t Analyser710::SetSlaveMode(bool /*on*/) {
    ZivLog(L"nelto 710 SetSlaveMode");
    return kDone;
}

}  // namespace nelto
