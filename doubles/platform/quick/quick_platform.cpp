#include "platform/quick/quick_platform.h"

#include <algorithm>
#include <string>

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

namespace nelto::platform::quick {
namespace {

QuickWorld the_world;

}  // namespace

QuickWorld& Quick() { return the_world; }

void ResetQuick(Peer* peer, std::uint32_t failures) {
    the_world          = QuickWorld();
    the_world.peer     = peer;
    the_world.failures = failures;
}

}  // namespace nelto::platform::quick

namespace nelto::platform {

using quick::Quick;
using quick::Require;

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
    return Quick().Fails(quick::kFailIrdaLog) ? FileHandle::kNone : FileHandle{1};
}
bool WriteToFile(FileHandle file, std::string_view) {
    Require(file == FileHandle{1});
    return !Quick().Fails(quick::kFailShortWrite);
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
    for (const quick::StoredNumber& stored : Quick().settings) {
        if (stored.name == name) return stored.number;
    }
    return fallback;
}
std::uint32_t RegWriteDword(const wchar_t* name, std::uint32_t number) {
    if (Quick().Fails(quick::kFailRegistry)) return 1;
    for (quick::StoredNumber& stored : Quick().settings) {
        if (stored.name == name) stored.number = number;
    }
    return 0;
}

// Serial port
SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error) {
    Quick().port_path = path;
    error             = Quick().Fails(quick::kFailOpenPort) ? 2 : 0;
    if (error != 0) return SerialHandle::kNone;
    ++Quick().ports_open;
    return SerialHandle{1};
}
bool SetImmediateReads(SerialHandle) { return !Quick().Fails(quick::kFailTimeouts); }
LineResult SetLine(SerialHandle, std::uint32_t) {
    if (Quick().Fails(quick::kFailGetState)) return LineResult::kGetStateFailed;
    return Quick().Fails(quick::kFailSetState) ? LineResult::kSetStateFailed : LineResult::kOk;
}
std::size_t WriteSerial(SerialHandle, std::span<const std::uint8_t> bytes) {
    Quick().idle = false;
    if (Quick().peer != nullptr) Quick().peer->Take(bytes);
    return Quick().Fails(quick::kFailShortWrite) ? 0 : bytes.size();
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
bool WriteOutput(OutputPort, std::string_view bytes, std::uint32_t, const std::atomic<std::uint32_t>&) {
    Require(bytes.ends_with("\n\r"));
    return !Quick().Fails(quick::kFailShortWrite);
}
void CloseOutputPort(OutputPort) { CloseSerialPort(SerialHandle{1}); }

// Infrared
bool StartIrdaSockets() {
    if (Quick().Fails(quick::kFailWinsock)) return false;
    ++Quick().winsock;
    return true;
}
void EndIrdaSockets() { Require(Quick().winsock-- != 0); }
IrdaSocket OpenIrdaSocket() {
    if (Quick().winsock == 0 || Quick().Fails(quick::kFailSocket)) return IrdaSocket::kNone;
    Require(Quick().sockets++ == 0);
    return IrdaSocket{7};
}
bool SetBlocking(IrdaSocket) { return !Quick().Fails(quick::kFailBlocking); }
bool ListIrdaDevices(IrdaSocket, std::span<std::uint8_t> list) {
    const quick::ByteSpan devices = Quick().irda_devices;
    std::copy_n(devices.begin(), std::min(devices.size(), list.size()), list.begin());
    return !Quick().Fails(quick::kFailListing);
}
bool ConnectIrda(IrdaSocket, const IrdaDeviceId&, const IrdaName& service) {
    std::ranges::copy(service, Quick().irda_service.begin());
    return !Quick().Fails(quick::kFailConnect);
}
std::ptrdiff_t SendIrda(IrdaSocket, std::span<const std::uint8_t> bytes) {
    if (Quick().Fails(quick::kFailSend)) return -1;
    Quick().peer->Take(bytes);
    return std::ssize(bytes) - (Quick().Fails(quick::kFailShortWrite) ? 1 : 0);
}
std::ptrdiff_t ReceiveIrda(IrdaSocket, std::span<std::uint8_t> bytes) {
    const std::size_t count = Quick().peer->Give(bytes);
    return count == 0 && Quick().Fails(quick::kFailReceive) ? -1 : static_cast<std::ptrdiff_t>(count);
}
bool WaitForIrda(IrdaSocket, std::uint32_t) { return true; }
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
    if (Quick().Fails(quick::kFailEvent)) return EventHandle::kNone;
    ++Quick().events;
    return EventHandle{1};
}
bool WaitForEvent(EventHandle, std::uint32_t timeout_ms) {
    quick::QuickWorld& world = Quick();
    if (world.queued == 0) world.queued = world.peer->Give(world.queue);
    if (world.queued == 0) world.now += timeout_ms;
    return world.queued != 0;
}
void* NativeHandle(EventHandle) { return &Quick(); }
void CloseEvent(EventHandle event) { Require(event == EventHandle::kNone || Quick().events-- != 0); }

}  // namespace nelto::platform
