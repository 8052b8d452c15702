// The version that a library of the system directory names in its version resource.
#pragma once

#include <span>

namespace nelto::platform {

/// Writes the "FileVersion" text, in the first language of the resource, of the file `name` in the system directory
/// into `version`, cut at its size and always ended. False when the file has no version resource or the resource names
/// no language. A resource without that text gives the empty text.
[[nodiscard]] bool SystemFileVersion(const wchar_t* name, std::span<wchar_t> version);

}  // namespace nelto::platform
