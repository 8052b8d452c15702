// FTD2XX.DLL: a drop-in D2XX library with simulated analysers attached. It stays loaded once a program has loaded it,
// so that time, counts and what is plugged in go on over the program's searches.
#include <windows.h>

#include <fstream>
#include <mutex>

#include "driver.h"
#include "drop_in.h"

namespace simulator {
namespace {

constexpr const char* kSetupVariable = "NELTO_SIMULATOR_USB";
constexpr const char* kSetupFile     = "usb.txt";
constexpr const char* kUnpluggedFile = "unplugged.txt";
constexpr std::uint64_t kLookEveryMs = 50;  // for the control file
constexpr DWORD kDeliverEveryMs      = 2;   // while something is on the way

// Flags of the published interface.
constexpr DWORD kListNumberOnly     = 0x80000000;
constexpr DWORD kListByIndex        = 0x40000000;
constexpr DWORD kOpenBySerialNumber = 1;
constexpr DWORD kEventReceivedChar  = 1;
constexpr ULONG kDeviceType         = 5;  // FT232R

constexpr const char* kManufacturer   = "Nelto";
constexpr const char* kManufacturerId = "NL";
constexpr const char* kDescription    = "Flue-gas analyser (simulated)";

/// The early EEPROM record: what every early library writes, the longer settings behind it left alone.
struct EarlyProgramData {
    WORD vendor_id;
    WORD product_id;
    char* manufacturer;
    char* manufacturer_id;
    char* description;
    char* serial_number;
    WORD max_power;
    WORD plug_and_play;
    WORD self_powered;
    WORD remote_wakeup;
};

const void* Inside() { return reinterpret_cast<const void*>(&Inside); }

void CopyOut(char* room, const std::string& text) {
    if (room != nullptr) std::copy_n(text.c_str(), text.size() + 1, room);
}

DriverSetup LoadSetup(const std::string& path) {
    if (path.empty()) return {};
    std::string error;
    std::optional<DriverSetup> setup = LoadDriverSetup(path, error);
    if (setup) return std::move(*setup);
    DropInTell("setup " + path + ": " + error + "; nothing is attached");
    DriverSetup nothing;
    nothing.converters.clear();
    return nothing;
}

/// Drops the converters whose scenario cannot be used; it has been told then.
std::vector<Scenario> LoadScenarios(DriverSetup& setup, const std::string& folder) {
    std::vector<Scenario> scenarios;
    std::erase_if(setup.converters, [&](const ConverterSetup& converter) {
        std::string error;
        std::optional<Scenario> scenario =
            converter.scenario.empty() ? DropInScenario(Inside()) : LoadScenario(folder + converter.scenario, error);
        if (!error.empty()) DropInTell("scenario " + converter.scenario + ": " + error);
        if (scenario) scenarios.push_back(std::move(*scenario));
        return !scenario;
    });
    return scenarios;
}

Driver MakeDriver() {
    const std::string path          = DropInFile(Inside(), kSetupVariable, kSetupFile);
    const std::string folder        = path.substr(0, path.find_last_of("\\/") + 1);
    DriverSetup setup               = LoadSetup(path);
    std::vector<Scenario> scenarios = LoadScenarios(setup, folder);
    return Driver(std::move(setup), std::move(scenarios), DropInTell);
}

/// The driver, its lock and the thread that delivers what comes late. Made with the first call, never destroyed.
class Library {
public:
    static Library& The() {
        static Library& library = *new Library;
        return library;
    }

    /// One call into the driver: what is plugged in is looked at before, what is due comes in after.
    template <typename Call>
    ULONG Run(Call call) {
        const std::lock_guard lock(mutex_);
        const std::uint64_t now_ms = DropInNowMs();
        LookAtControlFile(now_ms);
        const D2xxStatus status = call(driver_, now_ms);
        Signal(now_ms);
        if (driver_.IsExpecting()) SetEvent(expecting_);
        return static_cast<ULONG>(status);
    }

private:
    Library() : driver_(MakeDriver()), expecting_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
        HMODULE self = nullptr;
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           static_cast<const char*>(Inside()), &self);
        CloseHandle(CreateThread(nullptr, 0, DeliverLate, this, 0, nullptr));
        // Wine may crash a 32-bit program that ends while a thread is still starting.
        WaitForSingleObject(started_, INFINITE);
    }

    static DWORD WINAPI DeliverLate(void* pointer) {
        auto* const library = static_cast<Library*>(pointer);
        SetEvent(library->started_);
        while (true) library->DeliverUntilQuiet();
    }

    void DeliverUntilQuiet() {
        WaitForSingleObject(expecting_, INFINITE);
        for (bool is_expecting = true; is_expecting;) {
            Sleep(kDeliverEveryMs);
            const std::lock_guard lock(mutex_);
            const std::uint64_t now_ms = DropInNowMs();
            LookAtControlFile(now_ms);
            Signal(now_ms);
            is_expecting = driver_.IsExpecting();
        }
    }

    void Signal(std::uint64_t now_ms) {
        for (void* event : driver_.Deliver(now_ms)) SetEvent(event);
    }

    void LookAtControlFile(std::uint64_t now_ms) {
        if (now_ms < next_look_ms_) return;
        next_look_ms_ = now_ms + kLookEveryMs;
        std::set<std::string> unplugged;
        std::ifstream file(DropInFolder(Inside()) + kUnpluggedFile);
        for (std::string line; std::getline(file, line);) {
            while (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty()) unplugged.insert(line);
        }
        if (file.is_open() && unplugged.empty()) unplugged.insert("");
        driver_.SetUnplugged(unplugged, now_ms);
    }

