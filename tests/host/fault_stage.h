// One simulated 780 on one link under the whole program side, and one thing that goes wrong at a chosen place. Everything that
// the worker hands over is compared with what the analyser has sent.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "analyser_2004.h"
#include "core/acquisition_worker.h"
#include "fake_d2xx.h"
#include "support.h"
#include "transport/block_frame.h"
#include "transport/link.h"

namespace nelto::test {

/// One reply on its way, as a fault finds it.
struct Reply {
    Bytes message;
    std::vector<Bytes> blocks;  // the framed message; over infrared its bytes alone
    std::uint32_t delay_ms = 0;
    bool repeats_block     = false;  // the first one
    /// The later blocks come by themselves, so long after one another; then the delay is the first one's.
    std::optional<std::uint32_t> unasked_ms;
};

/// No request begins with nothing.
[[nodiscard]] bool BeginsWith(const Bytes& request, const Bytes& beginning);

class Stage final : public platform::memory::SerialDevice {
public:
    static constexpr std::uint32_t kPort      = 5;
    static constexpr std::size_t kMeasured    = 3;  // channels; additional ones, fuel and device data stand behind them
    static constexpr std::size_t kListResults = 7;  // in the heating check: 2, 4 and 1 of its three lists

    /// A fresh world with the analyser in it. Every reply block but those over infrared holds `block_limit` bytes.
    explicit Stage(Transport transport, std::size_t block_limit = 40, const std::wstring& driver_version = L"3.02.11");
    ~Stage() override;

    using Spoil = std::function<void(Stage& stage, Reply& reply)>;
    /// Lets `spoil` change the reply to request number `count`, from 1, of those that begin with `request`, or of all when that is
    /// empty; 0 for none.
    void Strike(const Bytes& request, std::size_t count, Spoil spoil);
    /// Frames the reply anew, its message cut or filled with zeros to this size.
    void Resize(Reply& reply, std::size_t size) const;
    /// From now on no byte gets through: for `duration_ms`, or, as a failure of the port or driver, until the next opening.
    void LoseLink(std::uint32_t duration_ms) { gone_until_ = Now() + duration_ms; }
    void BreakLink();

    /// A byte of noise on the line, before whatever is sent next.
    void AddNoise(std::uint32_t delay_ms) { output_.push_back({Now() + delay_ms, {0x55}}); }
    /// As if another program had left the analyser in it.
    void EnterSlaveMode() { static_cast<void>(analyser_.Answer(Bytes{0x20, 1}, World().now)); }

    /// Runs the worker until it has read values twice in a row behind the fault, at most `limit_ms`. The trace has one letter a
    /// step: o opened, c configured, h heating check read, v values read, the same in capitals where that failed, z closed.
    std::string RunWorker(std::uint32_t limit_ms = 60000);

    /// What was wrong so far: values shown that were not sent, things left open at the end; empty for nothing.
    [[nodiscard]] const std::string& Wrong() const { return wrong_; }
    void Expect(bool condition, const std::string& what);
    [[nodiscard]] std::vector<float> HeatingCheckValues() const;
    /// Bits of each measured channel's value in the last answer that held values, by place.
    [[nodiscard]] const std::vector<std::uint32_t>& Sent() const { return sent_; }

    ProgramState state;
    Transport transport;
    std::unique_ptr<FakeD2xx> library;
    /// How much later every other reply comes, by its request.
    std::function<std::uint32_t(const Bytes& request)> delays;
    /// The same of the blocks behind the first one, where they come by themselves.
    std::function<std::uint32_t(const Bytes& request)> pauses;
    /// The user ends as soon as this is true; looked at with each wait.
    std::function<bool()> stops_when;
    std::size_t most_a_look = SIZE_MAX;  // bytes that one look at a serial port finds
    bool reads_one_block    = false;     // at a time, even if more have come
    bool waits_for_strike   = true;      // RunWorker goes on until the fault has struck
    bool stops_at_strike    = false;     // the user ends at that moment
    bool leaks_by_design    = false;     // a port or library stays open
    bool struck             = false;
    bool blocked            = false;  // a receive call over infrared that would never have returned
    std::uint32_t struck_at = 0, stopped_at = 0;
    std::vector<Bytes> requests;
    std::vector<Reply> replies;  // to them, without the fault
    std::uint32_t block_ms = 0;  // that each block of a reply takes
    std::vector<std::uint32_t> statuses;

    // What the worker's steps tell.
    void Note(char step);
    void NoteValuesRead();

    std::size_t Write(std::span<const std::uint8_t> bytes) override;
    std::size_t Read(std::span<std::uint8_t> bytes) override;
    void Opened() override;

private:
    struct Output {
        std::uint64_t due = 0;
        Bytes bytes;
    };

    /// The world's time, going on where its tick count begins anew.
    [[nodiscard]] std::uint64_t Now() {
        now_ += static_cast<std::uint32_t>(World().now - static_cast<std::uint32_t>(now_));
        return now_;
    }
    [[nodiscard]] bool IsGone() { return broken_ || Now() < gone_until_; }
    void Take(const Bytes& request);
    void SendNextBlock(std::uint32_t times = 1);
    void SendUnasked(std::uint32_t pause_ms);
    void GiveInfrared();
    void Tick();
    void NoteSent(const Reply& reply);
    void Check();
    void CheckChannels(const Measurement& shown);
    void CheckNothingLeft();

    simulator::Analyser2004 analyser_;
    std::size_t block_limit_;
    Bytes struck_request_;
    std::size_t struck_count_ = 0;
    Spoil spoil_;

    std::deque<Bytes> blocks_;
    std::uint32_t delay_ms_ = 0;
    std::deque<Output> output_;
    std::uint64_t now_        = 0;
    std::uint64_t busy_until_ = 0;  // answers come in order
    std::uint64_t gone_until_ = 0;
    bool broken_              = false;

    std::string trace_;
    std::string wrong_;
    std::uint32_t started_ = 0, limit_ms_ = 0, checked_at_ = 0, checked_version_ = 0;
    std::vector<std::uint32_t> sent_;
    std::vector<std::uint32_t> shown_;  // the same in the last answer that was read whole; empty before the first one
};

}  // namespace nelto::test
