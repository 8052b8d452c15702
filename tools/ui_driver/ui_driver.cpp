// Drives the dialogs of another process by control id: one command a line on stdin, one answer a line on stdout, UTF-8.
// An answer is "ok" followed by JSON, or "error" followed by a reason. No command waits longer than its time-out.
//
//   wait CAPTION MS         choose the visible window whose caption starts so, waiting for it; {pid, caption}
//   state ID                {class, text, enabled, visible, style, exstyle, checked, rect}; rect in client pixels
//   combo ID | items ID     entries of a combo box | columns and rows of a list view
//   click ID | post ID      press a button and wait for it | press it and go on (it opens a dialog)
//   settext ID TEXT | select ID N | key VK | command ID | close
//   press VK...             keys on the keyboard of the window that is in front, held together: 0x12 0x28 is Alt+Down
//   rescale ID WIDTH        give a control this width and tell of a change of the scaling
//   measure TEXT | ideal ID width of a text in the font of the values | [width, height] that a button needs
//   activate | focus [ID] | windows | messagebox [ID] | controls | resources PID
//   regset NAME dword|string VALUE | regget NAME | temp | clipboard
//   desktop                 whether windows can be made at all
#include <windows.h>

#include <commctrl.h>
#include <winternl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr UINT kAnswerTimeout    = 5000;
constexpr UINT kClickTimeout     = 2000;
constexpr wchar_t kRegistryKey[] = L"Software\\Nelto\\NeltoStackWatcher";

HWND window = nullptr;

std::string Narrow(const std::wstring& text) {
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), length, nullptr, nullptr);
    return bytes;
}

std::wstring Widen(const std::string& bytes) {
    const int length = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(), length);
    return text;
}

std::string Quote(const std::wstring& text) {
    std::string json = "\"";
    for (const char byte : Narrow(text)) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        const bool plain = byte != '"' && byte != '\\' && static_cast<unsigned char>(byte) >= 0x20;
        json += plain ? std::string(1, byte) : std::string(escape);
    }
    return json + "\"";
}

std::string Number(long long value) { return std::to_string(value); }
std::string Truth(bool value) { return value ? "true" : "false"; }

/// The members of a JSON list, or of an object when each member starts with its name.
std::string Join(const std::vector<std::string>& members) {
    std::string json;
    for (const std::string& member : members) json += (json.empty() ? "" : ",") + member;
    return json;
}

struct Answer {
    bool ok = true;
    std::string text;
};
Answer Fail(const char* reason) { return {false, reason}; }

/// Sends a message and waits a bounded time; false when the window did not answer.
bool Send(HWND target, UINT message, WPARAM wparam, LPARAM lparam, DWORD_PTR& result, UINT timeout = kAnswerTimeout) {
    result = 0;
    return SendMessageTimeoutW(target, message, wparam, lparam, SMTO_NORMAL, timeout, &result) != 0;
}

LRESULT Ask(HWND target, UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
    DWORD_PTR result = 0;
    Send(target, message, wparam, lparam, result);
    return static_cast<LRESULT>(result);
}

std::wstring TextOf(HWND target) {
    wchar_t text[1024] = L"";
    Ask(target, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
    return text;
}

std::wstring ClassOf(HWND target) {
    wchar_t name[64] = L"";
    GetClassNameW(target, name, std::size(name));
    return name;
}

DWORD ProcessOf(HWND target) {
    DWORD process = 0;
    GetWindowThreadProcessId(target, &process);
    return process;
}

BOOL CALLBACK CollectVisible(HWND top, LPARAM list) {
    if (IsWindowVisible(top) != 0) reinterpret_cast<std::vector<HWND>*>(list)->push_back(top);
    return TRUE;
}

std::vector<HWND> TopWindows() {
    std::vector<HWND> found;
    EnumWindows(CollectVisible, reinterpret_cast<LPARAM>(&found));
    return found;
}

std::string RectOf(HWND control) {
    RECT rect;
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&rect), 2);
    return "[" +
           Join({Number(rect.left), Number(rect.top), Number(rect.right - rect.left), Number(rect.bottom - rect.top)}) +
           "]";
}

