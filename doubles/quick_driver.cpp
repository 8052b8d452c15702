#include "quick_driver.h"

#include <algorithm>

namespace nelto::rigs {
namespace {

using namespace platform::quick;

d2xx::Status SetEventNotification(d2xx::Device, std::uint32_t, void* event) {
    Require(event != nullptr);
    return Quick().Fails(kFailNotify) ? 4 : d2xx::kOk;
}

d2xx::Status Write(d2xx::Device, void* bytes, std::uint32_t size, std::uint32_t* written) {
    Quick().idle = false;
    Quick().peer->Take({static_cast<const std::uint8_t*>(bytes), size});
    *written = Quick().Fails(kFailShortWrite) ? size - 1 : size;
    return Quick().Fails(kFailWrite) ? 4 : d2xx::kOk;
}

d2xx::Status GetQueueStatus(d2xx::Device, std::uint32_t* queued) {
    *queued      = static_cast<std::uint32_t>(Quick().queued);
    Quick().idle = *queued == 0;
    return Quick().Fails(kFailQueue) ? 4 : d2xx::kOk;
}

d2xx::Status Read(d2xx::Device, void* bytes, std::uint32_t size, std::uint32_t* read) {
    QuickWorld& world = Quick();
    Require(size <= world.queued);
    const auto rest = world.queue.begin() + size;
    std::copy(world.queue.begin(), rest, static_cast<std::uint8_t*>(bytes));
    std::copy(rest, world.queue.begin() + static_cast<std::ptrdiff_t>(world.queued), world.queue.begin());
    world.queued -= size;
    *read = world.Fails(kFailShortRead) ? size - 1 : size;
    return world.Fails(kFailRead) ? 4 : d2xx::kOk;
}

d2xx::Status ListDevices(void* first, void* second, std::uint32_t flags) {
    if (flags == d2xx::kListNumberOnly) *static_cast<std::uint32_t*>(first) = 1;
    if (flags != d2xx::kListNumberOnly) *static_cast<char*>(second) = '\0';
    return d2xx::kOk;
}
d2xx::Status OpenEx(void*, std::uint32_t, d2xx::Device* device) {
    *device = &Quick();
    return Quick().Fails(kFailOpenPort) ? 4 : d2xx::kOk;
}
d2xx::Status Close(d2xx::Device) { return d2xx::kOk; }
d2xx::Status GetDeviceInfo(d2xx::Device, std::uint32_t*, std::uint32_t* id, char*, char*, void*) {
    *id = 0x3C2D0002;
    return d2xx::kOk;
}
d2xx::Status SetBaudRate(d2xx::Device, std::uint32_t) { return Quick().Fails(kFailSetState) ? 4 : d2xx::kOk; }

}  // namespace

UsbPort* OpenQuickUsbPort() {
    Quick().find_function = FindDriverFunction;
    ++Quick().libraries;
    auto* const port = new UsbPort;
    port->open       = true;
    port->library    = platform::LibraryHandle{1};
    port->device     = &Quick();
    port->functions  = {.write                  = Write,
                        .set_event_notification = SetEventNotification,
                        .get_queue_status       = GetQueueStatus,
                        .read                   = Read};
    return port;
}

void* FindDriverFunction(std::string_view name) {
    struct Row {
        std::string_view name;
        void* address;
    };
    static const std::array kRows = {
        Row{"FT_Write", reinterpret_cast<void*>(Write)},
        Row{"FT_SetEventNotification", reinterpret_cast<void*>(SetEventNotification)},
        Row{"FT_GetQueueStatus", reinterpret_cast<void*>(GetQueueStatus)},
        Row{"FT_Read", reinterpret_cast<void*>(Read)},
        Row{"FT_ListDevices", reinterpret_cast<void*>(ListDevices)},
        Row{"FT_OpenEx", reinterpret_cast<void*>(OpenEx)},
        Row{"FT_Close", reinterpret_cast<void*>(Close)},
        Row{"FT_EE_Read", reinterpret_cast<void*>(Close)},  // never called: the driver is of version 3
        Row{"FT_GetDeviceInfo", reinterpret_cast<void*>(GetDeviceInfo)},
        Row{"FT_SetBaudRate", reinterpret_cast<void*>(SetBaudRate)},
    };
    const auto row = std::ranges::find(kRows, name, &Row::name);
    return row == kRows.end() ? nullptr : row->address;
}

platform::quick::ByteSpan OneIrdaAnalyser() {
    static constexpr std::array<std::uint8_t, 33> kList = {1,   0,   0,   0,   1,   0,   0,   10,  'N',
                                                           'E', 'L', 'T', 'O', ' ', 'T', '7', '8', '5'};
    return kList;
}

}  // namespace nelto::rigs
