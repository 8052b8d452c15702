#include "instrument/generation2010/translation.h"

#include <gtest/gtest.h>

namespace nelto {
namespace {

// tools/check-documents holds the table.
TEST(IdentTranslationTest, IdentsOfTheTableFromEndToEndAndNoOther) {
    EXPECT_EQ(ViewIdentOf(0x00000122), 0xFF4BU);
    EXPECT_EQ(ViewIdentOf(0x00020B03), 0x0B07U);
    EXPECT_EQ(ViewIdentOf(0x8601011E), 0xFF45U);
    for (const std::uint32_t other : {0x0U, 0x1U, 0x123U, 0x905U, 0x8601011FU, 0xFFFFFFFFU}) {
        EXPECT_EQ(ViewIdentOf(other), other);
    }
}

}  // namespace
}  // namespace nelto
