// wsock32.dll for simulated infrared: the functions that differ for infrared sockets. Sockets of other families, and all
// other functions, go to the true Winsock behind ws2_32.dll, so that the rest of a process does not notice.
#include <winsock2.h>

#include <af_irda.h>

#include "irda_sockets.h"

using simulator::IrdaSockets;

namespace {

std::span<std::uint8_t> Buffer(const char* bytes, int size) {
    return {reinterpret_cast<std::uint8_t*>(const_cast<char*>(bytes)), static_cast<std::size_t>(size < 0 ? 0 : size)};
}

IrdaSockets& Sockets() { return IrdaSockets::Instance(); }

}  // namespace

extern "C" {

int WSAAPI DropInStartup(WORD version, WSADATA* data) { return Sockets().Start(version, data); }

int WSAAPI DropInCleanup() { return Sockets().End(); }

SOCKET WSAAPI DropInSocket(int family, int type, int protocol) {
    return family == AF_IRDA ? Sockets().Open(type, protocol) : socket(family, type, protocol);
}

int WSAAPI DropInIoctl(SOCKET handle, long command, u_long* argument) {
    return Sockets().Owns(handle) ? Sockets().SetMode(command, argument) : ioctlsocket(handle, command, argument);
}

int WSAAPI DropInGetOption(SOCKET handle, int level, int name, char* value, int* size) {
    return Sockets().Owns(handle) ? Sockets().GetOption(level, name, value, size)
                                  : getsockopt(handle, level, name, value, size);
}

int WSAAPI DropInConnect(SOCKET handle, const sockaddr* address, int size) {
    return Sockets().Owns(handle) ? Sockets().Connect(handle, address, size) : connect(handle, address, size);
}

int WSAAPI DropInSend(SOCKET handle, const char* bytes, int size, int flags) {
    return Sockets().Owns(handle) ? Sockets().Send(handle, Buffer(bytes, size)) : send(handle, bytes, size, flags);
}

int WSAAPI DropInReceive(SOCKET handle, char* bytes, int size, int flags) {
    return Sockets().Owns(handle) ? Sockets().Receive(handle, Buffer(bytes, size)) : recv(handle, bytes, size, flags);
}

/// Sets of infrared sockets alone or of other sockets alone: a wait for both together is refused.
int WSAAPI DropInSelect(int, fd_set* read, fd_set* write, fd_set* except, const timeval* timeout) {
    std::size_t all      = 0;
    std::size_t infrared = 0;
    for (const fd_set* set : {read, write, except}) {
        for (u_int i = 0; set != nullptr && i < set->fd_count; ++i, ++all) infrared += Sockets().Owns(set->fd_array[i]);
    }
    if (infrared == 0) return select(0, read, write, except, const_cast<timeval*>(timeout));
    if (infrared == all) return Sockets().Select(read, write, except, timeout);
    WSASetLastError(WSAEINVAL);
    return SOCKET_ERROR;
}

int WSAAPI DropInClose(SOCKET handle) { return Sockets().Owns(handle) ? Sockets().Close(handle) : closesocket(handle); }
}
