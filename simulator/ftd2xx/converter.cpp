#include "converter.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr std::uint64_t kLongestDelayMs = 61000;  // a little more than scenarios can ask for

}  // namespace

Converter::Converter(const ConverterSetup& setup, const DriverSetup& driver, Scenario scenario, EventSink events)
    : setup_(setup),
      driver_(driver),
      analyser_(std::move(scenario.analyser)),
      faults_(scenario.faults),
      session_(analyser_, faults_, driver.payload, std::move(events)) {}

std::string Converter::ListedSerial() const {
    return setup_.serial.value_or(std::to_string(analyser_.Data().serial_number));
}

void Converter::Reset() {
    session_.Reset();
    coming_.clear();
    queue_.clear();
    expecting_until_ms_ = 0;
}

void Converter::Write(Bytes bytes, std::uint64_t now_ms) {
    session_.Receive(bytes, now_ms);
    TakeFromAnalyser(now_ms);
    expecting_until_ms_ = coming_.empty() ? now_ms + kLongestDelayMs : now_ms;
}

bool Converter::Deliver(std::uint64_t now_ms) {
    TakeFromAnalyser(now_ms);
    bool has_come = false;
    while (!coming_.empty() && coming_.front().due_ms <= now_ms) {
        // One piece at a time: the next is signalled once this one is read.
        if (driver_.piece != 0 && !queue_.empty()) break;
        queue_.insert(queue_.end(), coming_.front().bytes.begin(), coming_.front().bytes.end());
        coming_.pop_front();
        has_come = true;
    }
    return has_come;
}

bool Converter::IsExpecting(std::uint64_t now_ms) const { return !coming_.empty() || now_ms < expecting_until_ms_; }

std::size_t Converter::Read(std::span<std::uint8_t> bytes) {
    const std::size_t count = std::min(bytes.size(), queue_.size());
    const auto end          = queue_.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(queue_.begin(), end, bytes.begin());
    queue_.erase(queue_.begin(), end);
    return count;
}

void Converter::TakeFromAnalyser(std::uint64_t now_ms) {
    while (const std::optional<Message> packet = session_.TakeOutput(now_ms)) {
        const std::size_t piece = driver_.piece == 0 ? std::max<std::size_t>(packet->size(), 1) : driver_.piece;
        for (std::size_t at = 0; at < packet->size(); at += piece) {
            const auto begin = packet->begin() + static_cast<std::ptrdiff_t>(at);
            const auto count = static_cast<std::ptrdiff_t>(std::min(piece, packet->size() - at));
            coming_.push_back({now_ms + driver_.latency_ms, Message(begin, begin + count)});
        }
    }
}

}  // namespace simulator
