// The maker's text libraries: names of views and fuels in the user's language.
#pragma once

#include <cstdint>
#include <string>

#include "diag/trace_log.h"
#include "instrument/generation2010/library_records.h"
#include "platform/dynamic_library.h"
#include "platform/text_service.h"

namespace nelto {

/// The text library that goes with one analyser, loaded as long as the object lives. Without it, or without one of its exports,
/// there are no texts of that kind. Worker thread.
class TextMapper {
public:
    /// Loads the library of the instrument kind and writes to the log what came of it, and the user's language.
    TextMapper(std::uint32_t kind, const BaseLog& log);
    ~TextMapper();
    TextMapper(const TextMapper&)            = delete;
    TextMapper& operator=(const TextMapper&) = delete;

    [[nodiscard]] bool HasViewTexts() const { return get_view_string_ != nullptr; }
    [[nodiscard]] bool HasUnitTexts() const { return get_units_string_ != nullptr; }
    /// Name of a quantity by its ident of generation 2010, as long as a channel's label and without Greek letters.
    [[nodiscard]] std::wstring ViewText(std::uint32_t ident_2010) const;

    /// Name of a fuel by its library id, as long as a channel's text; empty without `GetFuelString`.
    [[nodiscard]] std::wstring FuelText(std::uint32_t fuel_id) const;

private:
    /// Language tag, number of the text, text out, scratch out, characters of each. What it returns is not looked at.
    using GetString = std::uint32_t(NELTO_LIBRARY_CALL*)(const wchar_t* language, std::uint32_t number, wchar_t* text,
                                                         wchar_t* scratch, std::uint32_t capacity);

    [[nodiscard]] std::wstring Ask(GetString function, std::uint32_t number) const;

    platform::LibraryHandle library_ = platform::LibraryHandle::kNone;
    GetString get_view_string_       = nullptr;
    GetString get_fuel_string_       = nullptr;
    GetString get_units_string_      = nullptr;
    std::wstring language_tag_       = platform::UserLocaleTag();
};

}  // namespace nelto
