#include <windows.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "drop_in.h"

namespace simulator {
namespace {

constexpr const char* kScenarioVariable = "NELTO_SIMULATOR_SCENARIO";
constexpr const char* kLogVariable      = "NELTO_SIMULATOR_LOG";
constexpr const char* kScenarioFile     = "scenario.txt";

// Asked of Windows, not of the C runtime: its copy of the environment may be older.
std::string Variable(const char* name) {
    std::array<char, 1024> value{};
    const DWORD length = GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
    return length < value.size() ? std::string(value.data(), length) : std::string();
}

std::chrono::milliseconds ProcessAge() {
    FILETIME creation{};
    FILETIME now{};
    FILETIME unused{};
    GetProcessTimes(GetCurrentProcess(), &creation, &unused, &unused, &unused);
    GetSystemTimeAsFileTime(&now);
    constexpr std::uint64_t kPerMillisecond = 10000;
    const auto ticks                        = [](const FILETIME& time) {
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    };
    return std::chrono::milliseconds((ticks(now) - ticks(creation)) / kPerMillisecond);
}

}  // namespace

std::string DropInFolder(const void* inside) {
    HMODULE module         = nullptr;
    constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExA(kFlags, static_cast<const char*>(inside), &module) == 0) return {};
    std::array<char, MAX_PATH> path{};
    const DWORD length = GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    std::string folder(path.data(), length);
    return folder.erase(folder.find_last_of('\\') + 1);
}

std::string DropInFile(const void* inside, const char* variable, const char* file_name) {
    std::string path = Variable(variable);
    if (!path.empty()) return path;
    path = DropInFolder(inside) + file_name;
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES ? path : std::string();
}

std::optional<Scenario> DropInScenario(const void* inside) {
    const std::string path = DropInFile(inside, kScenarioVariable, kScenarioFile);
    std::string error;
    std::optional<Scenario> scenario =
        path.empty() ? ParseScenario(DefaultScenarioText(), error) : LoadScenario(path, error);
    if (scenario) {
        DropInTell("scenario " + (path.empty() ? std::string("built in") : path));
    } else {
        const std::string line = "scenario " + path + ": " + error;
        DropInTell(line);
        std::fprintf(stderr, "%s\n", line.c_str());
    }
    return scenario;
}

std::uint64_t DropInNowMs() {
    static const auto start = std::chrono::steady_clock::now() - ProcessAge();
    const auto passed       = std::chrono::steady_clock::now() - start;
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}

void DropInTell(const std::string& line) {
    static std::FILE* const log = [] {
        const std::string path = Variable(kLogVariable);
        return path.empty() ? nullptr : std::fopen(path.c_str(), "a");
    }();
    if (log == nullptr) return;
    std::fprintf(log, "%9.3f %s\n", static_cast<double>(DropInNowMs()) / 1000.0, line.c_str());
    std::fflush(log);
}

}  // namespace simulator
