// Times the repaint of the courses: six strips of two hours, into a buffer and from there onto a window of usual size. Prints the
// milliseconds of each repaint.
#include <windows.h>

#include <cstdio>

#include "ui/course_drawing.h"
#include "ui/gdi_objects.h"

namespace {

using namespace nelto;

constexpr std::uint32_t kStrips  = 6;
constexpr std::uint32_t kSeconds = 120 * 60;
constexpr int kRounds            = 40;
constexpr SIZE kSize             = {840, 330};

/// Noise on a slow wave, with a gap of a minute each half hour.
void Record(CourseRecorder& recorder) {
    Measurement measurement;
    std::uint32_t noise = 1;
    for (std::uint32_t second = 0; second < kSeconds; ++second) {
        recorder.Advance(second * 1000, ToCalendarTime(1'700'000'000 + second));
        if (second % 1800 < 60) recorder.Interrupt();
        if (second % 1800 < 60) continue;
        ++measurement.version;
        for (std::uint32_t strip = 0; strip < kStrips; ++strip) {
            noise                 = noise * 1664525 + 1013904223;
            ChannelRecord& record = measurement.channels[strip];
            record = {.view_ident = strip + 1, .unit = kPercent, .resolution = kOneDecimal, .value_type = kNumber};
            record.value = static_cast<float>(second % 900) / 10.0F + static_cast<float>(noise >> 24) / 20.0F;
        }
        recorder.Record(measurement);
    }
}

double Milliseconds(const LARGE_INTEGER& from, const LARGE_INTEGER& to) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(to.QuadPart - from.QuadPart) / static_cast<double>(frequency.QuadPart);
}

}  // namespace

int wmain() {
    CourseRecorder recorder;
    Record(recorder);
    CourseKey keys[kStrips];
    for (std::uint32_t strip = 0; strip < kStrips; ++strip) keys[strip] = {.view_ident = strip + 1, .unit = kPercent};
    const HWND window = CreateWindowExW(0, L"Static", L"", WS_POPUP | WS_VISIBLE, 0, 0, kSize.cx, kSize.cy, nullptr,
                                        nullptr, nullptr, nullptr);
    if (window == nullptr) return 1;
    const ui::CoursePicture picture{.recorder     = &recorder,
                                    .keys         = keys,
                                    .span_minutes = kSeconds / 60,
                                    .font         = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)),
                                    .looked_at    = kSeconds / 2};
    for (int round = 0; round < kRounds; ++round) {
        LARGE_INTEGER start;
        LARGE_INTEGER end;
        QueryPerformanceCounter(&start);
        const HDC screen = GetDC(window);
        {
            const ui::BitmapCanvas buffer(screen, CreateCompatibleBitmap(screen, kSize.cx, kSize.cy));
            const RECT charts = ui::DrawCourses(buffer.Context(), kSize, picture);
            if (IsRectEmpty(&charts) != FALSE) return 1;
            BitBlt(screen, 0, 0, kSize.cx, kSize.cy, buffer.Context(), 0, 0, SRCCOPY);
        }
        ReleaseDC(window, screen);
        GdiFlush();
        QueryPerformanceCounter(&end);
        std::printf("%.3f\n", Milliseconds(start, end));
    }
    return 0;
}
