// A 710 on a serial link: it takes the time of day and has no online channels, but may have results of a heating check.
#pragma once

#include <array>
#include <cstdint>

#include "instrument/generation2004/analyser_2004.h"

namespace nelto {

class Analyser710 final : public Analyser2004 {
public:
    explicit Analyser710(Session session) : Analyser2004(std::move(session), kKind710) {}

    /// It cannot: returns 1.
    std::uint32_t SetActiveFuel(std::int32_t fuel_number) override;
    /// Both read nothing and return kDone.
    [[nodiscard]] std::uint32_t ReadConfiguration(ChannelTable& channels) override;
    [[nodiscard]] std::uint32_t ReadValues(ChannelTable& channels) override;

    /// Sets date and time. Returns kDone or kBadAnswer.
    [[nodiscard]] std::uint32_t SynchronizeClock() override;
    [[nodiscard]] std::uint32_t GetSubType() override;
    std::uint32_t SetSlaveMode(bool on) override;

private:
    [[nodiscard]] bool Set(const std::array<std::uint8_t, 5>& command);
};

}  // namespace nelto
