#include "transport/irda_link.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

using platform::IrdaDeviceId;
using platform::IrdaName;

constexpr std::size_t kDeviceListSize  = 2048;
constexpr std::size_t kDeviceCountSize = 4;
constexpr std::size_t kDeviceInfoSize  = 29;
constexpr std::size_t kMostDevices     = (kDeviceListSize - kDeviceCountSize) / kDeviceInfoSize;

constexpr std::size_t kLengthOffset = 2;
constexpr std::size_t kHeaderSize   = 4;

constexpr std::size_t kRestReadSize = 512;
constexpr int kMostRestReads        = 256;  // a device that never stops sending is left to the exchange's own end

constexpr std::uint32_t kLook         = 100;   // milliseconds between two looks at the stop
constexpr std::uint32_t kStopPatience = 1400;  // milliseconds without a byte that a reply is waited for after a stop
constexpr std::uint32_t kMostPatience = 3000;  // and in all

// Compared with the NUL that ends them: a longer name is another device.
constexpr std::size_t kAcceptedNameSize = 11;
using AcceptedName                      = std::array<char, kAcceptedNameSize>;

constexpr std::array kAcceptedNames = {AcceptedName{"NELTO T780"}, AcceptedName{"NELTO T785"}};

struct Device {
    IrdaDeviceId id{};
    IrdaName name{};
};

using DeviceList = std::array<std::uint8_t, kDeviceListSize>;

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
std::optional<Device> FirstAccepted(const DeviceList& list, const IrdaLog& log) {
    for (std::size_t index = 0; index < DeviceCount(list); ++index) {
        const Device device = DeviceAt(list, index);
        log.Write("Device name " + std::string(device.name.begin(), std::ranges::find(device.name, '\0')) + "\n");
        if (IsAccepted(device.name)) return device;
    }
    return std::nullopt;
}

LinkStatus Fault(const wchar_t* message, LinkStatus status) {
    platform::DebugOutput(message);
    return status;
}

IrdaOpenResult OpenError(const IrdaLog& log, IrdaOpenResult result) {
    log.Write("Error " + std::to_string(result) + "\n");
    return result;
}

IrdaOpenResult NoDevice(const IrdaLog& log) {
    log.Write("Error 4: no IrDA device in range\n");
    platform::DebugOutput(L"ZIVNELTO780: no IrDA device in range");
    return kIrdaNoDevice;
}

/// Length that a reply says it has, or `unknown` before its header is in.
std::size_t ExpectedLength(std::span<const std::uint8_t> received, std::size_t unknown) {
    if (received.size() < kHeaderSize) return unknown;
    return received[kLengthOffset] | (std::size_t{received[kLengthOffset + 1]} << 8);
}

bool CanHold(std::span<const std::uint8_t> reply, std::size_t length) {
    return reply.size() >= std::max(length, kHeaderSize);
}

}  // namespace

std::unique_ptr<IrdaLink> IrdaLink::Open(StopRequest stop_request, IrdaOpenResult& result) {
    std::unique_ptr<IrdaLink> link(new IrdaLink(stop_request));
    result = link->Connect();
    if (result != kIrdaOpenOk) return nullptr;
    return link;
}

IrdaOpenResult IrdaLink::Connect() {
    log_.Open();
    has_winsock_ = platform::StartIrdaSockets();
    socket_      = platform::OpenIrdaSocket();
    if (socket_ == platform::IrdaSocket::kNone) return OpenError(log_, kIrdaNoSocket);
    if (!platform::SetBlocking(socket_)) return OpenError(log_, kIrdaNotBlocking);

    DeviceList list{};
    if (!platform::ListIrdaDevices(socket_, list)) return OpenError(log_, kIrdaListingFailed);
    if (DeviceCount(list) == 0) return NoDevice(log_);
    const std::optional<Device> device = FirstAccepted(list, log_);
    if (!device) return kIrdaNoAcceptedName;

    // The service asked for has the device's own name.
    if (!platform::ConnectIrda(socket_, device->id, device->name)) return ConnectFailed(platform::IrdaError());
    return kIrdaOpenOk;
}

