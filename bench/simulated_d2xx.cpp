#include "simulated_d2xx.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "analyser_2004.h"
#include "block_session.h"
#include "platform/memory/memory_dynamic_library.h"
#include "platform/memory/memory_file_version.h"
#include "posix_platform.h"
#include "transport/d2xx.h"

namespace nelto::bench {
namespace {

using d2xx::Status;
using Clock = std::chrono::steady_clock;

constexpr const wchar_t* kName          = L"FTD2XX.DLL";
constexpr std::string_view kSerial      = "40712346";
constexpr std::uint32_t kId             = 0x3C2D0000 | kSimulatedDeviceType;
constexpr std::size_t kUsbPiece         = 62;  // a USB packet of 64 bytes without its two status bytes
constexpr auto kUsbFrame                = std::chrono::milliseconds(1);
constexpr std::size_t kLargestPacket    = 256;
constexpr std::size_t kUsbAnswerPayload = kLargestPacket - kBlockOverhead;

double Micro(Clock::duration time) { return std::chrono::duration<double, std::micro>(time).count(); }

std::uint64_t NowMs() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

/// The converter: what the program writes reaches the analyser, and its answer comes back a piece each USB frame.
class Converter {
public:
    explicit Converter(const simulator::Scenario& scenario)
        : analyser_(scenario.analyser),
          faults_(scenario.faults),
          session_(analyser_, faults_, kUsbAnswerPayload, [](const std::string&) {}),
          thread_([this] { Work(); }) {}

    ~Converter() {
        {
            const std::lock_guard guard(mutex_);
            ending_ = true;
        }
        work_there_.notify_one();
        thread_.join();
    }

    void SetEvent(void* event) {
        const std::lock_guard guard(mutex_);
        event_ = event;
    }

    void Write(simulator::Bytes bytes) {
        {
            const std::lock_guard guard(mutex_);
            outgoing_.emplace_back(bytes.begin(), bytes.end());
        }
        work_there_.notify_one();
    }

    std::size_t Queued() {
        const std::lock_guard guard(mutex_);
        return queue_.size();
    }

    std::size_t Read(std::span<std::uint8_t> room) {
        const std::lock_guard guard(mutex_);
        const std::size_t count = std::min(room.size(), queue_.size());
        std::copy_n(queue_.begin(), count, room.begin());
        queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(count));
        return count;
    }

    /// When bytes were last signalled.
    Clock::time_point LastSignal() {
        const std::lock_guard guard(mutex_);
        return last_signal_;
    }

    std::atomic<std::size_t> answer_packets = 0;
    std::atomic<std::size_t> pieces         = 0;

private:
    void Work() {
        std::unique_lock lock(mutex_);
        while (true) {
            work_there_.wait(lock, [this] { return ending_ || !outgoing_.empty(); });
            if (ending_) return;
            const simulator::Message packet = std::move(outgoing_.front());
            outgoing_.pop_front();
            lock.unlock();
            session_.Receive(packet, NowMs());
            while (const std::optional<simulator::Message> answer = session_.TakeOutput(NowMs())) Deliver(*answer);
            lock.lock();
        }
    }

    void Deliver(simulator::Bytes answer) {
        ++answer_packets;
        while (!answer.empty()) {
            std::this_thread::sleep_for(kUsbFrame);
            const std::size_t size = std::min(kUsbPiece, answer.size());
            const std::lock_guard guard(mutex_);
            queue_.insert(queue_.end(), answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(size));
            answer = answer.subspan(size);
            ++pieces;
            last_signal_ = Clock::now();
            platform::posix::SignalEvent(event_);
        }
    }

    simulator::Analyser2004 analyser_;
    simulator::FaultScript faults_;
    simulator::BlockSession session_;

