// Control of the in-memory infrared sockets. One world, reset by each test.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/irda_socket.h"

namespace nelto::platform::memory {

/// One receive call: bytes, at most as many as are asked for are given and the rest stays for the next call; no bytes for a
/// closed other side; none at all for a failure.
using IrdaPiece = std::optional<std::vector<std::uint8_t>>;

struct IrdaWorld {
    bool sends_half             = false;
    std::uint32_t connect_error = 0;
    std::vector<std::uint8_t> device_list;  // copied to the front of the program's buffer

    /// Called when the program asks for the list; may change it.
    std::function<void()> on_list;
    std::deque<IrdaPiece> pieces;  // what the receive calls give, one after the other; when empty they fail
    /// Called with each request that was sent whole; may add pieces.
    std::function<void(const std::vector<std::uint8_t>& request)> on_request;
    bool is_silent = false;  // connected, but nothing comes: a wait for pieces lasts, instead of ending with a failure
    /// Called when the program waits for pieces and there are none; may let time pass and add some.
    std::function<void()> on_idle;

    // What the program did.
    std::uint32_t references   = 0;  // on Winsock
    std::uint32_t open_sockets = 0;
    std::uint32_t connections  = 0;  // so far
    std::size_t list_space     = 0;
    IrdaDeviceId device{};
    std::string service;
    std::vector<std::vector<std::uint8_t>> requests;
    std::size_t receive_calls = 0;
};

[[nodiscard]] IrdaWorld& TheIrdaWorld();

/// Puts a fresh world in place: no device in range.
void ResetIrdaWorld();

/// A device list of these names, each filled with NULs or cut to 22 bytes; device ids 01 00 00 0A, 02 00 00 0A ...
[[nodiscard]] std::vector<std::uint8_t> MakeIrdaDeviceList(const std::vector<std::string>& names);

}  // namespace nelto::platform::memory
