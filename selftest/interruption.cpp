#include "interruption.h"

namespace selftest {
namespace {

constinit HANDLE interruption = nullptr;

/// Runs on a thread of its own. Where its return would end the process, it leaves that to the main thread.
BOOL WINAPI TakeInterruption(DWORD event) {
    SetEvent(interruption);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

void CatchInterruptions() {
    interruption = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(TakeInterruption, TRUE);
}

bool IsInterrupted() { return WaitForSingleObject(interruption, 0) == WAIT_OBJECT_0; }

HANDLE Interruption() { return interruption; }

void Pause(DWORD time_ms) { WaitForSingleObject(interruption, time_ms); }

}  // namespace selftest
