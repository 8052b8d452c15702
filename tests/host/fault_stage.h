// One simulated 780 on one link under the whole program side, and one thing that goes wrong at a chosen place. Everything that
// the worker hands over is compared with what the analyser has sent.
#pragma once

#include <functional>
#include <memory>
#include <set>

#include "analyser_on_link.h"
#include "core/acquisition_worker.h"
#include "support.h"

namespace nelto::test {

using simulator::FaultKind;
using StrikeList = std::vector<simulator::Strike>;

constexpr std::uint32_t kLastBlock = 0xFFFFFFFF;

/// No request begins with nothing.
[[nodiscard]] bool BeginsWith(const Bytes& request, const Bytes& beginning);

/// A reply as it is before anything strikes it.
struct Reply {
    Bytes message;
    std::vector<std::size_t> frames;  // bytes of each block; over infrared of the message
};

class Stage final : public simulator::Responder {
public:
    static constexpr std::size_t kMeasured    = 3;  // channels; additional ones, fuel and device data stand behind them
    static constexpr std::size_t kListResults = 7;  // in the heating check: 2, 4 and 1 of its three lists

    /// A fresh world with the analyser in it. Every reply block but those over infrared holds `block_limit` bytes.
    explicit Stage(Transport transport, std::size_t block_limit = 40, const std::wstring& driver_version = L"3.02.11");
    ~Stage() override;

    using Spoil = std::function<StrikeList(Stage& stage, const Reply& reply)>;
    /// Lets what `spoil` gives strike the reply to request number `count`, from 1, of those that begin with `request`, or of all
    /// when that is empty; 0 for none.
    void SpoilReply(const Bytes& request, std::size_t count, Spoil spoil);

    /// Runs the worker until it has read values twice in a row behind the fault, at most `limit_ms`. The trace has one letter a
    /// step: o opened, c configured, h heating check read, v values read, the same in capitals where that failed, z closed.
    std::string RunWorker(std::uint32_t limit_ms = 60000);

    /// What was wrong so far: values shown that were not sent, things left open at the end; empty for nothing.
    [[nodiscard]] const std::string& Wrong() const { return wrong_; }
    void Expect(bool condition, const std::string& what);
    [[nodiscard]] std::vector<float> HeatingCheckValues() const;

    ProgramState state;
    std::unique_ptr<AnalyserOnLink> link;
    /// What strikes the other replies, by their requests.
    std::function<StrikeList(const Bytes& request)> usual;
    std::uint32_t block_ms = 0;  // that each block of a reply takes
    std::uint32_t noise_at = 0;  // tick count at which a byte of noise comes; 0 for never
    /// The user ends as soon as this is true; looked at with each wait.
    std::function<bool()> stops_when;
    bool waits_for_strike   = true;   // RunWorker goes on until the fault has struck
    bool stops_at_strike    = false;  // the user ends at that moment
    bool leaks_by_design    = false;  // a port or library stays open
    bool struck             = false;
    std::uint32_t struck_at = 0, stopped_at = 0;
    std::vector<Bytes> requests;
    std::vector<Reply> replies;  // to them, without the fault
    std::vector<std::uint32_t> statuses;

    // What the worker's steps tell.
    void Note(char step);
    void NoteValuesRead() { shown_ = sent_; }

    // What the session asks.
    StrikeList Strikes(simulator::Bytes beginning, std::uint64_t now_ms) override;
    std::optional<Bytes> Answer(simulator::Bytes, std::uint64_t) override { return replies.back().message; }

private:
    void Tick();
    void NoteSent();
    void Check();
    void CheckChannels(const Measurement& shown);

    simulator::Analyser2004 analyser_;
    std::size_t block_limit_;
    Bytes struck_request_;
    std::size_t struck_count_ = 0;
    Spoil spoil_;

    std::string trace_;
    std::string wrong_;
    std::uint32_t started_ = 0, limit_ms_ = 0, checked_at_ = 0, checked_version_ = 0;
    std::vector<std::uint32_t> sent_;  // bits of each measured channel's value in the last answer with values, by place
    std::vector<std::uint32_t> shown_;  // the same in the last answer that was read whole; empty before the first one
};

}  // namespace nelto::test
