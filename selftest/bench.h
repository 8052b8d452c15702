// One link under test: a copy of the programs with the simulated other side beside them.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "process.h"
#include "report.h"

namespace selftest {

/// Where the kit lies, and where the test may write.
struct Places {
    std::filesystem::path kit;   // selftest.cmd and what holds for both kinds
    std::filesystem::path kind;  // the programs of one kind
    std::filesystem::path work;  // removed in the end
    [[nodiscard]] std::filesystem::path Temp() const { return work / L"temp"; }
};

struct Link {
    std::string name;
    std::wstring option;                  // of nelto-read
    DWORD communication;                  // the setting
    std::vector<std::wstring> libraries;  // folders of the kind, or files
    /// Files of the kit's folder "selftest", and the names under which the libraries look for them.
    std::vector<std::pair<std::wstring, std::wstring>> set_up;
    std::vector<std::string> exchange_lines;
};

/// Lines that the simulated analysers lead to.
[[nodiscard]] std::vector<std::string> LinesOf2004();
[[nodiscard]] std::vector<std::string> LinesOf2010();

/// Each check gives what is wrong, empty for nothing.
class Bench {
public:
    Bench(const Places& places, const Link& link, Report& report);

    /// Starts the dialog, waits for values, presses OK and compares the exchange file.
    [[nodiscard]] std::string TryDialog();
    /// Opens help and settings of the dialog.
    [[nodiscard]] std::string TryHelpAndSettings();
    [[nodiscard]] std::string TryReader();
    [[nodiscard]] std::string TryReaderWithoutCable();
    [[nodiscard]] std::string TryReaderWithClosedPipe();
    [[nodiscard]] std::string TryReaderAndBreak();
    /// The sample of NeltoUSB.dll.
    [[nodiscard]] std::string TryUsbLibrary();

private:
    void Copy(const std::filesystem::path& source, const std::filesystem::path& name);
    [[nodiscard]] std::string StartDialog(Process& program, HWND& dialog);
    [[nodiscard]] std::string StartReader(Process& reader, const std::wstring& options, HANDLE pipe = nullptr);
    [[nodiscard]] std::string Compared(const std::string& content) const;
    [[nodiscard]] std::filesystem::path OutputFile();

    const Places& places_;
    const Link& link_;
    Report& report_;
    std::filesystem::path folder_;
    std::string incomplete_;  // what the folder lacks
    int outputs_ = 0;
};

}  // namespace selftest
