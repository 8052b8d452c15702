// The per-user settings key of the program.
#pragma once

#include <cstdint>

namespace nelto::platform {

/// The number stored under `name`; `fallback` when the key or value is missing, of another type or another size.
[[nodiscard]] std::uint32_t RegReadDword(const wchar_t* name, std::uint32_t fallback);

/// Stores a number under `name`, creating the key where needed. Returns 0, or 1 on failure.
std::uint32_t RegWriteDword(const wchar_t* name, std::uint32_t number);

}  // namespace nelto::platform
