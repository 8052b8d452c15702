// A session of the simulator at the far end of an in-memory COM port, or behind a converter.
#pragma once

#include <algorithm>

#include "byte_session.h"
#include "platform/memory/memory_platform.h"

namespace nelto::doubles {

/// The line keeps what comes late from one opening to the next; only what has come by then is lost.
class SessionPort : public platform::memory::SerialDevice {
public:
    /// `session` must outlive the port.
    explicit SessionPort(simulator::ByteSession& session) : session_(session) {}

    std::size_t Write(std::span<const std::uint8_t> bytes) override {
        const auto taken = bytes.first(is_broken ? 0 : std::min(bytes.size(), most_written));
        session_.Receive(taken, platform::memory::RunningMilliseconds());
        return taken.size();
    }
    std::size_t Read(std::span<std::uint8_t> bytes) override {
        bytes            = bytes.first(is_broken ? 0 : std::min(bytes.size(), most_read));
        std::size_t size = 0;
        while (size < bytes.size() && Fetch()) {
            size += TakeFront(pending_, bytes.subspan(size));
            if (reads_one_block) break;
        }
        return size;
    }
    void Opened() override {
        is_broken = false;
        while (Fetch()) pending_.clear();
    }

    /// Puts bytes on the line that nobody has sent, before whatever has not been fetched yet.
    void AddNoise(const simulator::Message& noise) { pending_.insert(pending_.end(), noise.begin(), noise.end()); }

    /// Moves as many bytes as fit from the front of `pending`.
    static std::size_t TakeFront(simulator::Message& pending, std::span<std::uint8_t> bytes) {
        const std::size_t size = std::min(bytes.size(), pending.size());
        std::copy_n(pending.begin(), size, bytes.begin());
        pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }

    std::size_t most_written = SIZE_MAX;  // of one call
    std::size_t most_read    = SIZE_MAX;  // that one look finds
    bool reads_one_block     = false;     // at a time, even if more have come
    bool is_broken           = false;     // until the next opening

private:
    /// False when nothing has come.
    bool Fetch() {
        if (pending_.empty())
            pending_ = session_.TakeOutput(platform::memory::RunningMilliseconds()).value_or(simulator::Message());
        return !pending_.empty();
    }

    simulator::ByteSession& session_;
    simulator::Message pending_;
};

}  // namespace nelto::doubles
