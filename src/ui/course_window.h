// The window with the course of the values: beside the main dialog, which owns it, and open as long as the user likes. Dialog thread.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>

#include "core/course_choice.h"
#include "core/course_recorder.h"

namespace nelto::ui {

class OpenCourseWindow;

class CourseWindow {
public:
    /// The recorder must outlive the window.
    CourseWindow(const CourseRecorder& recorder, wchar_t decimal_separator);
    ~CourseWindow();
    CourseWindow(const CourseWindow&)            = delete;
    CourseWindow& operator=(const CourseWindow&) = delete;

    /// Opens the window, or brings it to the front. `selected` is added to the choice where there is room. The window's button
    /// posts IDM_SAVE_COURSE to the owner.
    void Open(HINSTANCE instance, HWND owner, const std::optional<CourseKey>& selected);
    /// Once a second; does nothing while the window is closed.
    void Refresh();
    /// Keeps the window's settings; does nothing while it is closed.
    void Close();
    /// Null while it is closed.
    [[nodiscard]] HWND Handle() const;
    /// True when keys go to this window.
    [[nodiscard]] bool IsActive() const { return Handle() != nullptr && GetActiveWindow() == Handle(); }

private:
    const CourseRecorder& recorder_;
    wchar_t decimal_separator_;
    std::unique_ptr<OpenCourseWindow> window_;  // gone with its window at the next opening
};

}  // namespace nelto::ui
