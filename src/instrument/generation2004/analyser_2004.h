// An analyser of generation 2004, firmware 2004 (780, 790, 785), spoken to with the program's own commands over any link.
#pragma once

#include <cstdint>
#include <span>

#include "instrument/analyser.h"

namespace nelto {

class Analyser2004 final : public Analyser {
public:
    explicit Analyser2004(Session session) : Analyser(std::move(session), kKind780) {}

    /// Nothing to do: it knows its fuel.
    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override;
    [[nodiscard]] std::uint32_t ReadConfiguration(ChannelTable& channels) override;
    /// Record by record in the order of the configuration. Returns kDone, kBadAnswer, or kNoValuesZeroing while it zeroes its sensors.
    [[nodiscard]] std::uint32_t ReadValues(ChannelTable& channels) override;

    /// Over USB alone. Returns kDone or kTransportFailure.
    [[nodiscard]] std::uint32_t SynchronizeClock() override;
    /// The sub type is 0 to 255; over infrared it stays 0. Returns kDone or kTransportFailure.
    [[nodiscard]] std::uint32_t GetSubType() override;
    /// Returns kDone, also when it is in that mode already, kTransportFailure, kBadAnswer or kModeChangeFailed.
    std::uint32_t SetSlaveMode(bool on) override;

private:
    void Release() override;
    [[nodiscard]] LinkStatus AskSlaveMode(std::span<std::uint8_t> room, std::size_t& received);
    [[nodiscard]] bool IsOver(Transport transport) const { return session_.transport == transport; }
    /// Straight to the link, without a check of the header; the answer has at most `room`.
    [[nodiscard]] LinkStatus Send(std::span<const std::uint8_t> command, std::span<std::uint8_t> room,
                                  std::size_t& received, std::uint32_t timeout_ms) {
        return session_.Transceive(command, room, received, timeout_ms);
    }
};

}  // namespace nelto
