#include "infrared_session.h"

#include <algorithm>
#include <array>

namespace simulator {
namespace {

struct FaultRow {
    std::string_view name;
    InfraredFault fault;
};

// clang-format off
constexpr std::array kFaults = {
    FaultRow{"no_winsock",   InfraredFault::kNoWinsock},
    FaultRow{"no_socket",    InfraredFault::kNoSocket},
    FaultRow{"not_blocking", InfraredFault::kNotBlocking},
    FaultRow{"no_listing",   InfraredFault::kNoListing},
    FaultRow{"nobody",       InfraredFault::kNobody},
    FaultRow{"refused",      InfraredFault::kRefused},
};
// clang-format on

constexpr std::size_t kLengthOffset = 2;

/// The whole frame's length stands behind status and echo, low byte first.
void PutLength(Message& reply, std::size_t length) {
    if (reply.size() < kAnswerHeaderSize) return;
    reply[kLengthOffset]     = static_cast<std::uint8_t>(length);
    reply[kLengthOffset + 1] = static_cast<std::uint8_t>(length >> 8);
}

/// Strikes the reply's own bytes; what belongs to block frames alone leaves it.
void StrikeReply(const Strike& strike, Message& reply) {
    switch (strike.kind) {
        case FaultKind::kWrongLength: return PutLength(reply, reply.size() + strike.amount);
        case FaultKind::kLostByte:
        case FaultKind::kExtraByte:
        case FaultKind::kCutBlock:
        case FaultKind::kFlipBit: return StrikeFrame(strike, reply);
        default: return;
    }
}

}  // namespace

std::optional<InfraredFault> InfraredFaultByName(std::string_view name) {
    const auto row = std::ranges::find(kFaults, name, &FaultRow::name);
    return row == kFaults.end() ? std::nullopt : std::optional(row->fault);
}

bool InfraredSession::Has(InfraredFault fault, std::uint64_t now_ms) const {
    return std::ranges::any_of(setup_.troubles, [&](const InfraredTrouble& trouble) {
        return trouble.fault == fault && trouble.window.Contains(now_ms);
    });
}

std::vector<std::string> InfraredSession::Devices(std::uint64_t now_ms) const {
    if (Has(InfraredFault::kNobody, now_ms) || now_ms < link_back_ms_) return {};
    return setup_.devices;
}

bool InfraredSession::Connect(std::size_t device, std::string_view service, std::uint64_t now_ms) {
    const std::vector<std::string> devices = Devices(now_ms);
    if (is_connected_ || Has(InfraredFault::kRefused, now_ms) || device >= devices.size() ||
        devices[device] != service) {
        events_("connection refused");
        return false;
    }
    events_("connected to device " + std::to_string(device + 1) + ", " + devices[device]);
    is_connected_ = true;
    return true;
}

bool InfraredSession::Send(Bytes request, std::uint64_t now_ms) {
    if (!is_connected_ || now_ms < link_back_ms_) return false;
    pieces_.clear();
    const std::uint8_t command = request.empty() ? std::uint8_t{0} : request[0];
    events_("request " + std::string(CommandName(command)) + ": " + HexText(request));
    const std::vector<Strike> strikes = analyser_->Strikes(request, now_ms);
    std::optional<Message> reply      = analyser_->Answer(request, now_ms);
    if (!reply) {
        events_("no reply");
        return true;
    }
    for (const Strike& strike : strikes) {
        events_("fault " + std::string(FaultName(strike.kind)) + " " + std::to_string(strike.amount));
        StrikeMessage(strike, *reply);
    }
    PutLength(*reply, reply->size());
    for (const Strike& strike : strikes) StrikeReply(strike, *reply);
    SendReply(*reply, strikes, now_ms);
    return true;
}

void InfraredSession::SendReply(const Message& reply, const std::vector<Strike>& strikes, std::uint64_t now_ms) {
    const std::size_t size  = setup_.piece == 0 ? std::max<std::size_t>(reply.size(), 1) : setup_.piece;
    const std::size_t count = std::max<std::size_t>((reply.size() + size - 1) / size, 1);
    std::uint64_t due_ms    = now_ms;
    for (std::size_t index = 0; index < count; ++index) {
        for (const Strike& strike : strikes) {
            if (std::min<std::size_t>(strike.block, count - 1) != index) continue;
            if (strike.kind == FaultKind::kSilence) return;
            if (strike.kind == FaultKind::kLinkGone) return CutLink(strike.amount, due_ms);
            if (strike.kind == FaultKind::kDelay) due_ms += strike.amount;
        }
        const Bytes rest = Bytes(reply).subspan(index * size);
        const Bytes part = rest.first(std::min(size, rest.size()));
        pieces_.push_back({due_ms, Message(part.begin(), part.end()), false});
    }
}

void InfraredSession::CutLink(std::uint32_t milliseconds, std::uint64_t now_ms) {
    pieces_.push_back({now_ms, {}, true});
    link_back_ms_ = now_ms + milliseconds;
}

InfraredSession::Arrival InfraredSession::Receive(std::span<std::uint8_t> buffer, std::size_t& size,
                                                  std::uint64_t now_ms) {
    size = 0;
    if (!is_connected_) return Arrival::kGone;
    if (!CanReceive(now_ms)) return Arrival::kNothingYet;
    if (pieces_.empty()) return Arrival::kGone;
    Piece& piece = pieces_.front();
    if (piece.is_end) {
        events_("link gone");
        Disconnect();
        return Arrival::kGone;
    }
    size = std::min(buffer.size(), piece.bytes.size());
    std::copy_n(piece.bytes.begin(), size, buffer.begin());
    piece.bytes.erase(piece.bytes.begin(), piece.bytes.begin() + static_cast<std::ptrdiff_t>(size));
    if (piece.bytes.empty()) pieces_.pop_front();
    return Arrival::kBytes;
}

bool InfraredSession::CanReceive(std::uint64_t now_ms) const {
    if (!is_connected_) return true;
    return pieces_.empty() ? now_ms < link_back_ms_ : pieces_.front().due_ms <= now_ms;
}

void InfraredSession::Disconnect() {
    is_connected_ = false;
    pieces_.clear();
}

}  // namespace simulator
