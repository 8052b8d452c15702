#include "quick_platform.h"

#include "platform/clock.h"
#include "platform/dynamic_library.h"
#include "platform/event.h"
#include "platform/file_version.h"
#include "platform/files.h"
#include "platform/irda_socket.h"
#include "platform/lock.h"
#include "platform/output_port.h"
#include "platform/registry.h"
#include "platform/serial_port.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto::test {
namespace {

QuickWorld the_world;

d2xx::Status SetEventNotification(d2xx::Device, std::uint32_t, void* event) {
    Require(event != nullptr);
    return Quick().Fails(kFailNotify) ? 4 : d2xx::kOk;
}

d2xx::Status Write(d2xx::Device, void* bytes, std::uint32_t size, std::uint32_t* written) {
    Quick().peer->Take({static_cast<const std::uint8_t*>(bytes), size});
    *written = Quick().Fails(kFailShortWrite) ? size - 1 : size;
    return Quick().Fails(kFailWrite) ? 4 : d2xx::kOk;
}

d2xx::Status GetQueueStatus(d2xx::Device, std::uint32_t* queued) {
    *queued = static_cast<std::uint32_t>(Quick().queued);
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
    *device = &the_world;
    return Quick().Fails(kFailOpenPort) ? 4 : d2xx::kOk;
}
d2xx::Status Close(d2xx::Device) { return d2xx::kOk; }
d2xx::Status GetDeviceInfo(d2xx::Device, std::uint32_t*, std::uint32_t* id, char*, char*, void*) {
    *id = 0x3C2D0002;
    return d2xx::kOk;
}
d2xx::Status SetBaudRate(d2xx::Device, std::uint32_t) { return Quick().Fails(kFailSetState) ? 4 : d2xx::kOk; }

}  // namespace

QuickWorld& Quick() { return the_world; }

void ResetQuick(Peer* peer, std::uint32_t failures) {
    the_world          = QuickWorld();
    the_world.peer     = peer;
    the_world.failures = failures;
}

UsbLink QuickUsbLink() {
    UsbLink link;
    link.open      = true;
    link.device    = &the_world;
    link.functions = {.write                  = Write,
                      .set_event_notification = SetEventNotification,
                      .get_queue_status       = GetQueueStatus,
                      .read                   = Read};
    return link;
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

ByteSpan OneIrdaAnalyser() {
    static constexpr std::array<std::uint8_t, 33> kList = {1,   0,   0,   0,   1,   0,   0,   10,  'N',
                                                           'E', 'L', 'T', 'O', ' ', 'T', '7', '8', '5'};
    return kList;
}

}  // namespace nelto::test

namespace nelto::platform {

using test::Quick;
using test::Require;

// Clock and lock
std::uint32_t TickMilliseconds() { return Quick().now; }
// Where nothing comes before the next write, a long wait is over at once.
void SleepMilliseconds(std::uint32_t milliseconds) { Quick().now += Quick().idle ? 1000 : milliseconds; }
CalendarTime LocalTime() { return {.year = 2011, .month = 3, .day = 7, .hour = 14, .minute = 5, .second = 9}; }
void ShortLock::GiveWay() { std::abort(); }  // there is one thread only

// Files: what is appended are whole log lines
std::size_t TempDirectory(std::span<wchar_t> directory) { return CopyText(directory, Quick().temp_directory); }
void RemoveFile(const wchar_t* path) { Require(path[0] != L'\0'); }
std::uint32_t AppendToFile(const wchar_t*, std::string_view bytes) {
    Require(bytes.ends_with("\r\n"));
    return 0;
}
FileHandle OpenEmptiedFile(const wchar_t*) {
    return Quick().Fails(test::kFailIrdaLog) ? FileHandle::kNone : FileHandle{1};
}
bool WriteToFile(FileHandle file, std::string_view) {
    Require(file == FileHandle{1});
    return !Quick().Fails(test::kFailShortWrite);
}
void CloseFile(FileHandle file) { Require(file == FileHandle{1}); }

// Texts
void DebugOutput(const wchar_t* text) { Require(text != nullptr); }
std::string ToAnsi(std::wstring_view text) {
    std::string bytes(text.size(), '?');
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0x100) bytes[i] = static_cast<char>(text[i]);
    }
    return bytes;
}
std::size_t LoadText(std::uint32_t, std::span<wchar_t> text) { return CopyText(text, L"Bluetooth"); }
wchar_t DecimalSeparator() { return Quick().decimal_separator; }
void UserLocaleTag(std::span<wchar_t> tag) { CopyText(tag, L"de-DE"); }

// Registry
std::uint32_t RegReadDword(const wchar_t* name, std::uint32_t fallback) {
    for (const test::StoredNumber& stored : Quick().settings) {
        if (stored.name == name) return stored.number;
    }
    return fallback;
}
std::uint32_t RegWriteDword(const wchar_t* name, std::uint32_t number) {
    if (Quick().Fails(test::kFailRegistry)) return 1;
    for (test::StoredNumber& stored : Quick().settings) {
        if (stored.name == name) stored.number = number;
    }
    return 0;
}

