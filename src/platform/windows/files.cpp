#include "platform/files.h"

#include <windows.h>

#include <algorithm>
#include <limits>

namespace nelto::platform {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;

HANDLE ToHandle(FileHandle file) { return reinterpret_cast<HANDLE>(file); }

/// Writes all of `bytes`; returns 0 or the system's error number.
std::uint32_t WriteAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t size = std::min<std::size_t>(bytes.size(), std::numeric_limits<std::int32_t>::max());
        DWORD written          = 0;
        if (WriteFile(file, bytes.data(), static_cast<DWORD>(size), &written, nullptr) == 0) return GetLastError();
        if (written == 0) return ERROR_WRITE_FAULT;
        bytes.remove_prefix(written);
    }
    return 0;
}

}  // namespace

std::size_t TempDirectory(std::span<wchar_t> directory) {
    const DWORD size   = static_cast<DWORD>(directory.size());
    const DWORD length = GetTempPathW(size, directory.data());
    if (length != 0 && length < size) return length;
    if (!directory.empty()) directory.front() = L'\0';
    return 0;
}

void RemoveFile(const wchar_t* path) { DeleteFileW(path); }

std::uint32_t AppendToFile(const wchar_t* path, std::string_view bytes) {
    const HANDLE file =
        CreateFileW(path, FILE_APPEND_DATA, kShareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    const std::uint32_t error = WriteAll(file, bytes);
    CloseHandle(file);
    return error;
}

std::uint32_t MoveFileOver(const wchar_t* path, const wchar_t* new_path) {
    constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(path, new_path, kFlags) != 0 ? 0 : GetLastError();
}

FileHandle OpenEmptiedFile(const wchar_t* path) {
    const HANDLE file =
        CreateFileW(path, GENERIC_WRITE, kShareAll, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? FileHandle::kNone : static_cast<FileHandle>(reinterpret_cast<UINT_PTR>(file));
}

bool WriteToFile(FileHandle file, std::string_view bytes) { return WriteAll(ToHandle(file), bytes) == 0; }

void CloseFile(FileHandle file) { CloseHandle(ToHandle(file)); }

}  // namespace nelto::platform
