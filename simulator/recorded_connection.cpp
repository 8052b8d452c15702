#include "recorded_connection.h"

#include <algorithm>

#include "transport/block_frame.h"

namespace simulator {
namespace {

constexpr std::uint8_t kGetIdent = 0x42;

/// "T780" from the reply to GET_IDENT, or its bytes where an analyser tells no letters.
std::string IdentText(Bytes reply) {
    nelto::Block block;
    if (nelto::ParseBlock(reply, block) != nelto::BlockFault::kNone || block.payload.size() < 5) return "wrong ident";
    const Bytes model = block.payload.subspan(4, std::min<std::size_t>(4, block.payload.size() - 4));
    if (std::ranges::all_of(model, [](std::uint8_t byte) { return byte > ' ' && byte < 0x7F; }) && model.size() == 4) {
        return {model.begin(), model.end()};
    }
    return "ident " + HexText(model);
}

std::string CountOf(std::size_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace

bool RecordedConnection::HasReplies() const {
    return std::ranges::any_of(messages, [](const RecordedMessage& message) {
        return std::ranges::any_of(message, [](const RecordedExchange& exchange) { return !exchange.reply.empty(); });
    });
}

std::string RecordedConnection::Summary() const {
    std::string ident = "no ident";
    for (const RecordedMessage& message : messages) {
        const RecordedExchange& first = message.front();
        if (first.request[nelto::kBlockHeaderSize] == kGetIdent && !first.reply.empty()) ident = IdentText(first.reply);
    }
    std::string text = "connection " + std::to_string(number) + ", lines " + std::to_string(first_line) + " to " +
                       std::to_string(last_line) + ": " + (port.empty() ? "beginning cut off" : port) + ", " + ident +
                       ", " + CountOf(messages.size(), "request") + ", " + CountOf(unanswered, "exchange") +
                       " unanswered, " + (is_closed ? "closed" : "not closed");
    if (!error.empty()) text += ", last error: " + error;
    return text;
}

}  // namespace simulator
