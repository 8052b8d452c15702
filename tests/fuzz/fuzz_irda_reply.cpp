// Hostile infrared: device lists and replies in pieces. The first byte chooses; a reply's capacity comes from the second and
// each of its pieces is one length byte and as many bytes, length 0 for an analyser that has gone.
#include <array>

#include "fuzz.h"
#include "platform/memory/memory_irda_socket.h"
#include "platform/memory/memory_platform.h"
#include "transport/irda_transport.h"

namespace {

using nelto::platform::memory::MakeIrdaDeviceList;
using nelto::platform::memory::ResetIrdaWorld;
using nelto::platform::memory::ResetWorld;
using nelto::platform::memory::TheIrdaWorld;

using nelto::test::Require;

constexpr std::array<std::size_t, 6> kCapacities = {0, 3, 4, 12, 256, 4096};

void TryDeviceList(std::span<const std::uint8_t> list) {
    TheIrdaWorld().device_list.assign(list.begin(), list.end());
    const std::uint32_t result = nelto::IrdaOpen();
    const bool is_accepted     = TheIrdaWorld().service == "NELTO T780" || TheIrdaWorld().service == "NELTO T785";
    Require(result == nelto::kIrdaOpenOk ? is_accepted : TheIrdaWorld().service.empty());
}

void AddPieces(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::size_t size = std::min<std::size_t>(bytes[0], bytes.size() - 1);
        TheIrdaWorld().pieces.emplace_back(std::in_place, bytes.begin() + 1,
                                           bytes.begin() + 1 + static_cast<std::ptrdiff_t>(size));
        bytes = bytes.subspan(1 + size);
    }
}

void TryReply(std::span<const std::uint8_t> bytes) {
    TheIrdaWorld().device_list = MakeIrdaDeviceList({"NELTO T785"});
    Require(nelto::IrdaOpen() == nelto::kIrdaOpenOk);
    if (bytes.empty()) return;
    // Of its own size, so that a byte too many is noticed.
    std::vector<std::uint8_t> reply(kCapacities[bytes[0] % kCapacities.size()]);
    AddPieces(bytes.subspan(1));
    constexpr std::array<std::uint8_t, 1> kRequest = {0x9C};
    std::size_t received                           = 1;
    const std::uint32_t result                     = nelto::IrdaTransceive(kRequest, reply, received);
    if (result != nelto::kIrdaOk) return Require(received == 0);
    Require(received >= 4 && received <= reply.size() && received == reply[2] + 256u * reply[3]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    ResetWorld();
    ResetIrdaWorld();
    const std::span<const std::uint8_t> rest = std::span(data, size).subspan(1);
    if (data[0] % 2 == 0) {
        TryReply(rest);
    } else {
        TryDeviceList(rest);
    }
    nelto::CloseIrda();
    Require(TheIrdaWorld().references == 0 && TheIrdaWorld().open_sockets == 0);
    return 0;
}
