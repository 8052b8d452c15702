#include "platform/dynamic_library.h"

#include <windows.h>

namespace nelto::platform {
namespace {

HMODULE ToModule(LibraryHandle library) { return reinterpret_cast<HMODULE>(library); }

LibraryHandle ToHandle(HMODULE module) { return static_cast<LibraryHandle>(reinterpret_cast<UINT_PTR>(module)); }

/// Looks in the program's own directory and in the system directory.
HMODULE LoadWithoutCurrentDirectory(const wchar_t* name) {
    const HMODULE module = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (module != nullptr || GetLastError() != ERROR_INVALID_PARAMETER) return module;
    // A Windows 7 without its updates does not know the flag. There the current directory is taken out of the process's search
    // order, for this load only: other libraries are looked for in the system's own order.
    SetDllDirectoryW(L"");
    const HMODULE module_by_order = LoadLibraryW(name);
    SetDllDirectoryW(nullptr);
    return module_by_order;
}

}  // namespace

LibraryHandle LoadLibraryByName(const wchar_t* name) { return ToHandle(LoadLibraryW(name)); }

LibraryHandle LoadLibraryToStay(const wchar_t* name) {
    const HMODULE loaded = GetModuleHandleW(name);
    return ToHandle(loaded == nullptr ? LoadWithoutCurrentDirectory(name) : loaded);
}

void* FindFunction(LibraryHandle library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(ToModule(library), name));
}

void UnloadLibrary(LibraryHandle library) { FreeLibrary(ToModule(library)); }

}  // namespace nelto::platform
