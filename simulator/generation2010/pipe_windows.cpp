#include <windows.h>

#include "pipe.h"

namespace simulator {

void ClosePipe(std::uint32_t pipe) { CloseHandle(reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(pipe))); }

}  // namespace simulator
