// The least that a value read asks of Windows: looks at COM5 every 10 ms, as many as the reading of 40 channels at 19200 baud
// takes, then a second's pause in steps of 100 ms. What the program needs beyond this is its own.
#include <windows.h>

#include <array>

namespace {

constexpr int kLooks        = 41;
constexpr DWORD kLookWait   = 10;  // milliseconds
constexpr int kPausePasses  = 10;
constexpr DWORD kPausePass  = 100;  // milliseconds
constexpr DWORD kBufferSize = 1024;

}  // namespace

int wmain() {
    const HANDLE port    = CreateFileW(L"COM5", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    COMMTIMEOUTS at_once = {};
    at_once.ReadIntervalTimeout = MAXDWORD;
    if (port == INVALID_HANDLE_VALUE || SetCommTimeouts(port, &at_once) == 0) return 1;
    std::array<char, kBufferSize> buffer;
    while (true) {
        for (int look = 0; look < kLooks; ++look) {
            DWORD received = 0;
            Sleep(kLookWait);
            if (ReadFile(port, buffer.data(), kBufferSize, &received, nullptr) == 0) return 1;
        }
        for (int pass = 0; pass < kPausePasses; ++pass) Sleep(kPausePass);
    }
}
