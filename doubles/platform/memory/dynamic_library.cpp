#include "platform/dynamic_library.h"

#include <cstdlib>
#include <utility>
#include <vector>

#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_dynamic_library.h"

namespace nelto::platform {
namespace {

struct Library {
    std::wstring name;
    memory::LibraryFunctions functions{};
    bool installed         = true;
    std::size_t loaded     = 0;
    std::size_t loads_ever = 0;
};

/// A handle is the library's place in this list, counted from 1.
std::vector<Library>& Libraries() {
    static std::vector<Library> libraries;
    return libraries;
}

bool (*hides_function)(std::string_view name) = nullptr;

Library* FindByName(std::wstring_view name) {
    for (Library& library : Libraries()) {
        if (library.name == name) return &library;
    }
    return nullptr;
}

Library& Loaded(LibraryHandle handle) {
    const auto place = static_cast<std::size_t>(handle);
    if (place == 0 || place > Libraries().size()) std::abort();  // never a library
    if (Libraries()[place - 1].loaded == 0) std::abort();        // unloaded more often than loaded
    return Libraries()[place - 1];
}

}  // namespace

LibraryHandle LoadLibraryByName(const wchar_t* name) {
    Library* library = FindByName(name);
    const bool fails = memory::Fails(memory::Call::kLoadLibrary);
    if (fails || library == nullptr || !library->installed) return LibraryHandle::kNone;
    ++library->loaded;
    ++library->loads_ever;
    return static_cast<LibraryHandle>(library - Libraries().data() + 1);
}

LibraryHandle LoadLibraryToStay(const wchar_t* name) {
    const Library* library = FindByName(name);
    if (library == nullptr || library->loaded == 0) return LoadLibraryByName(name);
    return static_cast<LibraryHandle>(library - Libraries().data() + 1);
}

void* FindFunction(LibraryHandle library, const char* name) {
    const memory::LibraryFunctions& functions = Loaded(library).functions;
    const auto found                          = functions.find(name);
    const bool fails =
        memory::Fails(memory::Call::kFindFunction) || (hides_function != nullptr && hides_function(name));
    return fails || found == functions.end() ? nullptr : found->second;
}

void UnloadLibrary(LibraryHandle library) { --Loaded(library).loaded; }

namespace memory {

void InstallLibrary(const std::wstring& name, LibraryFunctions functions) {
    Library* library = FindByName(name);
    if (library == nullptr) library = &Libraries().emplace_back(Library{.name = name});
    library->functions = std::move(functions);
    library->installed = true;
}

void RemoveLibrary(const std::wstring& name) {
    Library* library = FindByName(name);
    if (library != nullptr) library->installed = false;
}

std::size_t TimesLoaded(const std::wstring& name) {
    const Library* library = FindByName(name);
    return library == nullptr ? 0 : library->loaded;
}

std::size_t LoadsEver(const std::wstring& name) {
    const Library* library = FindByName(name);
    return library == nullptr ? 0 : library->loads_ever;
}

void HideFunctions(bool (*hides)(std::string_view name)) { hides_function = hides; }

void ResetLibraries() {
    Libraries().clear();
    hides_function = nullptr;
}

}  // namespace memory
}  // namespace nelto::platform