std::string StateOf(HWND control) {
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(control, GWL_STYLE));
    const auto extra = static_cast<DWORD>(GetWindowLongPtrW(control, GWL_EXSTYLE));
    return "{" +
           Join({"\"id\":" + Number(GetDlgCtrlID(control)), "\"class\":" + Quote(ClassOf(control)),
                 "\"text\":" + Quote(TextOf(control)), "\"enabled\":" + Truth(IsWindowEnabled(control) != 0),
                 "\"visible\":" + Truth(IsWindowVisible(control) != 0), "\"style\":" + Number(style),
                 "\"exstyle\":" + Number(extra),
                 "\"checked\":" + Truth(ClassOf(control) == L"Button" && Ask(control, BM_GETCHECK) == BST_CHECKED),
                 "\"rect\":" + RectOf(control)}) +
           "}";
}

/// Memory in the program's own address space, for messages whose structures are not carried across processes.
class RemoteMemory {
public:
    explicit RemoteMemory(DWORD process_id)
        : process_(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process_id)),
          memory_(VirtualAllocEx(process_, nullptr, 4096, MEM_COMMIT, PAGE_READWRITE)) {}
    ~RemoteMemory() {
        VirtualFreeEx(process_, memory_, 0, MEM_RELEASE);
        CloseHandle(process_);
    }
    RemoteMemory(const RemoteMemory&)            = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;

    [[nodiscard]] char* Address() const { return static_cast<char*>(memory_); }
    void Write(const void* data, size_t size) const { WriteProcessMemory(process_, memory_, data, size, nullptr); }
    void Read(void* data, size_t size) const { ReadProcessMemory(process_, memory_, data, size, nullptr); }
    [[nodiscard]] std::wstring ReadText(size_t offset) const {
        wchar_t text[512] = L"";
        ReadProcessMemory(process_, Address() + offset, text, sizeof text - sizeof *text, nullptr);
        return text;
    }

private:
    HANDLE process_;
    void* memory_;
};

constexpr size_t kRemoteText = 1024;  // where the text stands behind the structure

std::wstring ListText(HWND list, const RemoteMemory& memory, int row, int column) {
    LVITEMW item{};
    item.iSubItem   = column;
    item.pszText    = reinterpret_cast<wchar_t*>(memory.Address() + kRemoteText);
    item.cchTextMax = 512;
    memory.Write(&item, sizeof item);
    Ask(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(memory.Address()));
    return memory.ReadText(kRemoteText);
}

std::wstring ColumnText(HWND list, const RemoteMemory& memory, int column) {
    LVCOLUMNW header{};
    header.mask       = LVCF_TEXT;
    header.pszText    = reinterpret_cast<wchar_t*>(memory.Address() + kRemoteText);
    header.cchTextMax = 512;
    memory.Write(&header, sizeof header);
    Ask(list, LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(memory.Address()));
    return memory.ReadText(kRemoteText);
}

std::string ItemsOf(HWND list) {
    const RemoteMemory memory(ProcessOf(list));
    const auto header   = reinterpret_cast<HWND>(Ask(list, LVM_GETHEADER));
    const int columns   = static_cast<int>(Ask(header, HDM_GETITEMCOUNT));
    const int row_count = static_cast<int>(Ask(list, LVM_GETITEMCOUNT));
    std::vector<std::string> titles, widths, rows;
    for (int column = 0; column < columns; ++column) {
        titles.push_back(Quote(ColumnText(list, memory, column)));
        widths.push_back(Number(Ask(list, LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(column))));
    }
    rows.reserve(static_cast<size_t>(row_count));
    for (int row = 0; row < row_count; ++row) {
        std::vector<std::string> cells;
        cells.reserve(static_cast<size_t>(columns));
        for (int column = 0; column < columns; ++column) cells.push_back(Quote(ListText(list, memory, row, column)));
        rows.push_back("[" + Join(cells) + "]");
    }
    return "{\"columns\":[" + Join(titles) + "],\"widths\":[" + Join(widths) + "],\"rows\":[" + Join(rows) + "]}";
}

std::string ComboOf(HWND combo) {
    std::vector<std::string> entries;
    const auto count = static_cast<WPARAM>(Ask(combo, CB_GETCOUNT));
    for (WPARAM index = 0; index < count; ++index) {
        wchar_t text[256] = L"";
        Ask(combo, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(text));
        entries.push_back(Quote(text));
    }
    return "{\"entries\":[" + Join(entries) + "],\"selected\":" + Number(static_cast<int>(Ask(combo, CB_GETCURSEL))) +
           ",\"dropped\":" + Truth(Ask(combo, CB_GETDROPPEDSTATE) != 0) + ",\"text\":" + Quote(TextOf(combo)) + "}";
}

