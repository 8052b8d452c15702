// One attached converter: what its driver has received from the analyser behind it. No clock and no threads of its own.
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "byte_session.h"
#include "driver_setup.h"

namespace simulator {

class Converter {
public:
    /// `driver` must outlive the converter.
    Converter(ConverterSetup setup, const DriverSetup& driver, std::unique_ptr<ByteSession> analyser)
        : setup_(std::move(setup)), driver_(driver), session_(std::move(analyser)) {}

    [[nodiscard]] ConverterSetup& Setup() { return setup_; }
    [[nodiscard]] const ConverterSetup& Setup() const { return setup_; }
    [[nodiscard]] std::string ListedSerial() const { return setup_.serial.value_or(""); }
    [[nodiscard]] std::string ToldSerial() const { return setup_.told_serial.value_or(ListedSerial()); }

    /// The link is opened: what was under way is forgotten.
    void Reset();
    /// `fault` is what is to go wrong with this call, or null; how the answer comes is the converter's part of it.
    void Write(Bytes bytes, const CallFault* fault, std::uint64_t now_ms);
    /// Lets in what is due; true when something has come that the program must be told of.
    [[nodiscard]] bool Deliver(std::uint64_t now_ms);
    /// True while something may still come without a further request.
    [[nodiscard]] bool IsExpecting() const;

    [[nodiscard]] std::size_t Queued() const { return queue_.size(); }
    /// Takes at most the size of `bytes`; gives how many.
    std::size_t Read(std::span<std::uint8_t> bytes);

private:
    struct Piece {
        std::uint64_t due_ms = 0;
        Message bytes;
    };

    void TakeFromAnalyser(std::uint64_t now_ms);

    ConverterSetup setup_;
    const DriverSetup& driver_;
    std::unique_ptr<ByteSession> session_;
    std::deque<Piece> coming_;
    std::deque<std::uint8_t> queue_;
    std::uint32_t trickle_ms_ = 0;  // before each byte of the answer to the last call, which then comes in single bytes
    std::uint64_t next_due_ms_ = 0;  // nothing comes earlier
};

}  // namespace simulator
