// Asks for a file and saves the recorded courses into it.
#pragma once

#include <windows.h>

#include <string>

#include "core/course_recorder.h"

namespace nelto::ui {

/// Shows the system's dialog above `owner`; a failure is told in a message with its reason. `device` begins the suggested name.
void SaveCourseAs(HWND owner, const CourseRecorder& recorder, const std::wstring& device);

}  // namespace nelto::ui
