// The window part that the courses are drawn in. The mouse, or the arrow keys, look at one second: its values and time are told in
// the strips, and in the text of the control for those who hear it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

#include "core/course_choice.h"
#include "core/course_recorder.h"
#include "ui/course_drawing.h"

namespace nelto::ui {

class CoursePlot {
public:
    /// Before the first dialog with such a control.
    static void RegisterKind(HINSTANCE instance);

    /// Both must outlive the control.
    CoursePlot(const CourseRecorder& recorder, const CourseSettings& settings, wchar_t decimal_separator)
        : recorder_(recorder), settings_(settings), decimal_separator_(decimal_separator) {}

    void Attach(HWND plot);
    /// Shows what has been recorded, or chosen, since.
    void Refresh();

    LRESULT Handle(UINT message, WPARAM w_param, LPARAM l_param);

private:
    [[nodiscard]] CoursePicture Picture() const;
    void Paint();
    void LookAtColumn(int column);
    [[nodiscard]] bool LookByKey(WPARAM key);
    void LookAt(std::optional<std::uint32_t> index);
    void TellText() const;

    const CourseRecorder& recorder_;
    const CourseSettings& settings_;
    wchar_t decimal_separator_;
    HWND plot_ = nullptr;
    RECT charts_{};
    std::optional<std::uint32_t> looked_at_;
};

}  // namespace nelto::ui
