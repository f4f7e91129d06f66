#include "frame/StateBlock.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

#include "frame/Text.h"

namespace keldra::test {

namespace {

using Block = std::array<std::byte, kStateSize>;
using Values = std::array<float, kParameterCount>;

Values SomeValues()
{
    Values values;
    std::iota(values.begin(), values.end(), -3.5f);
    values[7] = std::numeric_limits<float>::quiet_NaN();
    values[8] = -std::numeric_limits<float>::infinity();
    values[9] = 1e-42f;
    return values;
}

Block MakeBlock(std::string_view name)
{
    Block block;
    WriteStateBlock(SomeValues(), name, block);
    return block;
}

} // namespace

TEST(StateBlock, KeepsEveryBitOfValuesAndName)
{
    const Block block = MakeBlock("Bright.old");
    const unsigned char tag[] = {0x34, 0x72, 0x65, 0x56};
    EXPECT_EQ(std::memcmp(block.data(), tag, 4), 0);
    const StateBlockContent content = ReadStateBlock(block);
    EXPECT_TRUE(content.Accepted());
    const Values values = SomeValues();
    EXPECT_EQ(std::memcmp(content.values.data(), values.data(), sizeof values), 0);
    EXPECT_STREQ(content.name.data(), "Bright.old");

    for (const std::size_t length : {63u, 64u, 500u}) {
        const Block full = MakeBlock(std::string(length, 'n'));
        EXPECT_EQ(full[kStateSize - 1], std::byte{0});
        EXPECT_EQ(std::strlen(ReadStateBlock(full).name.data()), 63u);
    }
}

TEST(StateBlock, TakesAnyLengthForWhatItIs)
{
    const Block block = MakeBlock("x");
    for (std::size_t size = 0; size <= kStateSize; ++size) {
        // A copy of exactly that size: a sanitizer sees a read beyond it.
        const std::vector<std::byte> part(block.begin(),
                                          block.begin() + static_cast<std::ptrdiff_t>(size));
        const StateBlockContent content = ReadStateBlock(part);
        EXPECT_EQ(content.tagAccepted, size >= 4) << size;
        EXPECT_EQ(content.valueCount, size < 4 ? 0 : std::min<int>((int(size) - 4) / 4, 156));
        EXPECT_EQ(content.Accepted(), size >= 628) << size;
        EXPECT_EQ(content.hasName, size == 692) << size;
    }
}

TEST(StateBlock, KnowsTwoTags)
{
    Block block = MakeBlock("x");
    block[0] = std::byte{0x33};
    EXPECT_TRUE(ReadStateBlock(block).Accepted());
    for (const int wrong : {0x32, 0x35, 0x00}) {
        block[0] = static_cast<std::byte>(wrong);
        EXPECT_FALSE(ReadStateBlock(block).tagAccepted);
    }
    block = MakeBlock("x");
    std::fill(block.end() - 64, block.end(), std::byte{'z'}); // a name without an end
    EXPECT_EQ(std::strlen(ReadStateBlock(block).name.data()), 64u);
}

} // namespace keldra::test
