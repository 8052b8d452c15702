// Finds the frames in what a program sends over a byte link: whole blocks with a good checksum, and acknowledgements.
#pragma once

#include "byte_session.h"

namespace simulator {

class FrameSplitter {
public:
    explicit FrameSplitter(const EventSink& events) : events_(events) {}

    /// Takes what arrived at `now_ms`. A piece of a frame is given up when nothing follows for 500 ms.
    void Receive(Bytes bytes, std::uint64_t now_ms);

    /// The next frame, if one is whole: `nelto::kProgramAck`, or a block that `nelto::ParseBlock` takes. Bytes that
    /// begin no frame are passed over. Call until it gives none.
    [[nodiscard]] std::optional<Message> Next();

    void Clear() { received_.clear(); }

private:
    [[nodiscard]] std::optional<Message> TakeFront(std::size_t& used);

    const EventSink& events_;
    Message received_;
    std::uint64_t last_byte_ms_ = 0;
};

}  // namespace simulator
