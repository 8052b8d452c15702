// What passes between the program and the maker's libraries: calling convention, records and sizes of buffers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The libraries export plain C functions under undecorated names: on 32 bit the caller cleans the stack, on 64 bit there is
/// only one convention.
#if defined(_WIN32)
#define NELTO_LIBRARY_CALL __cdecl
#else
#define NELTO_LIBRARY_CALL
#endif

namespace nelto {

/// The device handle as the libraries take it: the low 32 bits of what they gave when the analyser was opened.
using DeviceHandle = std::uint32_t;

/// One value of the measurement cache, or one current value.
#pragma pack(push, 1)
struct ValueRecord2010 {
    std::uint8_t unused_0;
    std::uint32_t ident;  // of generation 2010
    std::uint32_t value;  // the bits of a single, or a status word
    std::uint16_t unit;
    std::uint8_t resolution;
    std::array<std::uint8_t, 4> unused_12;
};
#pragma pack(pop)

static_assert(sizeof(ValueRecord2010) == 16);
static_assert(offsetof(ValueRecord2010, ident) == 1);
static_assert(offsetof(ValueRecord2010, value) == 5);
static_assert(offsetof(ValueRecord2010, unit) == 9);
static_assert(offsetof(ValueRecord2010, resolution) == 11);

/// Date and time, handed over by value.
struct DateTime2010 {
    std::uint8_t hour;
    std::uint8_t minute;
    std::uint8_t second;
    std::uint8_t zero;
    std::uint16_t year;  // with century
    std::uint8_t month;  // 1 to 12
    std::uint8_t day;
};

static_assert(sizeof(DateTime2010) == 8);
static_assert(offsetof(DateTime2010, year) == 4);
static_assert(offsetof(DateTime2010, day) == 7);

/// Parameters of a fuel. Only the two numbers at its start are used; the rest is room for what the library writes behind them.
struct FuelData2010 {
    float maximum_carbon_dioxide;  // percent
    float reference_oxygen;        // percent
    std::array<std::uint8_t, 1016> unknown;
};

static_assert(sizeof(FuelData2010) == 1024);
static_assert(offsetof(FuelData2010, reference_oxygen) == 4);

/// Room for an output that the program does not look into.
using Unread2010 = std::array<std::uint8_t, 4096>;

// Wide characters that the libraries are offered for a text. The buffers hold one more, which stays 0 and ends the text.
constexpr std::uint32_t kDeviceNameCapacity = 128;
constexpr std::uint32_t kSmokePumpCapacity  = 256;
constexpr std::uint32_t kUsbSerialCapacity  = 256;

template <std::uint32_t capacity>
using LibraryText = std::array<wchar_t, capacity + 1>;

/// A number that a library writes through a pointer; it may write more than the program reads.
template <typename Number>
struct alignas(std::uint64_t) RoomyNumber2010 {
    Number value = 0;
    std::array<std::uint8_t, 60> room{};
};

}  // namespace nelto