/// The rest of a command line, taken apart word by word.
struct Words {
    std::wstring rest;
    std::wstring Next() {
        const size_t end  = rest.find(L' ');
        std::wstring word = rest.substr(0, end);
        rest              = end == std::wstring::npos ? L"" : rest.substr(end + 1);
        return word;
    }
    long NextNumber() { return std::wcstol(Next().c_str(), nullptr, 0); }
    HWND NextControl() { return GetDlgItem(window, static_cast<int>(NextNumber())); }
};

Answer Wait(Words& words) {
    const size_t last_blank    = words.rest.rfind(L' ');
    const std::wstring caption = words.rest.substr(0, last_blank);
    const long timeout =
        last_blank == std::wstring::npos ? 0 : std::wcstol(words.rest.c_str() + last_blank, nullptr, 0);
    for (long waited = 0;; waited += 50) {
        for (HWND top : TopWindows()) {
            if (TextOf(top).rfind(caption, 0) != 0) continue;
            window = top;
            return {true, "{\"pid\":" + Number(ProcessOf(top)) + ",\"caption\":" + Quote(TextOf(top)) + "}"};
        }
        if (waited >= timeout) return Fail("no such window");
        Sleep(50);
    }
}

Answer Desktop(Words&) {
    HWND made = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (made == nullptr) return Fail("no window can be made");
    DestroyWindow(made);
    return {};
}

Answer Click(Words& words, bool and_wait) {
    HWND button = words.NextControl();
    if (button == nullptr) return Fail("no such control");
    if (IsWindowEnabled(button) == 0) return Fail("disabled");
    DWORD_PTR ignored = 0;
    if (!and_wait) return {PostMessageW(button, BM_CLICK, 0, 0) != 0, {}};
    if (!Send(button, BM_CLICK, 0, 0, ignored, kClickTimeout) && IsWindow(button) != 0)
        return Fail("no answer to the click");
    return {};
}

Answer SetText(Words& words) {
    HWND control = words.NextControl();
    if (control == nullptr) return Fail("no such control");
    if (IsWindowEnabled(control) == 0) return Fail("disabled");
    Ask(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(words.rest.c_str()));
    return {};
}

Answer Select(Words& words) {
    HWND combo = words.NextControl();
    if (combo == nullptr) return Fail("no such control");
    if (IsWindowEnabled(combo) == 0) return Fail("disabled");
    if (Ask(combo, CB_SETCURSEL, static_cast<WPARAM>(words.NextNumber())) == CB_ERR) return Fail("no such entry");
    Ask(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(combo), CBN_SELCHANGE), reinterpret_cast<LPARAM>(combo));
    return {};
}

/// What a change of the scaling brings the program: a control that the dialog manager has given another size, then the message.
Answer Rescale(Words& words) {
    HWND control = words.NextControl();
    if (control == nullptr) return Fail("no such control");
    RECT place{};
    GetWindowRect(control, &place);
    const UINT flags = SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE;
    SetWindowPos(control, nullptr, 0, 0, words.NextNumber(), place.bottom - place.top, flags);
    constexpr WPARAM kDpi = MAKEWPARAM(USER_DEFAULT_SCREEN_DPI, USER_DEFAULT_SCREEN_DPI);
    return {PostMessageW(window, WM_DPICHANGED, kDpi, 0) != 0, {}};
}

HWND FocusedControl() {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    HWND focused = info.hwndFocus;
    while (focused != nullptr && GetParent(focused) != window)
        focused = GetParent(focused);  // the edit inside a combo box
    return focused;
}

