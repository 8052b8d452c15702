// What the program knows of one analyser, as it is shown, handed on, and handed over between the threads.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "core/channel_table.h"
#include "platform/lock.h"

namespace nelto {

struct Measurement {
    ChannelTable channels{};
    ChannelTable heating_check{};
    std::uint32_t kind = 0;                  // InstrumentKind; 0 before the first analyser
    std::array<wchar_t, 256> device_name{};  // empty where the analyser does not tell it
    bool oil_fuel         = false;
    std::uint32_t version = 0;  // counts the hand-overs; kept by SharedMeasurement
};

/// Takes the device name from its channel and whether the fuel is oil from the fuel channel, whose value is then exactly 1.0.
/// Without the channel each stays as it is.
void TakeSpecialChannels(Measurement& measurement);

/// True for what is shown and handed on: smoke channels with oil as fuel only.
[[nodiscard]] inline bool IsHandedOn(const ChannelRecord& channel, const Measurement& measurement) {
    return measurement.oil_fuel || !IsSmokeChannel(channel.view_ident);
}

/// By what one analyser is told from another.
struct AnalyserIdentity {
    std::uint32_t kind = 0;
    std::wstring device_name;
    std::wstring serial_number;  // empty where it tells none

    bool operator==(const AnalyserIdentity& other) const = default;
};

[[nodiscard]] AnalyserIdentity IdentityOf(const Measurement& measurement);

/// The hand-over of the measurement between the two threads, whole in both directions. While the worker reads, the busy flag is
/// raised, and what stands here is the measurement before.
class SharedMeasurement {
public:
    /// Either: a copy, whatever the worker does.
    [[nodiscard]] Measurement Copy() const;
    /// Worker: puts a measurement in the place of the one before.
    void Publish(const Measurement& measurement);
    /// Dialog: puts an edited copy back; false, and nothing changed, while the worker reads or when it has published another
    /// one since the copy was taken.
    [[nodiscard]] bool Edit(const Measurement& copy);

    /// Worker: raises the flag before it takes the copy that it reads into, so that no edit comes between.
    void SetBusy(bool busy) { busy_ = busy ? 1 : 0; }
    /// Either.
    [[nodiscard]] bool Busy() const { return busy_ != 0; }

private:
    void Store(const Measurement& measurement);

    mutable platform::ShortLock lock_;
    std::atomic<std::uint32_t> busy_{0};
    Measurement current_;
};

}  // namespace nelto
