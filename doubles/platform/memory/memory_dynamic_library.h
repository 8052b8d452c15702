// Control of the in-memory libraries.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace nelto::platform::memory {

/// Exported names and their functions, each cast to void*.
using LibraryFunctions = std::map<std::string, void*, std::less<>>;

/// Puts a library where the system finds it by `name`. One that is there already gets these functions from now on; who
/// has it loaded keeps it loaded.
void InstallLibrary(const std::wstring& name, LibraryFunctions functions);

/// Takes the library away from where the system finds it; who has it loaded keeps it.
void RemoveLibrary(const std::wstring& name);

/// Loads of the library that are not yet unloaded, and all loads there ever were.
[[nodiscard]] std::size_t TimesLoaded(const std::wstring& name);
[[nodiscard]] std::size_t LoadsEver(const std::wstring& name);

/// Every look for a function that this is true of finds nothing; null for none.
void HideFunctions(bool (*hides)(std::string_view name));

/// No libraries, nothing hidden.
void ResetLibraries();

}  // namespace nelto::platform::memory
