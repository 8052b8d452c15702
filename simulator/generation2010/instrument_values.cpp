// nelto7XXT.dll: current values, measurement cache and fuels.
#include <algorithm>

#include "library_call.h"

using nelto::ValueRecord2010;
using simulator::Analyser2010;
using simulator::CallDevice;
using simulator::TellNumber;

namespace {

std::uint32_t GiveRecords(const Analyser2010::Records& records, ValueRecord2010* out, std::uint32_t count,
                          std::string& told) {
    const std::size_t given = std::min<std::size_t>(records.size(), count);
    std::copy_n(records.begin(), given, out);
    TellNumber(told, given);
    return 0;
}

}  // namespace

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetNumberOfCurrentViewValues(std::uint32_t device, std::uint32_t,
                                                                            std::uint32_t* count) {
    return CallDevice("NELTO760SPI_GetNumberOfCurrentViewValues", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          *count = static_cast<std::uint32_t>(analyser.Data().values.size());
                          TellNumber(told, *count);
                          return 0U;
                      });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetCurrentViewValues(std::uint32_t device, std::uint32_t, void*,
                                                                    ValueRecord2010* records, std::uint32_t count) {
    return CallDevice("NELTO760SPI_GetCurrentViewValues", device, [&](const Analyser2010& analyser, std::string& told) {
        return GiveRecords(analyser.CurrentValues(simulator::DropInNowMs()), records, count, told);
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetCurrentMeasurement(std::uint32_t device, std::uint32_t* measurement) {
    return CallDevice("NELTO760SPI_GetCurrentMeasurement", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          *measurement = analyser.Data().measurement;
                          TellNumber(told, *measurement);
                          return 0U;
                      });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_SetCurrentMeasurement(std::uint32_t device, std::uint32_t measurement) {
    return CallDevice("NELTO760SPI_SetCurrentMeasurement", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          TellNumber(told, measurement);
                          return measurement == analyser.Data().measurement ? 0U : simulator::kBadValue;
                      });
}

/// One byte, the least that a caller has to cope with.
NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheCounter(std::uint32_t device, std::uint8_t* positions) {
    return CallDevice("NELTO760SPI_GetMeasCacheCounter", device, [&](const Analyser2010& analyser, std::string& told) {
        *positions = static_cast<std::uint8_t>(analyser.Data().cache.size());
        TellNumber(told, *positions);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheNumberOfValues(std::uint32_t device, std::uint32_t position,
                                                                          std::uint32_t* count) {
    return CallDevice("NELTO760SPI_GetMeasCacheNumberOfValues", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          TellNumber(told, position);
                          if (position >= analyser.Data().cache.size()) return simulator::kBadValue;
                          *count = static_cast<std::uint32_t>(analyser.Data().cache[position].size());
                          TellNumber(told, *count);
                          return 0U;
                      });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheValues(std::uint32_t device, std::uint32_t position, void*,
                                                                  ValueRecord2010* records, std::uint32_t count) {
    return CallDevice("NELTO760SPI_GetMeasCacheValues", device, [&](const Analyser2010& analyser, std::string& told) {
        TellNumber(told, position);
        const auto cached = analyser.CachedValues(position, simulator::DropInNowMs());
        return cached ? GiveRecords(*cached, records, count, told) : simulator::kBadValue;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetActiveFuelID(std::uint32_t device, std::uint32_t* fuel) {
    return CallDevice("NELTO760SPI_GetActiveFuelID", device, [&](const Analyser2010& analyser, std::string& told) {
        *fuel = analyser.ActiveFuel();
        TellNumber(told, *fuel);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_SetActiveFuelID(std::uint32_t device, std::uint32_t fuel) {
    return CallDevice("NELTO760SPI_SetActiveFuelID", device, [&](Analyser2010& analyser, std::string& told) {
        TellNumber(told, fuel);
        return analyser.SetActiveFuel(fuel) ? 0U : simulator::kBadValue;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetAppFuelData(std::uint32_t device, std::uint32_t fuel,
                                                              nelto::FuelData2010* data) {
    return CallDevice("NELTO760SPI_GetAppFuelData", device, [&](const Analyser2010& analyser, std::string& told) {
        TellNumber(told, fuel);
        const simulator::Fuel2010* const found = analyser.FindFuel(fuel);
        if (found == nullptr) return simulator::kBadValue;
        data->maximum_carbon_dioxide = found->co2_max;
        data->reference_oxygen       = found->o2_reference;
        return 0U;
    });
}
