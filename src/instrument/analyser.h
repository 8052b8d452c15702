// What all analysers have in common, from identification to the end of the connection.
#pragma once

#include <cstdint>
#include <utility>

#include "core/instrument.h"
#include "instrument/session.h"

namespace nelto {

class Analyser : public Instrument {
public:
    Analyser(Session session, std::uint32_t kind) : session_(std::move(session)), kind_(kind) {}

    [[nodiscard]] std::uint32_t Kind() const final { return kind_; }
    [[nodiscard]] std::uint32_t SubType() const final { return sub_type_; }

    /// What follows identification: sets the clock, reads the sub type, starts up. False on failure, with the reason in `error`, or
    /// when a stop is requested meanwhile.
    [[nodiscard]] bool Prepare(const char*& error);

    /// Switches slave mode off, whatever comes of it, and releases the way to the analyser. A second call finds nothing to do.
    std::uint32_t Close() final;

    // The steps of both; each returns an InstrumentResult.
    [[nodiscard]] virtual std::uint32_t SynchronizeClock() = 0;
    [[nodiscard]] virtual std::uint32_t GetSubType()       = 0;
    virtual std::uint32_t SetSlaveMode(bool on)            = 0;

protected:
    /// Last step of Prepare, whatever comes of it.
    virtual void StartUp() {}
    /// Last step of Close.
    virtual void Release() = 0;

    void SetSubType(std::uint32_t sub_type) { sub_type_ = sub_type; }

    Session session_;

private:
    std::uint32_t kind_;
    std::uint32_t sub_type_ = 0;
    bool is_open_           = true;
};

}  // namespace nelto
