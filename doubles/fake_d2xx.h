// The D2XX library in memory, found by the name that the program asks for, with FTDI devices that lead to in-memory
// analysers.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/memory/memory_platform.h"
#include "serial_peers.h"

namespace nelto::rigs {

/// One FTDI converter and what is behind it.
struct FtdiDevice {
    std::uint32_t vendor_id  = 0x3C2D;
    std::uint32_t product_id = 2;
    std::string listed_serial;  // as FT_ListDevices and the EEPROM have it
    std::string told_serial;    // as FT_GetDeviceInfo has it
    platform::memory::SerialDevice* peer = nullptr;
};

/// One at a time. Calls that the published interface does not allow fail the test.
class FakeD2xx {
public:
    /// Installs the library, and the copy in the system directory whose version counts.
    explicit FakeD2xx(const std::wstring& version = L"3.02.11");
    ~FakeD2xx();
    FakeD2xx(const FakeD2xx&)            = delete;
    FakeD2xx& operator=(const FakeD2xx&) = delete;

    /// Adds an analyser of `type` with this serial number everywhere.
    FtdiDevice& Attach(std::uint32_t type, const std::string& serial, platform::memory::SerialDevice* peer = nullptr);
    /// Installs the library without one of its functions.
    void Remove(const std::string& function);
    /// True when every load, every open device and every event has been released.
    [[nodiscard]] bool AllReleased() const;
    [[nodiscard]] std::size_t TimesLoaded() const;
    [[nodiscard]] std::size_t CallsOf(const std::string& function) const;

    std::vector<FtdiDevice> devices;
    /// `calls` calls of a function from the `first` on, counted from 1, that return `status`.
    struct Failure {
        std::uint32_t status = 0;
        std::size_t first    = 1;
        std::size_t calls    = SIZE_MAX;
    };
    std::map<std::string, Failure> failures;
    std::size_t piece_size    = SIZE_MAX;  // most bytes that are signalled together
    std::size_t most_written  = SIZE_MAX;  // of one FT_Write
    std::size_t missing_bytes = 0;         // of each FT_Read
    bool hides_queue          = false;     // FT_GetQueueStatus tells of nothing
    bool never_quiet          = false;     // signals again and again while bytes are waiting
    std::uint32_t piece_pause = 0;         // milliseconds from each piece to the next
    bool signals_early        = false;     // signals each piece once when it is still coming
    std::vector<std::string> calls;
    std::uint32_t baud_rate  = 0;
    std::size_t open_devices = 0;
    std::size_t most_open    = 0;

private:
    friend struct FakeD2xxFunctions;

    void Install(const std::string& without);
    /// Notes the call; the status to return.
    [[nodiscard]] std::uint32_t Called(const char* function);
    /// Lets what the peer has ready come in, a piece at a time.
    void Deliver();

    FtdiDevice* chosen_      = nullptr;  // the device that bytes go to
    void* event_             = nullptr;
    std::uint32_t piece_due_ = 0;
    bool signalled_          = false;
    Bytes coming_;
    Bytes queue_;
};

}  // namespace nelto::rigs
