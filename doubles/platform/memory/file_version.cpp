#include "platform/file_version.h"

#include <map>

#include "platform/memory/memory_calls.h"
#include "platform/memory/memory_file_version.h"
#include "platform/wide_text.h"

namespace nelto::platform {
namespace {

std::map<std::wstring, std::wstring>& Versions() {
    static std::map<std::wstring, std::wstring> versions;
    return versions;
}

}  // namespace

bool SystemFileVersion(const wchar_t* name, std::span<wchar_t> version) {
    CopyText(version, L"");
    const auto found = Versions().find(name);
    if (memory::Fails(memory::Call::kFileVersion) || found == Versions().end()) return false;
    CopyText(version, found->second);
    return true;
}

namespace memory {

void SetSystemFileVersion(const std::wstring& name, const std::wstring& version) { Versions()[name] = version; }

void ResetSystemFileVersions() { Versions().clear(); }

}  // namespace memory
}  // namespace nelto::platform
