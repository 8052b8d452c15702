// The analyser's side of an infrared link: who is in range, requests in, pieces of replies out. No clock and no link of its
// own. One session stands for one receiver; it is used by one thread at a time.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message.h"
#include "responder.h"

namespace simulator {

/// What can go wrong before there is a conversation.
enum class InfraredFault : std::uint8_t { kNoWinsock, kNoSocket, kNotBlocking, kNoListing, kNobody, kRefused };

/// The fault by its word in scenario files, such as "refused".
[[nodiscard]] std::optional<InfraredFault> InfraredFaultByName(std::string_view name);

struct InfraredTrouble {
    InfraredFault fault = InfraredFault::kNobody;
    TimeWindow window;
};

/// The infrared side of a scenario.
struct InfraredSetup {
    std::vector<std::string> devices = {"NELTO T780"};  // names of those in range, in the order of the device list
    std::vector<InfraredTrouble> troubles;
    std::size_t piece = 0;  // bytes of a reply that arrive at once; 0 is all of them
};

class InfraredSession {
public:
    using EventSink = std::function<void(const std::string& line)>;

    /// What a look for bytes of a reply gave.
    enum class Arrival : std::uint8_t { kBytes, kNothingYet, kGone };

    InfraredSession(std::shared_ptr<Responder> analyser, InfraredSetup setup, EventSink events)
        : analyser_(std::move(analyser)), setup_(std::move(setup)), events_(std::move(events)) {}

    [[nodiscard]] bool Has(InfraredFault fault, std::uint64_t now_ms) const;

    /// Names of the devices in range: none while nobody is there or the link is gone.
    [[nodiscard]] std::vector<std::string> Devices(std::uint64_t now_ms) const;

    /// Begins a conversation with the device of that place in the list, over the service of that name; false refuses it.
    [[nodiscard]] bool Connect(std::size_t device, std::string_view service, std::uint64_t now_ms);

    /// Takes one whole request; false when the other side is gone.
    [[nodiscard]] bool Send(Bytes request, std::uint64_t now_ms);

    /// Gives the next bytes of the reply, at most as many as `buffer` holds, and counts them in `size`. Nothing yet may
    /// last for ever.
    [[nodiscard]] Arrival Receive(std::span<std::uint8_t> buffer, std::size_t& size, std::uint64_t now_ms);

    /// True when Receive would give bytes or the end, and not nothing yet.
    [[nodiscard]] bool CanReceive(std::uint64_t now_ms) const;

    /// Ends the conversation.
    void Disconnect();

private:
    struct Piece {
        std::uint64_t due_ms = 0;
        Message bytes;
        bool is_end = false;  // the link is gone instead of more bytes
    };

    void SendReply(const Message& reply, const std::vector<Strike>& strikes, std::uint64_t now_ms);
    void CutLink(std::uint32_t milliseconds, std::uint64_t now_ms);

    std::shared_ptr<Responder> analyser_;
    InfraredSetup setup_;
    EventSink events_;

    bool is_connected_ = false;
    std::deque<Piece> pieces_;
    std::uint64_t link_back_ms_ = 0;
};

}  // namespace simulator
