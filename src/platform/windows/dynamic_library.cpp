#include "platform/dynamic_library.h"

#include <windows.h>

namespace nelto::platform {
namespace {

HMODULE ToModule(LibraryHandle library) { return reinterpret_cast<HMODULE>(library); }

}  // namespace

LibraryHandle LoadLibraryByName(const wchar_t* name) {
    return static_cast<LibraryHandle>(reinterpret_cast<UINT_PTR>(LoadLibraryW(name)));
}

LibraryHandle LoadLibraryToStay(const wchar_t* name) {
    const HMODULE module = GetModuleHandleW(name);
    return module == nullptr ? LoadLibraryByName(name) : static_cast<LibraryHandle>(reinterpret_cast<UINT_PTR>(module));
}

void* FindFunction(LibraryHandle library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(ToModule(library), name));
}

void UnloadLibrary(LibraryHandle library) { FreeLibrary(ToModule(library)); }

}  // namespace nelto::platform