    std::mutex mutex_;
    Driver driver_;
    HANDLE expecting_;
    HANDLE started_             = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::uint64_t next_look_ms_ = 0;
};

template <typename Call>
ULONG Run(Call call) {
    return Library::The().Run(std::move(call));
}

D2xxHandle HandleOf(PVOID handle) { return reinterpret_cast<D2xxHandle>(handle); }

}  // namespace
}  // namespace simulator

using namespace simulator;  // the exported functions are nothing but this library's face

extern "C" {

ULONG WINAPI FT_ListDevices(PVOID first, PVOID second, DWORD flags) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (flags == kListNumberOnly && first != nullptr) {
            std::uint32_t count     = 0;
            const D2xxStatus status = driver.CountDevices(count);
            if (status == D2xxStatus::kOk) *static_cast<DWORD*>(first) = count;
            return status;
        }
        if (flags != (kListByIndex | kOpenBySerialNumber) || second == nullptr) return D2xxStatus::kInvalidParameter;
        std::string serial;
        const D2xxStatus status = driver.SerialByIndex(reinterpret_cast<std::uintptr_t>(first), serial);
        if (status == D2xxStatus::kOk) CopyOut(static_cast<char*>(second), serial);
        return status;
    });
}

ULONG WINAPI FT_OpenEx(PVOID serial, DWORD flags, PVOID* handle) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (flags != kOpenBySerialNumber || serial == nullptr || handle == nullptr)
            return D2xxStatus::kInvalidParameter;
        D2xxHandle opened       = 0;
        const D2xxStatus status = driver.Open(static_cast<const char*>(serial), opened);
        *handle                 = reinterpret_cast<PVOID>(opened);
        return status;
    });
}

ULONG WINAPI FT_Close(PVOID handle) {
    return Run([=](Driver& driver, std::uint64_t) { return driver.Close(HandleOf(handle)); });
}

ULONG WINAPI FT_EE_Read(PVOID handle, EarlyProgramData* data) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (data == nullptr) return D2xxStatus::kInvalidParameter;
        D2xxStatus status          = D2xxStatus::kOk;
        const Converter* converter = driver.Identify("FT_EE_Read", HandleOf(handle), status);
        if (converter == nullptr) return status;
        data->vendor_id  = converter->Setup().vendor_id;
        data->product_id = converter->Setup().product_id;
        CopyOut(data->manufacturer, kManufacturer);
        CopyOut(data->manufacturer_id, kManufacturerId);
        CopyOut(data->description, kDescription);
        CopyOut(data->serial_number, converter->ListedSerial());
        data->max_power     = 90;
        data->plug_and_play = 1;
        data->self_powered  = 0;
        data->remote_wakeup = 1;
        return D2xxStatus::kOk;
    });
}

ULONG WINAPI FT_GetDeviceInfo(PVOID handle, ULONG* type, DWORD* id, char* serial, char* description, PVOID) {
    return Run([=](Driver& driver, std::uint64_t) {
        D2xxStatus status          = D2xxStatus::kOk;
        const Converter* converter = driver.Identify("FT_GetDeviceInfo", HandleOf(handle), status);
        if (converter == nullptr) return status;
        if (type != nullptr) *type = kDeviceType;
        if (id != nullptr) *id = (DWORD{converter->Setup().vendor_id} << 16) | converter->Setup().product_id;
        CopyOut(serial, converter->ToldSerial());
        CopyOut(description, kDescription);
        return D2xxStatus::kOk;
    });
}

ULONG WINAPI FT_SetBaudRate(PVOID handle, ULONG) {
    return Run([=](Driver& driver, std::uint64_t) { return driver.SetBaudRate(HandleOf(handle)); });
}

ULONG WINAPI FT_SetEventNotification(PVOID handle, DWORD mask, PVOID event) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (mask != kEventReceivedChar) return D2xxStatus::kInvalidParameter;
        return driver.SetEvent(HandleOf(handle), event);
    });
}

ULONG WINAPI FT_Write(PVOID handle, PVOID bytes, DWORD size, DWORD* written) {
    return Run([=](Driver& driver, std::uint64_t now_ms) {
        if (bytes == nullptr || written == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count = 0;
        const D2xxStatus status =
            driver.Write(HandleOf(handle), {static_cast<const std::uint8_t*>(bytes), size}, count, now_ms);
        *written = count;
        return status;
    });
}

ULONG WINAPI FT_Read(PVOID handle, PVOID bytes, DWORD size, DWORD* read) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (bytes == nullptr || read == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count     = 0;
        const D2xxStatus status = driver.Read(HandleOf(handle), {static_cast<std::uint8_t*>(bytes), size}, count);
        *read                   = count;
        return status;
    });
}

ULONG WINAPI FT_GetQueueStatus(PVOID handle, DWORD* queued) {
    return Run([=](Driver& driver, std::uint64_t) {
        if (queued == nullptr) return D2xxStatus::kInvalidParameter;
        std::uint32_t count     = 0;
        const D2xxStatus status = driver.QueueStatus(HandleOf(handle), count);
        *queued                 = count;
        return status;
    });
}

}  // extern "C"
