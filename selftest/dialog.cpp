#include "dialog.h"

#include <commctrl.h>

#include <algorithm>
#include <string>

#include "interruption.h"

namespace selftest {
namespace {

constexpr DWORD kLook         = 50;  // milliseconds between two looks
constexpr UINT kAnswerTimeout = 5000;
constexpr DWORD kDrawingTime  = 300;
constexpr WORD kBitsPerPixel  = 16;
constexpr LONG kWidest = 800, kHighest = 640;  // of a picture, in pixels
constexpr int kLongestText     = 256;
constexpr WORD kBitmapFileMark = 0x4D42;

struct Search {
    DWORD process_id;          // 0 for any
    const std::wstring& text;  // the beginning of the caption, or the class
    HWND found;
};

std::wstring TextOf(HWND window, bool is_class) {
    std::wstring text(kLongestText, L'\0');
    const int length =
        is_class ? GetClassNameW(window, text.data(), kLongestText) : GetWindowTextW(window, text.data(), kLongestText);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

BOOL CALLBACK LookAt(HWND window, LPARAM parameter) {
    auto* const search = reinterpret_cast<Search*>(parameter);
    DWORD process_id   = 0;
    GetWindowThreadProcessId(window, &process_id);
    const bool is_wanted = search->process_id == 0 || search->process_id == process_id;
    if (!is_wanted || IsWindowVisible(window) == 0) return TRUE;
    if (!TextOf(window, search->process_id == 0).starts_with(search->text)) return TRUE;
    search->found = window;
    return FALSE;
}

HWND Find(DWORD process_id, const std::wstring& text, DWORD limit_ms) {
    Search search{process_id, text, nullptr};
    for (DWORD waited = 0; search.found == nullptr && waited <= limit_ms && !IsInterrupted(); waited += kLook) {
        EnumWindows(LookAt, reinterpret_cast<LPARAM>(&search));
        if (search.found == nullptr) Pause(kLook);
    }
    return search.found;
}

}  // namespace

HWND WindowOf(DWORD process_id, const std::wstring& caption, DWORD limit_ms) {
    return Find(process_id, caption, limit_ms);
}

HWND WindowOfClass(const std::wstring& class_name, DWORD limit_ms) { return Find(0, class_name, limit_ms); }

bool WaitEnabled(HWND dialog, int control, DWORD limit_ms) {
    for (DWORD waited = 0; waited <= limit_ms && !IsInterrupted(); waited += kLook) {
        if (IsWindowEnabled(GetDlgItem(dialog, control)) != 0) return true;
        Pause(kLook);
    }
    return false;
}

LRESULT RowCount(HWND dialog) {
    DWORD_PTR rows = 0;
    SendMessageTimeoutW(GetDlgItem(dialog, kValues), LVM_GETITEMCOUNT, 0, 0, SMTO_NORMAL, kAnswerTimeout, &rows);
    return static_cast<LRESULT>(rows);
}

void Press(HWND dialog, int control) { PostMessageW(GetDlgItem(dialog, control), BM_CLICK, 0, 0); }

std::string PictureOf(HWND window) {
    SetForegroundWindow(window);
    Sleep(kDrawingTime);
    RECT place{};
    GetWindowRect(window, &place);
    const int width      = std::min(place.right - place.left, kWidest);
    const int height     = std::min(place.bottom - place.top, kHighest);
    const HDC screen     = GetDC(nullptr);
    const HDC memory     = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);
    SelectObject(memory, before);

    BITMAPINFOHEADER header{};
    header.biSize            = sizeof header;
    header.biWidth           = width;
    header.biHeight          = height;
    header.biPlanes          = 1;
    header.biBitCount        = kBitsPerPixel;
    const std::size_t stride = (static_cast<std::size_t>(width) * kBitsPerPixel / 8 + 3) / 4 * 4;
    std::string pixels(stride * static_cast<std::size_t>(height), '\0');
    GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(), reinterpret_cast<BITMAPINFO*>(&header),
              DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);

    BITMAPFILEHEADER file{};
    file.bfType    = kBitmapFileMark;
    file.bfOffBits = sizeof file + sizeof header;
    file.bfSize    = static_cast<DWORD>(file.bfOffBits + pixels.size());
    return std::string(reinterpret_cast<const char*>(&file), sizeof file) +
           std::string(reinterpret_cast<const char*>(&header), sizeof header) + pixels;
}

}  // namespace selftest
