// FTD2XX.DLL on Windows: a drop-in D2XX library with simulated analysers attached. It stays loaded once a program has loaded it,
// so that time, counts and what is plugged in go on over the program's searches.
#include <windows.h>

#include <fstream>
#include <mutex>

#include "block_session.h"
#include "drop_in.h"
#include "exports.h"

namespace simulator {
namespace {

constexpr const char* kSetupVariable = "NELTO_SIMULATOR_USB";
constexpr const char* kSetupFile     = "usb.txt";
constexpr const char* kUnpluggedFile = "unplugged.txt";
constexpr std::uint64_t kLookEveryMs = 50;  // for the control file
constexpr DWORD kDeliverEveryMs      = 2;   // while something is on the way

const void* Inside() { return reinterpret_cast<const void*>(&Inside); }

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

/// Attaches the converters whose scenario can be used; of the others it is told why not.
void AttachConverters(Driver& driver, const std::string& folder) {
    for (ConverterSetup& converter : driver.Setup().converters) {
        std::string error;
        std::optional<Scenario> scenario =
            converter.scenario.empty() ? DropInScenario(Inside()) : LoadScenario(folder + converter.scenario, error);
        if (!error.empty()) DropInTell("scenario " + converter.scenario + ": " + error);
        if (!scenario) continue;
        if (!converter.serial) converter.serial = std::to_string(scenario->analyser.serial_number);
        driver.Attach(converter, std::make_unique<BlockSession>(std::make_shared<ScriptedAnalyser>(
                                                                    std::move(scenario->analyser), scenario->faults),
                                                                driver.Setup().payload, DropInTell));
    }
}

/// The driver, its lock and the thread that delivers what comes late. Made with the first call, never destroyed.
class Library {
public:
    static Library& The() {
        static Library& library = *new Library;
        return library;
    }

    Driver& Begin() {
        mutex_.lock();
        LookAtControlFile(DropInNowMs());
        return driver_;
    }
    void End(std::uint64_t now_ms) {
        Signal(now_ms);
        if (driver_.IsExpecting()) SetEvent(expecting_);
        mutex_.unlock();
    }

private:
    Library() : Library(DropInFile(Inside(), kSetupVariable, kSetupFile)) {}
    explicit Library(const std::string& setup) : driver_(LoadSetup(setup), DropInTell) {
        AttachConverters(driver_, setup.substr(0, setup.find_last_of("\\/") + 1));
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
    HANDLE expecting_           = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE started_             = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::uint64_t next_look_ms_ = 0;
};

}  // namespace

DriverCall::DriverCall() : driver(Library::The().Begin()), now_ms(DropInNowMs()) {}
DriverCall::~DriverCall() { Library::The().End(now_ms); }

}  // namespace simulator
