#include "fake_d2xx.h"

#include <algorithm>
#include <array>

#include "d2xx_exports.h"
#include "exports.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_file_version.h"

namespace nelto::doubles {
namespace {

using simulator::CallFaultKind;

FakeD2xx* the_library = nullptr;

/// Behind the converter: a peer that could be at a COM port too.
class PeerSession final : public simulator::ByteSession {
public:
    explicit PeerSession(platform::memory::SerialDevice* peer) : peer_(peer) {}
    void Receive(simulator::Bytes bytes, std::uint64_t) override {
        if (peer_ != nullptr) peer_->Write(bytes);
    }
    std::optional<simulator::Message> TakeOutput(std::uint64_t) override {
        const std::size_t size = peer_ == nullptr ? 0 : peer_->Read(room_);
        if (size == 0) return std::nullopt;
        return simulator::Message(room_.begin(), room_.begin() + static_cast<std::ptrdiff_t>(size));
    }
    bool HasOutput() const override { return false; }
    void Reset() override {}

private:
    platform::memory::SerialDevice* peer_;
    std::array<std::uint8_t, 1024> room_;
};

}  // namespace

FakeD2xx::FakeD2xx(const std::wstring& version) {
    the_library = this;
    InstallD2xx();
    platform::memory::SetSystemFileVersion(kD2xxName, version);
    platform::memory::TheWorld().on_wait = [this] { Deliver(); };
}

FakeD2xx::~FakeD2xx() {
    platform::memory::TheWorld().on_wait = nullptr;
    platform::memory::ResetLibraries();
    platform::memory::ResetSystemFileVersions();
    platform::memory::ResetEvents();
    the_library = nullptr;
}

simulator::ConverterSetup& FakeD2xx::Attach(std::uint16_t type, const std::string& serial,
                                            platform::memory::SerialDevice* peer) {
    return driver.Attach({.product_id = type, .serial = serial}, std::make_unique<PeerSession>(peer)).Setup();
}

void FakeD2xx::Fail(const std::string& function, std::uint32_t status, std::uint32_t first, std::uint32_t calls) {
    driver.Setup().faults.push_back(
        {.kind = CallFaultKind::kStatus, .function = function, .status = status, .first = first, .calls = calls});
}

void FakeD2xx::Spoil(CallFaultKind kind, std::uint32_t amount) {
    const char* const function = kind == CallFaultKind::kShortRead    ? "FT_Read"
                                 : kind == CallFaultKind::kEmptyQueue ? "FT_GetQueueStatus"
                                                                      : "FT_Write";
    driver.Setup().faults.push_back({.kind = kind, .function = function, .status = amount});
}

std::size_t FakeD2xx::Held() const { return TimesLoaded() + driver.OpenCount() + platform::memory::OpenEvents(); }

std::size_t FakeD2xx::TimesLoaded() const { return platform::memory::TimesLoaded(kD2xxName); }

void FakeD2xx::Deliver() {
    for (void* event : driver.Deliver(platform::memory::RunningMilliseconds())) platform::memory::SignalEvent(event);
}

}  // namespace nelto::doubles

namespace simulator {

using nelto::doubles::the_library;

DriverCall::DriverCall() : driver(the_library->driver), now_ms(nelto::platform::memory::RunningMilliseconds()) {}

DriverCall::~DriverCall() {
    the_library->most_open = std::max(the_library->most_open, driver.OpenCount());
    the_library->Deliver();
    nelto::platform::memory::TheWorld().idle = !driver.HasQueued();
}

}  // namespace simulator
