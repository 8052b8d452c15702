#include "irda_sockets.h"

#include <af_irda.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "drop_in.h"

namespace simulator {
namespace {

constexpr DWORD kPollMs = 2;  // between two looks for bytes that have not arrived

// Ids of the devices in range: their place in the list and a fixed ending.
constexpr std::size_t kIdSize = 4;
constexpr u_char kIdEnding    = 0x1D;

using Lock = std::lock_guard<std::mutex>;

int Fail(int error) {
    WSASetLastError(error);
    return SOCKET_ERROR;
}

template <typename Condition>
void Keep(fd_set& set, Condition condition) {
    const auto end =
        std::remove_if(set.fd_array, set.fd_array + set.fd_count, [&](SOCKET socket) { return !condition(socket); });
    set.fd_count = static_cast<u_int>(end - set.fd_array);
}

/// Writes the devices as a DEVICELIST, as many as there is room for, and tells how many bytes that took.
int WriteDeviceList(const std::vector<std::string>& names, std::span<char> list) {
    constexpr std::size_t kFront = offsetof(DEVICELIST, Device);
    const std::size_t room       = (list.size() - kFront) / sizeof(IRDA_DEVICE_INFO);
    const auto count             = static_cast<ULONG>(std::min(names.size(), room));
    std::memcpy(list.data(), &count, sizeof count);
    for (std::size_t index = 0; index < count; ++index) {
        IRDA_DEVICE_INFO info{};
        info.irdaDeviceID[0]           = static_cast<u_char>(index + 1);
        info.irdaDeviceID[kIdSize - 1] = kIdEnding;
        std::copy_n(names[index].begin(), std::min(names[index].size(), sizeof info.irdaDeviceName),
                    info.irdaDeviceName);
        std::memcpy(list.data() + kFront + index * sizeof info, &info, sizeof info);
    }
    return static_cast<int>(kFront + count * sizeof(IRDA_DEVICE_INFO));
}

}  // namespace

struct IrdaSockets::Model {
    explicit Model(Scenario scenario)
        : session(std::make_shared<ScriptedAnalyser>(std::move(scenario.analyser), scenario.faults),
                  std::move(scenario.infrared), DropInTell) {}

