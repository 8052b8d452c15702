#include "analyser_2010.h"

#include <algorithm>
#include <array>
#include <bit>

namespace simulator {
namespace {

constexpr std::array kKinds = {
    Kind2010{711, 49, 3, u"NELTO 710"}, Kind2010{745, 37, 0, u"NELTO 745"}, Kind2010{746, 37, 0, u"NELTO 745"},
    Kind2010{752, 36, 3, u"NELTO 752"}, Kind2010{760, 15, 3, u"NELTO 760"}, Kind2010{781, 20, 5, u"NELTO 780-2HD F"},
};

constexpr std::uint32_t kStreamsPerPosition = 256;  // noise streams of the cache positions, behind those of the values

}  // namespace

const Kind2010* FindKind2010(std::uint32_t kind) {
    const auto* row = std::ranges::find(kKinds, kind, &Kind2010::kind);
    return row == kKinds.end() ? nullptr : row;
}

Analyser2010::Analyser2010(AnalyserData2010 data) : data_(std::move(data)) {}

std::uint32_t Analyser2010::Begin(std::string_view function) {
    const auto entry         = calls_.try_emplace(std::string(function), 0).first;
    const std::uint32_t call = ++entry->second;
    const auto error         = std::ranges::find_if(data_.errors, [&](const FunctionError& candidate) {
        return candidate.function == function && candidate.from <= call && call <= candidate.to;
    });
    return error == data_.errors.end() ? 0 : error->code;
}

bool Analyser2010::IsThere(std::uint64_t now_ms) const {
    return std::ranges::none_of(data_.unplugged,
                                [now_ms](const TimeWindow& window) { return window.Contains(now_ms); });
}

std::uint32_t Analyser2010::CountDevices(std::uint32_t product, std::uint64_t now_ms) const {
    if (!IsThere(now_ms)) return 0;
    const auto own = data_.devices.find(product);
    if (own != data_.devices.end()) return own->second;
    return product == FindKind2010(data_.kind)->product ? 1 : 0;
}

std::uint32_t Analyser2010::DeviceType() const {
    return data_.device_type.value_or(FindKind2010(data_.kind)->device_type);
}

std::u16string Analyser2010::DeviceName() const {
    return data_.device_name.value_or(FindKind2010(data_.kind)->device_name);
}

Analyser2010::Records Analyser2010::CurrentValues(std::uint64_t now_ms) const {
    return MakeRecords(data_.values, 0, now_ms);
}

std::optional<Analyser2010::Records> Analyser2010::CachedValues(std::uint32_t position, std::uint64_t now_ms) const {
    if (position >= data_.cache.size()) return std::nullopt;
    return MakeRecords(data_.cache[position], (position + 1) * kStreamsPerPosition, now_ms);
}

bool Analyser2010::SetActiveFuel(std::uint32_t id) {
    if (FindFuel(id) == nullptr) return false;
    data_.active_fuel = id;
    return true;
}

const Fuel2010* Analyser2010::FindFuel(std::uint32_t id) const {
    const auto fuel = std::ranges::find(data_.fuels, id, &Fuel2010::id);
    return fuel == data_.fuels.end() ? nullptr : &*fuel;
}

std::u16string Analyser2010::ViewText(std::u16string_view language, std::uint32_t ident) const {
    const auto text = std::ranges::find(data_.texts, ident, &Text2010::ident);
    if (text == data_.texts.end()) return {};
    return language.starts_with(u"de") && !text->german.empty() ? text->german : text->english;
}

std::u16string Analyser2010::UnitText(std::uint16_t unit) const {
    const auto text = data_.units.find(unit);
    return text == data_.units.end() ? std::u16string() : text->second;
}

Analyser2010::Records Analyser2010::MakeRecords(const std::vector<Value2010>& values, std::uint32_t first_stream,
                                                std::uint64_t now_ms) const {
    Records records;
    for (const Value2010& value : values) {
        const auto stream                = first_stream + static_cast<std::uint32_t>(records.size());
        const std::optional<float> shown = ValueAt(value.value, data_.seed, stream, now_ms);
        records.push_back({.unused_0   = 0,
                           .ident      = value.ident,
                           .value      = shown ? std::bit_cast<std::uint32_t>(*shown) : value.status,
                           .unit       = value.unit,
                           .resolution = value.resolution,
                           .unused_12  = {}});
    }
    return records;
}

}  // namespace simulator
