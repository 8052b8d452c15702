// Imported from wsock32.dll, not from ws2_32.dll: it holds all of Winsock 1.1, and a drop-in of either name works, since the
// system's own wsock32.dll hands these calls on to ws2_32.dll.
#include "platform/irda_socket.h"

#include <winsock.h>
// Needs the types of the header above.
#include <af_irda.h>

#include <algorithm>
#include <climits>
#include <cstddef>

namespace nelto::platform {
namespace {

static_assert(AF_IRDA == 26 && SOL_IRLMP == 0x00FF && IRLMP_ENUMDEVICES == 0x10);
static_assert(sizeof(SOCKADDR_IRDA) == 32 && offsetof(SOCKADDR_IRDA, irdaServiceName) == 6);
static_assert(sizeof(IRDA_DEVICE_INFO) == 29 && offsetof(IRDA_DEVICE_INFO, irdaDeviceName) == sizeof(IrdaDeviceId));
static_assert(sizeof(IRDA_DEVICE_INFO::irdaDeviceName) == kIrdaNameSize);
static_assert(offsetof(DEVICELIST, Device) == 4);
static_assert(static_cast<std::uintptr_t>(INVALID_SOCKET) == static_cast<std::uintptr_t>(IrdaSocket::kNone));

SOCKET Native(IrdaSocket socket) { return static_cast<SOCKET>(socket); }

int Count(std::size_t size) { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

bool StartIrdaSockets() {
    WSADATA data{};
    return WSAStartup(MAKEWORD(1, 1), &data) == 0;
}

void EndIrdaSockets() { WSACleanup(); }

IrdaSocket OpenIrdaSocket() { return static_cast<IrdaSocket>(::socket(AF_IRDA, SOCK_STREAM, 0)); }

bool SetBlocking(IrdaSocket socket) {
    u_long non_blocking = 0;
    return ioctlsocket(Native(socket), static_cast<long>(FIONBIO), &non_blocking) == 0;
}

bool ListIrdaDevices(IrdaSocket socket, std::span<std::uint8_t> list) {
    int size = Count(list.size());
    return getsockopt(Native(socket), SOL_IRLMP, IRLMP_ENUMDEVICES, reinterpret_cast<char*>(list.data()), &size) == 0;
}

bool ConnectIrda(IrdaSocket socket, const IrdaDeviceId& device, const IrdaName& service) {
    SOCKADDR_IRDA address{};
    address.irdaAddressFamily = AF_IRDA;
    std::ranges::copy(device, address.irdaDeviceID);
    std::copy(service.begin(), std::ranges::find(service, '\0'), address.irdaServiceName);
    return connect(Native(socket), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::ptrdiff_t SendIrda(IrdaSocket socket, std::span<const std::uint8_t> bytes) {
    return ::send(Native(socket), reinterpret_cast<const char*>(bytes.data()), Count(bytes.size()), 0);
}

std::ptrdiff_t ReceiveIrda(IrdaSocket socket, std::span<std::uint8_t> bytes) {
    return ::recv(Native(socket), reinterpret_cast<char*>(bytes.data()), Count(bytes.size()), 0);
}

std::uint32_t IrdaError() { return static_cast<std::uint32_t>(WSAGetLastError()); }

void CloseIrdaSocket(IrdaSocket socket) { closesocket(Native(socket)); }

}  // namespace nelto::platform
