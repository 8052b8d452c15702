#include "fake_d2xx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_event.h"
#include "platform/memory/memory_file_version.h"
#include "transport/d2xx.h"

namespace nelto::rigs {

using d2xx::EarlyProgramData;
using d2xx::Status;

namespace {

constexpr const wchar_t* kName           = L"FTD2XX.DLL";
constexpr Status kInvalidHandle          = 1;
constexpr Status kDeviceNotFound         = 2;
constexpr std::uint32_t kListNumberOnly  = 0x80000000;
constexpr std::uint32_t kBySerialByIndex = 0x40000001;
constexpr std::uint32_t kBySerial        = 1;
constexpr std::uint32_t kReceivedChar    = 1;

FakeD2xx* the_library = nullptr;

/// The library writes whole texts into the caller's room.
void WriteText(char* room, const std::string& text) { std::copy_n(text.c_str(), text.size() + 1, room); }

}  // namespace

/// The exported functions. A device handle is the address of its row.
struct FakeD2xxFunctions {
    static Status ListDevices(void* first, void* second, std::uint32_t flags) {
        if (const Status status = the_library->Called("FT_ListDevices"); status != d2xx::kOk) return status;
        if (flags == kListNumberOnly) {
            EXPECT_EQ(second, nullptr);
            *static_cast<std::uint32_t*>(first) = static_cast<std::uint32_t>(the_library->devices.size());
            return d2xx::kOk;
        }
        EXPECT_EQ(flags, kBySerialByIndex);
        const auto index = reinterpret_cast<std::uintptr_t>(first);
        if (index >= the_library->devices.size()) return kDeviceNotFound;
        WriteText(static_cast<char*>(second), the_library->devices[index].listed_serial);
        return d2xx::kOk;
    }

    static Status OpenEx(void* serial, std::uint32_t flags, void** handle) {
        if (const Status status = the_library->Called("FT_OpenEx"); status != d2xx::kOk) return status;
        EXPECT_EQ(flags, kBySerial);
        const std::string wanted = static_cast<const char*>(serial);
        const auto found         = std::ranges::find(the_library->devices, wanted, &FtdiDevice::listed_serial);
        if (found == the_library->devices.end()) return kDeviceNotFound;
        *handle                = &*found;
        the_library->most_open = std::max(the_library->most_open, ++the_library->open_devices);
        return d2xx::kOk;
    }

    static Status Close(void* handle) {
        if (Row(handle) == nullptr || the_library->open_devices == 0) return kInvalidHandle;
        --the_library->open_devices;  // gone even where the driver says that it failed
        return the_library->Called("FT_Close");
    }

    static Status ReadEeprom(void* handle, EarlyProgramData* data) {
        if (const Status status = the_library->Called("FT_EE_Read"); status != d2xx::kOk) return status;
        const FtdiDevice* device = Row(handle);
        if (device == nullptr) return kInvalidHandle;
        data->vendor_id  = static_cast<std::uint16_t>(device->vendor_id);
        data->product_id = static_cast<std::uint16_t>(device->product_id);
        WriteText(data->manufacturer, std::string(31, 'm'));
        WriteText(data->manufacturer_id, std::string(15, 'i'));
        WriteText(data->description, std::string(63, 'd'));
        WriteText(data->serial_number, "99");  // another one than the listed one
        data->further_settings.fill(0xEE);
        return d2xx::kOk;
    }

    static Status GetDeviceInfo(void* handle, std::uint32_t* type, std::uint32_t* id, char* serial, char* description,
                                void* reserved) {
        if (const Status status = the_library->Called("FT_GetDeviceInfo"); status != d2xx::kOk) return status;
        const FtdiDevice* device = Row(handle);
        if (device == nullptr) return kInvalidHandle;
        EXPECT_EQ(reserved, nullptr);
        *type = 5;
        *id   = (device->vendor_id << 16) | device->product_id;
        WriteText(serial, device->told_serial);
        WriteText(description, std::string(63, 'd'));
        return d2xx::kOk;
    }

    static Status SetBaudRate(void* handle, std::uint32_t baud_rate) {
        if (const Status status = the_library->Called("FT_SetBaudRate"); status != d2xx::kOk) return status;
        the_library->chosen_   = Row(handle);
        the_library->baud_rate = baud_rate;
        return the_library->chosen_ == nullptr ? kInvalidHandle : d2xx::kOk;
    }

    static Status SetEventNotification(void* handle, std::uint32_t mask, void* event) {
        if (const Status status = the_library->Called("FT_SetEventNotification"); status != d2xx::kOk) return status;
        EXPECT_EQ(mask, kReceivedChar);
        the_library->event_ = event;
        return Row(handle) == nullptr ? kInvalidHandle : d2xx::kOk;
    }

    static Status Write(void* handle, void* bytes, std::uint32_t size, std::uint32_t* written) {
        if (const Status status = the_library->Called("FT_Write"); status != d2xx::kOk) return status;
        FtdiDevice* device = Row(handle);
        if (device == nullptr || device->peer == nullptr) return kInvalidHandle;
        device->peer->Write({static_cast<const std::uint8_t*>(bytes), size});
        *written = static_cast<std::uint32_t>(std::min<std::size_t>(size, the_library->most_written));
        the_library->Deliver();
        return d2xx::kOk;
    }

