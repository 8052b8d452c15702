// A session of the simulator at the far end of an in-memory COM port, or behind a converter.
#pragma once

#include <algorithm>

#include "byte_session.h"
#include "platform/memory/memory_platform.h"

namespace nelto::rigs {

class SessionPort : public platform::memory::SerialDevice {
public:
    /// `session` must outlive the port.
    explicit SessionPort(simulator::ByteSession& session) : session_(session) {}

    std::size_t Write(std::span<const std::uint8_t> bytes) override {
        const auto taken = bytes.first(std::min(bytes.size(), most_written));
        session_.Receive(taken, platform::memory::RunningMilliseconds());
        return taken.size();
    }
    std::size_t Read(std::span<std::uint8_t> bytes) override {
        if (pending_.empty())
            pending_ = session_.TakeOutput(platform::memory::RunningMilliseconds()).value_or(pending_);
        return TakeFront(pending_, bytes);
    }
    void Closed() override {
        session_.Reset();
        pending_.clear();
    }

    /// Moves as many bytes as fit from the front of `pending`.
    static std::size_t TakeFront(simulator::Message& pending, std::span<std::uint8_t> bytes) {
        const std::size_t size = std::min(bytes.size(), pending.size());
        std::copy_n(pending.begin(), size, bytes.begin());
        pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }

    std::size_t most_written = SIZE_MAX;  // of one call

private:
    simulator::ByteSession& session_;
    simulator::Message pending_;
};

}  // namespace nelto::rigs
