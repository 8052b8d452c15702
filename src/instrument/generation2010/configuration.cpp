// Which quantities an analyser of generation 2010 shows.
#include <algorithm>
#include <array>
#include <string>

#include "instrument/generation2010/analyser_2010.h"
#include "instrument/generation2010/library_functions.h"
#include "instrument/generation2010/translation.h"
#include "instrument/generation2010/value_records.h"
#include "instrument/table_builder.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

/// The fuel brings two more channels: it is read only while all three have room.
constexpr std::size_t kRoomForFuel = 61;

constexpr std::uint32_t kCarbonDioxide2010 = 0x090D;
constexpr std::uint32_t kOxygen2010        = 0x090C;

constexpr std::uint32_t kUnsetDeviceType = 255;

struct ModelRow {
    std::uint32_t model;
    const wchar_t* device_text;
};

/// Every other model tells its variant by its device type.
constexpr std::array kModels = {
    ModelRow{kKind710, L"nelto 710"}, ModelRow{kKind711, L"nelto 710"}, ModelRow{kKind745, L"nelto 745"},
    ModelRow{kKind752, L"nelto 752"}, ModelRow{kKind760, L"nelto 760"},
};

ChannelRecord TextChannel(std::uint32_t view_ident, const wchar_t* label, std::wstring_view text) {
    ChannelRecord channel = TextRecord(view_ident, 0, label, text);
    channel.resolution    = kOneDecimal;
    return channel;
}

ChannelRecord PercentChannel(std::uint32_t ident_2010, const wchar_t* label, float value) {
    return NumberRecord(ViewIdentOf(ident_2010), kPercent, label, value);
}

/// One configuration read, step by step. A step that fails has written its line to the log and returns kBadAnswer.
class ConfigurationReader {
public:
    ConfigurationReader(Session& session, std::uint32_t model, const TextMapper& texts, ChannelTable& channels)
        : session_(session), model_(model), texts_(texts), channels_(channels, kMostChannels2010, L"") {}

    std::uint32_t Read();

private:
    using Step = std::uint32_t (ConfigurationReader::*)();

    /// A stop of the program takes effect between two steps.
    std::uint32_t Do(Step step) { return session_.StopRequested() ? std::uint32_t{kBadAnswer} : (this->*step)(); }

    std::uint32_t AddMeasurementCache();
    std::uint32_t AddCachePosition(std::uint32_t position);
    std::uint32_t AddCurrentValues();
    std::uint32_t ConfirmMeasurement();
    std::uint32_t AddFuel();
    void AddFuelChannel(std::uint32_t library_fuel);
    void AddFuelData(std::uint32_t library_fuel);
    std::uint32_t AddDevice();
    std::uint32_t AddVersion();
    std::uint32_t AddSerialNumber();
    std::uint32_t AddSmokePump();

    Session& session_;
    std::uint32_t model_;
    const TextMapper& texts_;
    TableBuilder channels_;
};

std::uint32_t ConfigurationReader::Read() {
    constexpr std::array<Step, 4> kMeasuredSteps = {
        &ConfigurationReader::AddMeasurementCache,  // first, so that its values come before the current ones
        &ConfigurationReader::AddCurrentValues,
        &ConfigurationReader::ConfirmMeasurement,
        &ConfigurationReader::AddFuel,
    };
    constexpr std::array<Step, 4> kDeviceSteps = {
        &ConfigurationReader::AddDevice,
        &ConfigurationReader::AddVersion,
        &ConfigurationReader::AddSerialNumber,
        &ConfigurationReader::AddSmokePump,
    };
    for (const Step step : kMeasuredSteps) {
        if (const auto result = Do(step); result != kDone) return result;
    }
    for (const Step step : kDeviceSteps) {
        if (channels_.IsFull()) break;
        if (const auto result = Do(step); result != kDone) return result;
    }
    session_.log.WriteF(L"Total Number of online channels %u", static_cast<unsigned>(channels_.Count()));
    session_.log.Write(L"done reading online configuration");
    return kDone;
}

/// What the analyser remembers of its last measurements.
std::uint32_t ConfigurationReader::AddMeasurementCache() {
    std::uint32_t counter = 0;
    if (AskDevice(session_, library::kGetMeasCacheCounter, counter) != 0) {
        return session_.Failed(L"Invalid response GetMeasCacheCounter");
    }
    const std::uint32_t positions = counter & 0xFF;  // the number is one byte, whatever stands behind it
    session_.log.WriteF(L"MeasCache Counter %u", positions);
    for (std::uint32_t position = 0; position < positions; ++position) {
        if (session_.StopRequested()) return kBadAnswer;
        if (const auto result = AddCachePosition(position); result != kDone) return result;
    }
    return kDone;
}

std::uint32_t ConfigurationReader::AddCachePosition(std::uint32_t position) {
    RoomyNumber2010<std::uint32_t> number;
    if (CallDevice(session_, library::kGetMeasCacheNumberOfValues, position, &number) != 0) {
        return session_.Failed(L"Invalid response GetMeasCacheNumberOfValues");
    }
    session_.log.WriteF(L"MeasCache Position %u, number of values %u", position, number.value);

    RecordArray records;
    Unread2010 header{};
    if (!records.Allocate(number.value) || CallDevice(session_, library::kGetMeasCacheValues, position, header.data(),
                                                      records.Data(), records.Count()) != 0) {
        return session_.Failed(L"Invalid response GetMeasCacheValues");
    }
    for (const ValueRecord2010& record : records.Records()) AddRecord2010(record, texts_, session_.log, channels_);
    return kDone;
}

