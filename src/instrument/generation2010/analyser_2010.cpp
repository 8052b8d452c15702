#include "instrument/generation2010/analyser_2010.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#include "instrument/generation2010/library_functions.h"
#include "instrument/generation2010/translation.h"
#include "instrument/generation2010/value_records.h"
#include "platform/clock.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

constexpr std::uint32_t kNormalMode = 0;
constexpr std::uint32_t kSlaveMode  = 2;
constexpr std::uint32_t kWakeUpNow  = 3;

constexpr std::uint32_t kOtherSubType = 0;

/// Up to here the device type alone tells the sub type.
constexpr std::array<std::uint32_t, 3> kSubTypesByType = {20, 1, 2};

struct NameRow {
    std::wstring_view name;
    std::uint32_t sub_type;
};

constexpr std::array kSubTypesByName = {
    NameRow{L"NELTO 745", 20},
    NameRow{L"NELTO 780-1HD F", 3},
    NameRow{L"NELTO 780-2HD F", 4},
};

std::uint32_t SubTypeOfName(std::wstring_view name) {
    const auto row = std::ranges::find(kSubTypesByName, name, &NameRow::name);
    return row == kSubTypesByName.end() ? kOtherSubType : row->sub_type;
}

DateTime2010 LocalDateTime() {
    const platform::CalendarTime now = platform::LocalTime();
    return {.hour   = static_cast<std::uint8_t>(now.hour),
            .minute = static_cast<std::uint8_t>(now.minute),
            .second = static_cast<std::uint8_t>(now.second),
            .zero   = 0,
            .year   = static_cast<std::uint16_t>(now.year),
            .month  = static_cast<std::uint8_t>(now.month),
            .day    = static_cast<std::uint8_t>(now.day)};
}

}  // namespace

Analyser2010::Analyser2010(Session session, std::uint32_t kind) : Analyser(std::move(session), kind) {
    session_.log.Write(L"CNelto780Base2010 Constructor");
    texts_ = std::make_unique<TextMapper>(kind, session_.log);
}

std::uint32_t Analyser2010::SetActiveFuel(std::int32_t fuel_number) {
    session_.log.WriteF(L"SetActualFuel. FuelID = %d", fuel_number);
    const std::uint32_t library_fuel = LibraryFuelOf(fuel_number);
    if (library_fuel == 0) return kDone;
    return CallDevice(session_, library::kSetActiveFuelId, library_fuel) == 0 ? kDone : kBadAnswer;
}

std::uint32_t Analyser2010::ReadHeatingCheck(ChannelTable& /*heating_check*/) { return kTransportFailure; }

std::uint32_t Analyser2010::ReadValues(ChannelTable& channels) {
    RecordArray records;
    const std::uint32_t result = ReadCurrentValues(session_, records);
    if (result != kDone) return result;
    for (const ValueRecord2010& record : records.Records()) {
        const std::uint32_t view_ident = ViewIdentOf(record.ident);
        if (view_ident == kFreeRecord) break;  // ends the pass: whatever stands behind it is not looked at
        session_.log.WriteF(L"New Online Value: ViewIdent %08X, Value %f", std::uint32_t{record.ident},
                            static_cast<double>(std::bit_cast<float>(std::uint32_t{record.value})));
        UpdateChannel2010(view_ident, record, channels);
    }
    return kDone;
}

std::uint32_t Analyser2010::SynchronizeClock() {
    session_.log.Write(L"SynchronizeClock2010");
    const auto error = CallDevice(session_, library::kSetDateTime, LocalDateTime());
    return error == 0 ? kDone : session_.Failed(L"NELTO760SPI_SetDateTime: Error code %d", error);
}

std::uint32_t Analyser2010::GetSubType() {
    session_.log.Write(L"CNelto780Base2010::GetSubType");
    std::uint32_t type = 0;
    if (const auto error = AskDevice(session_, library::kGetDeviceType, type); error != 0) {
        return session_.Failed(L"NELTO760SPI_GetDeviceType: Error code %d", error);
    }
    session_.log.WriteF(L"NELTO760SPI_GetDeviceType: %d", static_cast<int>(type));
    SetSubType(kOtherSubType);
    if (type < kSubTypesByType.size()) {
        SetSubType(kSubTypesByType[type]);
        return kDone;
    }

    Unread2010 unread{};
    LibraryText<kDeviceNameCapacity> name{};
    if (const auto error =
            CallDevice(session_, library::kGetDeviceName, unread.data(), name.data(), kDeviceNameCapacity);
        error != 0) {
        return session_.Failed(L"NELTO760SPI_GetDeviceName: Error code %d", error);
    }
    name.back() = L'\0';
    session_.log.WriteF(L"NELTO760SPI_GetDeviceName: %ls", name.data());
    SetSubType(SubTypeOfName(platform::TextIn(name)));
    return kDone;
}

std::uint32_t Analyser2010::SetSlaveMode(bool on) {
    session_.log.Write(L"CNelto780Base2010::SetSlaveMode");
    if (const auto error = CallDevice(session_, library::kSetDeviceMode, on ? kSlaveMode : kNormalMode); error != 0) {
        return session_.Failed(L"NELTO760SPI_SetDeviceMode: Error code %d", error);
    }
    session_.log.Write(L"SetSlaveMode2010 OK");
    return kDone;
}

std::uint32_t Analyser2010::WakeUp() {
    session_.log.Write(L"CNelto780Base2010::WakeUp");
    const auto error = CallDevice(session_, library::kSetShutdown, kWakeUpNow);
    return error == 0 ? kDone : session_.Failed(L"NELTO760SPI_Shutdown: Error code %d", error);
}

void Analyser2010::StartUp() {
    if (Kind() == kKind760) WakeUp();
}

void Analyser2010::Release() {
    if (session_.transport == Transport::kUsb) session_.log.Write(L"Connection closed (USB to nelto 780 2010)");
    CallDevice(session_, library::kClose);
    session_.library_handle = 0;
    texts_.reset();
}

}  // namespace nelto
