#include "platform/memory/memory_platform.h"

#include <sched.h>

#include <algorithm>
#include <memory>

#include "platform/files.h"
#include "platform/lock.h"
#include "platform/memory/memory_calls.h"
#include "platform/output_port.h"
#include "platform/registry.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto::platform {
namespace memory {
namespace {

auto the_world = std::make_unique<World>();

}  // namespace

World& TheWorld() { return *the_world; }

std::uint64_t RunningMilliseconds() {
    World& world = TheWorld();
    world.running += std::uint32_t{world.now - world.looked_at};
    world.looked_at = world.now;
    return world.running;
}

void ResetWorld() {
    the_world  = std::make_unique<World>();
    TheCalls() = {};
}

}  // namespace memory

using memory::Call;
using memory::Fails;
using memory::TheWorld;

namespace {

constexpr std::uint32_t kAccessDenied = 5;
constexpr std::uint32_t kFileNotFound = 2;
constexpr std::uint32_t kDiskFull     = 112;

using File = std::pair<const std::wstring, std::string>;

File& TheFile(const wchar_t* path) {
    const auto found = TheWorld().files.find(path);
    return found != TheWorld().files.end() ? *found : *TheWorld().files.try_emplace(path).first;
}

/// As much as the disk has room for; false when that is not all.
bool Write(File& file, std::string_view bytes) {
    memory::World& world    = TheWorld();
    const std::size_t taken = std::min(bytes.size(), world.disk_space);
    world.disk_space -= taken;
    world.bytes_written[file.first] += taken;
    if (world.keeps_texts) file.second += bytes.substr(0, taken);
    return taken == bytes.size();
}

/// Of interest to a world that hurries alone, which has one thread.
void SetIdle(bool idle) {
    if (TheWorld().hurries) TheWorld().idle = idle;
}

memory::SerialPortState* ToPort(SerialHandle port) { return reinterpret_cast<memory::SerialPortState*>(port); }

}  // namespace

std::size_t TempDirectory(std::span<wchar_t> directory) {
    if (Fails(Call::kTempDirectory) || TheWorld().temp_directory.size() >= directory.size()) {
        CopyText(directory, L"");
        return 0;
    }
    return CopyText(directory, TheWorld().temp_directory);
}

void RemoveFile(const wchar_t* path) { TheWorld().files.erase(path); }

std::uint32_t AppendToFile(const wchar_t* path, std::string_view bytes) {
    if (Fails(Call::kAppendFile) || TheWorld().unwritable_files.contains(path)) return kAccessDenied;
    return Write(TheFile(path), bytes) ? 0 : kDiskFull;
}

std::uint32_t MoveFileOver(const wchar_t* path, const wchar_t* new_path) {
    if (TheWorld().unwritable_files.contains(new_path)) return kAccessDenied;
    auto file = TheWorld().files.extract(path);
    if (file.empty()) return kFileNotFound;
    TheWorld().files[new_path] = std::move(file.mapped());
    return 0;
}

FileHandle OpenEmptiedFile(const wchar_t* path) {
    if (Fails(Call::kOpenFile) || TheWorld().unwritable_files.contains(path)) return FileHandle::kNone;
    File& file  = TheFile(path);
    file.second = {};
    ++TheWorld().open_files;
    return static_cast<FileHandle>(reinterpret_cast<std::uintptr_t>(&file));
}

bool WriteToFile(FileHandle file, std::string_view bytes) { return Write(*reinterpret_cast<File*>(file), bytes); }

void CloseFile(FileHandle) { --TheWorld().open_files; }

std::uint32_t TickMilliseconds() { return TheWorld().now; }

void SleepMilliseconds(std::uint32_t milliseconds) {
    constexpr std::uint32_t kHurry = 1000;
    TheWorld().now += TheWorld().hurries && TheWorld().idle ? std::max(milliseconds, kHurry) : milliseconds;
    if (TheWorld().on_wait) TheWorld().on_wait();
}

