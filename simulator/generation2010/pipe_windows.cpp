#include <windows.h>

#include "pipe.h"

namespace simulator {

namespace {

HANDLE PortOf(std::uint32_t pipe) { return reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(pipe)); }

}  // namespace

bool IsPipe(std::uint32_t pipe) { return GetFileType(PortOf(pipe)) != FILE_TYPE_UNKNOWN; }

void ClosePipe(std::uint32_t pipe) { CloseHandle(PortOf(pipe)); }

}  // namespace simulator
