// Serial reply assembly: whatever bytes arrive, in whatever pieces, a transceive ends with a stated result and stays inside
// its buffers. The input is a run of pieces, each a length byte and that many bytes; one look at the port takes one piece.
#include <array>

#include "fuzz.h"
#include "platform/memory/memory_platform.h"
#include "transport/serial_transport.h"

namespace {

using nelto::platform::memory::TheWorld;
using nelto::test::Require;

class PieceByPiece final : public nelto::platform::memory::SerialDevice {
public:
    explicit PieceByPiece(std::span<const std::uint8_t> input) : input_(input) {}

    std::size_t Write(std::span<const std::uint8_t> bytes) override {
        asked_ = true;
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t> bytes) override {
        if (!asked_) return 0;
        if (left_ == 0 && !input_.empty()) {
            left_  = input_[0];
            input_ = input_.subspan(1);
        }
        const std::size_t size = std::min({left_, bytes.size(), input_.size()});
        std::copy_n(input_.begin(), size, bytes.begin());
        input_ = input_.subspan(size);
        left_  = size == 0 ? 0 : left_ - size;
        return size;
    }

private:
    std::span<const std::uint8_t> input_;
    std::size_t left_ = 0;
    bool asked_       = false;
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace nelto;
    platform::memory::ResetWorld();
    PieceByPiece peer(std::span(data, size));
    TheWorld().serial_ports[L"COM5"].device = &peer;
    platform::SerialHandle port             = platform::SerialHandle::kNone;
    Require(SerialOpen(5, port) == kSerialOk);

    constexpr std::array<std::uint8_t, 1> kRequest = {0x42};
    std::array<std::uint8_t, 128> reply{};
    std::size_t received       = 0;
    const std::uint32_t before = platform::TickMilliseconds();
    const std::uint32_t result = SerialTransceive(port, kRequest, reply, received, 50);
    Require(result == kSerialOk || result == kSerialProtocolFault || result == kSerialReplyTooLong);
    Require(received <= reply.size() && (result == kSerialOk || received == 0));
    Require(platform::TickMilliseconds() - before <= (reply.size() + kMaxUselessBlocks + 2) * 60);
    return 0;
}
