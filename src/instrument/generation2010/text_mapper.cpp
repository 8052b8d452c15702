#include "instrument/generation2010/text_mapper.h"

#include <algorithm>
#include <array>

#include "core/channel_table.h"
#include "core/instrument.h"
#include "instrument/greek_letters.h"
#include "platform/wide_text.h"

namespace nelto {
namespace {

struct MapperRow {
    std::uint32_t kind;
    const wchar_t* library;
    const wchar_t* log_line;  // written whether or not the library is there; null for none
};

constexpr std::array kMappers = {
    MapperRow{kKind760, L"IDTEXTMAPPER.DLL", nullptr},
    MapperRow{kKind752, L"IDTEXTMAPPER_T752.DLL", L"IDTEXTMAPPER_T752.DLL loaded"},
};

constexpr MapperRow kMapperOfOthers = {0, L"IDTEXTMAPPER_T780.DLL", nullptr};

const MapperRow& MapperFor(std::uint32_t kind) {
    const auto row = std::ranges::find(kMappers, kind, &MapperRow::kind);
    return row == kMappers.end() ? kMapperOfOthers : *row;
}

/// More than the mapper is offered: one that counts differently still writes into its own room.
using MapperText = std::array<wchar_t, 512>;

}  // namespace

TextMapper::TextMapper(std::uint32_t kind, const BaseLog& log) {
    const MapperRow& mapper = MapperFor(kind);
    library_                = platform::LoadLibraryByName(mapper.library);
    if (mapper.log_line != nullptr) log.Write(mapper.log_line);
    if (library_ == platform::LibraryHandle::kNone) {
        log.Write(L"IDTEXTMAPPER_T780.DLL not found");  // in these words whichever library is missing
    } else {
        platform::FindFunction(library_, "GetViewString", get_view_string_);
        platform::FindFunction(library_, "GetFuelString", get_fuel_string_);
        platform::FindFunction(library_, "GetUnitsString", get_units_string_);
    }
    log.Write(language_tag_.c_str());
}

TextMapper::~TextMapper() {
    if (library_ != platform::LibraryHandle::kNone) platform::UnloadLibrary(library_);
}

std::wstring TextMapper::ViewText(std::uint32_t ident_2010) const {
    return WithoutGreekLetters(Ask(get_view_string_, ident_2010)).substr(0, kChannelTextSize - 1);
}

std::wstring TextMapper::FuelText(std::uint32_t fuel_id) const {
    return WithoutGreekLetters(Ask(get_fuel_string_, fuel_id)).substr(0, kChannelTextSize - 1);
}

std::wstring TextMapper::Ask(GetString function, std::uint32_t number) const {
    if (function == nullptr) return {};
    MapperText text{};
    MapperText scratch{};
    function(language_tag_.c_str(), number, text.data(), scratch.data(), kChannelTextSize);
    return std::wstring(platform::TextIn(text));
}

}  // namespace nelto
