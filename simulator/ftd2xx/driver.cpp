#include "driver.h"

#include <algorithm>

namespace simulator {
namespace {

/// What the analysers behind each type of converter run at.
bool IsItsRate(std::uint16_t type, std::uint32_t rate) {
    switch (type) {
        case 2:
        case 16: return rate == 921600;
        case 9: return rate == 57600;
        default: return true;
    }
}

}  // namespace

Converter& Driver::Attach(ConverterSetup setup, std::unique_ptr<ByteSession> analyser) {
    return *converters_.emplace_back(std::make_unique<Converter>(std::move(setup), setup_, std::move(analyser)));
}

std::vector<const Converter*> Driver::OpenConverters() const {
    std::vector<const Converter*> open;
    for (const auto& [handle, entry] : handles_) open.push_back(entry.converter);
    return open;
}

std::uint32_t Driver::CallsOf(std::string_view function) const {
    const auto calls = calls_.find(function);
    return calls == calls_.end() ? 0 : calls->second;
}

void Driver::SetUnplugged(const std::set<std::string>& serials, std::uint64_t now_ms) {
    for (const auto& converter : converters_) {
        const bool by_time = converter->Setup().unplugged && converter->Setup().unplugged->Contains(now_ms);
        const bool is_gone = by_time || serials.contains("") || serials.contains(converter->ListedSerial());
        if (is_gone == unplugged_.contains(converter.get())) continue;
        events_((is_gone ? "unplugged " : "plugged in ") + converter->ListedSerial());
        if (!is_gone) {
            unplugged_.erase(converter.get());
            continue;
        }
        unplugged_.insert(converter.get());
        for (auto& [handle, open] : handles_) open.is_dead = open.is_dead || open.converter == converter.get();
    }
}

D2xxStatus Driver::CountDevices(std::uint32_t& count) {
    if (const CallFault* fault = Begin("FT_ListDevices")) return static_cast<D2xxStatus>(fault->status);
    count = static_cast<std::uint32_t>(Attached().size());
    return D2xxStatus::kOk;
}

D2xxStatus Driver::SerialByIndex(std::size_t index, std::string& serial) {
    if (const CallFault* fault = Begin("FT_ListDevices")) return static_cast<D2xxStatus>(fault->status);
    const std::vector<Converter*> attached = Attached();
    if (index >= attached.size()) return D2xxStatus::kDeviceNotFound;
    serial = attached[index]->ListedSerial();
    return D2xxStatus::kOk;
}

D2xxStatus Driver::Open(const std::string& serial, D2xxHandle& handle) {
    if (const CallFault* fault = Begin("FT_OpenEx")) return static_cast<D2xxStatus>(fault->status);
    for (Converter* converter : Attached()) {
        if (converter->ListedSerial() != serial) continue;
        if (IsOpen(*converter)) return D2xxStatus::kDeviceNotOpened;
        converter->Reset();
        handle           = ++last_handle_;
        handles_[handle] = OpenHandle{.converter = converter};
        return D2xxStatus::kOk;
    }
    return D2xxStatus::kDeviceNotFound;
}

D2xxStatus Driver::Close(D2xxHandle handle) {
    // A call that is to fail closes all the same: else every later search would find the converter in use.
    const CallFault* fault = Begin("FT_Close");
    if (handles_.erase(handle) == 0) return D2xxStatus::kInvalidHandle;
    return fault == nullptr ? D2xxStatus::kOk : static_cast<D2xxStatus>(fault->status);
}

const Converter* Driver::Identify(const char* function, D2xxHandle handle, D2xxStatus& status) {
    const OpenHandle* open = BeginWith(function, handle, status);
    return open == nullptr ? nullptr : open->converter;
}

D2xxStatus Driver::SetBaudRate(D2xxHandle handle, std::uint32_t rate) {
    D2xxStatus status = D2xxStatus::kOk;
    OpenHandle* open  = BeginWith("FT_SetBaudRate", handle, status);
    if (open == nullptr) return status;
    open->has_rate = IsItsRate(open->converter->Setup().product_id, rate);
    if (!open->has_rate) events_("baud rate " + std::to_string(rate) + " refused");
    return open->has_rate ? D2xxStatus::kOk : D2xxStatus::kInvalidParameter;
}

D2xxStatus Driver::SetEvent(D2xxHandle handle, void* event) {
    D2xxStatus status = D2xxStatus::kOk;
    if (OpenHandle* open = BeginWith("FT_SetEventNotification", handle, status)) open->event = event;
    return status;
}

D2xxStatus Driver::Write(D2xxHandle handle, Bytes bytes, std::uint32_t& written, std::uint64_t now_ms) {
    D2xxStatus status      = D2xxStatus::kOk;
    const CallFault* fault = nullptr;
    OpenHandle* open       = BeginWith("FT_Write", handle, status, &fault);
    if (open == nullptr) return status;
    if (!open->has_rate) return D2xxStatus::kIoError;
    const bool is_short = fault != nullptr && fault->kind == CallFaultKind::kShortWrite && !bytes.empty();
    if (is_short) bytes = bytes.first(bytes.size() - 1);
    open->converter->Write(bytes, fault, now_ms);
    written = static_cast<std::uint32_t>(bytes.size());
    return D2xxStatus::kOk;
}

D2xxStatus Driver::Read(D2xxHandle handle, std::span<std::uint8_t> bytes, std::uint32_t& read) {
    D2xxStatus status      = D2xxStatus::kOk;
    const CallFault* fault = nullptr;
    OpenHandle* open       = BeginWith("FT_Read", handle, status, &fault);
    if (open == nullptr) return status;
    if (fault != nullptr && !bytes.empty()) bytes = bytes.first(bytes.size() - 1);
    read = static_cast<std::uint32_t>(open->converter->Read(bytes));
    return D2xxStatus::kOk;
}

D2xxStatus Driver::QueueStatus(D2xxHandle handle, std::uint32_t& queued) {
    D2xxStatus status      = D2xxStatus::kOk;
    const CallFault* fault = nullptr;
    const OpenHandle* open = BeginWith("FT_GetQueueStatus", handle, status, &fault);
    if (open == nullptr) return status;
    queued = fault != nullptr ? 0 : static_cast<std::uint32_t>(open->converter->Queued());
    return D2xxStatus::kOk;
}

std::vector<void*> Driver::Deliver(std::uint64_t now_ms) {
    std::vector<void*> signalled;
    for (auto& [handle, open] : handles_) {
        if (!open.is_dead && open.converter->Deliver(now_ms) && open.event != nullptr) signalled.push_back(open.event);
    }
    return signalled;
}

bool Driver::IsExpecting() const {
    return std::ranges::any_of(
        handles_, [](const auto& entry) { return !entry.second.is_dead && entry.second.converter->IsExpecting(); });
}

bool Driver::HasQueued() const {
    return std::ranges::any_of(handles_, [](const auto& entry) { return entry.second.converter->Queued() != 0; });
}

const CallFault* Driver::Begin(std::string_view function) {
    auto calls = calls_.find(function);
    if (calls == calls_.end()) calls = calls_.emplace(function, 0).first;
    const std::uint32_t call = ++calls->second;
    for (const CallFault& fault : setup_.faults) {
        if (fault.function != function || call < fault.first || call - fault.first >= fault.calls) continue;
        events_(calls->first + ", call " + std::to_string(call) + ", goes wrong");
        return &fault;
    }
    return nullptr;
}

Driver::OpenHandle* Driver::BeginWith(std::string_view function, D2xxHandle handle, D2xxStatus& status,
                                      const CallFault** fault) {
    const CallFault* found = Begin(function);
    const auto open        = handles_.find(handle);
    if (found != nullptr && found->kind == CallFaultKind::kStatus) {
        status = static_cast<D2xxStatus>(found->status);
    } else if (open == handles_.end()) {
        status = D2xxStatus::kInvalidHandle;
    } else if (open->second.is_dead) {
        status = D2xxStatus::kIoError;
    } else {
        if (fault != nullptr) *fault = found;
        return &open->second;
    }
    return nullptr;
}

std::vector<Converter*> Driver::Attached() const {
    std::vector<Converter*> attached;
    for (const auto& converter : converters_) {
        if (!unplugged_.contains(converter.get())) attached.push_back(converter.get());
    }
    return attached;
}

bool Driver::IsOpen(const Converter& converter) const {
    return std::ranges::any_of(handles_, [&converter](const auto& entry) {
        return entry.second.converter == &converter && !entry.second.is_dead;
    });
}

}  // namespace simulator
