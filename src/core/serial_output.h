// The serial output: the current values as lines on a COM port, once a display refresh.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "core/program_state.h"

namespace nelto {

/// The bytes of one block: "NELTO", a line per value, "END".
[[nodiscard]] std::string SerialOutputBlock(const Measurement& measurement);

/// One block on its way at a time: the dialog's thread begins it, another one writes it, so that a port that keeps its writer
/// waiting keeps nobody else.
class SerialOutput {
public:
    /// Dialog: takes the block of this measurement when the setting asks for it and none is under way; true when Write is to be
    /// called.
    [[nodiscard]] bool Begin(const ProgramState& state, const Measurement& measurement);
    /// Writer: opens the port, sends the block and closes the port. A port that cannot be opened is left out silently, and so is
    /// the rest of a block after a line for which the port takes longer than 500 ms and 40 ms a byte.
    void Write();
    /// Dialog: gives up a block that was begun and finds no writer.
    void Drop() { under_way_ = 0; }
    /// Dialog, when it closes: the line under way is broken off, and no other one is begun.
    void Cancel() { cancelled_ = 1; }

private:
    void Send();

    std::atomic<std::uint32_t> under_way_{0};
    std::atomic<std::uint32_t> cancelled_{0};
    std::wstring path_;
    std::string block_;
};

}  // namespace nelto
