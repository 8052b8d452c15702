#include "platform/console.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <string>

#include "platform/byte_text.h"

namespace nelto::platform {
namespace {

constexpr std::size_t kPieceSize = 4096;  // bytes of one call; an old console takes 64 KiB at most
constexpr DWORD kCancelPeriod    = 100;   // milliseconds

constexpr ULONG kClosing = 4;  // state of a pipe whose other end is closed

/// FILE_PIPE_LOCAL_INFORMATION, which the headers of the compiler lack.
struct PipeInformation {
    std::array<ULONG, 8> of_the_pipe;
    ULONG state;
    ULONG end;
};

constinit std::atomic<std::uint32_t>* interrupt_request = nullptr;
constinit HANDLE interrupted_thread                     = nullptr;

bool IsConsole(HANDLE output) {
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != 0;
}

OutputResult Failed() {
    const DWORD error = GetLastError();
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED
               ? OutputResult::kReaderGone
               : OutputResult::kFailed;
}

/// Whatever code page the console has.
OutputResult WriteToConsole(HANDLE console, std::string_view text) {
    const int size   = static_cast<int>(text.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), needed);
    for (std::wstring_view rest = wide; !rest.empty(); rest.remove_prefix(std::min(rest.size(), kPieceSize))) {
        const auto piece = static_cast<DWORD>(std::min(rest.size(), kPieceSize));
        DWORD written    = 0;
        if (WriteConsoleW(console, rest.data(), piece, &written, nullptr) == 0) return Failed();
    }
    return OutputResult::kWritten;
}

OutputResult WriteBytes(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = static_cast<DWORD>(std::min(bytes.size(), kPieceSize));
        DWORD written    = 0;
        if (WriteFile(file, bytes.data(), piece, &written, nullptr) == 0) return Failed();
        if (written == 0) return OutputResult::kFailed;
        bytes.remove_prefix(written);
    }
    return OutputResult::kWritten;
}

OutputResult Write(DWORD which, std::string_view text) {
    const HANDLE output     = GetStdHandle(which);
    const std::string lines = WithCrLf(text);
    return IsConsole(output) ? WriteToConsole(output, lines) : WriteBytes(output, lines);
}

/// Runs on a thread of its own. With its return the system ends the process where it does so at all.
BOOL WINAPI TakeInterrupt(DWORD event) {
    *interrupt_request = 1;
    CancelSynchronousIo(interrupted_thread);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return TRUE;
    while (true) {
        Sleep(kCancelPeriod);
        CancelSynchronousIo(interrupted_thread);
    }
}

}  // namespace

OutputResult WriteToOutput(std::string_view text) { return Write(STD_OUTPUT_HANDLE, text); }

void WriteToErrors(std::string_view text) { static_cast<void>(Write(STD_ERROR_HANDLE, text)); }

/// A writing call of no bytes would tell it too, but be an end of file to the reader of a message pipe.
bool IsReaderGone() {
    // Looked up, since the import library of this one has functions of the C library too.
    static const auto query = reinterpret_cast<decltype(&NtQueryInformationFile)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationFile")));
    if (query == nullptr) return false;
    PipeInformation pipe{};
    IO_STATUS_BLOCK status{};
    const NTSTATUS result =
        query(GetStdHandle(STD_OUTPUT_HANDLE), &status, &pipe, sizeof pipe, FilePipeLocalInformation);
    return NT_SUCCESS(result) && pipe.state == kClosing;
}

void CatchInterrupts(std::atomic<std::uint32_t>& request) {
    interrupt_request = &request;
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &interrupted_thread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    SetConsoleCtrlHandler(TakeInterrupt, TRUE);
}

}  // namespace nelto::platform
