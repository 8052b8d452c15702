// Files and the temporary directory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace nelto::platform {

/// Writes the user's temporary directory, its final backslash included, into `directory` and returns its length without
/// the NUL; 0 and an empty text when it does not fit or cannot be found.
std::size_t TempDirectory(std::span<wchar_t> directory);

/// Deletes a file; a missing one is no error.
void RemoveFile(const wchar_t* path);

/// Appends `bytes` to the file, creating it where needed. Returns 0 or the system's error number.
[[nodiscard]] std::uint32_t AppendToFile(const wchar_t* path, std::string_view bytes);

/// Gives a file another name in the same folder, in the place of a file that has it. Returns 0 or the system's error number; then
/// both are what they were.
[[nodiscard]] std::uint32_t MoveFileOver(const wchar_t* path, const wchar_t* new_path);

/// A file that stays open while it is written piece by piece, readable by others meanwhile.
enum class FileHandle : std::uintptr_t { kNone = 0 };

/// Creates or empties the file; kNone on failure.
[[nodiscard]] FileHandle OpenEmptiedFile(const wchar_t* path);
/// False when not all of the bytes could be written.
bool WriteToFile(FileHandle file, std::string_view bytes);
void CloseFile(FileHandle file);

}  // namespace nelto::platform