// Serial port
SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error) {
    Quick().port_path = path;
    error             = Quick().Fails(test::kFailOpenPort) ? 2 : 0;
    if (error != 0) return SerialHandle::kNone;
    ++Quick().ports_open;
    return SerialHandle{1};
}
bool SetImmediateReads(SerialHandle) { return !Quick().Fails(test::kFailTimeouts); }
LineResult SetLine(SerialHandle, std::uint32_t) {
    if (Quick().Fails(test::kFailGetState)) return LineResult::kGetStateFailed;
    return Quick().Fails(test::kFailSetState) ? LineResult::kSetStateFailed : LineResult::kOk;
}
std::size_t WriteSerial(SerialHandle, std::span<const std::uint8_t> bytes) {
    Quick().idle = false;
    if (Quick().peer != nullptr) Quick().peer->Take(bytes);
    return Quick().Fails(test::kFailShortWrite) ? 0 : bytes.size();
}
std::size_t ReadSerial(SerialHandle, std::span<std::uint8_t> bytes) {
    const std::size_t size = Quick().peer == nullptr ? 0 : Quick().peer->Give(bytes);
    Quick().idle           = size == 0;
    return size;
}
void CloseSerialPort(SerialHandle) { Require(Quick().ports_open-- != 0); }

OutputPort OpenOutputPort(const wchar_t* path) {
    std::uint32_t error = 0;
    return static_cast<OutputPort>(OpenSerialPort(path, error));
}
bool WriteOutput(OutputPort, std::string_view bytes, std::uint32_t) {
    Require(bytes.ends_with("\n\r"));
    return !Quick().Fails(test::kFailShortWrite);
}
void CloseOutputPort(OutputPort) { CloseSerialPort(SerialHandle{1}); }

// Infrared
bool StartIrdaSockets() {
    if (Quick().Fails(test::kFailWinsock)) return false;
    ++Quick().winsock;
    return true;
}
void EndIrdaSockets() { Require(Quick().winsock-- != 0); }
IrdaSocket OpenIrdaSocket() {
    if (Quick().winsock == 0 || Quick().Fails(test::kFailSocket)) return IrdaSocket::kNone;
    Require(Quick().sockets++ == 0);
    return IrdaSocket{7};
}
bool SetBlocking(IrdaSocket) { return !Quick().Fails(test::kFailBlocking); }
bool ListIrdaDevices(IrdaSocket, std::span<std::uint8_t> list) {
    const test::ByteSpan devices = Quick().irda_devices;
    std::copy_n(devices.begin(), std::min(devices.size(), list.size()), list.begin());
    return !Quick().Fails(test::kFailListing);
}
bool ConnectIrda(IrdaSocket, const IrdaDeviceId&, const IrdaName& service) {
    std::ranges::copy(service, Quick().irda_service.begin());
    return !Quick().Fails(test::kFailConnect);
}
std::ptrdiff_t SendIrda(IrdaSocket, std::span<const std::uint8_t> bytes) {
    if (Quick().Fails(test::kFailSend)) return -1;
    Quick().peer->Take(bytes);
    return std::ssize(bytes) - (Quick().Fails(test::kFailShortWrite) ? 1 : 0);
}
std::ptrdiff_t ReceiveIrda(IrdaSocket, std::span<std::uint8_t> bytes) {
    const std::size_t count = Quick().peer->Give(bytes);
    return count == 0 && Quick().Fails(test::kFailReceive) ? -1 : static_cast<std::ptrdiff_t>(count);
}
std::size_t QueuedIrda(IrdaSocket) { return Quick().peer->Waiting(); }
std::uint32_t IrdaError() { return 10047; }
void CloseIrdaSocket(IrdaSocket) { Require(Quick().sockets-- != 0); }

// Libraries
LibraryHandle LoadLibraryByName(const wchar_t* name) {
    if (Quick().has_library == nullptr || !Quick().has_library(name)) return LibraryHandle::kNone;
    ++Quick().libraries;
    return LibraryHandle{1};
}
LibraryHandle LoadLibraryToStay(const wchar_t* name) {
    const bool is_there = Quick().has_library != nullptr && Quick().has_library(name);
    return is_there ? LibraryHandle{1} : LibraryHandle::kNone;
}
void* FindFunction(LibraryHandle library, const char* name) {
    Require(library == LibraryHandle{1});
    return Quick().find_function(name);
}
void UnloadLibrary(LibraryHandle) { Require(Quick().libraries-- != 0); }
bool SystemFileVersion(const wchar_t*, std::span<wchar_t> version) {
    if (Quick().driver_version != nullptr) CopyText(version, Quick().driver_version);
    return Quick().driver_version != nullptr;
}

// Events: the FTDI driver signals as long as it holds bytes
EventHandle CreateAutoResetEvent() {
    if (Quick().Fails(test::kFailEvent)) return EventHandle::kNone;
    ++Quick().events;
    return EventHandle{1};
}
bool WaitForEvent(EventHandle, std::uint32_t timeout_ms) {
    test::QuickWorld& world = Quick();
    if (world.queued == 0) world.queued = world.peer->Give(world.queue);
    if (world.queued == 0) world.now += timeout_ms;
    return world.queued != 0;
}
void* NativeHandle(EventHandle) { return &Quick(); }
void CloseEvent(EventHandle event) { Require(event == EventHandle::kNone || Quick().events-- != 0); }

}  // namespace nelto::platform
