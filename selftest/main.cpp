// Tries the kit on this machine against its simulated analysers; selftest.cmd starts it. Needs nothing installed and leaves nothing but
// the file for the support.
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "bench.h"
#include "interruption.h"
#include "process.h"
#include "report.h"
#include "text.h"
#include "traces.h"

namespace selftest {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kUsb             = 0;
constexpr DWORD kInfrared        = 1000;
constexpr int kSomethingFailed   = 1;
constexpr int kWrongUse          = 2;
constexpr const wchar_t* kDriver = L"ftd2xx\\3.02.11\\FTD2XX.DLL";
constexpr const wchar_t* kReport = L"NeltoSelfTest.html";

/// "COM5" as a number; 0 for anything else.
DWORD PortNumber(const std::wstring& name) {
    const bool is_port = (name.starts_with(L"COM") || name.starts_with(L"com")) && name.size() > 3;
    return is_port ? static_cast<DWORD>(std::wcstoul(name.c_str() + 3, nullptr, 10)) : 0;
}

std::string WindowsVersion() {
    using GetVersion     = LONG(WINAPI*)(OSVERSIONINFOW*);
    const HMODULE native = GetModuleHandleW(L"ntdll.dll");
    const auto get_version =
        reinterpret_cast<GetVersion>(reinterpret_cast<void*>(GetProcAddress(native, "RtlGetVersion")));
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (get_version != nullptr) get_version(&version);
    const bool is_wine = GetProcAddress(native, "wine_get_version") != nullptr;
    return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
           std::to_string(version.dwBuildNumber) + (is_wine ? " (Wine)" : "");
}

std::string Versions(const Places& places) {
    Process reader;
    const fs::path output = places.work / L"version.txt";
    const bool ran = reader.Start(places.kind / L"nelto-read.exe", L"--version", output) && reader.EndsWithin(10'000);
    wchar_t language[LOCALE_NAME_MAX_LENGTH] = L"";
    GetUserDefaultLocaleName(language, LOCALE_NAME_MAX_LENGTH);
    return "Windows " + WindowsVersion() + ", " + Narrow(language) + ", kit " +
           Narrow(places.kind.filename().wstring()) + "\n" + (ran ? reader.Output() : "nelto-read does not run\n");
}

void TryLink(const Places& places, const Traces& traces, const Link& link, Report& report) {
    traces.ChooseLink(link.communication);
    Bench bench(places, link, report);
    report.Result("dialog and exchange file, " + link.name, bench.TryDialog());
    report.Result("nelto-read, " + link.name, bench.TryReader());
    if (link.name != "USB") return;
    report.Result("settings and help", bench.TryHelpAndSettings());
    report.Result("NeltoUSB.dll", bench.TryUsbLibrary());
    report.Result("nelto-read when the cable is pulled", bench.TryReaderWithoutCable());
    report.Result("nelto-read when its pipe is closed", bench.TryReaderWithClosedPipe());
    report.Result("nelto-read ended by Ctrl+Break", bench.TryReaderAndBreak());
}

void TryPorts(const Places& places, const Traces& traces, const std::wstring& port, const std::wstring& other,
              Report& report) {
    Process simulator;
    const std::wstring options =
        L"--port " + other + L" --scenario \"" + (places.kit / L"selftest" / L"analyser.txt").wstring() + L"\"";
    if (!simulator.Start(places.kind / L"nelto-simulator.exe", options, places.work / L"nelto-simulator.txt")) {
        report.Result("nelto-simulator", "it does not start");
        return;
    }
    TryLink(places, traces, {"COM ports", port, PortNumber(port), {}, {}, LinesOf2004()}, report);
    report.AddText("nelto-simulator", simulator.Output());
}

void TryAll(const Places& places, const Traces& traces, const std::vector<std::wstring>& ports, Report& report) {
    const std::vector<Link> links = {
        {"USB", L"usb", kUsb, {kDriver}, {{L"analyser.txt", L"scenario.txt"}}, LinesOf2004()},
        // Without a converter, also where the driver itself is installed.
        {"generation 2010",
         L"usb",
         kUsb,
         {L"generation2010", kDriver},
         {{L"analyser2010.txt", L"scenario2010.txt"}, {L"usb.txt", L"usb.txt"}},
         LinesOf2010()},
        {"infrared",
         L"irda",
         kInfrared,
         {L"winsock\\wsock32.dll"},
         {{L"analyser.txt", L"scenario.txt"}},
         LinesOf2004()},
    };
    for (const Link& link : links) {
        if (!IsInterrupted()) TryLink(places, traces, link, report);
    }
    if (ports.size() == 2 && !IsInterrupted()) TryPorts(places, traces, ports[0], ports[1], report);
}

void AddLogs(const Places& places, const Traces& traces, Report& report) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(places.Temp(), error)) {
        report.AddText(Narrow(entry.path().filename().wstring()), ContentOf(entry.path()));
    }
    report.AddText("IRDALOG.TXT", ContentOf(traces.InfraredLog()));
    report.AddText("simulator.log", ContentOf(places.work / L"simulator.log"));
}

