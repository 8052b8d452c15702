// The assembly of a reply over USB, and the devices that the driver lists. The first byte chooses.
//
// Reply:   request size, reply capacity (2 bytes), then what StepPeer takes.
// Devices: driver version, a text; then for each call of the driver one byte that fails it (0xF0 and above), and what it gives.
#include <utility>
#include <vector>

#include "peers.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_file_version.h"
#include "transport/usb_link.h"

namespace {

using namespace nelto;
using test::Input;
using test::Require;

constexpr const wchar_t* kName         = L"FTD2XX.DLL";
constexpr d2xx::Status kFailed         = 4;
constexpr std::size_t kLargestCapacity = 4400;
std::array<std::uint8_t, kLargestCapacity> storage;

Input* calls           = nullptr;
std::size_t open_count = 0;

d2xx::Status NextStatus() {
    const std::uint8_t status = calls->Byte();
    return status < 0xF0 ? d2xx::kOk : status;
}
/// A text; the longest one fills the whole room of 256 characters without an end.
void GiveText(char* room) {
    const std::uint8_t size   = calls->Byte();
    const test::ByteSpan text = calls->Take(size);
    if (size == 255) std::memset(room, '7', 256);
    std::ranges::copy(text, room);
    if (size < 255) room[text.size()] = '\0';
}
d2xx::Status ListDevices(void* first, void* second, std::uint32_t flags) {
    const d2xx::Status status = NextStatus();
    if (flags == d2xx::kListNumberOnly) *static_cast<std::uint32_t*>(first) = calls->Byte() % 16u;
    if (flags != d2xx::kListNumberOnly) GiveText(static_cast<char*>(second));
    return status;
}
d2xx::Status OpenEx(void* serial, std::uint32_t, d2xx::Device* device) {
    Require(std::memchr(serial, 0, 256) != nullptr);
    const d2xx::Status status = NextStatus();
    if (status == d2xx::kOk) ++open_count;
    *device = &storage;
    return status;
}
d2xx::Status Close(d2xx::Device device) {
    if (calls == nullptr) return d2xx::kOk;  // of a reply
    Require(device == &storage && open_count-- != 0);
    return NextStatus();
}
d2xx::Status ReadEeprom(d2xx::Device, d2xx::EarlyProgramData* data) {
    data->vendor_id  = static_cast<std::uint16_t>(calls->Byte() < 0x80 ? 0x3C2D : 0);
    data->product_id = calls->Byte();
    for (char* text : {data->manufacturer, data->manufacturer_id, data->description, data->serial_number})
        GiveText(text);
    return NextStatus();
}
d2xx::Status GetDeviceInfo(d2xx::Device, std::uint32_t*, std::uint32_t* id, char* serial, char* description, void*) {
    *id = calls->Byte() < 0x80 ? 0x3C2D0000u : 0u;
    *id |= calls->Byte();
    GiveText(serial);
    GiveText(description);
    return NextStatus();
}
d2xx::Status SetBaudRate(d2xx::Device, std::uint32_t rate) {
    Require(rate == 57600 || rate == 921600);
    return NextStatus();
}

/// What the steps of a StepPeer let fail, as bits.
enum Failure : std::uint32_t {
    kFailShortWrite = 1U << 0,
    kFailEvent      = 1U << 9,
    kFailNotify     = 1U << 10,
    kFailQueue      = 1U << 11,
    kFailRead       = 1U << 12,
    kFailShortRead  = 1U << 13,
    kFailWrite      = 1U << 14,
};

/// An open device; it signals as long as it holds bytes.
struct OpenDevice {
    test::StepPeer& peer;
    std::array<std::uint8_t, 600> queue{};
    std::size_t queued = 0;
    void* event        = nullptr;

