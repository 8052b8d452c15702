// Infrared: device lists and replies in pieces. The first two bytes are the calls that fail, the next one chooses. A reply's
// capacity comes from the byte behind it, and each of its pieces is one length byte and as many bytes, length 0 for an
// analyser that has gone.
#include "fuzz.h"
#include "transport/irda_link.h"

namespace {

using namespace nelto;
using test::Call;
using test::Input;
using test::Require;
using test::TheIrdaWorld;

const std::vector<std::uint8_t> kOneAnalyser     = test::MakeIrdaDeviceList({"NELTO T785"});
constexpr std::array<std::size_t, 6> kCapacities = {0, 3, 4, 12, 256, 4096};
std::array<std::uint8_t, 4096> storage;

/// Gives a piece of the input whenever the program waits for one.
class PiecePeer {
public:
    explicit PiecePeer(Input& input) : input_(input) {
        TheIrdaWorld().on_request = [this](test::ByteSpan request) {
            Require(request.size() == 1);
            sent_.clear();
            for (const auto& piece : TheIrdaWorld().pieces) sent_.insert(sent_.end(), piece->begin(), piece->end());
        };
        TheIrdaWorld().on_idle = [this] {
            const test::ByteSpan piece = input_.Take(input_.Byte());
            sent_.insert(sent_.end(), piece.begin(), piece.end());
            TheIrdaWorld().pieces.emplace_back(std::in_place, piece.begin(), piece.end());
        };
    }
    /// What was received since the last request.
    [[nodiscard]] test::ByteSpan Received() const {
        std::size_t left = 0;
        for (const auto& piece : TheIrdaWorld().pieces) left += piece->size();
        return test::ByteSpan(sent_).first(sent_.size() - left);
    }

private:
    Input& input_;
    std::vector<std::uint8_t> sent_;
};

bool IsAccepted(std::string_view name) { return name == "NELTO T780" || name == "NELTO T785"; }

std::unique_ptr<IrdaLink> TryOpening(test::ByteSpan devices) {
    TheIrdaWorld().device_list.assign(devices.begin(), devices.end());
    IrdaOpenResult result = kIrdaOpenOk;
    auto link             = IrdaLink::Open(nullptr, result);
    Require(result <= kIrdaConnectFailed && (link != nullptr) == (result == kIrdaOpenOk));
    const std::string& service = TheIrdaWorld().service;
    Require(result == kIrdaOpenOk || result == kIrdaConnectFailed ? IsAccepted(service) : service.empty());
    return link;
}

void TryReply(IrdaLink& link, const PiecePeer& peer, std::uint8_t choice) {
    const auto reply                               = std::span(storage).last(kCapacities[choice % kCapacities.size()]);
    constexpr std::array<std::uint8_t, 1> kRequest = {0x9C};
    std::size_t received                           = 1;
    if (link.Transceive(kRequest, reply, received, 0) != LinkStatus::kOk) return Require(received == 0);
    Require(received >= 4 && received <= reply.size() && received == reply[2] + 256u * reply[3]);
    Require(std::ranges::equal(reply.first(received), peer.Received()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    constexpr std::array kCalls  = {Call::kOpenFile,    Call::kStartSockets, Call::kOpenSocket, Call::kSetBlocking,
                                    Call::kListDevices, Call::kConnect,      Call::kSend,       Call::kReceive};
    const std::uint32_t failures = input.Take<std::uint16_t>() >> 4;
    test::FreshWorld();
    test::FailCalls(failures, kCalls);
    TheIrdaWorld().sends_half = (failures & 0x100) != 0;
    const PiecePeer peer(input);
    if (input.Byte() % 2 == 0) {
        const auto link = TryOpening(kOneAnalyser);
        for (int round = 0; link != nullptr && round < 2; ++round) TryReply(*link, peer, input.Byte());
    } else {
        TryOpening(input.Take(2048));
    }
    Require(TheIrdaWorld().open_sockets == 0 && TheIrdaWorld().references == 0);
    return 0;
}
