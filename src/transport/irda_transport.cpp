#include "transport/irda_transport.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/files.h"
#include "platform/irda_socket.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

using platform::IrdaDeviceId;
using platform::IrdaName;

constexpr const wchar_t* kLogPath = L"C:\\IRDALOG.TXT";

constexpr std::size_t kDeviceListSize  = 2048;
constexpr std::size_t kDeviceCountSize = 4;
constexpr std::size_t kDeviceInfoSize  = 29;
constexpr std::size_t kMostDevices     = (kDeviceListSize - kDeviceCountSize) / kDeviceInfoSize;

constexpr std::size_t kLengthOffset    = 2;
constexpr std::size_t kHeaderSize      = 4;
constexpr std::size_t kTraceBytesALine = 16;

constexpr std::size_t kRestReadSize = 512;
constexpr int kMostRestReads        = 256;  // a device that never stops sending is left to the exchange's own end

// Compared with the NUL that ends them: a longer name is another device.
constexpr std::size_t kAcceptedNameSize = 11;
using AcceptedName                      = std::array<char, kAcceptedNameSize>;

constexpr std::array kAcceptedNames = {AcceptedName{"NELTO T780"}, AcceptedName{"NELTO T785"}};

struct IrdaLink {
    platform::FileHandle log    = platform::FileHandle::kNone;
    bool has_winsock            = false;
    platform::IrdaSocket socket = platform::IrdaSocket::kNone;
    bool rest_possible          = false;  // the last reply had another length than it said
};

constinit IrdaLink the_link;

struct Device {
    IrdaDeviceId id{};
    IrdaName name{};
};

using DeviceList = std::array<std::uint8_t, kDeviceListSize>;

/// Writes to the log with CR LF for every line feed; without an open log to nowhere.
void Log(std::string_view text) {
    if (the_link.log == platform::FileHandle::kNone) return;
    std::string bytes;
    for (const char character : text) {
        if (character == '\n') bytes += '\r';
        bytes += character;
    }
    platform::WriteToFile(the_link.log, bytes);
}

void DebugNumber(platform::TextFormat<std::uint32_t> format, std::uint32_t number) {
    std::array<wchar_t, 64> text{};
    platform::FormatText(text, format, number);
    platform::DebugOutput(text.data());
}

std::uint32_t OpenError(std::uint32_t result) {
    Log("Error " + std::to_string(result) + "\n");
    return result;
}

std::uint32_t NoDevice() {
    Log("Error 4: no IrDA device in range\n");
    platform::DebugOutput(L"ZIVNELTO780: no IrDA device in range");
    return kIrdaNoDevice;
}

std::uint32_t ConnectFailed(std::uint32_t error) {
    DebugNumber(L"Error connect %u", 1);
    platform::DebugOutput(L"connect failed");
    DebugNumber(L"Error %u", error);
    Log("Error 6: connect failed " + std::to_string(error) + "\n");
    return kIrdaConnectFailed;
}

std::size_t DeviceCount(const DeviceList& list) {
    std::uint32_t count = 0;
    for (std::size_t i = kDeviceCountSize; i-- > 0;) count = (count << 8) | list[i];
    return std::min<std::size_t>(count, kMostDevices);
}

Device DeviceAt(const DeviceList& list, std::size_t index) {
    const auto entry = std::span(list).subspan(kDeviceCountSize + index * kDeviceInfoSize, kDeviceInfoSize);
    Device device;
    std::ranges::copy(entry.first(device.id.size()), device.id.begin());
    std::ranges::copy(entry.subspan(device.id.size(), device.name.size()), device.name.begin());
    return device;
}

bool IsAccepted(const IrdaName& name) {
    return std::ranges::any_of(kAcceptedNames, [&name](const AcceptedName& accepted) {
        return std::ranges::equal(std::span(name).first<kAcceptedNameSize>(), accepted);
    });
}

/// Walks the list device by device, so that the nearest to its front wins, whatever its name; each one seen is logged.
std::optional<Device> FirstAccepted(const DeviceList& list) {
    for (std::size_t index = 0; index < DeviceCount(list); ++index) {
        const Device device = DeviceAt(list, index);
        Log("Device name " + std::string(device.name.begin(), std::ranges::find(device.name, '\0')) + "\n");
        if (IsAccepted(device.name)) return device;
    }
    return std::nullopt;
}

