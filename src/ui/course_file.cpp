#include "ui/course_file.h"

#include <commdlg.h>

#include <array>
#include <cstdint>

#include "core/course_csv.h"
#include "platform/dynamic_library.h"
#include "platform/wide_text.h"
#include "ui/resource.h"
#include "ui/window_text.h"

namespace nelto::ui {
namespace {

using Path = std::array<wchar_t, 1024>;

/// The library with the dialog is loaded when it is first asked for: nothing else needs it.
bool AskForPath(HWND owner, Path& path) {
    using platform::LibraryHandle;
    const LibraryHandle dialogs       = platform::LoadLibraryToStay(L"comdlg32.dll");
    decltype(&::GetSaveFileNameW) ask = nullptr;
    if (dialogs == LibraryHandle::kNone || !platform::FindFunction(dialogs, "GetSaveFileNameW", ask)) return false;
    const std::wstring filter = LoadText(IDS_COURSE_FILTER) + L'\0' + L"*.csv" + L'\0';
    OPENFILENAMEW request{};
    request.lStructSize = sizeof request;
    request.hwndOwner   = owner;
    request.lpstrFilter = filter.c_str();
    request.lpstrFile   = path.data();
    request.nMaxFile    = static_cast<DWORD>(path.size());
    request.lpstrDefExt = L"csv";
    request.Flags       = OFN_EXPLORER | OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return ask(&request) != FALSE;
}

wchar_t LocaleCharacter(LCTYPE type) {
    std::array<wchar_t, 16> text{};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text.data(), static_cast<int>(text.size()));
    return text[0];
}

std::wstring ReasonText(std::uint32_t error) {
    std::array<wchar_t, 512> text{};
    constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    FormatMessageW(kFlags, nullptr, error, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    if (text[0] == L'\0') platform::FormatText(text, L"%u", error);
    return std::wstring(platform::TextIn(text));
}

}  // namespace

void SaveCourseAs(HWND owner, const CourseRecorder& recorder, const std::wstring& device) {
    Path path{};
    platform::CopyText(path, CourseFileName(recorder, device));
    if (!AskForPath(owner, path)) return;
    // As the user's spreadsheet has them, which may be set otherwise than those of the system.
    const TableSeparators separators = {.list    = LocaleCharacter(LOCALE_SLIST),
                                        .decimal = LocaleCharacter(LOCALE_SDECIMAL)};
    const HCURSOR cursor             = SetCursor(LoadCursorW(nullptr, IDC_WAIT));  // a day takes seconds
    const std::uint32_t error        = SaveCourse(recorder, separators, path.data());
    SetCursor(cursor);
    if (error == 0) return;
    const std::wstring text = LoadText(IDS_COURSE_NOT_SAVED) + L"\n\n" + path.data() + L"\n" + ReasonText(error);
    MessageBoxW(owner, text.c_str(), LoadText(IDS_ERROR_CAPTION).c_str(), MB_OK | MB_ICONERROR);
}

}  // namespace nelto::ui
