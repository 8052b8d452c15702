// The in-memory platform: the same services without an operating system, for tests, fuzzers and measurements on any machine.
// Time stands still except in waits. One world, reset by each test; use from one thread unless said otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/serial_port.h"

namespace nelto::platform::memory {

/// The far end of a COM port.
class SerialDevice {
public:
    virtual ~SerialDevice()                      = default;
    SerialDevice()                               = default;
    SerialDevice(const SerialDevice&)            = delete;
    SerialDevice& operator=(const SerialDevice&) = delete;

    /// Takes what the program writes; returns how many bytes were taken.
    virtual std::size_t Write(std::span<const std::uint8_t> bytes) = 0;
    /// Gives what has arrived by now; returns how many bytes.
    virtual std::size_t Read(std::span<std::uint8_t> bytes) = 0;
    /// Called when the program opens or closes the port.
    virtual void Opened() {}
    virtual void Closed() {}
};

struct SerialPortState {
    SerialDevice* device       = nullptr;
    std::uint32_t open_error   = 0;      // error number that opening fails with
    std::uint32_t baud_rate    = 0;      // as set by the program
    bool stands_still          = false;  // output waits for ever: its receiver halts the line
    std::uint32_t open_handles = 0;
    std::uint32_t times_opened = 0;
};

struct World {
    std::uint32_t now       = 1000;  // tick count
    std::uint32_t looked_at = 1000;  // tick count at the last look at RunningMilliseconds
    std::uint64_t running   = 0;     // up to then
    CalendarTime calendar   = {.year = 2011, .month = 3, .day = 7, .hour = 14, .minute = 5, .second = 9};
    /// Called after each wait, with the new time in place.
    std::function<void()> on_wait;

    std::wstring temp_directory = L"C:\\Temp\\";
    std::map<std::wstring, std::string, std::less<>> files;
    std::set<std::wstring, std::less<>> unwritable_files;
    std::size_t disk_space   = std::numeric_limits<std::size_t>::max();  // bytes that can still be written
    std::uint32_t open_files = 0;
    std::map<std::wstring, std::uint64_t, std::less<>> bytes_written;  // by path, whatever became of the file

    std::vector<std::wstring> debug_lines;
    /// For far ends that answer at once or never: a wait for what is not there is over at once, with the time that it had.
    bool hurries = false;
    bool idle    = false;  // the last look at a port found nothing, and nothing was written since
    /// False for long runs: written bytes are counted and forgotten, and so are debugger lines.
    bool keeps_texts = true;

    std::map<std::uint32_t, std::wstring> texts;  // string table
    wchar_t decimal_separator = L'.';
    std::wstring locale_tag   = L"de-DE";

    std::map<std::wstring, std::uint32_t, std::less<>> registry;

    std::map<std::wstring, SerialPortState> serial_ports;  // by device path
};

[[nodiscard]] World& TheWorld();

/// Puts a fresh world in place.
void ResetWorld();

/// Milliseconds that have passed in this world going on where the tick count begins anew.
[[nodiscard]] std::uint64_t RunningMilliseconds();

}  // namespace nelto::platform::memory
