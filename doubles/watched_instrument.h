// An open analyser, with somebody who looks on.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "core/instrument.h"

namespace nelto::doubles {

/// Passes every call on, and tells of its end: c configuration, h heating check, v values, z close; the table as it is then.
class WatchedInstrument final : public Instrument {
public:
    using Watch = std::function<void(char step, std::uint32_t result, const ChannelTable& table)>;

    WatchedInstrument(std::unique_ptr<Instrument> inner, Watch watch)
        : inner_(std::move(inner)), watch_(std::move(watch)) {}

    std::uint32_t Kind() const override { return inner_->Kind(); }
    std::uint32_t SubType() const override { return inner_->SubType(); }
    std::uint32_t SetActiveFuel(std::int32_t number) override { return inner_->SetActiveFuel(number); }
    std::uint32_t ReadConfiguration(ChannelTable& table) override {
        return Told('c', inner_->ReadConfiguration(table), table);
    }
    std::uint32_t ReadHeatingCheck(ChannelTable& table) override {
        return Told('h', inner_->ReadHeatingCheck(table), table);
    }
    std::uint32_t ReadValues(ChannelTable& table) override { return Told('v', inner_->ReadValues(table), table); }
    std::uint32_t Close() override { return Told('z', inner_->Close(), {}); }

private:
    std::uint32_t Told(char step, std::uint32_t result, const ChannelTable& table) {
        watch_(step, result, table);
        return result;
    }

    std::unique_ptr<Instrument> inner_;
    Watch watch_;
};

}  // namespace nelto::doubles
