// Ctrl+C, Ctrl+Break and a closed console: the self-test ends early, and puts everything back all the same.
#pragma once

#include <windows.h>

namespace selftest {

/// To be called once, before anything else of here.
void CatchInterruptions();
[[nodiscard]] bool IsInterrupted();
/// Signalled from the first interruption on.
[[nodiscard]] HANDLE Interruption();
/// Sleeps until the time is over or an interruption comes.
void Pause(DWORD time_ms);

}  // namespace selftest