std::uint32_t ConfigurationReader::AddCurrentValues() {
    RecordArray records;
    const std::uint32_t result = ReadCurrentValues(session_, records);
    if (result != kDone) return result;
    for (const ValueRecord2010& record : records.Records()) AddRecord2010(record, texts_, session_.log, channels_);
    return kDone;
}

/// Hands the measurement back to the analyser as it was read.
std::uint32_t ConfigurationReader::ConfirmMeasurement() {
    std::uint32_t measurement = 0;
    if (AskDevice(session_, library::kGetCurrentMeasurement, measurement) != 0) {
        return session_.Failed(L"NELTO760SPI_GetCurrentMeasurement failed");
    }
    if (CallDevice(session_, library::kSetCurrentMeasurement, measurement) != 0) {
        return session_.Failed(L"NELTO760SPI_SetCurrentMeasurement failed");
    }
    return kDone;
}

std::uint32_t ConfigurationReader::AddFuel() {
    if (channels_.Count() >= kRoomForFuel) return kDone;
    std::uint32_t library_fuel = 0;
    if (AskDevice(session_, library::kGetActiveFuelId, library_fuel) != 0) {
        return session_.Failed(L"NELTO760SPI_GetActiveFuelID failed");
    }
    session_.log.WriteF(L"Active FuelID  %u", library_fuel);
    AddFuelChannel(library_fuel);
    AddFuelData(library_fuel);
    return kDone;
}

/// The channel shows the fuel's name and carries its number: with the dialog's OK it becomes the number that is exchanged.
void ConfigurationReader::AddFuelChannel(std::uint32_t library_fuel) {
    std::wstring name = texts_.FuelText(library_fuel);
    if (name.empty()) name = platform::Formatted(L"Fuel%u", library_fuel);

    const std::int32_t fuel_number = FuelNumberOf(library_fuel);
    ChannelRecord channel          = TextChannel(kFuel, L"Fuel type", name);
    channel.resolution             = kWholeNumber;
    channel.value                  = static_cast<float>(fuel_number);
    if (fuel_number == 0) channel.value_type = kNoValue;
    channels_.Add(channel);
}

/// An analyser that does not tell them is shown without them.
void ConfigurationReader::AddFuelData(std::uint32_t library_fuel) {
    FuelData2010 data{};
    if (CallDevice(session_, library::kGetAppFuelData, library_fuel, &data) != 0) return;
    channels_.Add(PercentChannel(kCarbonDioxide2010, L"CO2max", data.maximum_carbon_dioxide));
    channels_.Add(PercentChannel(kOxygen2010, L"O2Ref", data.reference_oxygen));
}

std::uint32_t ConfigurationReader::AddDevice() {
    const auto row = std::ranges::find(kModels, model_, &ModelRow::model);
    if (row != kModels.end()) {
        channels_.Add(TextChannel(kDevice, L"Device", row->device_text));
        return kDone;
    }
    std::uint32_t type = kUnsetDeviceType;
    if (AskDevice(session_, library::kGetDeviceType, type) != 0) {
        return session_.Failed(L"NELTO760SPI_GetDeviceType failed");
    }
    // The type is one byte.
    channels_.Add(TextChannel(kDevice, L"Device", platform::Formatted(L"nelto 780-%u", type & 0xFF)));
    return kDone;
}

std::uint32_t ConfigurationReader::AddVersion() {
    std::uint32_t version = 0;
    if (AskDevice(session_, library::kGetFirmwareVersion, version) != 0) {
        return session_.Failed(L"NELTO760SPI_GetFirmwareVersion failed");
    }
    channels_.Add(TextChannel(kVersion, L"Version", platform::Formatted(L"%X.%02X", version >> 8, version & 0xFF)));
    return kDone;
}

std::uint32_t ConfigurationReader::AddSerialNumber() {
    std::uint32_t number = 0;
    if (AskDevice(session_, library::kGetSerialNumberBox, number) != 0) {
        return session_.Failed(L"NELTO760SPI_GetSerialNumberBox failed");
    }
    channels_.Add(TextChannel(kSerialNumber, L"SerNo", platform::Formatted(L"%08u", number)));
    return kDone;
}

std::uint32_t ConfigurationReader::AddSmokePump() {
    if (model_ == kKind752) return kDone;  // has none
    Unread2010 unread{};
    LibraryText<kSmokePumpCapacity> number{};
    if (CallDevice(session_, library::kGetSmokePumpNumber, unread.data(), number.data(), kSmokePumpCapacity) != 0) {
        return session_.Failed(L"NELTO760SPI_GetSmokePumpNumber failed");
    }
    // The labelling pass gives this channel its label.
    if (number.front() != L'\0') channels_.Add(TextChannel(kSmokePump, L"", platform::TextIn(number)));
    return kDone;
}

}  // namespace

std::uint32_t Analyser2010::ReadConfiguration(ChannelTable& channels) {
    return ConfigurationReader(session_, Kind(), *texts_, channels).Read();
}

}  // namespace nelto
