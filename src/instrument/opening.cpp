#include "instrument/opening.h"

#include <algorithm>
#include <array>

namespace nelto {
namespace {

constexpr std::array kOpenings = {
    TransportOpening{.transport = Transport::kIrda, .open = OpenOverIrda, .identify = IdentifyOverIrda},
    TransportOpening{.transport = Transport::kUsb, .open = OpenOverUsb, .identify = IdentifyOverUsb},
    TransportOpening{.transport = Transport::kSerial, .open = OpenOverSerial, .identify = IdentifyOverSerial},
};

}  // namespace

const TransportOpening* OpeningFor(Transport transport) {
    const auto row = std::ranges::find(kOpenings, transport, &TransportOpening::transport);
    return row == kOpenings.end() ? nullptr : &*row;
}

bool OpeningFailed(const InstrumentConnection& connection, const char*& error, const wchar_t* text, const char* why) {
    connection.log.Write(text);
    error = why;
    return false;
}

}  // namespace nelto
