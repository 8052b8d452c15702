#include "bench.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "dialog.h"
#include "interruption.h"
#include "text.h"

namespace selftest {
namespace {

constexpr DWORD kPatience   = 20'000;  // milliseconds for values, or for an end
constexpr DWORD kHelpTime   = 10'000;
constexpr DWORD kLook       = 100;
constexpr DWORD kWindowTime = 10'000;
constexpr DWORD kSettled    = 1000;

// Exit codes of nelto-read.
constexpr DWORD kNothingPrinted = 1;
constexpr DWORD kLostEarly      = 3;

constexpr const wchar_t* kCaption         = L"Nelto StackWatcher Version";
constexpr const wchar_t* kSettingsCaption = L"Nelto StackWatcher Einstellungen";
constexpr const wchar_t* kHelpClass       = L"HH Parent";
constexpr const char* kCallerWord         = "SELFTEST";

constexpr std::array kPrograms = {L"NeltoStackWatcher.exe",
                                  L"NeltoStackWatcher_DE.chm",
                                  L"NeltoStackWatcher_EN.chm",
                                  L"nelto-read.exe",
                                  L"NeltoUSB.dll",
                                  L"usb_client.exe"};

/// The lines, sorted, with a point for the decimal separator of the system.
std::vector<std::string> SortedLines(const std::string& content) {
    std::vector<std::string> lines;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) line.pop_back();
        std::ranges::replace(line, ',', '.');
        if (line != kCallerWord && line.find('=') != std::string::npos) lines.push_back(line);
    }
    std::ranges::sort(lines);
    return lines;
}

std::string Listed(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : " ") + line;
    return text;
}

bool WaitForOutput(const Process& process, const std::string& text) {
    for (DWORD waited = 0; waited < kPatience && !IsInterrupted(); waited += kLook) {
        if (process.Output().find(text) != std::string::npos) return true;
        if (process.EndsWithin(kLook)) return process.Output().find(text) != std::string::npos;
    }
    return false;
}

/// With the last line that it has printed.
std::string WrongEnd(const Process& process, DWORD wanted) {
    if (process.ExitCode() == wanted) return {};
    std::string output = process.Output();
    while (!output.empty() && (output.back() == '\n' || output.back() == '\r')) output.pop_back();
    return "exit code " + std::to_string(process.ExitCode()) + " in place of " + std::to_string(wanted) + "; " +
           output.substr(output.rfind('\n') + 1);
}

}  // namespace

std::vector<std::string> LinesOf2004() {
    return {"2003=4.3",  "2603=12.3", "2204=22",   "2404=-",        "1101=168.4",    "1001=19.4",       "4010=-0.112",
            "1401=62.0", "6020=1.0",  "6120=2.0",  "6220=3.0",      "6520=2.0",      "6320=0",          "6420=1",
            "3703=15.4", "2803=3.0",  "9100=2.15", "9300=SP-20417", "9200=40712345", "9000=nelto 780-2"};
}

std::vector<std::string> LinesOf2010() {
    return {"2003=4.3",  "2204=22",  "1101=168.4",     "1401=62.0", "6420=2",
            "3703=11.9", "2803=3.0", "9000=nelto 745", "9100=2.15", "9200=45100123"};
}

Bench::Bench(const Places& places, const Link& link, Report& report)
    : places_(places), link_(link), report_(report), folder_(places.work / link.name) {
    std::error_code error;
    std::filesystem::create_directories(folder_, error);
    for (const wchar_t* name : kPrograms) Copy(places.kind / name, name);
    for (const std::wstring& library : link.libraries)
        Copy(places.kind / library, std::filesystem::path(library).filename());
    for (const auto& [file, name] : link.set_up) Copy(places.kit / L"selftest" / file, name);
}

/// A folder's files come without it.
void Bench::Copy(const std::filesystem::path& source, const std::filesystem::path& name) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::is_directory(source, error)) {
        for (const auto& entry : fs::directory_iterator(source, error)) Copy(entry.path(), entry.path().filename());
        return;
    }
    if (!fs::copy_file(source, folder_ / name, fs::copy_options::overwrite_existing, error))
        incomplete_ = "cannot be copied: " + Narrow(source.wstring());
}

std::filesystem::path Bench::OutputFile() {
    return places_.work / (link_.name + " output " + std::to_string(++outputs_) + ".txt");
}

std::string Bench::Compared(const std::string& content) const {
    std::vector<std::string> wanted = link_.exchange_lines;
    std::ranges::sort(wanted);
    const std::vector<std::string> lines = SortedLines(content);
    std::vector<std::string> missing;
    std::vector<std::string> foreign;
    std::ranges::set_difference(wanted, lines, std::back_inserter(missing));
    std::ranges::set_difference(lines, wanted, std::back_inserter(foreign));
    if (missing.empty() && foreign.empty()) return {};
    return "missing: " + Listed(missing) + "; not said by the analyser: " + Listed(foreign);
}

/// Leaves the dialog with values in its list.
std::string Bench::StartDialog(Process& program, HWND& dialog) {
    if (!incomplete_.empty()) return incomplete_;
    if (!program.Start(folder_ / L"NeltoStackWatcher.exe", L"SELFTEST", OutputFile()))
        return "the program does not start";
    dialog = WindowOf(program.Id(), kCaption, kWindowTime);
    if (dialog == nullptr) return "there is no dialog";
    const bool has_values = WaitEnabled(dialog, kOk, kPatience);
    for (DWORD waited = 0; has_values && RowCount(dialog) == 0 && waited < kPatience; waited += kLook) Pause(kLook);
    report_.AddPicture("dialog over " + link_.name, PictureOf(dialog));
    return has_values && RowCount(dialog) > 0 ? "" : "no values came";
}

