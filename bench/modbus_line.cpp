#include "modbus_line.h"

#include <array>
#include <cstdint>

namespace nelto::bench {
namespace {

constexpr int kBaudRate                  = 19200;
constexpr int kServerAddress             = 17;
constexpr int kRegisterCount             = MODBUS_MAX_READ_REGISTERS;
constexpr std::uint32_t kAnswerTimeout   = 3;        // seconds, as for the analyser
constexpr std::uint32_t kServerLookMicro = 200'000;  // microseconds until the server looks whether it is to end

}  // namespace

ModbusLine::ModbusLine(const std::string& tty) : context_(modbus_new_rtu(tty.c_str(), kBaudRate, 'N', 8, 1)) {
    is_open_ = context_ != nullptr && modbus_set_slave(context_, kServerAddress) == 0 &&
               modbus_set_response_timeout(context_, kAnswerTimeout, 0) == 0 && modbus_connect(context_) == 0;
}

ModbusLine::~ModbusLine() {
    if (is_open_) modbus_close(context_);
    if (context_ != nullptr) modbus_free(context_);
}

ModbusServer::ModbusServer(const std::string& tty)
    : line_(tty), registers_(modbus_mapping_new(0, 0, kRegisterCount, 0)) {
    if (!IsOpen() || modbus_set_indication_timeout(line_.context(), 0, kServerLookMicro) != 0) return;
    for (int i = 0; i < kRegisterCount; ++i) registers_->tab_registers[i] = static_cast<std::uint16_t>(257 * i);
    thread_ = std::thread([this] { Serve(); });
}

ModbusServer::~ModbusServer() {
    ending_ = true;
    if (thread_.joinable()) thread_.join();
    if (registers_ != nullptr) modbus_mapping_free(registers_);
}

void ModbusServer::Serve() {
    std::array<std::uint8_t, MODBUS_RTU_MAX_ADU_LENGTH> request;
    while (!ending_) {
        const int size = modbus_receive(line_.context(), request.data());
        if (size > 0) modbus_reply(line_.context(), request.data(), size, registers_);
    }
}

}  // namespace nelto::bench
