// The commands of the generation-2004 protocol and the waits for their answers. A command is its code byte and, for some, a few
// parameter bytes; 16-bit and 32-bit numbers are little-endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nelto {

/// Waits for an answer, in milliseconds.
constexpr std::uint32_t kAnswerTimeout         = 3000;
constexpr std::uint32_t kShortTimeout          = 200;
constexpr std::uint32_t kGetIdentTimeoutSerial = 3000;
constexpr std::uint32_t kGetIdentTimeoutUsb    = 200;

// Commands without parameters, and those whose parameters never change.
constexpr std::array<std::uint8_t, 1> kGetIdent              = {0x42};
constexpr std::array<std::uint8_t, 5> kGetAllVisibleIdents   = {0xA7, 0x02, 0x00, 0x00, 0x00};
constexpr std::array<std::uint8_t, 1> kGetMeasConfig         = {0x53};
constexpr std::array<std::uint8_t, 1> kReadValuesConfig4     = {0x9C};
constexpr std::array<std::uint8_t, 1> kReadValues            = {0xC2};
constexpr std::array<std::uint8_t, 1> kGetMeasZeroFlag       = {0xAA};
constexpr std::array<std::uint8_t, 1> kReadAdditionalValues  = {0xA2};
constexpr std::array<std::uint8_t, 1> kReadFuelSelection     = {0xB8};
constexpr std::array<std::uint8_t, 1> kGetDeviceType         = {0x85};
constexpr std::array<std::uint8_t, 9> kGetDeviceTypeSerial   = {0x85};  // eight filler bytes, zero
constexpr std::array<std::uint8_t, 1> kGetFirmwareVersion    = {0x40};
constexpr std::array<std::uint8_t, 1> kGetSerialNumber       = {0x7F};
constexpr std::array<std::uint8_t, 1> kGetSmokePumpNumber    = {0xB7};
constexpr std::array<std::uint8_t, 1> kGetSlaveMode          = {0x90};
constexpr std::array<std::uint8_t, 11> kOpenHeatingCheckList = {0x49, 0x00, 0x00, 0xF0, 0x01, 0x00,
                                                                0x00, 0x06, 0x00, 0x00, 0x00};

// Codes of the commands that take parameters.
constexpr std::uint8_t kReadViewText       = 0xB1;  // 16-bit text key
constexpr std::uint8_t kReadFuelEntry      = 0xB0;  // fuel number
constexpr std::uint8_t kReadFuelParameters = 0xB9;  // fuel number
constexpr std::uint8_t kSetSlaveMode       = 0x20;  // mode
constexpr std::uint8_t kSetClock           = 0x33;  // hour, minute, second, 0, 16-bit year, month, day
constexpr std::uint8_t kSetDate710         = 0x0C;  // day, month, year minus 1900, 0
constexpr std::uint8_t kSetTime710         = 0x0D;  // hour, minute, second, 0
constexpr std::uint8_t kReadBlock          = 0xA5;  // sub-command, 0, reference and more

// Sub-commands of kReadBlock.
constexpr std::uint8_t kReadViewList = 0x10;
constexpr std::uint8_t kReadHeader   = 0x08;
constexpr std::uint8_t kReadEntries  = 0x0A;
constexpr std::uint8_t kReadRecords  = 0x09;

// Sizes of answers and of the records in them.
constexpr std::size_t kAnswerHeaderSize     = 4;
constexpr std::size_t kAnswerCapacity       = 4096;
constexpr std::size_t kViewTextCapacity     = 128;
constexpr std::size_t kDirectAnswerCapacity = 256;
constexpr std::size_t kMeasConfigAnswer     = 8;
constexpr std::size_t kViewIdentEntrySize   = 12;
constexpr std::size_t kValueRecordSize      = 15;

/// The measuring configuration whose values have a command of their own.
constexpr std::uint8_t kMeasConfig4 = 4;

/// A number's low byte, as commands hold it.
constexpr std::uint8_t Low(std::uint32_t number) { return static_cast<std::uint8_t>(number); }

/// Answer of a command that goes straight to the transport.
using DirectAnswer = std::array<std::uint8_t, kDirectAnswerCapacity>;

}  // namespace nelto