/// Beside the kit, or where there is room for it.
fs::path Save(const Places& places, const fs::path& other_folder, const std::string& page) {
    for (const fs::path& folder : {places.kit, other_folder}) {
        fs::path file = folder / kReport;
        WriteContent(file, page);
        if (ContentOf(file) == page) return file;
    }
    return {};
}

/// A window that is just closing may keep a file for a moment.
void RemoveAll(const fs::path& folder) {
    constexpr int kTries   = 50;
    constexpr DWORD kPause = 100;  // milliseconds
    std::error_code error;
    for (int tries = 0; tries < kTries && fs::exists(folder, error); ++tries) {
        fs::remove_all(folder, error);
        if (error) Sleep(kPause);
    }
}

int Run(const fs::path& kit, const std::vector<std::wstring>& ports) {
    wchar_t program[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::error_code error;
    const fs::path temp = fs::temp_directory_path(error);
    const Places places = {kit, fs::path(program).parent_path(),
                           temp / (L"NeltoSelfTest-" + std::to_wstring(GetCurrentProcessId()))};
    fs::create_directories(places.Temp(), error);
    // For every program that is started from here.
    for (const wchar_t* name : {L"TMP", L"TEMP"}) SetEnvironmentVariableW(name, places.Temp().c_str());
    SetEnvironmentVariableW(L"NELTO_SIMULATOR_LOG", (places.work / L"simulator.log").c_str());

    CatchInterruptions();
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);  // whole lines
    Report report;
    const std::string versions = Versions(places);
    std::printf("Self-test of Nelto StackWatcher. Please leave mouse and keyboard alone for a minute.\n\n%s\n",
                versions.c_str());
    std::fflush(stdout);
    report.AddText("versions", versions);
    {
        const Traces traces;
        TryAll(places, traces, ports, report);
        AddLogs(places, traces, report);
    }
    RemoveAll(places.work);
    if (IsInterrupted()) {
        std::puts("\nBroken off. Settings and files are as they were before.");
        return kSomethingFailed;
    }
    report.Result("nothing is left behind", fs::exists(places.work, error) ? "the temporary folder" : "");
    const fs::path saved = Save(places, temp, report.Page());
    std::printf("\n%s\nFor the support: %s\n", report.Table().c_str(),
                Narrow(saved.lexically_normal().wstring()).c_str());
    std::fflush(stdout);
    return report.Failed() == 0 && !saved.empty() ? 0 : kSomethingFailed;
}

}  // namespace
}  // namespace selftest

int wmain(int count, wchar_t** words) {
    std::vector<std::wstring> ports(words + (count < 2 ? count : 2), words + count);
    // The kind is chosen already.
    if (!ports.empty() && (ports[0] == L"x64" || ports[0] == L"x86")) ports.erase(ports.begin());
    const bool has_pair =
        ports.size() == 2 && selftest::PortNumber(ports[0]) != 0 && selftest::PortNumber(ports[1]) != 0;
    if (count < 2 || !(ports.empty() || has_pair)) {
        std::fputs("selftest.cmd [x64 | x86] [COM5 COM6]\n", stderr);
        return selftest::kWrongUse;
    }
    return selftest::Run(words[1], ports);
}
