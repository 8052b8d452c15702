// The assembly of a reply over USB, against a driver and an analyser that do what the input says: packets with a
// checksum that fits or raw bytes, in pieces of any size, with driver calls that fail.
//
// Input: request length, reply capacity (2 bytes), piece size, then one step for each write of the program:
//   0..0x7F       a packet: this many mod 100 payload bytes, before them index and count (one byte each)
//   0x80..0xBF    raw bytes: this many mod 64
//   0xC0..0xDF    a packet as above of 200 + this many mod 56 payload bytes, all the same
//   0xE0..0xEF    nothing comes
//   0xF0..0xFF    the driver call of this number mod 4 fails from now on
#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <span>
#include <vector>

#include "platform/memory/memory_event.h"
#include "platform/memory/memory_platform.h"
#include "transport/usb_link.h"

namespace {

using nelto::d2xx::Device;
using nelto::d2xx::Status;

constexpr std::uint32_t kTimeout = 1;
constexpr std::size_t kMostCalls = 100000;  // far beyond what any input can cause
constexpr Status kFailed         = 4;

void Expect(bool condition) {
    if (!condition) std::abort();
}

class Input {
public:
    explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
    [[nodiscard]] bool IsEmpty() const { return bytes_.empty(); }
    std::uint8_t Byte() {
        if (bytes_.empty()) return 0;
        const std::uint8_t byte = bytes_.front();
        bytes_                  = bytes_.subspan(1);
        return byte;
    }
    std::vector<std::uint8_t> Take(std::size_t count) {
        std::vector<std::uint8_t> taken;
        for (std::size_t i = 0; i < count && !IsEmpty(); ++i) taken.push_back(Byte());
        return taken;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

/// The driver and what is behind it.
struct Driver {
    Input input;
    std::size_t piece_size = 1;
    std::array<bool, 4> fails{};  // event, write, queue, read
    void* event       = nullptr;
    std::size_t calls = 0;
    std::deque<std::uint8_t> coming;
    std::size_t queued = 0;  // of what is coming

    void Signal() {
        queued = std::min(piece_size, coming.size());
        if (queued != 0) nelto::platform::memory::SignalEvent(event);
    }
    void Send(std::span<const std::uint8_t> bytes) { coming.insert(coming.end(), bytes.begin(), bytes.end()); }
    void SendPacket(std::size_t repeated, std::size_t taken) {
        const auto index = static_cast<std::uint16_t>(input.Byte());
        const auto count = static_cast<std::uint16_t>(input.Byte());
        auto payload     = repeated != 0 ? std::vector<std::uint8_t>(repeated, 0x55) : input.Take(taken);
        std::array<std::uint8_t, nelto::kMaxBlockSize> frame{};
        const std::size_t size = nelto::BuildBlock(frame, nelto::kAnalyserStart, index, count, payload);
        Send(std::span(frame).first(size));
    }
    void Step() {
        const std::uint8_t step = input.Byte();
        if (step < 0x80) return SendPacket(0, step % 100);
        if (step < 0xC0) return Send(input.Take(step % 64));
        if (step < 0xE0) return SendPacket(200u + step % 56, 0);
        if (step >= 0xF0) fails[step % 4] = true;
    }
};

Driver* driver = nullptr;

Status Call(std::size_t function) {
    Expect(++driver->calls < kMostCalls);
    return driver->fails[function] ? kFailed : nelto::d2xx::kOk;
}

Status SetEventNotification(Device, std::uint32_t, void* event) {
    driver->event = event;
    return Call(0);
}

Status Write(Device, void*, std::uint32_t size, std::uint32_t* written) {
    *written = size;
    if (!driver->input.IsEmpty()) driver->Step();
    driver->Signal();
    return Call(1);
}

Status GetQueueStatus(Device, std::uint32_t* queued) {
    *queued = static_cast<std::uint32_t>(driver->queued);
    return Call(2);
}

Status Read(Device, void* bytes, std::uint32_t size, std::uint32_t* read) {
    Expect(size <= driver->queued);
    auto* room = static_cast<std::uint8_t*>(bytes);
    for (std::uint32_t i = 0; i < size; ++i) {
        room[i] = driver->coming.front();
        driver->coming.pop_front();
    }
    *read = size;
    driver->Signal();
    return Call(3);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Driver the_driver{.input = Input({data, size})};
    driver = &the_driver;
    nelto::platform::memory::ResetEvents();
    const std::vector<std::uint8_t> request(the_driver.input.Byte() * 4u, 0x42);
    // Of exactly this size, so that the sanitizer sees the first byte beyond it.
    const std::size_t capacity = the_driver.input.Byte() + 256u * (the_driver.input.Byte() % 17u);
    std::vector<std::uint8_t> reply(capacity);
    the_driver.piece_size = 1u + the_driver.input.Byte();

    nelto::UsbLink link{.open      = true,
                        .functions = {.write                  = Write,
                                      .set_event_notification = SetEventNotification,
                                      .get_queue_status       = GetQueueStatus,
                                      .read                   = Read}};
    for (int round = 0; round < 2; ++round) {  // the second begins with what the first left behind
        std::size_t length         = 0;
        const std::uint32_t result = nelto::NeltoUSBTransceive(&link, request, reply, length, kTimeout);
        Expect(result <= nelto::kUsbReplyTooLong);
        Expect(length <= capacity);
        Expect(result == nelto::kUsbOk || length == 0);
        Expect(nelto::platform::memory::OpenEvents() == 0);
    }
    return 0;
}