Answer Focus(Words& words) {
    HWND control = words.rest.empty() ? nullptr : words.NextControl();
    if (control != nullptr) Ask(window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
    return {true, Number(FocusedControl() != nullptr ? GetDlgCtrlID(FocusedControl()) : 0)};
}

Answer Key(Words& words) {
    const auto key = static_cast<WPARAM>(words.NextNumber());
    HWND target    = FocusedControl() != nullptr ? FocusedControl() : window;
    PostMessageW(target, WM_KEYDOWN, key, 1);
    PostMessageW(target, WM_KEYUP, key, 1);
    return {};
}

Answer Press(Words& words) {
    std::vector<INPUT> strokes;
    while (!words.rest.empty()) {
        INPUT down{};
        down.type   = INPUT_KEYBOARD;
        down.ki.wVk = static_cast<WORD>(words.NextNumber());
        strokes.push_back(down);
    }
    for (size_t held = strokes.size(); held > 0; --held) {
        strokes.push_back(strokes[held - 1]);
        strokes.back().ki.dwFlags = KEYEVENTF_KEYUP;
    }
    const auto count = static_cast<UINT>(strokes.size());
    return {SendInput(count, strokes.data(), sizeof(INPUT)) == count, {}};
}

/// The list of values of the main dialog; its owner's when the settings dialog is looked at. All controls share its font.
HWND ValueList() {
    HWND dialog = GetWindow(window, GW_OWNER) != nullptr ? GetWindow(window, GW_OWNER) : window;
    for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        if (ClassOf(child) == WC_LISTVIEWW) return child;
    }
    return nullptr;
}

Answer Measure(Words& words) {
    HWND list = ValueList();
    if (list == nullptr) return Fail("no list of values");
    const RemoteMemory memory(ProcessOf(list));
    memory.Write(words.rest.c_str(), (words.rest.size() + 1) * sizeof(wchar_t));
    return {true, Number(Ask(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(memory.Address())))};
}

std::string IdealSizeOf(HWND button) {
    const RemoteMemory memory(ProcessOf(button));
    SIZE size{};
    memory.Write(&size, sizeof size);
    Ask(button, BCM_GETIDEALSIZE, 0, reinterpret_cast<LPARAM>(memory.Address()));
    memory.Read(&size, sizeof size);
    return "[" + Number(size.cx) + "," + Number(size.cy) + "]";
}