std::string Bench::TryDialog() {
    Process program;
    HWND dialog = nullptr;
    if (std::string fault = StartDialog(program, dialog); !fault.empty()) return fault;
    Press(dialog, kOk);
    if (!program.EndsWithin(kPatience)) return "it does not end";
    const std::string content = ContentOf(places_.Temp() / L"NeltoStackWatcher.txt");
    report_.AddText("exchange file over " + link_.name, content);
    if (!content.starts_with(kCallerWord)) return "the exchange file does not begin with the caller's word";
    return Compared(content);
}

std::string Bench::TryHelpAndSettings() {
    Process program;
    HWND dialog = nullptr;
    if (std::string fault = StartDialog(program, dialog); !fault.empty()) return fault;
    Press(dialog, kSettings);
    const HWND settings = WindowOf(program.Id(), kSettingsCaption, kWindowTime);
    if (settings == nullptr) return "there is no settings dialog";
    report_.AddPicture("settings", PictureOf(settings));
    if (GetDlgItem(settings, kBluetooth) == nullptr) return "the settings lack a control";
    Press(settings, kCancel);
    Press(dialog, kHelp);
    const HWND help = WindowOfClass(kHelpClass, kHelpTime);
    if (help != nullptr) report_.AddPicture("help", PictureOf(help));
    if (help != nullptr) PostMessageW(help, WM_CLOSE, 0, 0);
    Press(dialog, kCancel);
    if (!program.EndsWithin(kPatience)) return "it does not end";
    return help != nullptr ? "" : "the help does not open";
}

std::string Bench::StartReader(Process& reader, const std::wstring& options, HANDLE pipe) {
    const std::wstring all = L"--link " + link_.option + L" " + options;
    return reader.Start(folder_ / L"nelto-read.exe", all, OutputFile(), pipe) ? "" : "nelto-read does not start";
}

std::string Bench::TryReader() {
    Process reader;
    if (std::string fault = StartReader(reader, L"--format exchange --timeout 20"); !fault.empty()) return fault;
    if (!reader.EndsWithin(2 * kPatience)) return "it does not end";
    report_.AddText("nelto-read over " + link_.name, reader.Output());
    std::string fault = WrongEnd(reader, 0);
    return fault.empty() ? Compared(reader.Output()) : fault;
}

std::string Bench::TryReaderWithoutCable() {
    const std::filesystem::path control = folder_ / L"unplugged.txt";
    Process reader;
    if (std::string fault = StartReader(reader, L"--format csv --count 1000"); !fault.empty()) return fault;
    const bool has_values = WaitForOutput(reader, "nelto 780-2");
    WriteContent(control, "");
    const bool has_ended = reader.EndsWithin(kPatience);
    std::error_code error;
    std::filesystem::remove(control, error);
    report_.AddText("nelto-read without its cable", reader.Output());
    if (!has_values) return "no values came";
    return has_ended ? WrongEnd(reader, kLostEarly) : "it does not end";
}

/// While no analyser answers nothing is written, by which a closed pipe would be seen.
std::string Bench::TryReaderWithClosedPipe() {
    const std::filesystem::path control = folder_ / L"unplugged.txt";
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE read_end  = nullptr;
    HANDLE write_end = nullptr;
    if (CreatePipe(&read_end, &write_end, &inherited, 0) == 0) return "there is no pipe";
    SetHandleInformation(read_end, HANDLE_FLAG_INHERIT, 0);
    WriteContent(control, "");
    Process reader;
    std::string fault = StartReader(reader, L"--format csv --watch --timeout 0", write_end);
    CloseHandle(write_end);
    if (fault.empty() && !WaitForOutput(reader, "searching")) fault = "it does not search";
    if (fault.empty() && reader.EndsWithin(kSettled)) fault = "it ends while its pipe is open";
    CloseHandle(read_end);
    if (fault.empty() && !reader.EndsWithin(kPatience)) fault = "it does not end";
    std::error_code error;
    std::filesystem::remove(control, error);
    return fault.empty() ? WrongEnd(reader, kNothingPrinted) : fault;
}

std::string Bench::TryReaderAndBreak() {
    Process reader;
    if (std::string fault = StartReader(reader, L"--format csv --watch"); !fault.empty()) return fault;
    if (!WaitForOutput(reader, "nelto 780-2")) return "no values came";
    if (!reader.Break()) return kNotTried + ("Ctrl+Break cannot be sent here, error " + std::to_string(GetLastError()));
    if (!reader.EndsWithin(kPatience)) return "it does not end";
    const std::string events = ContentOf(places_.work / L"simulator.log");
    const std::size_t last   = events.rfind("request ");
    const bool is_left       = last != std::string::npos && events.substr(last).find("slave mode") != std::string::npos;
    return is_left ? WrongEnd(reader, 0) : "the analyser was not left in order";
}

std::string Bench::TryUsbLibrary() {
    Process client;
    if (!client.Start(folder_ / L"usb_client.exe", L"talk", OutputFile())) return "usb_client does not start";
    if (!client.EndsWithin(kPatience)) return "it does not end";
    report_.AddText("usb_client", client.Output());
    if (client.Output().find("54 37 38 30") == std::string::npos) return "the analyser does not say T780";
    return WrongEnd(client, 0);
}

}  // namespace selftest
