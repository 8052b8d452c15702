#include "instrument/generation2004/analyser_2004.h"

#include <algorithm>
#include <array>

#include "platform/clock.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

static_assert(kNoValuesZeroing == std::uint32_t{kZeroing});

constexpr std::size_t kSlaveModeAnswer         = 12;
constexpr std::size_t kInfraredSlaveModeAnswer = 4;

/// A channel without a value keeps its last number and resolution.
void TakeValue(const ByteView& value_record, ChannelRecord& channel) {
    if (value_record.Long(4) == kNoValueMark) {
        channel.value_type = kNoValue;
        return;
    }
    channel.value_type = kNumber;
    channel.value      = value_record.Single(4);
    channel.resolution = value_record.Byte(10);
}

bool FramedHeaderIsGood(ByteView answer, std::uint8_t command) {
    return answer.Byte(0) == 0 && answer.Byte(1) == command && answer.Byte(2) == 0 && answer.Byte(3) == 0;
}

/// Bytes 2 and 3 are not checked here: over infrared they hold the length of the frame.
bool InfraredHeaderIsGood(ByteView answer, std::uint8_t command) {
    if (answer.Byte(0) == 0 && answer.Byte(1) == command) return true;
    std::array<wchar_t, 32> text{};
    platform::FormatText(text, L"Invalid header %02x %02x %02x %02x", answer.Byte(0), answer.Byte(1), answer.Byte(2),
                         answer.Byte(3));
    platform::DebugOutput(text.data());
    return false;
}

bool AnswerIsGood(Transport transport, ByteView answer, std::uint8_t command) {
    const bool infrared = transport == Transport::kIrda;
    if (answer.Size() < kAnswerHeaderSize) {
        if (infrared) platform::DebugOutput(L"less 4");
        return false;
    }
    return infrared ? InfraredHeaderIsGood(answer, command) : FramedHeaderIsGood(answer, command);
}

}  // namespace

bool Conversation2004::Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms, std::size_t capacity) {
    received_       = 0;
    status_         = LinkStatus::kStopped;
    session_.is_cut = session_.StopRequested();
    if (session_.is_cut) return false;
    const auto room   = std::span(storage_).first(std::min(capacity, storage_.size()));
    std::size_t count = 0;
    status_           = session_.Transceive(command, room, count, timeout_ms);
    if (status_ != LinkStatus::kOk) return false;
    const ByteView answer(room.first(std::min(count, room.size())));
    if (!AnswerIsGood(session_.transport, answer, command.front())) return false;
    received_ = answer.Size();
    return true;
}

ByteView Conversation2004::Record(std::size_t index, std::size_t size) const {
    return index < RecordCount(size) ? Payload().Part(index * size, size) : ByteView();
}

std::uint32_t Analyser2004::SetActiveFuel(std::int32_t /*fuel_number*/) { return kDone; }

std::uint32_t Analyser2004::ReadValues(ChannelTable& channels) {
    Conversation2004 talk(session_);
    session_.log.Write(L"Nelto780GetOnlineValues2004 begin");

    if (!talk.Ask(kGetMeasZeroFlag)) {
        return session_.Failed(L"Nelto780GetOnlineValues2004 error GET_MEAS_ZEROFLAG (null)");
    }
    if (!talk.Answer().Covers(4, 1)) {
        return session_.Failed(L"Nelto780GetOnlineValues2004 error GET_MEAS_ZEROFLAG (length)");
    }
    if (talk.Answer().Byte(4) == 0) {
        session_.log.Write(L"Nelto780GetOnlineValues2004: zeroing");
        return kNoValuesZeroing;
    }

    if (!talk.Ask(kGetMeasConfig)) return session_.Failed(L"Nelto780GetOnlineValues2004 error get MeasConfig");
    if (talk.Answer().Size() != kMeasConfigAnswer) return session_.Failed(L"Nelto780GetOnlineValues2004 error 6");
    if (!talk.Ask(talk.Answer().Byte(4) == kMeasConfig4 ? kReadValuesConfig4 : kReadValues)) {
        return session_.Failed(L"Nelto780GetOnlineValues2004 error 7");
    }

    const std::size_t count = std::min(talk.RecordCount(kValueRecordSize), channels.size());
    for (std::size_t index = 0; index < count; ++index) {
        TakeValue(talk.Record(index, kValueRecordSize), channels[index]);
    }
    session_.log.Write(L"Nelto780GetOnlineValues2004 end");
    return kDone;
}

