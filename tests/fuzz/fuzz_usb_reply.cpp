// The assembly of a reply over USB, against a driver and an analyser that do what the input says: packets with a
// checksum that fits or raw bytes, in pieces of any size, with driver calls that fail.
//
// Input: request length, reply capacity (2 bytes), piece size, then one step for each write of the program:
//   0..0x7F       a packet: this many mod 100 payload bytes, before them index and count (one byte each)
//   0x80..0xBF    raw bytes: this many mod 64
//   0xC0..0xDF    a packet as above of 200 + this many mod 56 payload bytes, all the same
//   0xE0..0xEF    nothing comes
//   0xF0..0xFF    the driver call of this number mod 4 fails from now on
#include "fake_d2xx.h"
#include "fuzz.h"
#include "platform/memory/memory_event.h"
#include "transport/usb_link.h"

namespace {

using namespace nelto;
using test::Bytes;
using test::Require;

constexpr std::size_t kMostCalls     = 100000;  // far beyond what any input can cause
constexpr const char* kDriverCalls[] = {"FT_SetEventNotification", "FT_Write", "FT_GetQueueStatus", "FT_Read"};

class Analyser final : public platform::memory::SerialDevice {
public:
    Analyser(test::Input& input, test::FakeD2xx& driver) : input_(input), driver_(driver) {}

    std::size_t Write(std::span<const std::uint8_t> bytes) override {
        if (!input_.IsEmpty()) Step(input_.Byte());
        return bytes.size();
    }
    std::size_t Read(std::span<std::uint8_t> bytes) override {
        const std::size_t size = std::min(bytes.size(), coming_.size());
        std::copy_n(coming_.begin(), size, bytes.begin());
        coming_.erase(coming_.begin(), coming_.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }

private:
    void Step(std::uint8_t step) {
        if (step < 0x80) return SendPacket(0, step % 100);
        if (step < 0xC0) return Send(input_.Take(step % 64));
        if (step < 0xE0) return SendPacket(200u + step % 56, 0);
        if (step >= 0xF0) driver_.failures[kDriverCalls[step % 4]] = {.status = 4};
    }
    void Send(const Bytes& bytes) { coming_.insert(coming_.end(), bytes.begin(), bytes.end()); }
    void SendPacket(std::size_t repeated, std::size_t taken) {
        const std::uint8_t index = input_.Byte();
        const std::uint8_t count = input_.Byte();
        Send(test::Packet(index, count, repeated != 0 ? Bytes(repeated, 0x55) : input_.Take(taken)));
    }

    test::Input& input_;
    test::FakeD2xx& driver_;
    Bytes coming_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    GTEST_FLAG_SET(break_on_failure, true);  // the driver's own expectations
    test::Input input(data, size);
    platform::memory::ResetWorld();
    test::FakeD2xx driver;
    Analyser analyser(input, driver);
    driver.Attach(2, "1", &analyser);
    UsbLink* link = nullptr;
    Require(NeltoUSBOpen(2, 0, link) == kUsbOk);

    const Bytes request(input.Byte() * 4u, 0x42);
    // Of exactly this size, so that the sanitizer sees the first byte beyond it.
    const std::size_t capacity = input.Byte() + 256u * (input.Byte() % 17u);
    Bytes reply(capacity);
    driver.piece_size = 1u + input.Byte();
    for (int round = 0; round < 2; ++round) {  // the second begins with what the first left behind
        std::size_t length         = 0;
        const std::uint32_t result = NeltoUSBTransceive(link, request, reply, length, 1);
        Require(result <= kUsbReplyTooLong && length <= capacity);
        Require(result == kUsbOk || length == 0);
        Require(platform::memory::OpenEvents() == 0 && driver.calls.size() < kMostCalls);
    }
    static_cast<void>(NeltoUSBClose(link));
    Require(driver.AllReleased());
    return 0;
}
