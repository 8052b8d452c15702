#include "ui/help.h"

#include <shellapi.h>

#include <array>
#include <cstdint>
#include <string>

#include "platform/dynamic_library.h"
#include "platform/wide_text.h"
#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

std::wstring HelpPath() {
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::wstring whole(platform::TextIn(program));
    return whole.substr(0, whole.rfind(L'\\')) + L"\\" + LoadText(IDS_HELP_FILE);
}

/// Puts the path in the place of the text's "%s".
std::wstring NotFoundText(std::wstring_view path) {
    constexpr std::wstring_view kPlace = L"%s";
    std::wstring text                  = LoadText(IDS_HELP_NOT_FOUND);
    const std::size_t at               = text.find(kPlace);
    if (at != std::wstring::npos) text.replace(at, kPlace.size(), path);
    return text;
}

/// The shell is loaded when the help is first asked for: nothing else needs it.
bool OpenDocument(HWND dialog, const wchar_t* path) {
    constexpr INT_PTR kHighestError = 32;
    using platform::LibraryHandle;
    const LibraryHandle shell          = platform::LoadLibraryToStay(L"shell32.dll");
    decltype(&::ShellExecuteW) execute = nullptr;
    if (shell == LibraryHandle::kNone || !platform::FindFunction(shell, "ShellExecuteW", execute)) return false;
    const HINSTANCE result = execute(dialog, L"open", path, nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > kHighestError;
}

}  // namespace

void OpenHelp(HWND dialog) {
    const std::wstring path = HelpPath();
    if (OpenDocument(dialog, path.c_str())) return;
    MessageBoxW(dialog, NotFoundText(path).c_str(), LoadText(IDS_ERROR_CAPTION).c_str(), MB_OK | MB_ICONERROR);
}

}  // namespace nelto::ui
