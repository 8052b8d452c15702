// A simulated analyser of generation 2010 as the maker's libraries know it: no wire, no library, no clock of its own.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analyser_data.h"
#include "instrument/generation2010/library_records.h"
#include "value_course.h"

namespace simulator {

/// A value, current or cached. While it has none, `status` stands in its place.
struct Value2010 {
    std::uint32_t ident     = 0;
    std::uint16_t unit      = 255;
    std::uint8_t resolution = 255;  // 0 whole number, 255 one decimal, 254 two, 253 three, 252 four
    std::uint32_t status    = 0xFFFFFFFF;
    ValueCourse value;
};

struct Fuel2010 {
    std::uint32_t id = 0;
    std::u16string name;
    float co2_max      = 0;  // percent
    float o2_reference = 0;  // percent
};

/// Name of a quantity as the text mapper gives it.
struct Text2010 {
    std::uint32_t ident = 0;
    std::u16string english;
    std::u16string german;
};

/// A library function that returns an error code from its `from`-th call on, up to and with its `to`-th.
struct FunctionError {
    std::string function;
    std::uint32_t code = 0;
    std::uint32_t from = 1;
    std::uint32_t to   = 0xFFFFFFFF;
};

struct AnalyserData2010 {
    std::uint32_t kind = 745;
    std::uint64_t seed = 1;
    std::optional<std::uint32_t> device_type;  // those of the kind where a scenario names none
    std::optional<std::u16string> device_name;
    std::map<std::uint32_t, std::uint32_t> devices;  // number on the bus by USB product; of the kind's own product 1
    std::u16string usb_serial_number = u"NELTO-0001";
    std::uint32_t firmware           = 0x0100;
    std::uint32_t serial_number      = 0;
    std::u16string smoke_pump;
    std::uint32_t measurement = 0;
    std::uint32_t active_fuel = 100;
    std::vector<Fuel2010> fuels;
    std::vector<Value2010> values;
    std::vector<std::vector<Value2010>> cache;  // by position
    std::vector<Text2010> texts;
    std::map<std::uint16_t, std::u16string> units;
    std::vector<FunctionError> errors;
    std::vector<TimeWindow> unplugged;
};

/// Handle of the analyser on the USB bus; that of a pipe is the handle of its COM port.
constexpr std::uint32_t kUsbDevice = 0x07600001;

/// One kind as the USB bus and the libraries tell it.
struct Kind2010 {
    std::uint32_t kind;
    std::uint32_t product;
    std::uint32_t device_type;
    const char16_t* device_name;
};

/// Null for a kind that is not of generation 2010.
[[nodiscard]] const Kind2010* FindKind2010(std::uint32_t kind);

class Analyser2010 {
public:
    explicit Analyser2010(AnalyserData2010 data);

    [[nodiscard]] const AnalyserData2010& Data() const { return data_; }
    [[nodiscard]] AnalyserData2010& Data() { return data_; }

    /// Counts the call; the error code that this call of the function is to give, or 0.
    std::uint32_t Begin(std::string_view function);
    /// False while nobody finds the analyser.
    [[nodiscard]] bool IsThere(std::uint64_t now_ms) const;

    /// Devices of the product on the bus.
    [[nodiscard]] std::uint32_t CountDevices(std::uint32_t product, std::uint64_t now_ms) const;
    [[nodiscard]] std::uint32_t DeviceType() const;
    [[nodiscard]] std::u16string DeviceName() const;

    using Records = std::vector<nelto::ValueRecord2010>;
    [[nodiscard]] Records CurrentValues(std::uint64_t now_ms) const;
    /// Null for a position that there is not.
    [[nodiscard]] std::optional<Records> CachedValues(std::uint32_t position, std::uint64_t now_ms) const;

    [[nodiscard]] std::uint32_t ActiveFuel() const { return data_.active_fuel; }
    /// False, and nothing changed, for an unknown fuel.
    [[nodiscard]] bool SetActiveFuel(std::uint32_t id);
    /// Null for an unknown fuel.
    [[nodiscard]] const Fuel2010* FindFuel(std::uint32_t id) const;

    /// Names of quantities and fuels; empty for an unknown one. `language` is a tag such as "de-DE".
    [[nodiscard]] std::u16string ViewText(std::u16string_view language, std::uint32_t ident) const;
    [[nodiscard]] std::u16string UnitText(std::uint16_t unit) const;

private:
    [[nodiscard]] Records MakeRecords(const std::vector<Value2010>& values, std::uint32_t first_stream,
                                      std::uint64_t now_ms) const;

    AnalyserData2010 data_;
    std::map<std::string, std::uint32_t, std::less<>> calls_;
};

}  // namespace simulator
