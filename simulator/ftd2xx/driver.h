// The D2XX driver over simulated converters: its calls in terms of this language, without the operating system. The
// caller holds a lock around every call and signals the events.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "converter.h"

namespace simulator {

/// Status values of the published interface.
enum class D2xxStatus : std::uint32_t {
    kOk               = 0,
    kInvalidHandle    = 1,
    kDeviceNotFound   = 2,
    kDeviceNotOpened  = 3,
    kIoError          = 4,
    kInvalidParameter = 6,
};

/// A handle as programs hold it; never given out twice.
using D2xxHandle = std::uintptr_t;

class Driver {
public:
    /// Of the setup its faults and times; converters are attached one by one.
    Driver(DriverSetup setup, EventSink events) : setup_(std::move(setup)), events_(std::move(events)) {}
    Driver(const Driver&)            = delete;
    Driver& operator=(const Driver&) = delete;

    /// Adds a converter with this analyser behind it.
    Converter& Attach(ConverterSetup setup, std::unique_ptr<ByteSession> analyser);
    /// What is changed here holds from the next call on.
    [[nodiscard]] DriverSetup& Setup() { return setup_; }
    [[nodiscard]] std::vector<const Converter*> OpenConverters() const;
    [[nodiscard]] std::size_t OpenCount() const { return handles_.size(); }
    [[nodiscard]] std::uint32_t CallsOf(std::string_view function) const;

    /// Serial numbers that the control file names as unplugged; "" stands for all. A handle to a converter that has
    /// been unplugged stays dead when it is plugged in again.
    void SetUnplugged(const std::set<std::string>& serials, std::uint64_t now_ms);

    [[nodiscard]] D2xxStatus CountDevices(std::uint32_t& count);
    [[nodiscard]] D2xxStatus SerialByIndex(std::size_t index, std::string& serial);
    [[nodiscard]] D2xxStatus Open(const std::string& serial, D2xxHandle& handle);
    [[nodiscard]] D2xxStatus Close(D2xxHandle handle);
    /// Null, and the status why not, for a call that fails; `function` as the library exports it.
    [[nodiscard]] const Converter* Identify(const char* function, D2xxHandle handle, D2xxStatus& status);
    /// Any other rate than the analysers of this type run at is refused, and without one nothing is written.
    [[nodiscard]] D2xxStatus SetBaudRate(D2xxHandle handle, std::uint32_t rate);
    [[nodiscard]] D2xxStatus SetEvent(D2xxHandle handle, void* event);
    [[nodiscard]] D2xxStatus Write(D2xxHandle handle, Bytes bytes, std::uint32_t& written, std::uint64_t now_ms);
    [[nodiscard]] D2xxStatus Read(D2xxHandle handle, std::span<std::uint8_t> bytes, std::uint32_t& read);
    [[nodiscard]] D2xxStatus QueueStatus(D2xxHandle handle, std::uint32_t& queued);

    /// Lets in what is due and gives the events to signal.
    [[nodiscard]] std::vector<void*> Deliver(std::uint64_t now_ms);
    /// True while an open converter may still receive something without a call.
    [[nodiscard]] bool IsExpecting() const;
    /// True while an open converter holds something to read.
    [[nodiscard]] bool HasQueued() const;

private:
    struct OpenHandle {
        Converter* converter = nullptr;
        void* event          = nullptr;
        bool has_rate        = false;
        bool is_dead         = false;
    };

    /// Counts the call and gives what is to go wrong with it.
    [[nodiscard]] const CallFault* Begin(std::string_view function);
    /// The same for a call with a handle: null, and the status why, when the call ends with it.
    [[nodiscard]] OpenHandle* BeginWith(std::string_view function, D2xxHandle handle, D2xxStatus& status,
                                        const CallFault** fault = nullptr);
    [[nodiscard]] std::vector<Converter*> Attached() const;
    [[nodiscard]] bool IsOpen(const Converter& converter) const;

    DriverSetup setup_;
    EventSink events_;
    std::vector<std::unique_ptr<Converter>> converters_;
    std::set<const Converter*> unplugged_;
    std::map<std::string, std::uint32_t, std::less<>> calls_;
    std::map<D2xxHandle, OpenHandle> handles_;
    D2xxHandle last_handle_ = 0;
};

}  // namespace simulator