    InfraredSession session;
};

IrdaSockets::IrdaSockets() {
    if (std::optional<Scenario> scenario = DropInScenario(reinterpret_cast<const void*>(&WriteDeviceList))) {
        model_ = std::make_unique<Model>(std::move(*scenario));
    }
}

IrdaSockets::~IrdaSockets() = default;

IrdaSockets& IrdaSockets::Instance() {
    static IrdaSockets sockets;
    return sockets;
}

bool IrdaSockets::Has(InfraredFault fault) const {
    return model_ == nullptr || model_->session.Has(fault, DropInNowMs());
}

int IrdaSockets::Start(WORD version, WSADATA* data) {
    const Lock lock(lock_);
    const int result = Has(InfraredFault::kNoWinsock) ? WSASYSNOTREADY : WSAStartup(version, data);
    if (result == 0) ++references_;
    DropInTell("WSAStartup " + std::to_string(LOBYTE(version)) + "." + std::to_string(HIBYTE(version)) + " gives " +
               std::to_string(result) + ", references " + std::to_string(references_));
    return result;
}

int IrdaSockets::End() {
    const Lock lock(lock_);
    const int result = WSACleanup();
    if (result == 0) --references_;
    DropInTell("WSACleanup, references " + std::to_string(references_) + ", infrared sockets " +
               std::to_string(sockets_.size()));
    return result;
}

SOCKET IrdaSockets::Open(int type, int protocol) {
    const Lock lock(lock_);
    WSASetLastError(references_ == 0 ? WSANOTINITIALISED : WSAEAFNOSUPPORT);
    if (references_ == 0 || Has(InfraredFault::kNoSocket)) return INVALID_SOCKET;
    WSASetLastError(WSAESOCKTNOSUPPORT);
    if (type != SOCK_STREAM || protocol != 0) return INVALID_SOCKET;
    // A handle of the system as the number: none of the true sockets has the same, and a forgotten one shows.
    const auto socket = reinterpret_cast<SOCKET>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    sockets_[socket]  = false;
    return socket;
}

bool IrdaSockets::Owns(SOCKET socket) {
    const Lock lock(lock_);
    return sockets_.contains(socket);
}

int IrdaSockets::SetMode(long command, const u_long* argument) {
    const Lock lock(lock_);
    const bool to_blocking = command == static_cast<long>(FIONBIO) && argument != nullptr && *argument == 0;
    return to_blocking && !Has(InfraredFault::kNotBlocking) ? 0 : Fail(WSAEOPNOTSUPP);
}

int IrdaSockets::GetOption(int level, int name, char* value, int* size) {
    const Lock lock(lock_);
    if (level != SOL_IRLMP || name != IRLMP_ENUMDEVICES) return Fail(WSAENOPROTOOPT);
    if (value == nullptr || size == nullptr || *size < static_cast<int>(sizeof(DEVICELIST))) return Fail(WSAEFAULT);
    if (Has(InfraredFault::kNoListing)) return Fail(WSAENETDOWN);
    *size = WriteDeviceList(model_->session.Devices(DropInNowMs()), {value, static_cast<std::size_t>(*size)});
    return 0;
}

int IrdaSockets::Connect(SOCKET socket, const sockaddr* address, int size) {
    const Lock lock(lock_);
    SOCKADDR_IRDA peer{};
    if (address == nullptr || size < static_cast<int>(sizeof peer)) return Fail(WSAEFAULT);
    std::memcpy(&peer, address, sizeof peer);
    if (peer.irdaAddressFamily != AF_IRDA) return Fail(WSAEAFNOSUPPORT);
    const std::string service(peer.irdaServiceName, strnlen(peer.irdaServiceName, sizeof peer.irdaServiceName));
    const bool is_known = peer.irdaDeviceID[0] != 0 && peer.irdaDeviceID[kIdSize - 1] == kIdEnding;
    if (!is_known) return Fail(WSAEADDRNOTAVAIL);
    if (!model_->session.Connect(peer.irdaDeviceID[0] - 1u, service, DropInNowMs())) return Fail(WSAECONNREFUSED);
    sockets_[socket] = true;
    return 0;
}

int IrdaSockets::Send(SOCKET socket, Bytes bytes) {
    const Lock lock(lock_);
    if (!sockets_[socket]) return Fail(WSAENOTCONN);
    return model_->session.Send(bytes, DropInNowMs()) ? static_cast<int>(bytes.size()) : Fail(WSAECONNRESET);
}

int IrdaSockets::Receive(SOCKET socket, std::span<std::uint8_t> buffer) {
    while (true) {
        {
            const Lock lock(lock_);
            if (!sockets_[socket]) return Fail(WSAENOTCONN);
            std::size_t size   = 0;
            const auto arrival = model_->session.Receive(buffer, size, DropInNowMs());
            if (arrival == InfraredSession::Arrival::kGone) return 0;
            if (arrival == InfraredSession::Arrival::kBytes) return static_cast<int>(size);
        }
        Sleep(kPollMs);
    }
}

bool IrdaSockets::CanReceive(SOCKET socket) { return !sockets_[socket] || model_->session.CanReceive(DropInNowMs()); }

int IrdaSockets::Select(fd_set* read, fd_set* write, fd_set* except, const timeval* timeout) {
    const std::uint64_t wait_ms = timeout == nullptr ? 0
                                                     : static_cast<std::uint64_t>(timeout->tv_sec) * 1000 +
                                                           static_cast<std::uint64_t>(timeout->tv_usec) / 1000;
    const std::uint64_t end_ms  = DropInNowMs() + wait_ms;
    const auto set_or_none      = [](const fd_set* set) { return set == nullptr ? fd_set{} : *set; };
    while (true) {
        fd_set readable = set_or_none(read);
        fd_set writable = set_or_none(write);
        {
            const Lock lock(lock_);
            Keep(readable, [this](SOCKET socket) { return CanReceive(socket); });
            Keep(writable, [this](SOCKET socket) { return sockets_[socket]; });
        }
        const u_int ready = readable.fd_count + writable.fd_count;
        if (ready != 0 || (timeout != nullptr && DropInNowMs() >= end_ms)) {
            if (read != nullptr) *read = readable;
            if (write != nullptr) *write = writable;
            if (except != nullptr) except->fd_count = 0;
            return static_cast<int>(ready);
        }
        Sleep(kPollMs);
    }
}

int IrdaSockets::Close(SOCKET socket) {
    const Lock lock(lock_);
    if (sockets_[socket]) {
        model_->session.Disconnect();
        DropInTell("disconnected");
    }
    sockets_.erase(socket);
    CloseHandle(reinterpret_cast<HANDLE>(socket));
    return 0;
}

}  // namespace simulator
