#include <gtest/gtest.h>

#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

TEST(DemoSong, IsCheckedInAsItsScoreSays)
{
    const std::string built = Slurp(KELDRA_BINARY_DIR "/songs/demo.mid");
    EXPECT_FALSE(built.empty());
    EXPECT_TRUE(Slurp(KELDRA_SOURCE_DIR "/songs/demo.mid") == built)
        << "copy " KELDRA_BINARY_DIR "/songs/demo.mid to songs/";
}

} // namespace keldra::test
