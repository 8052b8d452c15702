#include "platform/irda_socket.h"

#include <algorithm>
#include <cstdlib>

#include "platform/clock.h"
#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_irda_socket.h"

namespace nelto::platform {
namespace memory {

IrdaWorld& TheIrdaWorld() {
    static IrdaWorld world;
    return world;
}

void ResetIrdaWorld() { TheIrdaWorld() = IrdaWorld(); }

std::vector<std::uint8_t> MakeIrdaDeviceList(const std::vector<std::string>& names) {
    std::vector<std::uint8_t> list = {static_cast<std::uint8_t>(names.size()), 0, 0, 0};
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string name = names[i];
        name.resize(kIrdaNameSize);
        list.insert(list.end(), {static_cast<std::uint8_t>(i + 1), 0, 0, 0x0A});
        list.insert(list.end(), name.begin(), name.end());
        list.insert(list.end(), {0, 0, 0});
    }
    return list;
}

}  // namespace memory

using memory::Call;
using memory::Fails;
using memory::TheIrdaWorld;

namespace {

constexpr auto kTheSocket                   = static_cast<IrdaSocket>(7);
constexpr std::uint32_t kAddressFamilyError = 10047;

void CheckOpen(IrdaSocket socket) {
    if (socket != kTheSocket || TheIrdaWorld().open_sockets != 1) std::abort();
}

}  // namespace

bool StartIrdaSockets() {
    if (Fails(Call::kStartSockets)) return false;
    ++TheIrdaWorld().references;
    return true;
}

void EndIrdaSockets() {
    if (TheIrdaWorld().references-- == 0) std::abort();
}

IrdaSocket OpenIrdaSocket() {
    if (Fails(Call::kOpenSocket) || TheIrdaWorld().references == 0) return IrdaSocket::kNone;
    if (TheIrdaWorld().open_sockets++ != 0) std::abort();  // one at a time
    return kTheSocket;
}

bool SetBlocking(IrdaSocket socket) {
    CheckOpen(socket);
    return !Fails(Call::kSetBlocking);
}

bool ListIrdaDevices(IrdaSocket socket, std::span<std::uint8_t> list) {
    CheckOpen(socket);
    if (TheIrdaWorld().on_list) TheIrdaWorld().on_list();
    TheIrdaWorld().list_space                    = list.size();
    const std::vector<std::uint8_t>& device_list = TheIrdaWorld().device_list;
    std::copy_n(device_list.begin(), std::min(device_list.size(), list.size()), list.begin());
    return !Fails(Call::kListDevices);
}

bool ConnectIrda(IrdaSocket socket, const IrdaDeviceId& device, const IrdaName& service) {
    CheckOpen(socket);
    ++TheIrdaWorld().connections;
    TheIrdaWorld().device = device;
    TheIrdaWorld().service.assign(service.begin(), std::ranges::find(service, '\0'));
    return !Fails(Call::kConnect) && TheIrdaWorld().connect_error == 0;
}

std::ptrdiff_t SendIrda(IrdaSocket socket, std::span<const std::uint8_t> bytes) {
    CheckOpen(socket);
    if (Fails(Call::kSend)) return -1;
    if (TheIrdaWorld().sends_half) return static_cast<std::ptrdiff_t>(bytes.size() / 2);
    TheIrdaWorld().requests.emplace_back(bytes.begin(), bytes.end());
    if (TheIrdaWorld().on_request) TheIrdaWorld().on_request(TheIrdaWorld().requests.back());
    return static_cast<std::ptrdiff_t>(bytes.size());
}

std::ptrdiff_t ReceiveIrda(IrdaSocket socket, std::span<std::uint8_t> bytes) {
    CheckOpen(socket);
    ++TheIrdaWorld().receive_calls;
    if (Fails(Call::kReceive)) return -1;
    std::deque<memory::IrdaPiece>& pieces = TheIrdaWorld().pieces;
    if (pieces.empty()) return -1;
    const memory::IrdaPiece piece = pieces.front();
    pieces.pop_front();
    if (!piece) return -1;
    const auto taken = static_cast<std::ptrdiff_t>(std::min(piece->size(), bytes.size()));
    std::copy_n(piece->begin(), taken, bytes.begin());
    if (piece->begin() + taken != piece->end())
        pieces.emplace_front(std::in_place, piece->begin() + taken, piece->end());
    return taken;
}

bool WaitForIrda(IrdaSocket socket, std::uint32_t milliseconds) {
    CheckOpen(socket);
    if (!TheIrdaWorld().pieces.empty()) return true;
    if (TheIrdaWorld().on_idle) TheIrdaWorld().on_idle();
    if (!TheIrdaWorld().is_silent || !TheIrdaWorld().pieces.empty()) return true;
    SleepMilliseconds(milliseconds);
    return false;
}

std::size_t QueuedIrda(IrdaSocket socket) {
    CheckOpen(socket);
    const std::deque<memory::IrdaPiece>& pieces = TheIrdaWorld().pieces;
    return pieces.empty() || !pieces.front() ? 0 : pieces.front()->size();
}

std::uint32_t IrdaError() {
    return TheIrdaWorld().connect_error != 0 ? TheIrdaWorld().connect_error : kAddressFamilyError;
}

void CloseIrdaSocket(IrdaSocket socket) {
    CheckOpen(socket);
    --TheIrdaWorld().open_sockets;
}

}  // namespace nelto::platform
