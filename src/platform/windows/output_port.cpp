#include "platform/output_port.h"

#include <windows.h>

#include <algorithm>

namespace nelto::platform {
namespace {

constexpr DWORD kLook = 50;  // milliseconds between two looks at the cancellation

HANDLE ToHandle(OutputPort port) { return reinterpret_cast<HANDLE>(port); }

bool WaitForWrite(HANDLE written, DWORD limit_ms, const std::atomic<std::uint32_t>& cancelled) {
    const DWORD start = GetTickCount();
    for (DWORD waited = 0; waited < limit_ms && cancelled == 0; waited = GetTickCount() - start) {
        if (WaitForSingleObject(written, std::min(kLook, limit_ms - waited)) == WAIT_OBJECT_0) return true;
    }
    return false;
}

}  // namespace

OutputPort OpenOutputPort(const wchar_t* path) {
    const HANDLE port =
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    return port == INVALID_HANDLE_VALUE ? OutputPort::kNone : static_cast<OutputPort>(reinterpret_cast<UINT_PTR>(port));
}

bool WriteOutput(OutputPort port, std::string_view bytes, std::uint32_t limit_ms,
                 const std::atomic<std::uint32_t>& cancelled) {
    OVERLAPPED operation = {};
    operation.hEvent     = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (operation.hEvent == nullptr) return false;
    DWORD taken = 0;
    bool done   = WriteFile(ToHandle(port), bytes.data(), static_cast<DWORD>(bytes.size()), &taken, &operation) != 0 ||
                GetLastError() != ERROR_IO_PENDING || WaitForWrite(operation.hEvent, limit_ms, cancelled);
    if (!done) {
        CancelIo(ToHandle(port));
        // Waits until the driver lets go of `operation`; it may have done with it just before.
        done = GetOverlappedResult(ToHandle(port), &operation, &taken, TRUE) != 0;
    }
    CloseHandle(operation.hEvent);
    return done;
}

void CloseOutputPort(OutputPort port) { CloseHandle(ToHandle(port)); }

}  // namespace nelto::platform
