// Infrared: device lists and replies in pieces. The first two bytes are the calls that fail, the next one chooses. A reply's
// capacity comes from the byte behind it, and each of its pieces is one length byte and as many bytes, length 0 for an
// analyser that has gone.
#include "fuzz.h"
#include "quick_driver.h"
#include "transport/irda_link.h"

namespace {

using namespace nelto;
using test::Input;
using test::Quick;
using test::Require;

constexpr std::array<std::size_t, 6> kCapacities = {0, 3, 4, 12, 256, 4096};
std::array<std::uint8_t, 4096> storage;

class PiecePeer final : public test::Peer {
public:
    explicit PiecePeer(Input& input) : input_(input) {}
    void Take(test::ByteSpan bytes) override {
        Require(bytes.size() == 1);
        sent_size_ = 0;
    }
    [[nodiscard]] std::size_t Waiting() const override { return left_.size(); }
    /// What was given since the last request.
    [[nodiscard]] test::ByteSpan Sent() const { return test::ByteSpan(sent_).first(sent_size_); }
    std::size_t Give(std::span<std::uint8_t> room) override {
        if (left_.empty()) left_ = input_.Take(input_.Byte());
        const std::size_t size = std::min(left_.size(), room.size());
        std::copy_n(left_.begin(), size, room.begin());
        std::copy_n(left_.begin(), size, sent_.begin() + static_cast<std::ptrdiff_t>(sent_size_));
        sent_size_ += size;
        left_ = left_.subspan(size);
        return size;
    }

private:
    Input& input_;
    test::ByteSpan left_;
    std::array<std::uint8_t, 4096 + 255> sent_;
    std::size_t sent_size_ = 0;
};

bool IsAccepted(std::string_view name) { return name == "NELTO T780" || name == "NELTO T785"; }

std::unique_ptr<IrdaLink> TryOpening(test::ByteSpan devices) {
    Quick().irda_devices  = devices;
    IrdaOpenResult result = kIrdaOpenOk;
    auto link             = IrdaLink::Open(nullptr, result);
    Require(result <= kIrdaConnectFailed && (link != nullptr) == (result == kIrdaOpenOk));
    const std::string_view service = Quick().irda_service.data();  // longer than any name, so it ends
    Require(result == kIrdaOpenOk || result == kIrdaConnectFailed ? IsAccepted(service) : service.empty());
    return link;
}

void TryReply(IrdaLink& link, const PiecePeer& peer, std::uint8_t choice) {
    const auto reply                               = std::span(storage).last(kCapacities[choice % kCapacities.size()]);
    constexpr std::array<std::uint8_t, 1> kRequest = {0x9C};
    std::size_t received                           = 1;
    if (link.Transceive(kRequest, reply, received, 0) != LinkStatus::kOk) return Require(received == 0);
    Require(received >= 4 && received <= reply.size() && received == reply[2] + 256u * reply[3]);
    Require(std::ranges::equal(reply.first(received), peer.Sent()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    // From the short write on to the log; of the ports' own failures none matters here.
    const std::uint32_t failures = input.Take<std::uint16_t>() & (2u * test::kFailIrdaLog - test::kFailShortWrite);
    PiecePeer peer(input);
    test::ResetQuick(&peer, failures);
    if (input.Byte() % 2 == 0) {
        const auto link = TryOpening(rigs::OneIrdaAnalyser());
        for (int round = 0; link != nullptr && round < 2; ++round) TryReply(*link, peer, input.Byte());
    } else {
        TryOpening(input.Take(2048));
    }
    Require(Quick().sockets == 0 && Quick().winsock == 0);
    return 0;
}