/// Writes "SEND 5 Bytes" or "RECEIVE 5 Bytes" and the bytes as hex.
void Trace(std::string_view direction, std::span<const std::uint8_t> bytes) {
    if (the_link.log == platform::FileHandle::kNone) return;
    constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    std::string text                      = std::string(direction) + " " + std::to_string(bytes.size()) + " Bytes\n";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text += {kHexDigits[bytes[i] >> 4], kHexDigits[bytes[i] & 0x0F], ' '};
        if (i % kTraceBytesALine == kTraceBytesALine - 1) text += '\n';
    }
    Log(text + "\n");
}

std::uint32_t Fault(const wchar_t* message, std::uint32_t result) {
    platform::DebugOutput(message);
    return result;
}

/// Length that a reply says it has, or `unknown` before its header is in.
std::size_t ExpectedLength(std::span<const std::uint8_t> received, std::size_t unknown) {
    if (received.size() < kHeaderSize) return unknown;
    return received[kLengthOffset] | (std::size_t{received[kLengthOffset + 1]} << 8);
}

bool CanHold(std::span<const std::uint8_t> reply, std::size_t length) {
    return reply.size() >= std::max(length, kHeaderSize);
}

/// Throws away what is left of a reply of a wrong length, so that the next one begins with its own first byte.
void DropRest() {
    if (!std::exchange(the_link.rest_possible, false)) return;
    std::array<std::uint8_t, kRestReadSize> rest;
    for (int round = 0; round < kMostRestReads && platform::QueuedIrda(the_link.socket) != 0; ++round) {
        if (platform::ReceiveIrda(the_link.socket, rest) <= 0) return;
    }
}

/// Receives a reply into `reply`, at most all of it. On success `length` is what the reply says and what has arrived.
std::uint32_t ReceiveReply(std::span<std::uint8_t> reply, std::size_t& length) {
    std::size_t arrived  = 0;
    std::size_t expected = reply.size();
    bool is_first        = true;
    // A reply that says it is shorter than what has arrived cannot become whole.
    while (is_first || (arrived < expected && expected <= reply.size())) {
        const std::ptrdiff_t count = platform::ReceiveIrda(the_link.socket, reply.first(expected).subspan(arrived));
        if (count < 0) return Fault(L"2", kIrdaLinkFailed);
        if (count == 0) return kIrdaLinkFailed;  // the analyser is gone; nothing more will come
        arrived += static_cast<std::size_t>(count);
        expected = ExpectedLength(reply.first(arrived), reply.size());
        if (is_first && !CanHold(reply, expected)) return Fault(L"1", kIrdaBadReplyLength);
        is_first = false;
    }
    if (arrived != expected || expected < kHeaderSize) return Fault(L"3", kIrdaBadReplyLength);
    length = expected;
    return kIrdaOk;
}

}  // namespace

std::uint32_t IrdaOpen() {
    CloseIrda();
    the_link.log         = platform::OpenEmptiedFile(kLogPath);
    the_link.has_winsock = platform::StartIrdaSockets();
    the_link.socket      = platform::OpenIrdaSocket();
    if (the_link.socket == platform::IrdaSocket::kNone) return OpenError(kIrdaNoSocket);
    if (!platform::SetBlocking(the_link.socket)) return OpenError(kIrdaNotBlocking);

    DeviceList list{};
    if (!platform::ListIrdaDevices(the_link.socket, list)) return OpenError(kIrdaListingFailed);
    if (DeviceCount(list) == 0) return NoDevice();
    const std::optional<Device> device = FirstAccepted(list);
    if (!device) return kIrdaNoAcceptedName;

    // The analysers offer their one service under their own name.
    if (!platform::ConnectIrda(the_link.socket, device->id, device->name)) return ConnectFailed(platform::IrdaError());
    return kIrdaOpenOk;
}

std::uint32_t IrdaTransceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                             std::size_t& received) {
    received = 0;
    if (the_link.socket != platform::IrdaSocket::kNone) DropRest();
    Trace("SEND", request);
    if (the_link.socket == platform::IrdaSocket::kNone ||
        platform::SendIrda(the_link.socket, request) != std::ssize(request)) {
        return Fault(L"sending of data failed", kIrdaLinkFailed);
    }
    std::ranges::fill(reply, std::uint8_t{0});
    const std::uint32_t result = ReceiveReply(reply, received);
    the_link.rest_possible     = result == kIrdaBadReplyLength;
    if (result == kIrdaOk) Trace("RECEIVE", reply.first(received));
    return result;
}

void CloseIrda() {
    if (the_link.socket != platform::IrdaSocket::kNone) platform::CloseIrdaSocket(the_link.socket);
    if (the_link.has_winsock) platform::EndIrdaSockets();
    if (the_link.log != platform::FileHandle::kNone) platform::CloseFile(the_link.log);
    the_link = IrdaLink();
}

}  // namespace nelto
