#include "instrument/generation2010/library_functions.h"

#include <array>

#include "platform/dynamic_library.h"

namespace nelto::library {
namespace {

struct LibraryRow {
    Family family;
    const wchar_t* name;
};

/// In the order in which a function is looked for.
constexpr std::array kLibraries = {
    LibraryRow{kInstrument, L"nelto7XXE.dll"},
    LibraryRow{kInstrument, L"nelto7XXT.dll"},
    LibraryRow{kEmUsb, L"neltoEmUSB.dll"},
    LibraryRow{kRs232, L"neltoRS232.dll"},
};

}  // namespace

void* Find(Family family, const char* name, std::uint32_t& error) {
    error = kLibraryMissing;
    for (const LibraryRow& row : kLibraries) {
        if (row.family != family) continue;
        const platform::LibraryHandle handle = platform::LoadLibraryToStay(row.name);
        if (handle == platform::LibraryHandle::kNone) continue;
        error = kFunctionMissing;
        if (void* const address = platform::FindFunction(handle, name); address != nullptr) return address;
    }
    return nullptr;
}

}  // namespace nelto::library