IrdaOpenResult IrdaLink::ConnectFailed(std::uint32_t error) const {
    platform::DebugOutput(L"Error connect 1");
    platform::DebugOutput(L"connect failed");
    platform::DebugOutput(platform::Formatted(L"Error %u", error).c_str());
    log_.Write("Error 6: connect failed " + std::to_string(error) + "\n");
    return kIrdaConnectFailed;
}

LinkStatus IrdaLink::Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                std::size_t& received, std::uint32_t /*timeout_ms*/) {
    received = 0;
    if (socket_ != platform::IrdaSocket::kNone) DropRest();
    log_.Trace("SEND", request);
    if (socket_ == platform::IrdaSocket::kNone || platform::SendIrda(socket_, request) != std::ssize(request)) {
        return Fault(L"sending of data failed", LinkStatus::kDriverFailed);
    }
    std::ranges::fill(reply, std::uint8_t{0});
    const LinkStatus status = ReceiveReply(reply, received);
    rest_possible_          = status != LinkStatus::kOk && status != LinkStatus::kDriverFailed;
    if (status == LinkStatus::kOk) log_.Trace("RECEIVE", reply.first(received));
    return status;
}

/// Receives a reply into `reply`, at most all of it. On success `length` is what the reply says and what has arrived.
LinkStatus IrdaLink::ReceiveReply(std::span<std::uint8_t> reply, std::size_t& length) {
    StopPatience in_all(stop_request_, kMostPatience);
    std::size_t arrived  = 0;
    std::size_t expected = reply.size();
    bool is_first        = true;
    // A reply that says it is shorter than what has arrived cannot become whole.
    while (is_first || (arrived < expected && expected <= reply.size())) {
        if (!WaitForBytes(in_all)) return LinkStatus::kStopped;
        const std::ptrdiff_t count = platform::ReceiveIrda(socket_, reply.first(expected).subspan(arrived));
        if (count < 0) return Fault(L"2", LinkStatus::kDriverFailed);
        if (count == 0) return LinkStatus::kDriverFailed;  // the analyser is gone; nothing more will come
        arrived += static_cast<std::size_t>(count);
        expected = ExpectedLength(reply.first(arrived), reply.size());
        if (is_first && !CanHold(reply, expected)) return Fault(L"1", LinkStatus::kProtocolFault);
        is_first = false;
    }
    if (arrived != expected || expected < kHeaderSize) return Fault(L"3", LinkStatus::kProtocolFault);
    length = expected;
    return LinkStatus::kOk;
}

/// Without limit; false when a stop has been requested for long enough.
bool IrdaLink::WaitForBytes(StopPatience& in_all) const {
    StopPatience patience(stop_request_, kStopPatience);
    while (!platform::WaitForIrda(socket_, kLook)) {
        patience.Look();
        in_all.Look();
        if (patience.IsOver() || in_all.IsOver()) return false;
    }
    in_all.Look();
    return !in_all.IsOver();
}

/// Throws away what is left of an earlier reply, so that the next one begins with its own first byte.
void IrdaLink::DropRest() {
    if (!std::exchange(rest_possible_, false)) return;
    for (int round = 0; round < kMostRestReads && DropQueued() > 0; ++round) {}
}

/// Less than 0 when the analyser is gone.
std::ptrdiff_t IrdaLink::DropQueued() const {
    if (platform::QueuedIrda(socket_) == 0) return 0;
    std::array<std::uint8_t, kRestReadSize> rest;
    const std::ptrdiff_t size = platform::ReceiveIrda(socket_, rest);
    return size == 0 ? -1 : size;
}

bool IrdaLink::WaitForSilence(std::uint32_t silence_ms) {
    if (socket_ == platform::IrdaSocket::kNone) return false;
    return ListenUntilSilent(silence_ms, stop_request_, [this] { return DropQueued(); });
}

void IrdaLink::Close() {
    if (socket_ != platform::IrdaSocket::kNone) {
        platform::CloseIrdaSocket(std::exchange(socket_, platform::IrdaSocket::kNone));
    }
    if (std::exchange(has_winsock_, false)) platform::EndIrdaSockets();
    log_.Close();
}

}  // namespace nelto
