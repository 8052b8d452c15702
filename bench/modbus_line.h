// Modbus RTU over a tty as the measure for a polling client: libmodbus on both sides.
#pragma once

#include <modbus.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

namespace nelto::bench {

/// A libmodbus context on a tty, connected; IsOpen says whether that went well.
class ModbusLine {
public:
    explicit ModbusLine(const std::string& tty);
    ~ModbusLine();
    ModbusLine(const ModbusLine&)            = delete;
    ModbusLine& operator=(const ModbusLine&) = delete;

    [[nodiscard]] bool IsOpen() const { return is_open_; }
    [[nodiscard]] modbus_t* context() const { return context_; }

private:
    modbus_t* context_;
    bool is_open_ = false;
};

/// Answers register reads on a thread of its own.
class ModbusServer {
public:
    explicit ModbusServer(const std::string& tty);
    ~ModbusServer();
    ModbusServer(const ModbusServer&)            = delete;
    ModbusServer& operator=(const ModbusServer&) = delete;

    [[nodiscard]] bool IsOpen() const { return line_.IsOpen() && registers_ != nullptr; }

private:
    void Serve();

    ModbusLine line_;
    modbus_mapping_t* registers_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

/// Bytes on the wire of one read of `registers` registers: request and answer.
[[nodiscard]] constexpr std::size_t ModbusPollBytes(std::size_t registers) { return 8 + 5 + 2 * registers; }

}  // namespace nelto::bench
