// nelto7XXT.dll: current values, measurement cache and fuels.
#include "library_call.h"

using nelto::ValueRecord2010;
using simulator::Analyser2010;
using simulator::CallDevice;
using simulator::GiveNumber;
using simulator::TellNumber;

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetNumberOfCurrentViewValues(std::uint32_t device, std::uint32_t,
                                                                            simulator::NumberOut count) {
    return CallDevice("NELTO760SPI_GetNumberOfCurrentViewValues", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          GiveNumber(analyser.Data().values.size(), count, told);
                          return 0U;
                      });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetCurrentViewValues(std::uint32_t device, std::uint32_t, void* header,
                                                                    ValueRecord2010* records, std::uint32_t count) {
    return CallDevice("NELTO760SPI_GetCurrentViewValues", device, [&](const Analyser2010& analyser, std::string& told) {
        simulator::GiveUnread(header);
        simulator::GiveRecords(analyser.CurrentValues(simulator::DropInNowMs()), records, count, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetCurrentMeasurement(std::uint32_t device,
                                                                     simulator::NumberOut measurement) {
    return CallDevice("NELTO760SPI_GetCurrentMeasurement", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          GiveNumber(analyser.Data().measurement, measurement, told);
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

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheCounter(std::uint32_t device,
                                                                   simulator::NumberOut positions) {
    return CallDevice("NELTO760SPI_GetMeasCacheCounter", device, [&](const Analyser2010& analyser, std::string& told) {
        simulator::GiveByte(analyser.Data().cache.size(), positions, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheNumberOfValues(std::uint32_t device, std::uint32_t position,
                                                                          simulator::NumberOut count) {
    return CallDevice("NELTO760SPI_GetMeasCacheNumberOfValues", device,
                      [&](const Analyser2010& analyser, std::string& told) {
                          TellNumber(told, position);
                          if (position >= analyser.Data().cache.size()) return simulator::kBadValue;
                          GiveNumber(analyser.Data().cache[position].size(), count, told);
                          return 0U;
                      });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetMeasCacheValues(std::uint32_t device, std::uint32_t position,
                                                                  void* header, ValueRecord2010* records,
                                                                  std::uint32_t count) {
    return CallDevice("NELTO760SPI_GetMeasCacheValues", device, [&](const Analyser2010& analyser, std::string& told) {
        TellNumber(told, position);
        const auto cached = analyser.CachedValues(position, simulator::DropInNowMs());
        if (!cached) return simulator::kBadValue;
        simulator::GiveUnread(header);
        simulator::GiveRecords(*cached, records, count, told);
        return 0U;
    });
}

NELTO_LIBRARY_EXPORT std::uint32_t NELTO760SPI_GetActiveFuelID(std::uint32_t device, simulator::NumberOut fuel) {
    return CallDevice("NELTO760SPI_GetActiveFuelID", device, [&](const Analyser2010& analyser, std::string& told) {
        GiveNumber(analyser.ActiveFuel(), fuel, told);
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
        simulator::GiveFuel(*found, data);
        return 0U;
    });
}
