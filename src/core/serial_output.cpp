#include "core/serial_output.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/value_text.h"
#include "platform/output_port.h"
#include "platform/serial_port.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::string_view kLineEnd = "\n\r";  // line feed first, kept on purpose

// How long the port may take for one line, until its receiver counts as halted. 300 baud is fast enough.
constexpr std::uint32_t kLeastLineTime = 500;  // milliseconds
constexpr std::uint32_t kByteTime      = 40;   // milliseconds

constexpr std::array<std::uint32_t, 7> kNeverSent = {
    kFuel, kDevice, kVersion, kSerialNumber, kSmokePump, kMaximumCarbonDioxide, kReferenceOxygen,
};

bool IsSent(const ChannelRecord& record, bool oil_fuel) {
    if (IsSmokeChannel(record.view_ident)) return oil_fuel;
    return std::ranges::find(kNeverSent, record.view_ident) == kNeverSent.end();
}

/// Each wide character as its low 8 bits, where the low bits of a letter may be a control character too. A text of 256
/// characters or more is not sent at all.
std::string LowBytes(std::wstring text) {
    if (text.size() >= kValueTextSize) return {};
    for (wchar_t& character : text) character = static_cast<wchar_t>(character & 0xFF);
    std::string bytes;
    for (const wchar_t character : OnOneLine(std::move(text))) bytes += static_cast<char>(character);
    return bytes;
}

std::string Line(const ChannelRecord& record) {
    std::string line = LowBytes(platform::Formatted(L"%08X:%03u=", record.view_ident, record.unit));
    if (record.value_type != kNoValue) line += LowBytes(RecordValueText(record, L'.'));
    return line.append(kLineEnd);
}

}  // namespace

std::string SerialOutputBlock(const Measurement& measurement) {
    std::string block = std::string("NELTO").append(kLineEnd);
    for (const ChannelRecord& record : UsedRecords(measurement.channels)) {
        if (IsSent(record, measurement.oil_fuel)) block += Line(record);
    }
    return block.append("END").append(kLineEnd);
}

bool SerialOutput::Begin(const ProgramState& state, const Measurement& measurement) {
    if (state.serial_output == 0 || under_way_ != 0) return false;
    path_      = platform::SerialPath(state.serial_output_port);
    block_     = SerialOutputBlock(measurement);
    under_way_ = 1;
    return true;
}

void SerialOutput::Write() {
    Send();
    under_way_ = 0;
}

/// Line by line, up to one that the port keeps waiting.
void SerialOutput::Send() {
    const platform::OutputPort port = platform::OpenOutputPort(path_.c_str());
    if (port == platform::OutputPort::kNone) return;
    std::string_view left = block_;
    while (!left.empty() && cancelled_ == 0) {
        const std::size_t size = left.find(kLineEnd) + kLineEnd.size();
        const auto limit       = kLeastLineTime + kByteTime * static_cast<std::uint32_t>(size);
        if (!platform::WriteOutput(port, left.substr(0, size), limit, cancelled_)) break;
        left.remove_prefix(size);
    }
    platform::CloseOutputPort(port);
}

}  // namespace nelto
