// The functions of the simulator's D2XX library as a library in memory.
#pragma once

#include <string>

namespace nelto::doubles {

constexpr const wchar_t* kD2xxName = L"FTD2XX.DLL";

/// Installs the library, without one of its functions where that is named.
void InstallD2xx(const std::string& without = "");

}  // namespace nelto::doubles
