// Serial reply assembly: whatever arrives, in whatever pieces, a message ends with one of the link's results and stays inside its
// buffers. Input: request size, reply capacity (2 bytes), then what StepPeer takes.
#include "peers.h"
#include "transport/serial_link.h"

namespace {

using namespace nelto;
using test::Require;

constexpr std::uint32_t kTimeout       = 50;
constexpr std::size_t kLargestCapacity = 4096;
std::array<std::uint8_t, kLargestCapacity> storage;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::Input input(data, size);
    static constexpr std::array<std::uint8_t, 510> kRequest{0x42};
    const auto request         = test::ByteSpan(kRequest).first(input.Byte() * 2u);
    const std::size_t capacity = input.Take<std::uint16_t>() % kLargestCapacity;
    const auto reply           = std::span(storage).last(capacity);  // the first byte too many is outside
    test::StepPeer peer(input);
    test::FreshWorld().serial_ports[L"COM5"].device = &peer;
    const auto link                                 = SerialLink::Open(5, nullptr);
    for (int round = 0; round < 2; ++round) {  // the second begins with what the first left behind
        std::size_t received     = 1;
        const std::size_t before = peer.writes;
        const LinkStatus status  = link->Transceive(request, reply, received, kTimeout);
        Require(status != LinkStatus::kNotOpen && status != LinkStatus::kStopped);
        Require(received <= capacity && (status == LinkStatus::kOk || received == 0));
        Require(peer.writes - before <= 5 + capacity + kMaxUselessBlocks + 1);
    }
    return 0;
}
