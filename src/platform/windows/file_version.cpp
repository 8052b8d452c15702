#include "platform/file_version.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "platform/wide_text.h"

namespace nelto::platform {
namespace {

constexpr std::size_t kDirectorySize = 256;
constexpr std::size_t kPathSize      = 512;
constexpr std::size_t kBlockSize     = 8192;
constexpr std::size_t kQuerySize     = 64;

struct Translation {
    WORD language;
    WORD code_page;
};

using VersionBlock = std::array<std::byte, kBlockSize>;

bool ReadVersionBlock(const wchar_t* name, VersionBlock& block) {
    std::array<wchar_t, kDirectorySize> directory{};
    const UINT length = GetSystemDirectoryW(directory.data(), kDirectorySize);
    if (length == 0 || length >= kDirectorySize) return false;
    std::array<wchar_t, kPathSize> path{};
    FormatText(path, L"%ls\\%ls", directory.data(), name);
    return GetFileVersionInfoW(path.data(), 0, kBlockSize, block.data()) != 0;
}

bool FirstTranslation(const VersionBlock& block, Translation& translation) {
    void* found = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &found, &length)) return false;
    if (found == nullptr || length < sizeof(translation)) return false;
    std::memcpy(&translation, found, sizeof(translation));
    return true;
}

}  // namespace

bool SystemFileVersion(const wchar_t* name, std::span<wchar_t> version) {
    CopyText(version, L"");
    VersionBlock block{};
    Translation translation{};
    if (!ReadVersionBlock(name, block) || !FirstTranslation(block, translation)) return false;

    std::array<wchar_t, kQuerySize> query{};
    FormatText(query, L"\\StringFileInfo\\%04x%04x\\FileVersion", unsigned{translation.language},
               unsigned{translation.code_page});
    void* text  = nullptr;
    UINT length = 0;
    if (VerQueryValueW(block.data(), query.data(), &text, &length) && text != nullptr) {
        CopyText(version, TextIn({static_cast<const wchar_t*>(text), length}));
    }
    return true;
}

}  // namespace nelto::platform
