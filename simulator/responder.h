// Who sits behind a session: what it answers to whole requests, and what goes wrong with its replies.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "analyser_2004.h"
#include "faults.h"

namespace simulator {

class Responder {
public:
    virtual ~Responder()                   = default;
    Responder()                            = default;
    Responder(const Responder&)            = delete;
    Responder& operator=(const Responder&) = delete;

    /// The answer to one whole request; none for silence.
    [[nodiscard]] virtual std::optional<Message> Answer(Bytes request, std::uint64_t now_ms) = 0;

    /// What strikes the reply to a request that begins with these bytes. Asked once for each request, before its answer.
    [[nodiscard]] virtual std::vector<Strike> Strikes(Bytes /*beginning*/, std::uint64_t /*now_ms*/) { return {}; }
};

/// The analyser of a scenario, with the faults of it.
class ScriptedAnalyser final : public Responder {
public:
    explicit ScriptedAnalyser(AnalyserData data, const std::vector<Fault>& faults = {})
        : analyser_(std::move(data)), faults_(faults) {}

    [[nodiscard]] std::optional<Message> Answer(Bytes request, std::uint64_t now_ms) override {
        return analyser_.Answer(request, now_ms);
    }
    [[nodiscard]] std::vector<Strike> Strikes(Bytes beginning, std::uint64_t now_ms) override {
        return faults_.Begin(beginning.empty() ? std::uint8_t{0} : beginning[0], now_ms);
    }

    /// Faults in place of those before, counted from now.
    void SetFaults(const std::vector<Fault>& faults) { faults_ = FaultScript(faults); }
    [[nodiscard]] const AnalyserData& Data() const { return analyser_.Data(); }

private:
    Analyser2004 analyser_;
    FaultScript faults_;
};

}  // namespace simulator
