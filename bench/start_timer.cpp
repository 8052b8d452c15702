// A stop-watch for program starts:   start_timer ROUNDS PROGRAM...
//
// Starts the programs in turn, so that a change of the machine's mood meets all of them alike, and prints a line "INDEX
// MICROSECONDS" for each start, from the creation of the process to its first visible window. Each program is ended then.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr double kPatience = 60e6;  // microseconds
constexpr DWORD kSettle    = 300;   // milliseconds in which the system clears away the ended program

double NowMicro() {
    LARGE_INTEGER ticks;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

struct Search {
    DWORD process = 0;
    bool found    = false;
};

BOOL CALLBACK LookAtWindow(HWND window, LPARAM parameter) {
    auto& search  = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    search.found = process == search.process && IsWindowVisible(window) != 0;
    return search.found ? FALSE : TRUE;
}

bool HasVisibleWindow(DWORD process) {
    Search search{.process = process};
    EnumWindows(LookAtWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

/// Microseconds to the first visible window, less than 0 when there was none.
double TimeOneStart(const wchar_t* program) {
    std::wstring command_line = L'"' + std::wstring(program) + L'"';
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    const double start = NowMicro();
    if (CreateProcessW(program, command_line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started) == 0) {
        return -1;
    }
    double elapsed = 0;
    bool is_shown  = false;
    while (!is_shown && elapsed < kPatience && WaitForSingleObject(started.hProcess, 1) == WAIT_TIMEOUT) {
        is_shown = HasVisibleWindow(started.dwProcessId);
        elapsed  = NowMicro() - start;
    }
    TerminateProcess(started.hProcess, 0);
    WaitForSingleObject(started.hProcess, INFINITE);
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    Sleep(kSettle);
    return is_shown ? elapsed : -1;
}

}  // namespace

int wmain(int count, wchar_t** words) {
    const int rounds = count > 2 ? _wtoi(words[1]) : 0;
    for (int round = 0; round < rounds; ++round) {
        for (int program = 2; program < count; ++program) {
            const double elapsed = TimeOneStart(words[program]);
            if (elapsed < 0) return 1;
            std::printf("%d %.0f\n", program - 2, elapsed);
            std::fflush(stdout);
        }
    }
    return rounds > 0 ? 0 : 2;
}
