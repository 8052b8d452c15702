#include "serial_peers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <sstream>
#include <string>

namespace nelto::doubles {

Bytes Hex(std::string_view text) {
    std::istringstream in{std::string(text)};
    Bytes bytes;
    for (unsigned value = 0; in >> std::hex >> value;) bytes.push_back(static_cast<std::uint8_t>(value));
    return bytes;
}

Bytes Packet(std::uint16_t index, std::uint16_t count, std::span<const std::uint8_t> payload) {
    std::array<std::uint8_t, kMaxBlockSize> frame{};
    const std::size_t size = BuildBlock(frame, kAnalyserStart, index, count, payload);
    return {frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)};
}

Bytes Counting(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

std::vector<Bytes> ReplyBlocks(const Bytes& message, std::size_t limit) {
    const std::size_t count = std::max<std::size_t>(1, BlockCount(message.size(), limit));
    std::vector<Bytes> blocks;
    for (std::size_t index = 0; index < count; ++index) {
        const auto rest = std::span(message).subspan(index * limit);
        blocks.push_back(Packet(static_cast<std::uint16_t>(index), static_cast<std::uint16_t>(count),
                                rest.first(std::min(limit, rest.size()))));
    }
    return blocks;
}

std::size_t ScriptedPeer::Write(std::span<const std::uint8_t> bytes) {
    written.emplace_back(bytes.begin(), bytes.end());
    if (!answers.empty()) {
        pending_ = answers.front().bytes;
        due_     = World().now + answers.front().delay_ms;
        answers.pop_front();
    }
    return std::min(bytes.size(), most_written);
}

std::size_t ScriptedPeer::Read(std::span<std::uint8_t> bytes) {
    return World().now < due_ ? 0 : SessionPort::TakeFront(pending_, bytes);
}

struct MessagePeer::Table final : simulator::Responder {
    explicit Table(MessagePeer& peer_of) : peer(peer_of) {}
    std::optional<simulator::Message> Answer(simulator::Bytes request, std::uint64_t) override {
        peer.requests.emplace_back(request.begin(), request.end());
        const Bytes answer = peer.AnswerTo(Bytes(request.begin(), request.end()));
        return answer.empty() ? std::nullopt : std::optional(answer);
    }
    MessagePeer& peer;
};

MessagePeer::MessagePeer()
    : SessionPort(session_), session_(std::make_shared<Table>(*this), 120, [](const std::string& line) {
          EXPECT_EQ(line.find(", no answer"), std::string::npos) << line;
      }) {}

void MessagePeer::Answer(std::string_view request, std::string_view payload) {
    const Bytes command = Hex(request);
    Bytes reply         = {0, command.front(), 0, 0};
    const Bytes rest    = Hex(payload);
    reply.insert(reply.end(), rest.begin(), rest.end());
    answers[command] = reply;
}

std::size_t MessagePeer::RequestsOf(std::uint8_t command) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [=](const Bytes& request) { return request.front() == command; }));
}

Bytes MessagePeer::AnswerTo(const Bytes& request) {
    Bytes answer;
    for (const auto& [command, reply] : answers) {  // ordered: of several beginnings the longest comes last
        if (request.size() >= command.size() && std::equal(command.begin(), command.end(), request.begin()))
            answer = reply;
    }
    return answer;
}

void FillSmallAnalyser(MessagePeer& peer) {
    peer.answers[Hex("42")] = Hex("00 42 00 00 54 37 38 30 01");
    peer.Answer("85", "02");
    peer.Answer("90", "00 00 00 00 00 00 00 00");
    peer.Answer("A7", "01 09 00 00 00 00 00 00 05 00 00 00  02 09 00 00 00 00 00 00 06 01 00 00");
    peer.Answer("53", "01 00 00 00");
    peer.Answer("C2", "01 09 00 00 66 66 A6 41 82 00 FF 00 00 00 00  02 09 00 00 FF FF FF FF 83 00 00 00 00 00 00");
    peer.Answer("AA", "01");
    peer.Answer("B1 05", "BB 03 4F 00 82 20");
    peer.Answer("B1 06 01", "43 00 4F 00");
    peer.Answer("A2", "06 FF 00 00 00 00 80 3F 00 00 00 00 00 00 00  01 FF 00 00 00 00 70 42 01 00 00 00 00 00 00");
    peer.Answer("B8", "00");
    peer.Answer("B0 00", "40 00");
    peer.Answer("B1 40", "4F 00 69 00 6C 00");
    peer.Answer("B9 00", "66 66 76 41 00 00 40 40");
    peer.Answer("40", "00 00 15 02");
    peer.Answer("7F", "39 30 00 00");
    peer.Answer("B7", "53 00 50 00 31 00");
}

}  // namespace nelto::doubles
