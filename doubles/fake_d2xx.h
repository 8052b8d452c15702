// The simulator's D2XX library in memory, found by the name that the program asks for.
#pragma once

#include <string>

#include "driver.h"
#include "platform/memory/memory_platform.h"

namespace nelto::doubles {

/// One at a time. What a driver refuses is refused here too, and so fails what the test expects.
class FakeD2xx {
public:
    static constexpr std::uint32_t kIoError = 4;
    static constexpr std::uint32_t kAlways  = 0xFFFFFFFF;

    /// Installs the library, and the copy in the system directory whose version counts.
    explicit FakeD2xx(const std::wstring& version = L"3.02.11");
    ~FakeD2xx();
    FakeD2xx(const FakeD2xx&)            = delete;
    FakeD2xx& operator=(const FakeD2xx&) = delete;

    /// Adds an analyser of `type` with this serial number everywhere.
    simulator::ConverterSetup& Attach(std::uint16_t type, const std::string& serial,
                                      platform::memory::SerialDevice* peer = nullptr);
    /// `calls` calls of the function from the `first` on, counted from 1, return `status`.
    void Fail(const std::string& function, std::uint32_t status = kIoError, std::uint32_t first = 1,
              std::uint32_t calls = kAlways);
    /// Calls of the function that this kind of fault is for go wrong; `amount` is its milliseconds.
    void Spoil(simulator::CallFaultKind kind, std::uint32_t amount = 0);
    /// From now on nothing goes wrong.
    void Repair() { driver.Setup().faults.clear(); }
    /// Loads, open devices and events that have not been released.
    [[nodiscard]] std::size_t Held() const;
    [[nodiscard]] std::size_t TimesLoaded() const;
    /// Lets in what is due and signals it.
    void Deliver();

    simulator::Driver driver{{}, [](const std::string&) {}};
    std::size_t most_open = 0;  // devices at the same time
};

}  // namespace nelto::doubles
