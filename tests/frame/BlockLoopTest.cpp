#include <gtest/gtest.h>

#include "tests/frame/TestRenderer.h"

namespace keldra::test {

namespace {

CTestDefinition definition;

using Log = std::vector<std::string>;

} // namespace

TEST(BlockLoop, CutsTheBlockWhereEventsAreDueAndWhereTheBufferEnds)
{
    CTestRenderer renderer;
    renderer.Queue(0, 0x90, 60, 100);
    renderer.Queue(100, 0x90, 64, 100);
    renderer.Queue(300, 0x80, 60, 0);
    renderer.Queue(301, 0x80, 64, 0);
    EXPECT_EQ(renderer.Process(300), std::vector<float>(300, 1.0f));
    EXPECT_EQ(renderer.log, (Log{"on 60", "render 64", "render 36", "on 64", "render 64",
                                 "render 64", "render 64", "render 8", "off 60"}));
    renderer.log.clear();
    renderer.Process(64);
    EXPECT_EQ(renderer.log, Log{"render 64"}) << "nothing is left over from the block before";
}

TEST(BlockLoop, DispatchesEventsOfOneTimeInTheirOrderBeforeTheNextFrame)
{
    CTestRenderer renderer;
    renderer.Queue(10, 0x80, 60, 0);
    renderer.Queue(10, 0x9F, 60, 0); // velocity 0 releases; the channel doesn't matter
    renderer.Queue(10, 0xB9, 7, 127);
    renderer.Queue(10, 0xF8, 0, 0); // a clock tick is nobody's business
    renderer.Queue(10, 0xA0, 61, 5);
    renderer.Queue(10, 0xD0, 5, 0);
    renderer.Queue(10, 0xC0, 9, 0);
    renderer.Queue(10, 0xE3, 0, 0); // the wheel has all of 14 bits, and no exact middle
    renderer.Queue(10, 0xE3, 0, 0x40);
    renderer.Queue(10, 0xE3, 0x7F, 0x7F);
    renderer.Process(11);
    EXPECT_EQ(renderer.log,
              (Log{"render 10", "off 60", "off 60", "cc 7 1.000000", "poly 61", "pressure",
                   "program 9", "bend -1.000000", "bend 0.000061", "bend 1.000000", "render 1"}));
    EXPECT_EQ(renderer.KeyVelocity(60), 0.0f);
}

TEST(BlockLoop, ForgetsAtASuspendWhatWasToSound)
{
    CTestRenderer renderer;
    renderer.SwitchProcessing(true);
    {
        const CEngineThief thief(renderer);
        renderer.Queue(40, 0x90, 60, 100);
        renderer.Process(64); // left out: its events wait
    }
    renderer.Queue(30, 0x90, 61, 100); // and here the host asks for no block
    renderer.SwitchProcessing(false);
    renderer.SwitchProcessing(true);
    renderer.Queue(10, 0x90, 62, 100);
    renderer.log.clear();
    renderer.Process(64);
    EXPECT_EQ(renderer.log, (Log{"render 10", "on 62", "render 54"}));
}

TEST(BlockLoop, DiscardsEventsOutOfOrderAndBeyondThePool)
{
    CTestRenderer renderer;
    EXPECT_TRUE(renderer.Queue(5, 0x90, 60, 100));
    EXPECT_FALSE(renderer.Queue(4, 0x90, 61, 100));
    int queued = 1;
    while (renderer.Queue(5, 0x90, 62, 100))
        ++queued;
    EXPECT_EQ(queued, CEventBuffer::kCapacity);
    renderer.Process(64);
    EXPECT_EQ(renderer.log[2], "on 62");
    EXPECT_EQ(renderer.log.back(), "cc 123 0.000000") << "an end of a note may have been lost";
    renderer.Process(64);
    EXPECT_EQ(renderer.log.back(), "render 64") << "but not in the next block";
}

} // namespace keldra::test
