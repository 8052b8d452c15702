// Control of the version resources of the in-memory system directory.
#pragma once

#include <string>

namespace nelto::platform::memory {

/// Gives the file `name` of the system directory a version resource with this text, empty for none of that name.
void SetSystemFileVersion(const std::wstring& name, const std::wstring& version);

/// Takes all version resources away.
void ResetSystemFileVersions();

}  // namespace nelto::platform::memory
