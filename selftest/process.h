// Programs that the self-test starts, and what they print.
#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace selftest {

/// A program with its own process group, whose outputs both go to a file.
class Process {
public:
    Process() = default;
    /// Ends a program that is still there, the hard way.
    ~Process();
    Process(const Process&)            = delete;
    Process& operator=(const Process&) = delete;

    /// Starts `program` with `arguments` in its own folder; false when Windows does not, or after an interruption. What it prints
    /// stands in `output`; its standard output alone goes to `pipe` where there is one.
    [[nodiscard]] bool Start(const std::filesystem::path& program, const std::wstring& arguments,
                             const std::filesystem::path& output, HANDLE pipe = nullptr);
    /// True when it has ended within `limit_ms`; an interruption ends the wait.
    [[nodiscard]] bool EndsWithin(DWORD limit_ms) const;
    [[nodiscard]] DWORD ExitCode() const;
    [[nodiscard]] DWORD Id() const { return process_.dwProcessId; }
    /// As Ctrl+Break on its console.
    [[nodiscard]] bool Break() const;
    /// What it has printed so far.
    [[nodiscard]] std::string Output() const;

private:
    PROCESS_INFORMATION process_{};
    std::filesystem::path output_;
};

[[nodiscard]] std::string ContentOf(const std::filesystem::path& file);
void WriteContent(const std::filesystem::path& file, std::string_view content);

}  // namespace selftest
