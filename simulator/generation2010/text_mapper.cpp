// IDTEXTMAPPER.DLL, IDTEXTMAPPER_T752.DLL and IDTEXTMAPPER_T780.DLL: names in the language that is asked for. All three know the
// names of the scenario.
#include <string>

#include "library_call.h"

namespace {

std::u16string Language(const wchar_t* tag) {
    std::u16string language;
    while (*tag != L'\0') language += static_cast<char16_t>(*tag++);
    return language;
}

std::uint32_t Give(const std::u16string& text, wchar_t* out, wchar_t* scratch, std::uint32_t capacity) {
    simulator::GiveMapped(text, out, scratch, capacity);
    return static_cast<std::uint32_t>(text.size());
}

}  // namespace

NELTO_LIBRARY_EXPORT std::uint32_t GetViewString(const wchar_t* language, std::uint32_t ident, wchar_t* text,
                                                 wchar_t* scratch, std::uint32_t capacity) {
    const simulator::Analyser2010* const analyser = simulator::TheAnalyser2010();
    const std::u16string name = analyser == nullptr ? u"" : analyser->ViewText(Language(language), ident);
    return Give(name, text, scratch, capacity);
}

NELTO_LIBRARY_EXPORT std::uint32_t GetFuelString(const wchar_t*, std::uint32_t fuel, wchar_t* text, wchar_t* scratch,
                                                 std::uint32_t capacity) {
    const simulator::Analyser2010* const analyser = simulator::TheAnalyser2010();
    const simulator::Fuel2010* const found        = analyser == nullptr ? nullptr : analyser->FindFuel(fuel);
    return Give(found == nullptr ? u"" : found->name, text, scratch, capacity);
}

NELTO_LIBRARY_EXPORT std::uint32_t GetUnitsString(const wchar_t*, std::uint32_t unit, wchar_t* text, wchar_t* scratch,
                                                  std::uint32_t capacity) {
    const simulator::Analyser2010* const analyser = simulator::TheAnalyser2010();
    return Give(analyser == nullptr ? u"" : analyser->UnitText(static_cast<std::uint16_t>(unit)), text, scratch,
                capacity);
}
