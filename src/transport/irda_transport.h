// Generation-2004 messages over infrared, to the older analysers. Every byte is traced in the IrDA log, which is emptied by
// each opening and open as long as the connection. There is one connection at a time. Worker thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nelto {

/// Result codes of IrdaOpen.
enum IrdaOpenResult : std::uint32_t {
    kIrdaOpenOk         = 0,
    kIrdaNoSocket       = 1,  // also where the system knows no infrared
    kIrdaNotBlocking    = 2,
    kIrdaListingFailed  = 3,
    kIrdaNoDevice       = 4,
    kIrdaNoAcceptedName = 5,
    kIrdaConnectFailed  = 6,
};

/// Result codes of IrdaTransceive.
enum IrdaResult : std::uint32_t {
    kIrdaOk             = 0,
    kIrdaLinkFailed     = 1,  // sending or receiving failed, or the analyser closed the connection
    kIrdaBadReplyLength = 2,  // the reply is longer than its capacity, incomplete, or longer than it says
};

/// Looks for an analyser in range and connects to the first one with an accepted name. Returns an IrdaOpenResult. What it took
/// is left for CloseIrda on failure too; a connection that is still open is closed first.
[[nodiscard]] std::uint32_t IrdaOpen();

/// Sends one request and receives the whole reply, whose length of 16 bits stands behind its second byte and counts all of it.
/// There is no time-out: a connected analyser that stays silent is waited for. Returns an IrdaResult; `received` is 0 unless
/// it is kIrdaOk.
[[nodiscard]] std::uint32_t IrdaTransceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                           std::size_t& received);

/// Releases socket, Winsock and log, as far as they are open.
void CloseIrda();

}  // namespace nelto
