#include "posix_platform.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <span>
#include <system_error>

#include "platform/clock.h"
#include "platform/event.h"
#include "platform/files.h"
#include "platform/lock.h"
#include "platform/serial_port.h"
#include "platform/text_service.h"
#include "platform/wide_text.h"

namespace nelto::platform {
namespace {

constexpr mode_t kFileMode       = 0600;
constexpr std::uint32_t kForever = 0xFFFFFFFF;

std::wstring& TemporaryPath() {
    static std::wstring path;
    return path;
}

std::map<std::wstring, std::string>& Ports() {
    static std::map<std::wstring, std::string> ports;
    return ports;
}

/// Paths of measurements are plain ASCII.
std::string Narrow(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) bytes += static_cast<char>(character);
    return bytes;
}

std::uint32_t WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return static_cast<std::uint32_t>(errno);
        if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

// Handles are descriptors counted from 1, so that 0 stays the handle of nothing.
template <typename Handle>
int ToDescriptor(Handle handle) {
    return static_cast<int>(static_cast<std::uintptr_t>(handle)) - 1;
}

template <typename Handle>
Handle ToHandle(int descriptor) {
    return static_cast<Handle>(static_cast<std::uintptr_t>(descriptor + 1));
}

speed_t Speed(std::uint32_t baud_rate) { return baud_rate == 19200 ? B19200 : B38400; }

}  // namespace

namespace posix {

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nelto-bench-XXXXXX").string();
    path_               = mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
    TemporaryPath()     = std::wstring(path_.begin(), path_.end()) + L"/";
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

void ConnectPort(std::uint32_t port_number, const std::string& tty) { Ports()[SerialPath(port_number)] = tty; }

std::vector<SerialExchangeCount>& SerialExchanges() {
    static std::vector<SerialExchangeCount> exchanges;
    return exchanges;
}

void SignalEvent(void* native_handle) {
    static_cast<void>(eventfd_write(ToDescriptor(reinterpret_cast<std::uintptr_t>(native_handle)), 1));
}

}  // namespace posix

std::uint32_t TickMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
}

void SleepMilliseconds(std::uint32_t milliseconds) {
    if (!posix::SerialExchanges().empty()) ++posix::SerialExchanges().back().waits;
    timespec rest{.tv_sec = milliseconds / 1000, .tv_nsec = (milliseconds % 1000) * 1'000'000L};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {}
}

CalendarTime LocalTime() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {.year   = static_cast<std::uint32_t>(local.tm_year) + 1900,
            .month  = static_cast<std::uint32_t>(local.tm_mon) + 1,
            .day    = static_cast<std::uint32_t>(local.tm_mday),
            .hour   = static_cast<std::uint32_t>(local.tm_hour),
            .minute = static_cast<std::uint32_t>(local.tm_min),
            .second = static_cast<std::uint32_t>(local.tm_sec)};
}

void ShortLock::GiveWay() { sched_yield(); }

std::size_t TempDirectory(std::span<wchar_t> directory) { return CopyText(directory, TemporaryPath()); }

void RemoveFile(const wchar_t* path) { unlink(Narrow(path).c_str()); }

std::uint32_t AppendToFile(const wchar_t* path, std::string_view bytes) {
    const int file = open(Narrow(path).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kFileMode);
    if (file < 0) return static_cast<std::uint32_t>(errno);
    const std::uint32_t error = WriteAll(file, bytes);
    close(file);
    return error;
}

FileHandle OpenEmptiedFile(const wchar_t* path) {
    return ToHandle<FileHandle>(open(Narrow(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode));
}

bool WriteToFile(FileHandle file, std::string_view bytes) { return WriteAll(ToDescriptor(file), bytes) == 0; }

void CloseFile(FileHandle file) { close(ToDescriptor(file)); }

void DebugOutput(const wchar_t*) {}  // no debugger

std::string ToAnsi(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) bytes += character < 0x100 ? static_cast<char>(character) : '?';
    return bytes;
}

std::wstring LoadText(std::uint32_t) { return {}; }

wchar_t DecimalSeparator() { return L'.'; }

std::wstring UserLocaleTag() { return L"en-US"; }

SerialHandle OpenSerialPort(const wchar_t* path, std::uint32_t& error) {
    const auto found     = Ports().find(path);
    const int descriptor = found == Ports().end() ? -1 : open(found->second.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    error                = descriptor < 0 ? static_cast<std::uint32_t>(ENOENT) : 0;
    return ToHandle<SerialHandle>(descriptor);
}

bool SetImmediateReads(SerialHandle port) {
    termios line{};
    if (tcgetattr(ToDescriptor(port), &line) != 0) return false;
    line.c_cc[VMIN]  = 0;
    line.c_cc[VTIME] = 0;
    return tcsetattr(ToDescriptor(port), TCSANOW, &line) == 0;
}

LineResult SetLine(SerialHandle port, std::uint32_t baud_rate) {
    termios line{};
    if (tcgetattr(ToDescriptor(port), &line) != 0) return LineResult::kGetStateFailed;
    const bool is_set = cfsetspeed(&line, Speed(baud_rate)) == 0 && tcsetattr(ToDescriptor(port), TCSANOW, &line) == 0;
    return is_set ? LineResult::kOk : LineResult::kSetStateFailed;
}

std::size_t WriteSerial(SerialHandle port, std::span<const std::uint8_t> bytes) {
    const ssize_t written = write(ToDescriptor(port), bytes.data(), bytes.size());
    const auto count      = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    posix::SerialExchanges().push_back({.bytes_written = count});
    return count;
}

std::size_t ReadSerial(SerialHandle port, std::span<std::uint8_t> bytes) {
    const ssize_t received = read(ToDescriptor(port), bytes.data(), bytes.size());
    const auto count       = static_cast<std::size_t>(std::max<ssize_t>(received, 0));
    if (!posix::SerialExchanges().empty()) posix::SerialExchanges().back().bytes_read += count;
    return count;
}

void CloseSerialPort(SerialHandle port) { close(ToDescriptor(port)); }

Event::Event() : handle_(reinterpret_cast<void*>(ToHandle<std::uintptr_t>(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))) {}

Event::~Event() {
    if (handle_ != nullptr) close(ToDescriptor(reinterpret_cast<std::uintptr_t>(handle_)));
}

bool Event::Wait(std::uint32_t timeout_ms) const {
    pollfd wanted{.fd = ToDescriptor(reinterpret_cast<std::uintptr_t>(handle_)), .events = POLLIN, .revents = 0};
    const int wait_ms = timeout_ms == kForever ? -1 : static_cast<int>(timeout_ms);
    if (poll(&wanted, 1, wait_ms) != 1) return false;
    eventfd_t count = 0;
    return eventfd_read(wanted.fd, &count) == 0;
}

}  // namespace nelto::platform
