#include "instrument/opening_usb.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "instrument/generation2004/commands.h"
#include "instrument/opening_emusb.h"
#include "transport/usb_link.h"

namespace nelto {
namespace {

constexpr std::array<std::uint32_t, 2> kDeviceTypes = {2, 16};  // in the order in which they are tried

constexpr std::size_t kIdentAnswerLength          = 9;
constexpr std::array<std::string_view, 2> kModels = {"T780", "T790"};  // bytes 4 to 7

bool IsModel2004(std::span<const std::uint8_t> answer) {
    if (answer.size() != kIdentAnswerLength) return false;
    return std::ranges::any_of(
        kModels, [answer](std::string_view model) { return std::ranges::equal(answer.subspan(4, 4), model); });
}

/// The first device of the types that is attached and opens.
std::unique_ptr<Link> OpenFirstDevice(StopRequest stop_request, Obstacle& obstacle) {
    for (const std::uint32_t type : kDeviceTypes) {
        bool is_held = false;
        if (auto link = UsbLink::Open(type, stop_request, &is_held)) return link;
        if (is_held) obstacle = Obstacle::kInUse;
    }
    return nullptr;
}

}  // namespace

bool OpenOverUsb(Opening& opening) {
    opening.session.link = OpenFirstDevice(opening.session.stop_request, opening.obstacle);
    if (opening.session.link == nullptr) return OpenOverEmUsb(opening);
    opening.session.log.Write(L"Instrument nelto 780 (2004)/nelto 790 opened (via USB)");
    return true;
}

bool IdentifyOverUsb(Opening& opening) {
    if (opening.session.link == nullptr) return true;
    DirectAnswer answer;
    std::size_t received = 0;
    if (opening.session.Transceive(kGetIdent, answer, received, kGetIdentTimeoutUsb) != LinkStatus::kOk) {
        return opening.Failed(L"GET_IDENT [nelto 780 2004] failed: instrument is switched off",
                              "GET_IDENT [nelto 780 2004] failed: instrument is switched off");
    }
    if (!IsModel2004(std::span(answer).first(received))) {
        return opening.Failed(L"GET_IDENT [nelto 780 2004] failed: wrong ident",
                              "GET_IDENT [nelto 780 2004] failed: wrong ident");
    }
    opening.session.log.Write(L"GET_IDENT [nelto 780 2004] OK");
    return true;
}

}  // namespace nelto
