#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "instrument/generation2004/commands.h"
#include "instrument/opening.h"
#include "transport/usb_link.h"

namespace nelto {
namespace {

constexpr std::uint32_t kAnySerialNumber            = 0;
constexpr std::array<std::uint32_t, 2> kDeviceTypes = {2, 16};  // in the order in which they are tried

constexpr std::size_t kIdentAnswerLength          = 9;
constexpr std::array<std::string_view, 2> kModels = {"T780", "T790"};  // bytes 4 to 7

bool IsModel2004(std::span<const std::uint8_t> answer) {
    if (answer.size() != kIdentAnswerLength) return false;
    return std::ranges::any_of(
        kModels, [answer](std::string_view model) { return std::ranges::equal(answer.subspan(4, 4), model); });
}

/// True when one of the device types is attached and opens.
bool OpenFirstDevice(UsbLink*& link) {
    return std::ranges::any_of(
        kDeviceTypes, [&link](std::uint32_t type) { return NeltoUSBOpen(type, kAnySerialNumber, link) == kUsbOk; });
}

}  // namespace

bool OpenOverUsb(InstrumentConnection& connection, const char*& error) {
    if (!OpenFirstDevice(connection.link.usb_link)) return OpenOverEmUsb(connection, error);
    connection.kind = kKind780;
    connection.log.Write(L"Instrument nelto 780 (2004)/nelto 790 opened (via USB)");
    return true;
}

/// What the maker's library has opened is known by its product number already.
bool IdentifyOverUsb(InstrumentConnection& connection, const char*& error) {
    if (connection.kind != kKind780) return true;
    DirectAnswer answer;
    std::size_t received = 0;
    if (LinkTransceive(connection.link, kGetIdent, answer, received, kGetIdentTimeoutUsb) != kUsbOk) {
        return OpeningFailed(connection, error, L"GET_IDENT [nelto 780 2004] failed: instrument is switched off",
                             "GET_IDENT [nelto 780 2004] failed: instrument is switched off");
    }
    if (!IsModel2004(std::span(answer).first(received))) {
        return OpeningFailed(connection, error, L"GET_IDENT [nelto 780 2004] failed: wrong ident",
                             "GET_IDENT [nelto 780 2004] failed: wrong ident");
    }
    connection.log.Write(L"GET_IDENT [nelto 780 2004] OK");
    return true;
}

}  // namespace nelto
