#include "frame/StateBlock.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace keldra::test {

// What follows is read and written through program files and both bindings.
TEST(StateBlock, BeginsWithItsTagAndEndsWithANameOfAtMost63Characters)
{
    std::array<std::byte, kStateSize> block;
    for (const std::size_t length : {0u, 10u, 63u, 64u, 500u}) {
        WriteStateBlock(std::array<float, kParameterCount>{}, std::string(length, 'n'), block);
        EXPECT_EQ(std::memcmp(block.data(), "4reV", 4), 0);
        EXPECT_EQ(block.back(), std::byte{0});
        EXPECT_EQ(std::strlen(ReadStateBlock(block).name.data()),
                  std::min<std::size_t>(length, 63));
    }
    std::fill_n(block.end() - 64, 64, std::byte{'z'}); // a name without an end
    EXPECT_EQ(std::strlen(ReadStateBlock(block).name.data()), 64u);
}

} // namespace keldra::test
