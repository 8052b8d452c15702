// Infrared sockets: Winsock 1.1 with the IrDA address family.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nelto::platform {

enum class IrdaSocket : std::uintptr_t { kNone = UINTPTR_MAX };

using IrdaDeviceId = std::array<std::uint8_t, 4>;

/// Size of the name in a device list, which may fill it without a NUL.
constexpr std::size_t kIrdaNameSize = 22;
using IrdaName                      = std::array<char, kIrdaNameSize>;

/// Takes a reference on Winsock; false when there is none of version 1.1.
[[nodiscard]] bool StartIrdaSockets();

/// Gives back what StartIrdaSockets took.
void EndIrdaSockets();

/// A stream socket of the IrDA family; kNone where the system has no such family.
[[nodiscard]] IrdaSocket OpenIrdaSocket();

/// Lets every call on the socket wait as long as it takes.
[[nodiscard]] bool SetBlocking(IrdaSocket socket);

/// Asks for the devices in range. Fills the front of `list` with their number, 32 bits, low byte first, and behind it 29
/// bytes a device: the id, 4 bytes, the name, 22, and three more. The system cuts the list where the space ends.
[[nodiscard]] bool ListIrdaDevices(IrdaSocket socket, std::span<std::uint8_t> list);

/// Connects to the service of that name on the device; at most the 24 characters of a service name are taken.
[[nodiscard]] bool ConnectIrda(IrdaSocket socket, const IrdaDeviceId& device, const IrdaName& service);

/// Both return the number of bytes sent or received, less than 0 on failure; both may take part of the bytes only. Receiving
/// waits for the first byte without limit and returns 0 when the other side has closed.
[[nodiscard]] std::ptrdiff_t SendIrda(IrdaSocket socket, std::span<const std::uint8_t> bytes);
[[nodiscard]] std::ptrdiff_t ReceiveIrda(IrdaSocket socket, std::span<std::uint8_t> bytes);

/// Waits at most `milliseconds` for something to receive. True when a receive call would return at once, with bytes, the end or a
/// failure, and also where that cannot be told.
[[nodiscard]] bool WaitForIrda(IrdaSocket socket, std::uint32_t milliseconds);

/// Bytes that a receive call would give at once; 0 also when that cannot be told.
[[nodiscard]] std::size_t QueuedIrda(IrdaSocket socket);

/// Winsock's error number of the call that failed last on this thread.
[[nodiscard]] std::uint32_t IrdaError();

void CloseIrdaSocket(IrdaSocket socket);

}  // namespace nelto::platform
