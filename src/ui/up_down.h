// The arrow pairs that count the number in an edit field up and down.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace nelto::ui {

/// The up-down controls by the edit field that they belong to. The windows themselves are owned by their dialogs; one
/// attached to a field already listed takes the entry over. Dialog thread.
class UpDownTable {
public:
    /// Puts an up-down control into the right end of the field, whose text stays as it is. Nothing for a missing field or
    /// when the table is full.
    void Attach(HWND dialog, int field_id, int lowest, int highest);
    /// Sets the field's text; the arrows go on counting from `number`.
    void SetText(HWND dialog, int field_id, const wchar_t* text, int number) const;
    /// Enables or disables the field together with its arrows.
    void Enable(HWND dialog, int field_id, bool enabled) const;

private:
    struct Entry {
        int field_id = 0;
        HWND up_down = nullptr;
    };
    static constexpr std::size_t kCapacity = 256;

    [[nodiscard]] HWND Find(int field_id) const;
    Entry* EntryFor(int field_id);

    std::array<Entry, kCapacity> entries_{};
};

}  // namespace nelto::ui
