// Libraries that are looked for at run time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nelto::platform {

enum class LibraryHandle : std::uintptr_t { kNone = 0 };

/// Loads a library by bare name in the system's normal search order; kNone when there is none.
[[nodiscard]] LibraryHandle LoadLibraryByName(const wchar_t* name);

/// For a library that then stays for the rest of the process: while it is there, further calls give it again without another
/// load, so that no count grows. Not to be unloaded. It is looked for beside the program and in the system directory, not in the
/// current directory, where anybody may have put a file of that name. Any thread.
[[nodiscard]] LibraryHandle LoadLibraryToStay(const wchar_t* name);

/// Address of an exported function, or null.
[[nodiscard]] void* FindFunction(LibraryHandle library, const char* name);

/// The same with the function's true type. False, and null, when there is none.
template <typename Function>
bool FindFunction(LibraryHandle library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(FindFunction(library, name));
    return function != nullptr;
}

void UnloadLibrary(LibraryHandle library);

}  // namespace nelto::platform
