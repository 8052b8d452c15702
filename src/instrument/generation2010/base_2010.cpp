#include "instrument/generation2010/base_2010.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "instrument/generation2010/configuration.h"
#include "instrument/generation2010/device_call.h"
#include "instrument/generation2010/fuel.h"
#include "instrument/generation2010/values.h"
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

/// The log line comes before those of the text mapper.
InstrumentConnection& LogConstruction(InstrumentConnection& connection) {
    connection.log.Write(L"CNelto780Base2010 Constructor");
    return connection;
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

CNelto780Base2010::CNelto780Base2010(InstrumentConnection& connection)
    : connection_(LogConstruction(connection)), texts_(connection.kind, connection.log) {}

std::uint32_t CNelto780Base2010::GetSubType() {
    connection_.log.Write(L"CNelto780Base2010::GetSubType");
    RoomyNumber2010<std::uint32_t> told;
    if (const auto error = CallDevice(connection_, library::kGetDeviceType, &told); error != 0) {
        return Failed(L"NELTO760SPI_GetDeviceType: Error code %d", error);
    }
    const std::uint32_t type = told.value;
    connection_.log.WriteF(L"NELTO760SPI_GetDeviceType: %d", static_cast<int>(type));
    connection_.sub_type = kOtherSubType;
    if (type < kSubTypesByType.size()) {
        connection_.sub_type = kSubTypesByType[type];
        return kDone;
    }

    Unread2010 unread{};
    LibraryText<kDeviceNameCapacity> name{};
    if (const auto error =
            CallDevice(connection_, library::kGetDeviceName, unread.data(), name.data(), kDeviceNameCapacity);
        error != 0) {
        return Failed(L"NELTO760SPI_GetDeviceName: Error code %d", error);
    }
    name.back() = L'\0';
    connection_.log.WriteF(L"NELTO760SPI_GetDeviceName: %ls", name.data());
    connection_.sub_type = SubTypeOfName(platform::TextIn(name));
    return kDone;
}

std::uint32_t CNelto780Base2010::SetSlaveMode(bool on) {
    connection_.log.Write(L"CNelto780Base2010::SetSlaveMode");
    if (const auto error = CallDevice(connection_, library::kSetDeviceMode, on ? kSlaveMode : kNormalMode);
        error != 0) {
        return Failed(L"NELTO760SPI_SetDeviceMode: Error code %d", error);
    }
    connection_.log.Write(L"SetSlaveMode2010 OK");
    return kDone;
}

std::uint32_t CNelto780Base2010::SynchronizeClock() {
    connection_.log.Write(L"SynchronizeClock2010");
    const auto error = CallDevice(connection_, library::kSetDateTime, LocalDateTime());
    return error == 0 ? kDone : Failed(L"NELTO760SPI_SetDateTime: Error code %d", error);
}

std::uint32_t CNelto780Base2010::WakeUp() {
    connection_.log.Write(L"CNelto780Base2010::WakeUp");
    const auto error = CallDevice(connection_, library::kSetShutdown, kWakeUpNow);
    return error == 0 ? kDone : Failed(L"NELTO760SPI_Shutdown: Error code %d", error);
}

std::uint32_t CNelto780Base2010::GetOnlineConfiguration(ChannelTable& channels, std::uint32_t model) {
    return GetOnlineConfiguration2010(connection_, model, texts_, channels);
}

std::uint32_t CNelto780Base2010::GetOnlineValues(ChannelTable& channels) {
    return GetOnlineValues2010(connection_, channels);
}

std::uint32_t CNelto780Base2010::SetActualFuel(std::int32_t fuel_number) {
    return SetActualFuel2010(connection_, fuel_number);
}

std::uint32_t CNelto780Base2010::Failed(platform::TextFormat<int> format, std::uint32_t error) const {
    connection_.log.WriteF(format, static_cast<int>(error));
    return kBadAnswer;
}

}  // namespace nelto
