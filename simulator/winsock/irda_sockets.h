// The infrared sockets of the drop-in Winsock: their handles, and the one simulated analyser behind them. Any thread.
#pragma once

#include <winsock2.h>

#include <windows.h>

#include <map>
#include <memory>
#include <mutex>
#include <span>

#include "infrared_session.h"

namespace simulator {

/// Every operation returns what the Winsock function of its name returns, its error number set.
class IrdaSockets {
public:
    static IrdaSockets& Instance();

    [[nodiscard]] int Start(WORD version, WSADATA* data);
    [[nodiscard]] int End();

    [[nodiscard]] SOCKET Open(int type, int protocol);
    /// True for a socket that Open gave; every other one belongs to the true Winsock.
    [[nodiscard]] bool Owns(SOCKET socket);

    [[nodiscard]] int SetMode(long command, const u_long* argument);
    [[nodiscard]] int GetOption(int level, int name, char* value, int* size);
    [[nodiscard]] int Connect(SOCKET socket, const sockaddr* address, int size);
    [[nodiscard]] int Send(SOCKET socket, Bytes bytes);
    [[nodiscard]] int Receive(SOCKET socket, std::span<std::uint8_t> buffer);
    /// Leaves in each set the sockets that are ready: for reading when Receive would return at once, for writing when
    /// connected, never with an exception. All are Open's. Without `timeout` it waits without limit.
    [[nodiscard]] int Select(fd_set* read, fd_set* write, fd_set* except, const timeval* timeout);
    [[nodiscard]] int Close(SOCKET socket);

private:
    struct Model;
    IrdaSockets();
    ~IrdaSockets();

    [[nodiscard]] bool Has(InfraredFault fault) const;
    [[nodiscard]] bool CanReceive(SOCKET socket);

    std::mutex lock_;
    int references_ = 0;
    std::unique_ptr<Model> model_;    // from the first start on; null when its scenario cannot be used
    std::map<SOCKET, bool> sockets_;  // true: connected
};

}  // namespace simulator