CalendarTime LocalTime() { return TheWorld().calendar; }

void ShortLock::GiveWay() { sched_yield(); }

void DebugOutput(const wchar_t* text) {
    if (TheWorld().keeps_texts) TheWorld().debug_lines.emplace_back(text);
}

std::string ToAnsi(std::wstring_view text) {
    std::string bytes(text.size(), '?');
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0x100) bytes[i] = static_cast<char>(text[i]);
    }
    return bytes;
}

std::wstring LoadText(std::uint32_t id) {
    const auto found = TheWorld().texts.find(id);
    return found == TheWorld().texts.end() ? std::wstring() : found->second;
}

wchar_t DecimalSeparator() { return TheWorld().decimal_separator; }

std::wstring UserLocaleTag() { return TheWorld().locale_tag; }

std::uint32_t RegReadDword(const wchar_t* name, std::uint32_t fallback) {
    const auto found = TheWorld().registry.find(name);
    return Fails(Call::kReadRegistry) || found == TheWorld().registry.end() ? fallback : found->second;
}

std::uint32_t RegWriteDword(const wchar_t* name, std::uint32_t number) {
    if (Fails(Call::kWriteRegistry)) return 1;
    TheWorld().registry[name] = number;
    return 0;
}

SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error) {
    const auto found = TheWorld().serial_ports.find(path);
    error            = found == TheWorld().serial_ports.end() ? kFileNotFound : found->second.open_error;
    if (error == 0 && (Fails(Call::kOpenSerial) || found->second.open_handles != 0)) error = kAccessDenied;
    if (error != 0) return SerialHandle::kNone;
    memory::SerialPortState& port = found->second;
    ++port.open_handles;
    ++port.times_opened;
    if (port.device != nullptr) port.device->Opened();
    return static_cast<SerialHandle>(reinterpret_cast<std::uintptr_t>(&port));
}

bool SetImmediateReads(SerialHandle port) { return ToPort(port)->open_handles != 0 && !Fails(Call::kSerialTimeouts); }

LineResult SetLine(SerialHandle port, std::uint32_t baud_rate) {
    if (Fails(Call::kGetLine)) return LineResult::kGetStateFailed;
    if (Fails(Call::kSetLine)) return LineResult::kSetStateFailed;
    ToPort(port)->baud_rate = baud_rate;
    return LineResult::kOk;
}

std::size_t WriteSerial(SerialHandle port, std::span<const std::uint8_t> bytes) {
    SetIdle(false);
    memory::SerialDevice* device = ToPort(port)->device;
    return !Fails(Call::kWriteSerial) && device != nullptr ? device->Write(bytes) : 0;
}

std::size_t ReadSerial(SerialHandle port, std::span<std::uint8_t> bytes) {
    memory::SerialDevice* device = ToPort(port)->device;
    const std::size_t size       = !Fails(Call::kReadSerial) && device != nullptr ? device->Read(bytes) : 0;
    SetIdle(size == 0);
    return size;
}

void CloseSerialPort(SerialHandle port) {
    --ToPort(port)->open_handles;
    if (ToPort(port)->device != nullptr) ToPort(port)->device->Closed();
}

OutputPort OpenOutputPort(const wchar_t* path) {
    std::uint32_t error = 0;
    return static_cast<OutputPort>(OpenSerialPort(path, error));
}

bool WriteOutput(OutputPort port, std::string_view bytes, std::uint32_t limit_ms,
                 const std::atomic<std::uint32_t>& /*cancelled*/) {
    const auto handle = static_cast<SerialHandle>(port);
    if (ToPort(handle)->stands_still) {
        SleepMilliseconds(limit_ms);
        return false;
    }
    WriteSerial(handle, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return true;
}

void CloseOutputPort(OutputPort port) { CloseSerialPort(static_cast<SerialHandle>(port)); }

}  // namespace nelto::platform
