#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "instrument/generation2004/commands.h"
#include "instrument/generation2010/library_functions.h"
#include "instrument/opening_steps.h"
#include "transport/usb_link.h"

namespace nelto {
namespace {

constexpr std::array<std::uint32_t, 2> kDeviceTypes = {2, 16};  // in the order in which they are tried

/// The first device of the types that is attached and opens.
std::unique_ptr<Link> OpenFirstDevice(StopRequest stop_request, Obstacle& obstacle) {
    for (const std::uint32_t type : kDeviceTypes) {
        bool is_held = false;
        if (auto link = UsbLink::Open(type, stop_request, &is_held)) return link;
        if (is_held) obstacle = Obstacle::kInUse;
    }
    return nullptr;
}

bool IdentifyOverFtdi(Opening& opening) {
    DirectAnswer answer;
    std::size_t received = 0;
    if (opening.session.Transceive(kGetIdent, answer, received, kGetIdentTimeoutUsb) != LinkStatus::kOk) {
        return opening.Failed(L"GET_IDENT [nelto 780 2004] failed: instrument is switched off",
                              "GET_IDENT [nelto 780 2004] failed: instrument is switched off");
    }
    const auto ident = std::span(answer).first(received);
    if (!NamesModel(ident, 9, "T780") && !NamesModel(ident, 9, "T790")) {
        return opening.Failed(L"GET_IDENT [nelto 780 2004] failed: wrong ident",
                              "GET_IDENT [nelto 780 2004] failed: wrong ident");
    }
    opening.session.log.Write(L"GET_IDENT [nelto 780 2004] OK");
    return true;
}

constexpr std::uint32_t kFirstDevice   = 0;
constexpr std::uint32_t kIdent745Basic = 746;

/// The USB products under which a 780 of firmware 2010 appears.
constexpr std::array<std::uint32_t, 2> kProductsOf780 = {20, 4116};

struct ProductRow {
    std::uint32_t product;
    std::uint32_t kind;
    const wchar_t* log_line;
};

/// The other products, in the order in which they are looked for.
constexpr std::array kProducts = {
    ProductRow{37, kKind745, L"nelto 745 found"},
    ProductRow{15, kKind760, L"nelto 760 found"},
    ProductRow{36, kKind752, L"nelto 752 found"},
    ProductRow{49, kKind711, L"nelto 710 version 2018 found"},
};

/// How the two steps of opening a counted device fail: the line in the log, null for none, and the reason.
struct OpenFailures {
    const wchar_t* no_serial_line;
    const char* no_serial;
    const wchar_t* not_open_line;
    const char* not_open;
};

constexpr OpenFailures kFailuresOf780 = {
    .no_serial_line = L"[1] Instrument nelto 780 (2010): GetSerialNumber failed",
    .no_serial      = "get serial number from USB Segger (nelto780) failed",
    .not_open_line  = L"Instrument nelto 780 (2010): OpenBySerialNumber failed",
    .not_open       = "open by serial number Segger USB to nelto 780 failed",
};

constexpr OpenFailures kFailures = {
    .no_serial_line = nullptr,
    .no_serial      = "get USB serial number failed (Segger USB)",
    .not_open_line  = nullptr,
    .not_open       = "open by serial number Segger USB failed",
};

/// Whatever the library returns, only the number that it sets counts.
std::uint32_t DeviceCount(std::uint32_t product) {
    RoomyNumber2010<std::uint32_t> count;
    CallLibrary(library::kGetNumberOfDevices, product, &count);
    return count.value;
}

bool Failed(Opening& opening, const wchar_t* log_line, const char* why) {
    if (log_line != nullptr) opening.session.log.Write(log_line);
    opening.failure.text = why;
    return false;
}

/// Opens the one device of the product that was counted last.
bool OpenCountedDevice(Opening& opening, const OpenFailures& failures) {
    LibraryText<kUsbSerialCapacity> serial_number{};  // handed on as it came
    if (CallLibrary(library::kGetUsbSerialNumber, kFirstDevice, serial_number.data(), kUsbSerialCapacity) != 0) {
        return Failed(opening, failures.no_serial_line, failures.no_serial);
    }
    RoomyNumber2010<library::Handle> device;
    if (CallLibrary(library::kOpenBySerialNumber, serial_number.data(), &device) != 0) {
        opening.failure.obstacle = Obstacle::kInUse;  // it has just been counted
        return Failed(opening, failures.not_open_line, failures.not_open);
    }
    opening.session.library_handle = device.value;
    return true;
}

bool Open780(Opening& opening, std::uint32_t product) {
    opening.session.log.Write(L"Instrument nelto 780 (2010): Try to open via USB");
    opening.kind = kKind781;
    StartLibraryLog();
    DeviceCount(product);  // the serial number is that of the product counted last
    if (!OpenCountedDevice(opening, kFailuresOf780)) return false;
    opening.session.log.Write(L"Instrument nelto 780 (2010) opened (via USB)");
    return true;
}

bool FindProduct(Opening& opening) {
    for (const ProductRow& row : kProducts) {
        if (DeviceCount(row.product) != 1) continue;
        opening.session.log.Write(row.log_line);
        opening.kind = row.kind;
        return true;
    }
    return false;
}

bool OpenProduct(Opening& opening) {
    StartLibraryLog();
    if (!OpenCountedDevice(opening, kFailures)) return false;
    std::uint32_t ident = 0;
    AskDevice(opening.session, library::kGetIdent, ident);
    opening.session.log.WriteF(L"nelto 745 or nelto 760 with ident %u opened via USB", ident);
    if (ident == kIdent745Basic) opening.kind = kKind746;
    return true;
}

}  // namespace

bool OpenOverEmUsb(Opening& opening) {
    const std::array<std::uint64_t, 2> counts = {DeviceCount(kProductsOf780[0]), DeviceCount(kProductsOf780[1])};
    if (counts[0] + counts[1] == 1) return Open780(opening, kProductsOf780[counts[0] != 0 ? 0 : 1]);
    if (FindProduct(opening)) return OpenProduct(opening);
    return opening.Failed(L"no nelto fluegas instrument (nelto 745/780) found at USB",
                          "no supported nelto analyzer found at USB");
}

bool OpenOverUsb(Opening& opening) {
    opening.session.link = OpenFirstDevice(opening.session.stop_request, opening.failure.obstacle);
    if (opening.session.link == nullptr) return OpenOverEmUsb(opening);
    opening.session.log.Write(L"Instrument nelto 780 (2004)/nelto 790 opened (via USB)");
    return IdentifyOverFtdi(opening);
}

}  // namespace nelto