Answer MessageBoxState(Words& words) {
    const std::wstring button = words.Next();
    for (HWND top : TopWindows()) {
        if (ClassOf(top) != L"#32770" || ProcessOf(top) != ProcessOf(window) || GetWindow(top, GW_OWNER) != window)
            continue;
        const bool can_grow = (GetWindowLongPtrW(top, GWL_STYLE) & WS_THICKFRAME) != 0;
        if (can_grow || TextOf(top).rfind(L"Nelto StackWatcher", 0) == 0) continue;
        if (!button.empty())
            return {PostMessageW(top, WM_COMMAND, std::wcstoul(button.c_str(), nullptr, 0), 0) != 0, {}};
        std::vector<std::string> texts;
        for (HWND child = GetWindow(top, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
            texts.push_back(Quote(TextOf(child)));
        }
        return {true, "{\"caption\":" + Quote(TextOf(top)) + ",\"texts\":[" + Join(texts) + "]}"};
    }
    return Fail("no message box");
}

Answer Controls(Words&) {
    std::vector<std::string> states;
    for (HWND child = GetWindow(window, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        states.push_back(StateOf(child));
    }
    return {true, "[" + Join(states) + "]"};
}

Answer Windows(Words&) {
    std::vector<std::string> captions;
    for (HWND top : TopWindows()) captions.push_back(Quote(TextOf(top)));
    return {true, "[" + Join(captions) + "]"};
}

/// Handles and threads that the system counts for a process.
struct OpenHandle {
    ULONG process;
    UCHAR type;
    UCHAR flags;
    USHORT handle;
    void* object;
    ULONG access;
};
struct OpenHandleList {
    ULONG count;
    OpenHandle first;
};

/// Open handles of a process, counted one by one: the count in Wine's process list is the room for handles, not their number.
long long CountHandles(ULONG_PTR process) {
    constexpr auto kAllHandles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    std::vector<char> space(4u << 20);
    if (NtQuerySystemInformation(kAllHandles, space.data(), static_cast<ULONG>(space.size()), nullptr) != 0) return -1;
    const auto* list = reinterpret_cast<const OpenHandleList*>(space.data());
    return std::count_if(&list->first, &list->first + list->count,
                         [process](const OpenHandle& handle) { return handle.process == process; });
}

Answer Resources(Words& words) {
    const auto process = static_cast<ULONG_PTR>(words.NextNumber());
    std::vector<char> list(1u << 20);
    if (NtQuerySystemInformation(SystemProcessInformation, list.data(), static_cast<ULONG>(list.size()), nullptr) !=
        0) {
        return Fail("no process list");
    }
    for (size_t offset = 0;;) {
        const auto* entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(list.data() + offset);
        if (reinterpret_cast<ULONG_PTR>(entry->UniqueProcessId) == process) {
            return {true, "{\"handles\":" + Number(CountHandles(process)) +
                              ",\"threads\":" + Number(entry->NumberOfThreads) + "}"};
        }
        if (entry->NextEntryOffset == 0) return Fail("no such process");
        offset += entry->NextEntryOffset;
    }
}

Answer RegistrySet(Words& words) {
    const std::wstring name = words.Next();
    const bool is_number    = words.Next() == L"dword";
    const DWORD number      = std::wcstoul(words.rest.c_str(), nullptr, 0);
    const auto size         = static_cast<DWORD>((words.rest.size() + 1) * sizeof(wchar_t));
    const LSTATUS status =
        is_number ? RegSetKeyValueW(HKEY_CURRENT_USER, kRegistryKey, name.c_str(), REG_DWORD, &number, sizeof number)
                  : RegSetKeyValueW(HKEY_CURRENT_USER, kRegistryKey, name.c_str(), REG_SZ, words.rest.c_str(), size);
    return status == ERROR_SUCCESS ? Answer{} : Fail("registry");
}

Answer RegistryGet(Words& words) {
    DWORD number = 0;
    DWORD size   = sizeof number;
    const LSTATUS status =
        RegGetValueW(HKEY_CURRENT_USER, kRegistryKey, words.Next().c_str(), RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? Answer{true, Number(number)} : Fail("no such number");
}

Answer TempFolder(Words&) {
    wchar_t path[MAX_PATH + 1] = L"";
    GetTempPathW(std::size(path), path);
    return {true, Quote(path)};
}

Answer Clipboard(Words&) {
    while (OpenClipboard(nullptr) == 0) Sleep(10);  // another program has it for a moment
    HANDLE memory           = GetClipboardData(CF_UNICODETEXT);
    const auto* text        = memory == nullptr ? nullptr : static_cast<const wchar_t*>(GlobalLock(memory));
    const std::string quote = text == nullptr ? "null" : Quote(text);
    CloseClipboard();
    return {true, quote};
}

Answer OfControl(Words& words, std::string (*describe)(HWND)) {
    HWND control = words.NextControl();
    return control == nullptr ? Fail("no such control") : Answer{true, describe(control)};
}

struct Command {
    const wchar_t* name;
    Answer (*run)(Words&);
};

constexpr Command kCommands[] = {
    {L"wait", Wait},
    {L"state", [](Words& words) { return OfControl(words, StateOf); }},
    {L"items", [](Words& words) { return OfControl(words, ItemsOf); }},
    {L"combo", [](Words& words) { return OfControl(words, ComboOf); }},
    {L"click", [](Words& words) { return Click(words, true); }},
    {L"post", [](Words& words) { return Click(words, false); }},
    {L"settext", SetText},
    {L"rescale", Rescale},
    {L"select", Select},
    {L"key", Key},
    {L"press", Press},
    {L"measure", Measure},
    {L"ideal", [](Words& words) { return OfControl(words, IdealSizeOf); }},
    {L"focus", Focus},
    {L"activate",
     [](Words&) {
         return Answer{SetForegroundWindow(window) != 0, {}};
     }},
    {L"command",
     [](Words& words) {
         return Answer{PostMessageW(window, WM_COMMAND, static_cast<WPARAM>(words.NextNumber()), 0) != 0, {}};
     }},
    {L"close",
     [](Words&) {
         return Answer{PostMessageW(window, WM_CLOSE, 0, 0) != 0, {}};
     }},
    {L"messagebox", MessageBoxState},
    {L"controls", Controls},
    {L"windows", Windows},
    {L"resources", Resources},
    {L"desktop", Desktop},
    {L"regset", RegistrySet},
    {L"regget", RegistryGet},
    {L"temp", TempFolder},
    {L"clipboard", Clipboard},
};

Answer Run(Words words) {
    const std::wstring name = words.Next();
    for (const Command& command : kCommands) {
        if (name == command.name) return command.run(words);
    }
    return Fail("unknown command");
}

}  // namespace

int wmain() {
    char line[4096];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        std::string text = line;
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
        const Answer answer = Run({Widen(text)});
        std::printf("%s %s\n", answer.ok ? "ok" : "error", answer.text.c_str());
        std::fflush(stdout);
    }
    return 0;
}
