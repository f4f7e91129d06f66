#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/apps/RunProgram.h"

namespace keldra::test {

TEST(DemoSong, IsCheckedInAsItsScoreSays)
{
    const std::string built = Slurp(KELDRA_BINARY_DIR "/songs/demo.mid");
    EXPECT_FALSE(built.empty());
    EXPECT_TRUE(Slurp(KELDRA_SOURCE_DIR "/songs/demo.mid") == built)
        << "copy " KELDRA_BINARY_DIR "/songs/demo.mid to songs/";
}

TEST(DemoSong, IsPlayedByTheModuleWithEveryPartHeardAndNothingClipped)
{
    // Sanitizers slow the voices down a lot; at a low rate there are fewer samples, of another
    // sound.
    const bool isSound = std::string(KELDRA_SANITIZERS).empty();
    const CTemporaryFolder folder;
    const std::string out = folder.Path("demo.wav");
    const ProgramRun run =
        CRunningProgram({KELDRA_RENDER, KELDRA_SOURCE_DIR "/songs/demo.mid", "--sounds",
                         KELDRA_SOURCE_DIR "/songs/demo.sounds", "-o", out, "--levels", "--rate",
                         isSound ? "48000" : "8000"})
            .Wait();
    ASSERT_EQ(run.status, 0) << run.err;

    int channels = 0;
    double seconds = 0.0;
    double peak = 0.0;
    double loudness = 0.0;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
        int channel = 0;
        if (std::sscanf(line.c_str(), "channel %d: peak %lf dBFS, %lf LUFS", &channel, &peak,
                        &loudness) == 3) {
            ++channels;
            EXPECT_GT(loudness, isSound ? -36.0 : -50.0) << line;
            EXPECT_LT(loudness, isSound ? -19.0 : -10.0) << line;
        } else {
            EXPECT_EQ(std::sscanf(line.c_str() + out.size(), ": %lf s, peak %lf dBFS, %lf LUFS",
                                  &seconds, &peak, &loudness),
                      3)
                << line;
        }
    }
    EXPECT_EQ(channels, 14) << run.out;
    EXPECT_NEAR(seconds, 74.0, 4.0);
    if (isSound) {
        EXPECT_EQ(run.err, "") << "nothing is clipped";
        EXPECT_LT(peak, -1.0);
        EXPECT_NEAR(loudness, -17.0, 1.0);
    }
}

} // namespace keldra::test
