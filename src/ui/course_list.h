// The list below the courses: what each channel has been in the span shown, and check marks for those that are plotted.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include "core/course_choice.h"
#include "core/course_recorder.h"

namespace nelto::ui {

class CourseList {
public:
    CourseList(const CourseRecorder& recorder, CourseSettings& settings, wchar_t decimal_separator)
        : recorder_(recorder), settings_(settings), decimal_separator_(decimal_separator) {}

    void Attach(HWND list);
    void FitColumns() const;
    /// Shows what has been recorded, and the check marks of the choice.
    void Refresh();

    /// What a check mark that the user sets or takes away does to the choice.
    enum class Change { kNone, kChosen, kRefused };
    /// For LVN_ITEMCHANGING, where `kRefused` keeps the mark from being set, and LVN_ITEMCHANGED.
    [[nodiscard]] Change HandleChange(const NMLISTVIEW& change);

private:
    void ShowRow(std::size_t row);

    const CourseRecorder& recorder_;
    CourseSettings& settings_;
    wchar_t decimal_separator_;
    HWND list_       = nullptr;
    bool is_filled_  = true;   // false while the program itself writes into the list
    bool is_touched_ = false;  // the user has set or taken away a check mark: an empty choice is meant so
};

}  // namespace nelto::ui
