// Winsock is loaded with the first infrared connection, since the other links do not need it. It is wsock32.dll, not ws2_32.dll:
// it holds all of Winsock 1.1, and a drop-in of either name works, since the system's own wsock32.dll hands these calls on to
// ws2_32.dll.
#include "platform/irda_socket.h"

#include <winsock.h>
// Needs the types of the header above.
#include <af_irda.h>

#include <algorithm>
#include <climits>
#include <cstddef>

#include "platform/dynamic_library.h"

namespace nelto::platform {
namespace {

static_assert(AF_IRDA == 26 && SOL_IRLMP == 0x00FF && IRLMP_ENUMDEVICES == 0x10);
static_assert(sizeof(SOCKADDR_IRDA) == 32 && offsetof(SOCKADDR_IRDA, irdaServiceName) == 6);
static_assert(sizeof(IRDA_DEVICE_INFO) == 29 && offsetof(IRDA_DEVICE_INFO, irdaDeviceName) == sizeof(IrdaDeviceId));
static_assert(sizeof(IRDA_DEVICE_INFO::irdaDeviceName) == kIrdaNameSize);
static_assert(offsetof(DEVICELIST, Device) == 4);
static_assert(static_cast<std::uintptr_t>(INVALID_SOCKET) == static_cast<std::uintptr_t>(IrdaSocket::kNone));

SOCKET Native(IrdaSocket socket) { return static_cast<SOCKET>(socket); }

/// The functions that the program needs; all of them are there, or none.
struct Winsock {
    decltype(&::WSAStartup) startup;
    decltype(&::WSACleanup) cleanup;
    decltype(&::WSAGetLastError) get_last_error;
    decltype(&::socket) socket;
    decltype(&::ioctlsocket) ioctlsocket;
    decltype(&::getsockopt) getsockopt;
    decltype(&::connect) connect;
    decltype(&::send) send;
    decltype(&::recv) recv;
    decltype(&::closesocket) closesocket;
    decltype(&::select) select;  // may be missing: then a receive call waits without being asked
    bool is_complete;
};

Winsock LoadWinsock() {
    Winsock winsock{};
    const LibraryHandle library = LoadLibraryToStay(L"wsock32.dll");
    if (library == LibraryHandle::kNone) return winsock;
    FindFunction(library, "select", winsock.select);
    winsock.is_complete =
        FindFunction(library, "WSAStartup", winsock.startup) && FindFunction(library, "WSACleanup", winsock.cleanup) &&
        FindFunction(library, "WSAGetLastError", winsock.get_last_error) &&
        FindFunction(library, "socket", winsock.socket) && FindFunction(library, "ioctlsocket", winsock.ioctlsocket) &&
        FindFunction(library, "getsockopt", winsock.getsockopt) && FindFunction(library, "connect", winsock.connect) &&
        FindFunction(library, "send", winsock.send) && FindFunction(library, "recv", winsock.recv) &&
        FindFunction(library, "closesocket", winsock.closesocket);
    return winsock;
}

/// The loaded functions. Without them no socket is ever opened, so that the others are not reached.
const Winsock& Loaded() {
    static const Winsock winsock = LoadWinsock();
    return winsock;
}

int Count(std::size_t size) { return static_cast<int>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

bool StartIrdaSockets() {
    WSADATA data{};
    return Loaded().is_complete && Loaded().startup(MAKEWORD(1, 1), &data) == 0;
}

// NOLINTBEGIN(clang-analyzer-core.CallAndMessage): from here on only what follows a successful start is called.
void EndIrdaSockets() { Loaded().cleanup(); }

IrdaSocket OpenIrdaSocket() {
    if (!Loaded().is_complete) return IrdaSocket::kNone;
    return static_cast<IrdaSocket>(Loaded().socket(AF_IRDA, SOCK_STREAM, 0));
}

bool SetBlocking(IrdaSocket socket) {
    u_long non_blocking = 0;
    return Loaded().ioctlsocket(Native(socket), static_cast<long>(FIONBIO), &non_blocking) == 0;
}

bool ListIrdaDevices(IrdaSocket socket, std::span<std::uint8_t> list) {
    int size = Count(list.size());
    return Loaded().getsockopt(Native(socket), SOL_IRLMP, IRLMP_ENUMDEVICES, reinterpret_cast<char*>(list.data()),
                               &size) == 0;
}

bool ConnectIrda(IrdaSocket socket, const IrdaDeviceId& device, const IrdaName& service) {
    SOCKADDR_IRDA address{};
    address.irdaAddressFamily = AF_IRDA;
    std::ranges::copy(device, address.irdaDeviceID);
    std::copy(service.begin(), std::ranges::find(service, '\0'), address.irdaServiceName);
    return Loaded().connect(Native(socket), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::ptrdiff_t SendIrda(IrdaSocket socket, std::span<const std::uint8_t> bytes) {
    return Loaded().send(Native(socket), reinterpret_cast<const char*>(bytes.data()), Count(bytes.size()), 0);
}

std::ptrdiff_t ReceiveIrda(IrdaSocket socket, std::span<std::uint8_t> bytes) {
    return Loaded().recv(Native(socket), reinterpret_cast<char*>(bytes.data()), Count(bytes.size()), 0);
}

bool WaitForIrda(IrdaSocket socket, std::uint32_t milliseconds) {
    if (Loaded().select == nullptr) return true;
    fd_set readable  = {.fd_count = 1, .fd_array = {Native(socket)}};
    timeval time_out = {.tv_sec  = static_cast<long>(milliseconds / 1000),
                        .tv_usec = static_cast<long>(milliseconds % 1000 * 1000)};
    return Loaded().select(0, &readable, nullptr, nullptr, &time_out) != 0;
}

std::size_t QueuedIrda(IrdaSocket socket) {
    u_long queued = 0;
    return Loaded().ioctlsocket(Native(socket), static_cast<long>(FIONREAD), &queued) == 0 ? queued : 0;
}

std::uint32_t IrdaError() { return static_cast<std::uint32_t>(Loaded().get_last_error()); }

void CloseIrdaSocket(IrdaSocket socket) { Loaded().closesocket(Native(socket)); }
// NOLINTEND(clang-analyzer-core.CallAndMessage)

}  // namespace nelto::platform