    d2xx::Status StatusFor(Failure failure) const { return (peer.failures & failure) != 0 ? kFailed : d2xx::kOk; }
    void Deliver() {
        if (queued == 0) queued = peer.Read(queue);
        if (queued != 0) test::SignalEvent(event);
    }
};

OpenDevice& The(d2xx::Device device) { return *static_cast<OpenDevice*>(device); }

d2xx::Status SetEventNotification(d2xx::Device device, std::uint32_t, void* event) {
    The(device).event = event;
    return The(device).StatusFor(kFailNotify);
}
d2xx::Status Write(d2xx::Device device, void* bytes, std::uint32_t size, std::uint32_t* written) {
    test::StepPeer& peer = The(device).peer;
    peer.Write({static_cast<const std::uint8_t*>(bytes), size});
    if ((peer.failures & kFailEvent) != 0) AlwaysFail(test::Call::kCreateEvent);
    *written = (peer.failures & kFailShortWrite) != 0 ? size - 1 : size;
    The(device).Deliver();
    return The(device).StatusFor(kFailWrite);
}
d2xx::Status GetQueueStatus(d2xx::Device device, std::uint32_t* queued) {
    *queued = static_cast<std::uint32_t>(The(device).queued);
    return The(device).StatusFor(kFailQueue);
}
d2xx::Status Read(d2xx::Device device, void* bytes, std::uint32_t size, std::uint32_t* read) {
    OpenDevice& of = The(device);
    Require(size <= of.queued);
    const auto rest = of.queue.begin() + size;
    std::copy(of.queue.begin(), rest, static_cast<std::uint8_t*>(bytes));
    std::copy(rest, of.queue.begin() + static_cast<std::ptrdiff_t>(of.queued), of.queue.begin());
    of.queued -= size;
    *read = (of.peer.failures & kFailShortRead) != 0 ? size - 1 : size;
    return of.StatusFor(kFailRead);
}

/// Anew where one could not be unloaded.
void InstallLibrary() {
    static bool is_there = false;
    if (std::exchange(is_there, true) && test::TimesLoaded(kName) == 0) return;
    test::ResetLibraries();
    test::InstallLibrary(kName, {
                                    {"FT_ListDevices", reinterpret_cast<void*>(ListDevices)},
                                    {"FT_OpenEx", reinterpret_cast<void*>(OpenEx)},
                                    {"FT_Close", reinterpret_cast<void*>(Close)},
                                    {"FT_EE_Read", reinterpret_cast<void*>(ReadEeprom)},
                                    {"FT_GetDeviceInfo", reinterpret_cast<void*>(GetDeviceInfo)},
                                    {"FT_SetBaudRate", reinterpret_cast<void*>(SetBaudRate)},
                                    {"FT_Write", reinterpret_cast<void*>(Write)},
                                    {"FT_SetEventNotification", reinterpret_cast<void*>(SetEventNotification)},
                                    {"FT_GetQueueStatus", reinterpret_cast<void*>(GetQueueStatus)},
                                    {"FT_Read", reinterpret_cast<void*>(Read)},
                                });
}

void TryReply(Input& input) {
    static constexpr std::array<std::uint8_t, 1020> kRequest{0x42};
    const auto request         = test::ByteSpan(kRequest).first(input.Byte() * 4u);
    const std::size_t capacity = input.Take<std::uint16_t>() % kLargestCapacity;
    const auto reply           = std::span(storage).last(capacity);  // the first byte too many is outside
    test::StepPeer peer(input);
    OpenDevice device{.peer = peer};
    calls = nullptr;
    InstallLibrary();
    test::HideFunctions(nullptr);
    test::FreshWorld().on_wait = [&device] { device.Deliver(); };
    auto* const port           = new UsbPort;
    port->open                 = true;
    port->library              = platform::LoadLibraryByName(kName);
    port->device               = &device;
    port->functions            = {.write                  = Write,
                                  .set_event_notification = SetEventNotification,
                                  .get_queue_status       = GetQueueStatus,
                                  .read                   = Read};
    UsbLink link(port, nullptr);
    std::size_t length = 1;
    // Each begins with what the one before has left behind.
    const std::uint32_t result = NeltoUSBTransceive(port, request, reply, length, 1);
    Require(result <= kUsbReplyTooLong && length <= capacity && (result == kUsbOk || length == 0));
    for (int round = 0; round < 2; ++round) {
        const LinkStatus status = link.Transceive(request, reply, length, 1);
        Require(status != LinkStatus::kNotOpen && status != LinkStatus::kStopped);
        Require(length <= capacity && (status == LinkStatus::kOk || length == 0));
        Require(test::OpenEvents() == 0 && port->open);
    }
}

void TryDevices(Input& input, std::uint8_t choice) {
    test::FreshWorld();
    const std::wstring version = input.Text();
    const bool has_version     = (choice & 2) == 0;
    test::ResetSystemFileVersions();
    if (has_version) test::SetSystemFileVersion(kName, version);
    InstallLibrary();
    test::HideFunctions([](std::string_view) { return calls->Byte() >= 0xF0; });
    calls      = &input;
    open_count = 0;

    const std::uint32_t type = input.Byte() % 17u;
    std::vector<std::uint32_t> serials(input.Byte() % 4u);
    std::uint32_t count        = 1;
    const std::uint32_t listed = NeltoUSBGetDevices(type, serials, count);
    Require(count <= serials.size() && (listed == kUsbOk || count == 0) && open_count == 0);
    // A library whose version cannot be read stays loaded, on purpose.
    Require(test::TimesLoaded(kName) == 0 || !has_version);

    UsbPort* link              = nullptr;
    const std::uint32_t opened = NeltoUSBOpen(type, input.Byte() % 2u, link);
    Require(opened <= kUsbReplyTooLong && (opened == kUsbOk) == (link != nullptr) && open_count == (link != nullptr));
    if (link != nullptr) Require(NeltoUSBClose(link) <= kUsbDriverFailed);
    Require(test::TimesLoaded(kName) == 0 || !has_version);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::uint8_t choice = input.Byte();
    if (choice % 2 == 0) {
        TryReply(input);
    } else {
        TryDevices(input, choice);
    }
    return 0;
}