std::uint32_t Analyser2004::SynchronizeClock() {
    if (!IsOver(Transport::kUsb)) return kDone;
    const platform::CalendarTime now          = platform::LocalTime();
    const std::array<std::uint8_t, 9> command = {kSetClock,     Low(now.hour),      Low(now.minute), Low(now.second), 0,
                                                 Low(now.year), Low(now.year >> 8), Low(now.month),  Low(now.day)};
    DirectAnswer answer{};
    std::size_t received = 0;
    return session_.Transceive(command, answer, received, kAnswerTimeout) == LinkStatus::kOk ? kDone
                                                                                             : kTransportFailure;
}

std::uint32_t Analyser2004::GetSubType() {
    if (IsOver(Transport::kIrda)) return kDone;
    const bool serial = IsOver(Transport::kSerial);
    session_.log.Write(serial ? L"GetSubType2004 (Bluetooth)" : L"GetSubType2004 (USB)");

    const auto command =
        serial ? std::span<const std::uint8_t>(kGetDeviceTypeSerial) : std::span<const std::uint8_t>(kGetDeviceType);
    DirectAnswer answer{};
    std::size_t received = 0;
    if (session_.Transceive(command, answer, received, kAnswerTimeout) != LinkStatus::kOk) {
        if (!serial) session_.Failed(L"GetSubType2004 error");
        return kTransportFailure;
    }
    if (received < 5) return kTransportFailure;
    SetSubType(answer[4]);
    return kDone;
}

std::uint32_t Analyser2004::SetSlaveMode(bool on) {
    const bool infrared = IsOver(Transport::kIrda);
    DirectAnswer storage{};
    std::size_t received = 0;
    const auto answer    = std::span(storage).first(infrared ? kSlaveModeAnswer : storage.size());
    if (AskSlaveMode(answer, received) != LinkStatus::kOk) return kTransportFailure;
    // Over infrared the length is deliberately not checked, beyond that the mode came at all.
    const ByteView view(answer.first(received));
    if (infrared ? !view.Covers(4, 1) : view.Size() != kSlaveModeAnswer) return kBadAnswer;
    if ((view.Byte(4) != 0) == on) return kDone;

    const std::array<std::uint8_t, 2> command = {kSetSlaveMode, static_cast<std::uint8_t>(on ? 1 : 0)};
    const auto reply = std::span(storage).first(infrared ? kInfraredSlaveModeAnswer : storage.size());
    return session_.Transceive(command, reply, received, kShortTimeout) == LinkStatus::kOk ? kDone : kModeChangeFailed;
}

/// When the user ends while an answer is owed, that one may come in the place of this; then it is asked for once more.
LinkStatus Analyser2004::AskSlaveMode(std::span<std::uint8_t> room, std::size_t& received) {
    const bool is_owed      = session_.is_answer_owed && session_.StopRequested();
    const LinkStatus status = session_.Transceive(kGetSlaveMode, room, received, kShortTimeout);
    const bool is_this      = status == LinkStatus::kOk && received > 1 && room[1] == kGetSlaveMode.front();
    const bool is_lost      = status == LinkStatus::kDriverFailed || status == LinkStatus::kStopped;
    return is_owed && !is_this && !is_lost ? session_.Transceive(kGetSlaveMode, room, received, kShortTimeout) : status;
}

void Analyser2004::Release() {
    if (IsOver(Transport::kUsb)) session_.log.Write(L"Connection closed (USB to nelto 780 2004)");
    session_.link->Close();
}

}  // namespace nelto
