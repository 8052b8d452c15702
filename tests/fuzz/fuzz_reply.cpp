// The assembly of a reply over USB and serial, and the devices that the driver lists. The first byte chooses: an odd one the devices,
// another one from 0x80 on a reply over serial.
//
// Reply:   request size, reply capacity (2 bytes), then what StepPeer takes.
// Devices: driver version, a text; then for each call of the driver one byte that fails it (0xF0 and above), and what it gives.
#include <optional>
#include <vector>

#include "NeltoUSB.h"
#include "fake_d2xx.h"
#include "peers.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_file_version.h"
#include "transport/serial_link.h"
#include "transport/usb_link.h"

namespace {

using namespace nelto;
using test::Input;
using test::Require;

constexpr const wchar_t* kName         = L"FTD2XX.DLL";
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

/// Anew, since one may not have been unloaded.
void InstallLibrary() {
    test::ResetLibraries();
    test::InstallLibrary(kName, {
                                    {"FT_ListDevices", reinterpret_cast<void*>(ListDevices)},
                                    {"FT_OpenEx", reinterpret_cast<void*>(OpenEx)},
                                    {"FT_Close", reinterpret_cast<void*>(Close)},
                                    {"FT_EE_Read", reinterpret_cast<void*>(ReadEeprom)},
                                    {"FT_GetDeviceInfo", reinterpret_cast<void*>(GetDeviceInfo)},
                                    {"FT_SetBaudRate", reinterpret_cast<void*>(SetBaudRate)},
                                });
}

/// What the steps 0xF0 and above of a StepPeer let fail; the others nothing.
void FailFrom(doubles::FakeD2xx& driver, test::StepPeer& peer, std::uint32_t failure) {
    using enum simulator::CallFaultKind;
    switch (failure) {
        case 0: peer.is_cut = true; return driver.Spoil(kShortWrite);
        case 9: return test::AlwaysFail(test::Call::kCreateEvent);
        case 10: return driver.Fail("FT_SetEventNotification");
        case 11: return driver.Fail("FT_GetQueueStatus");
        case 12: return driver.Fail("FT_Read");
        case 13: return driver.Spoil(kShortRead);
        case 14: return driver.Fail("FT_Write");
        default: return;
    }
}

void TryExport(test::ByteSpan request, std::span<std::uint8_t> reply) {
    NeltoUSBHandle port = nullptr;
    Require(NeltoUSBOpen(2, 0, &port) == kUsbOk);
    std::uint32_t size         = 1;
    const std::uint32_t result = NeltoUSBTransceive(port, request.data(), static_cast<std::uint32_t>(request.size()),
                                                    reply.data(), static_cast<std::uint32_t>(reply.size()), &size, 1);
    Require(result <= kUsbReplyTooLong && size <= reply.size() && (result == kUsbOk || size == 0));
    Require(NeltoUSBClose(port) <= kUsbDriverFailed);
}

void TryReply(Input& input, bool over_usb) {
    static constexpr std::array<std::uint8_t, 1020> kRequest{0x42};
    const auto request         = test::ByteSpan(kRequest).first(input.Byte() * 4u);
    const std::size_t capacity = input.Take<std::uint16_t>() % kLargestCapacity;
    const auto reply           = std::span(storage).last(capacity);  // the first byte too many is outside
    test::FreshWorld();
    test::HideFunctions(nullptr);
    test::StepPeer peer(input);
    std::optional<doubles::FakeD2xx> driver;
    if (over_usb) driver.emplace().Attach(2, "1", &peer);
    if (over_usb) peer.on_failure = [&](std::uint32_t failure) { FailFrom(*driver, peer, failure); };
    test::TheWorld().serial_ports[L"COM5"].device = &peer;
    if (over_usb) TryExport(request, reply);
    const std::unique_ptr<Link> link =
        over_usb ? std::unique_ptr<Link>(UsbLink::Open(2, nullptr)) : SerialLink::Open(5, nullptr);
    Require(link != nullptr);
    for (int round = 0; round < 2; ++round) {  // the second begins with what the first has left behind
        std::size_t length       = 1;
        const std::size_t before = peer.writes;
        const LinkStatus status  = link->Transceive(request, reply, length, over_usb ? 1 : 50);
        Require(status != LinkStatus::kNotOpen && status != LinkStatus::kStopped);
        Require(length <= capacity && (status == LinkStatus::kOk || length == 0));
        Require(test::OpenEvents() == 0 && peer.writes - before <= 12 + capacity + kMaxUselessBlocks);
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
    std::uint32_t count = 1;
    const std::uint32_t listed =
        NeltoUSBGetDevices(type, serials.data(), static_cast<std::uint32_t>(serials.size()), &count);
    Require(count <= serials.size() && (listed == kUsbOk || count == 0) && open_count == 0);
    // A library whose version cannot be read stays loaded, on purpose.
    Require(test::TimesLoaded(kName) == 0 || !has_version);

    NeltoUSBHandle link        = nullptr;
    const std::uint32_t opened = NeltoUSBOpen(type, input.Byte() % 2u, &link);
    Require(opened <= kUsbReplyTooLong && (opened == kUsbOk) == (link != nullptr) && open_count == (link != nullptr));
    if (link != nullptr) Require(NeltoUSBClose(link) <= kUsbDriverFailed);
    Require(test::TimesLoaded(kName) == 0 || !has_version);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::uint8_t choice = input.Byte();
    if (choice % 2 == 0) {
        TryReply(input, choice < 0x80);
    } else {
        TryDevices(input, choice);
    }
    return 0;
}
