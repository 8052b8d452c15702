// Programs read the driver's version from the system directory. Where no driver is installed, those of ours that load this drop-in find its
// own version there, so that nothing has to be put into Windows: their calls for a file's version come here first.
#include <windows.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

using GetVersionInfo = decltype(&::GetFileVersionInfoW);

HINSTANCE drop_in = nullptr;

BOOL WINAPI VersionInfo(const wchar_t* path, DWORD handle, DWORD size, void* data) {
    constexpr std::wstring_view kDriver = L"FTD2XX.DLL";
    if (GetFileVersionInfoW(path, handle, size, data) != 0) return TRUE;
    const std::wstring_view whole = path;
    const bool is_driver          = whole.size() >= kDriver.size() &&
                           _wcsnicmp(path + whole.size() - kDriver.size(), kDriver.data(), kDriver.size()) == 0;
    wchar_t own_path[MAX_PATH] = L"";
    GetModuleFileNameW(drop_in, own_path, MAX_PATH);
    return is_driver ? GetFileVersionInfoW(own_path, 0, size, data) : FALSE;
}

template <typename Type>
Type* At(HMODULE module, std::size_t offset) {
    return reinterpret_cast<Type*>(reinterpret_cast<std::byte*>(module) + offset);
}

/// The place in which the module keeps the address of the imported function; null where it imports none.
GetVersionInfo* ImportOf(HMODULE module) {
    const auto* const headers =
        At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.Size == 0) return nullptr;
    for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress); library->Name != 0; ++library) {
        if (_stricmp(At<char>(module, library->Name), "version.dll") != 0) continue;
        const auto* name = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
        auto* address    = At<IMAGE_THUNK_DATA>(module, library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* const entry = At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(entry->Name), "GetFileVersionInfoW") == 0)
                return reinterpret_cast<GetVersionInfo*>(&address->u1.Function);
        }
    }
    return nullptr;
}

/// The program itself, or its NeltoUSB.dll, whichever looks for the driver.
void LetCall(GetVersionInfo function) {
    for (const HMODULE module : {GetModuleHandleW(nullptr), GetModuleHandleW(L"NeltoUSB.dll")}) {
        GetVersionInfo* const place = module != nullptr ? ImportOf(module) : nullptr;
        DWORD protection            = 0;
        if (place == nullptr || VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection) == 0) continue;
        *place = function;
        VirtualProtect(place, sizeof *place, protection, &protection);
    }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
    drop_in = instance;
    if (reason == DLL_PROCESS_ATTACH) LetCall(VersionInfo);
    if (reason == DLL_PROCESS_DETACH) LetCall(GetFileVersionInfoW);
    return TRUE;
}
