#include "process.h"

#include <array>
#include <fstream>
#include <iterator>

#include "interruption.h"

namespace selftest {

Process::~Process() {
    if (process_.hProcess == nullptr) return;
    if (!EndsWithin(0)) TerminateProcess(process_.hProcess, 1);
    WaitForSingleObject(process_.hProcess, INFINITE);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
}

bool Process::Start(const std::filesystem::path& program, const std::wstring& arguments,
                    const std::filesystem::path& output, HANDLE pipe) {
    if (IsInterrupted()) return false;
    output_ = output;
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE file = CreateFileW(output.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOW start{};
    start.cb           = sizeof start;
    start.dwFlags      = STARTF_USESTDHANDLES;
    start.hStdOutput   = pipe != nullptr ? pipe : file;
    start.hStdError    = file;
    std::wstring line  = L"\"" + program.wstring() + L"\" " + arguments;
    const BOOL started = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                                        nullptr, program.parent_path().c_str(), &start, &process_);
    CloseHandle(file);
    return started != 0;
}

bool Process::EndsWithin(DWORD limit_ms) const {
    const std::array<HANDLE, 2> either = {process_.hProcess, Interruption()};
    return WaitForMultipleObjects(either.size(), either.data(), FALSE, limit_ms) == WAIT_OBJECT_0;
}

DWORD Process::ExitCode() const {
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
}

bool Process::Break() const { return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, process_.dwProcessId) != 0; }

std::string Process::Output() const { return ContentOf(output_); }

std::string ContentOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteContent(const std::filesystem::path& file, std::string_view content) {
    std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
}

}  // namespace selftest
