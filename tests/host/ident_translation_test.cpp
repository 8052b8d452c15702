#include "instrument/generation2010/ident_translation.h"

#include <gtest/gtest.h>

#include <array>

namespace nelto {
namespace {

struct Row {
    std::uint32_t ident_2010;
    std::uint32_t view_ident;
};

// In the order of the published table.
// clang-format off
constexpr std::array kRows = std::to_array<Row>({
    {0x00000122, 0xFF4B},
    {0x00000124, 0x0113},
    {0x00000125, 0x0114},
    {0x00000904, 0x090D},
    {0x0000090A, 0x1090A},
    {0x0000090B, 0x1090B},
    {0x0000090C, 0x090F},
    {0x0000090D, 0x0910},
    {0x0000090E, 0x1090E},
    {0x0000090F, 0x0919},
    {0x00000910, 0x091A},
    {0x00000913, 0x091D},
    {0x0000091B, 0x091F},
    {0x00020915, 0x090E},
    {0x00020B01, 0x0B01},
    {0x00020B02, 0x0B01},
    {0x00020B03, 0x0B07},
    {0x00020B05, 0x0B02},
    {0x00020B08, 0x0B08},
    {0x00021282, 0x090C},
    {0x00021F04, 0xFF2E},
    {0x80010108, 0xFF01},
    {0x8001011E, 0xFF3F},
    {0x80010303, 0x0303},
    {0x80011903, 0xFF47},
    {0x80011B01, 0xFF02},
    {0x80021F05, 0xFF2F},
    {0x80021F06, 0xFF30},
    {0x80021F07, 0xFF4C},
    {0x80021F08, 0xFF3E},
    {0x80051B02, 0xFF06},
    {0x8101011E, 0xFF40},
    {0x81011B01, 0xFF03},
    {0x8201011E, 0xFF41},
    {0x82011B01, 0xFF04},
    {0x8301011E, 0xFF42},
    {0x83021B01, 0xFF05},
    {0x8401011E, 0xFF43},
    {0x8501011E, 0xFF44},
    {0x8601011E, 0xFF45},
});
// clang-format on

TEST(IdentTranslationTest, EveryIdentOfTheTableAndNoOther) {
    for (const Row& row : kRows) EXPECT_EQ(ViewIdentOf(row.ident_2010), row.view_ident) << std::hex << row.ident_2010;
    for (const std::uint32_t other : {0x0U, 0x1U, 0x123U, 0x905U, 0x8601011FU, 0xFFFFFFFFU}) {
        EXPECT_EQ(ViewIdentOf(other), other);
    }
}

}  // namespace
}  // namespace nelto