    std::mutex mutex_;
    std::condition_variable work_there_;
    std::deque<simulator::Message> outgoing_;
    std::deque<std::uint8_t> queue_;
    void* event_ = nullptr;
    Clock::time_point last_signal_;
    bool ending_ = false;
    std::thread thread_;  // last: it begins with all of the above in place
};

std::unique_ptr<Converter> converter;
DriverAccount account;
std::size_t packets_before = 0;
std::size_t pieces_before  = 0;
Clock::time_point last_call_end;

/// Stands for one call into the library: its time is the driver's.
class Call {
public:
    Call() : start_(Clock::now()) {}
    ~Call() {
        last_call_end = Clock::now();
        account.calls_micro += Micro(last_call_end - start_);
    }
    Call(const Call&)            = delete;
    Call& operator=(const Call&) = delete;

private:
    Clock::time_point start_;
};

/// The first call after a wait: until the signal it was the driver who kept the program waiting.
void CountWait() {
    const Clock::time_point signal = converter->LastSignal();
    if (signal > last_call_end) account.waits_micro += Micro(signal - last_call_end);
}

Status ListDevices(void* first, void* second, std::uint32_t flags) {
    if (flags == d2xx::kListNumberOnly) {
        *static_cast<std::uint32_t*>(first) = 1;
    } else {
        *std::ranges::copy(kSerial, static_cast<char*>(second)).out = '\0';
    }
    return d2xx::kOk;
}

Status OpenEx(void*, std::uint32_t, d2xx::Device* device) {
    *device = converter.get();
    return d2xx::kOk;
}

Status Close(d2xx::Device) { return d2xx::kOk; }

Status ReadEeprom(d2xx::Device, d2xx::EarlyProgramData*) { return 1; }

Status GetDeviceInfo(d2xx::Device, std::uint32_t* type, std::uint32_t* id, char* serial, char* description, void*) {
    *type                                   = 5;
    *id                                     = kId;
    *std::ranges::copy(kSerial, serial).out = '\0';
    *description                            = '\0';
    return d2xx::kOk;
}

Status SetBaudRate(d2xx::Device, std::uint32_t) { return d2xx::kOk; }

Status SetEventNotification(d2xx::Device, std::uint32_t, void* event) {
    const Call call;
    converter->SetEvent(event);
    return d2xx::kOk;
}

Status Write(d2xx::Device, void* bytes, std::uint32_t size, std::uint32_t* written) {
    const Call call;
    ++account.host_packets;
    converter->Write({static_cast<const std::uint8_t*>(bytes), size});
    *written = size;
    return d2xx::kOk;
}

Status GetQueueStatus(d2xx::Device, std::uint32_t* queued) {
    const Call call;
    CountWait();
    *queued = static_cast<std::uint32_t>(converter->Queued());
    return d2xx::kOk;
}

Status Read(d2xx::Device, void* bytes, std::uint32_t size, std::uint32_t* read) {
    const Call call;
    *read = static_cast<std::uint32_t>(converter->Read({static_cast<std::uint8_t*>(bytes), size}));
    return d2xx::kOk;
}

}  // namespace

SimulatedD2xx::SimulatedD2xx(const simulator::Scenario& scenario) {
    converter = std::make_unique<Converter>(scenario);
    platform::memory::SetSystemFileVersion(kName, L"3.02.11");
    platform::memory::InstallLibrary(kName,
                                     {
                                         {"FT_ListDevices", reinterpret_cast<void*>(&ListDevices)},
                                         {"FT_OpenEx", reinterpret_cast<void*>(&OpenEx)},
                                         {"FT_Close", reinterpret_cast<void*>(&Close)},
                                         {"FT_EE_Read", reinterpret_cast<void*>(&ReadEeprom)},
                                         {"FT_GetDeviceInfo", reinterpret_cast<void*>(&GetDeviceInfo)},
                                         {"FT_SetBaudRate", reinterpret_cast<void*>(&SetBaudRate)},
                                         {"FT_Write", reinterpret_cast<void*>(&Write)},
                                         {"FT_Read", reinterpret_cast<void*>(&Read)},
                                         {"FT_SetEventNotification", reinterpret_cast<void*>(&SetEventNotification)},
                                         {"FT_GetQueueStatus", reinterpret_cast<void*>(&GetQueueStatus)},
                                     });
}

SimulatedD2xx::~SimulatedD2xx() {
    platform::memory::ResetLibraries();
    converter.reset();
}

const DriverAccount& SimulatedD2xx::Account() {
    account.answer_packets = converter->answer_packets - packets_before;
    account.pieces         = converter->pieces - pieces_before;
    return account;
}

void SimulatedD2xx::ClearAccount() {
    account        = {};
    packets_before = converter->answer_packets;
    pieces_before  = converter->pieces;
    last_call_end  = Clock::now();
}

}  // namespace nelto::bench
