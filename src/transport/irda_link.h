// Generation-2004 messages over infrared, to the older analysers. Every byte is traced in the IrDA log, which is emptied by
// each opening and open as long as the link.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "diag/irda_log.h"
#include "platform/irda_socket.h"
#include "transport/link.h"

namespace nelto {

/// Why no link could be opened, as the logs show it.
enum IrdaOpenResult : std::uint32_t {
    kIrdaOpenOk         = 0,
    kIrdaNoSocket       = 1,  // also where the system knows no infrared
    kIrdaNotBlocking    = 2,
    kIrdaListingFailed  = 3,
    kIrdaNoDevice       = 4,
    kIrdaNoAcceptedName = 5,
    kIrdaConnectFailed  = 6,
};

class IrdaLink final : public Link {
public:
    /// Looks for an analyser in range and connects to the first one with an accepted name. Null on failure, with the reason in
    /// `result`; nothing stays open then.
    [[nodiscard]] static std::unique_ptr<IrdaLink> Open(StopRequest stop_request, IrdaOpenResult& result);

    ~IrdaLink() override { Close(); }

    /// The reply's length of 16 bits stands behind its second byte and counts all of it. There is no time-out: a connected analyser
    /// that stays silent is waited for, after a stop for 1.4 seconds since its last byte and 3 in all.
    [[nodiscard]] LinkStatus Transceive(std::span<const std::uint8_t> request, std::span<std::uint8_t> reply,
                                        std::size_t& received, std::uint32_t timeout_ms) override;
    [[nodiscard]] bool WaitForSilence(std::uint32_t silence_ms) override;
    void Close() override;

private:
    explicit IrdaLink(StopRequest stop_request) : stop_request_(stop_request) {}

    [[nodiscard]] IrdaOpenResult Connect();
    [[nodiscard]] IrdaOpenResult ConnectFailed(std::uint32_t error) const;
    [[nodiscard]] LinkStatus ReceiveReply(std::span<std::uint8_t> reply, std::size_t& length);
    [[nodiscard]] bool WaitForBytes(StopPatience& in_all) const;
    void DropRest();
    [[nodiscard]] std::ptrdiff_t DropQueued() const;

    StopRequest stop_request_;
    IrdaLog log_;
    bool has_winsock_            = false;
    platform::IrdaSocket socket_ = platform::IrdaSocket::kNone;
    bool rest_possible_          = false;  // the last reply had another length than it said, or was given up
};

}  // namespace nelto
