// An analyser of generation 2004, firmware 2004 (780, 790, 785), spoken to with the program's own commands over any link. The reads of
// its configuration and of its heating check stand in files of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "instrument/analyser.h"
#include "instrument/generation2004/answer.h"

namespace nelto {

/// Framed exchanges, one at a time: a command out, its answer in and kept, its header checked. Worker thread.
class Conversation2004 {
public:
    explicit Conversation2004(Session& session) : session_(session) {}

    /// True when the command was answered; the answer replaces the last one: byte 0 is 0, byte 1 repeats the command, and on USB and
    /// serial bytes 2 and 3 are 0 (over infrared they hold the frame's length). Once a stop is requested nothing is sent any more.
    [[nodiscard]] bool Ask(std::span<const std::uint8_t> command, std::uint32_t timeout_ms = kAnswerTimeout,
                           std::size_t capacity = kAnswerCapacity);

    /// What the link said of the last question, kOk also for an answer with a bad header.
    [[nodiscard]] LinkStatus Status() const { return status_; }
    /// The last answer, its four header bytes included.
    [[nodiscard]] ByteView Answer() const { return ByteView(std::span(storage_).first(received_)); }
    [[nodiscard]] ByteView Payload() const { return Answer().Part(kAnswerHeaderSize); }
    /// Payload record `index` of records of `size` bytes; empty behind the last whole one.
    [[nodiscard]] ByteView Record(std::size_t index, std::size_t size) const;
    /// Whole records of `size` bytes in the payload.
    [[nodiscard]] std::size_t RecordCount(std::size_t size) const { return Payload().Size() / size; }

private:
    Session& session_;
    LinkStatus status_ = LinkStatus::kOk;
    std::array<std::uint8_t, kAnswerCapacity> storage_{};
    std::size_t received_ = 0;
};

class Analyser2004 : public Analyser {
public:
    explicit Analyser2004(Session session, std::uint32_t kind = kKind780) : Analyser(std::move(session), kind) {}

    /// Nothing to do: it knows its fuel.
    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override;
    /// The measured channels with their labels, up to six additional channels, the fuel with CO2max and O2Ref, device, version, serial
    /// number and smoke pump. Returns kDone or kBadAnswer.
    [[nodiscard]] std::uint32_t ReadConfiguration(ChannelTable& channels) override;
    /// Returns kDone, kTransportFailure or, for an opening answer of the wrong length, kBadAnswer.
    std::uint32_t ReadHeatingCheck(ChannelTable& heating_check) override;
    /// Record by record in the order of the configuration. Returns kDone, kBadAnswer, or kNoValuesZeroing while it zeroes its sensors.
    [[nodiscard]] std::uint32_t ReadValues(ChannelTable& channels) override;

    /// Over USB alone. Returns kDone or kTransportFailure.
    [[nodiscard]] std::uint32_t SynchronizeClock() override;
    /// The sub type is 0 to 255; over infrared it stays 0. Returns kDone or kTransportFailure.
    [[nodiscard]] std::uint32_t GetSubType() override;
    /// Returns kDone, also when it is in that mode already, kTransportFailure, kBadAnswer or kModeChangeFailed.
    std::uint32_t SetSlaveMode(bool on) override;

private:
    void Release() final;
    [[nodiscard]] LinkStatus AskSlaveMode(std::span<std::uint8_t> room, std::size_t& received);
    [[nodiscard]] bool IsOver(Transport transport) const { return session_.transport == transport; }
};

}  // namespace nelto