    static Status GetQueueStatus(void*, std::uint32_t* queued) {
        if (const Status status = the_library->Called("FT_GetQueueStatus"); status != d2xx::kOk) return status;
        *queued = the_library->hides_queue ? 0 : static_cast<std::uint32_t>(the_library->queue_.size());
        return d2xx::kOk;
    }

    static Status Read(void*, void* bytes, std::uint32_t size, std::uint32_t* read) {
        if (const Status status = the_library->Called("FT_Read"); status != d2xx::kOk) return status;
        Bytes& queue = the_library->queue_;
        EXPECT_LE(size, queue.size());
        const std::size_t given = size - std::min<std::size_t>(size, the_library->missing_bytes);
        std::copy_n(queue.begin(), given, static_cast<std::uint8_t*>(bytes));
        queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(given));
        *read = static_cast<std::uint32_t>(given);
        the_library->Deliver();
        return d2xx::kOk;
    }

    static FtdiDevice* Row(void* handle) {
        for (FtdiDevice& device : the_library->devices) {
            if (&device == handle) return &device;
        }
        return nullptr;
    }
};

FakeD2xx::FakeD2xx(const std::wstring& version) {
    the_library = this;
    devices.reserve(16);  // handles are addresses of rows
    Install("");
    platform::memory::SetSystemFileVersion(kName, version);
    World().on_wait = [this] { Deliver(); };
}

FakeD2xx::~FakeD2xx() {
    World().on_wait = nullptr;
    platform::memory::ResetLibraries();
    platform::memory::ResetSystemFileVersions();
    platform::memory::ResetEvents();
    the_library = nullptr;
}

FtdiDevice& FakeD2xx::Attach(std::uint32_t type, const std::string& serial, platform::memory::SerialDevice* peer) {
    return devices.emplace_back(
        FtdiDevice{.product_id = type, .listed_serial = serial, .told_serial = serial, .peer = peer});
}

void FakeD2xx::Remove(const std::string& function) { Install(function); }

void FakeD2xx::Install(const std::string& without) {
    using Functions                            = FakeD2xxFunctions;
    platform::memory::LibraryFunctions exports = {
        {"FT_ListDevices", reinterpret_cast<void*>(&Functions::ListDevices)},
        {"FT_OpenEx", reinterpret_cast<void*>(&Functions::OpenEx)},
        {"FT_Close", reinterpret_cast<void*>(&Functions::Close)},
        {"FT_EE_Read", reinterpret_cast<void*>(&Functions::ReadEeprom)},
        {"FT_GetDeviceInfo", reinterpret_cast<void*>(&Functions::GetDeviceInfo)},
        {"FT_SetBaudRate", reinterpret_cast<void*>(&Functions::SetBaudRate)},
        {"FT_Write", reinterpret_cast<void*>(&Functions::Write)},
        {"FT_Read", reinterpret_cast<void*>(&Functions::Read)},
        {"FT_SetEventNotification", reinterpret_cast<void*>(&Functions::SetEventNotification)},
        {"FT_GetQueueStatus", reinterpret_cast<void*>(&Functions::GetQueueStatus)},
    };
    exports.erase(without);
    platform::memory::InstallLibrary(kName, exports);
}

bool FakeD2xx::AllReleased() const {
    return TimesLoaded() == 0 && open_devices == 0 && platform::memory::OpenEvents() == 0;
}

std::size_t FakeD2xx::TimesLoaded() const { return platform::memory::TimesLoaded(kName); }

std::size_t FakeD2xx::CallsOf(const std::string& function) const {
    return static_cast<std::size_t>(std::ranges::count(calls, function));
}

std::uint32_t FakeD2xx::Called(const char* function) {
    calls.emplace_back(function);
    const auto failure = failures.find(function);
    if (failure == failures.end()) return d2xx::kOk;
    const auto& [status, first, count] = failure->second;
    const std::size_t call             = CallsOf(function);
    return call < first || call - first >= count ? d2xx::kOk : status;
}

void FakeD2xx::Deliver() {
    if (chosen_ == nullptr || chosen_->peer == nullptr || open_devices == 0) return;
    Bytes ready(1024);
    ready.resize(chosen_->peer->Read(ready));
    coming_.insert(coming_.end(), ready.begin(), ready.end());
    if (never_quiet && !queue_.empty()) platform::memory::SignalEvent(event_);
    if (!queue_.empty() || coming_.empty()) return;
    const bool is_timed = piece_pause != 0 || signals_early;
    if (is_timed && static_cast<std::int32_t>(World().now - piece_due_) < 0) return;
    piece_due_ = World().now + piece_pause;
    if (signals_early && !std::exchange(signalled_, true)) {
        platform::memory::SignalEvent(event_);
        piece_due_ = World().now + 20;
        return;
    }
    signalled_             = false;
    const std::size_t size = std::min(piece_size, coming_.size());
    queue_.assign(coming_.begin(), coming_.begin() + static_cast<std::ptrdiff_t>(size));
    coming_.erase(coming_.begin(), coming_.begin() + static_cast<std::ptrdiff_t>(size));
    platform::memory::SignalEvent(event_);
}

}  // namespace nelto::rigs
