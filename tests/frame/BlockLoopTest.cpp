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
    const auto out = renderer.Process(300);
    EXPECT_EQ(renderer.log, (Log{"on 60", "render 64", "render 36", "on 64", "render 64",
                                 "render 64", "render 64", "render 8"}));
    EXPECT_EQ(out, std::vector<float>(300, 1.0f));
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
    renderer.Process(11);
    EXPECT_EQ(renderer.log, (Log{"render 10", "off 60", "off 60", "cc 7 1.000000", "poly 61",
                                 "pressure", "program 9", "render 1"}));
    EXPECT_EQ(renderer.KeyVelocity(60), 0.0f);
}

TEST(BlockLoop, DropsWhatLiesBeyondTheBlockAndKeepsWhatIsDueAtItsEnd)
{
    CTestRenderer renderer;
    renderer.Queue(200, 0x90, 60, 100);
    renderer.Queue(250, 0x90, 61, 100);
    renderer.Process(200);
    EXPECT_EQ(renderer.log.back(), "on 60");
    renderer.log.clear();
    renderer.Process(64);
    EXPECT_EQ(renderer.log, Log{"render 64"}) << "nothing is left over from the block before";
}

TEST(BlockLoop, DiscardsEventsOutOfOrderAndBeyondThePool)
{
    CTestRenderer renderer;
    EXPECT_TRUE(renderer.Queue(5, 0x90, 60, 100));
    EXPECT_FALSE(renderer.Queue(4, 0x90, 61, 100));
    EXPECT_TRUE(renderer.Queue(5, 0x90, 62, 100));
    EXPECT_EQ(renderer.EventCount(), 3);
    int queued = 2;
    while (renderer.Queue(5, 0xB0, 1, 1))
        ++queued;
    EXPECT_EQ(queued, CEventBuffer::kCapacity);
    renderer.Process(64);
    EXPECT_EQ(renderer.log[1], "on 60");
    EXPECT_EQ(renderer.log[2], "on 62");
    EXPECT_EQ(renderer.log.back(), "cc 123 0.000000") << "an end of a note may have been lost";
    EXPECT_EQ(renderer.EventCount(), 0);
}

TEST(BlockLoop, ReplacesOrAccumulates)
{
    CTestRenderer renderer;
    EXPECT_EQ(renderer.Process(100, CPluginRenderer::EMode::Replacing, 5.0f),
              std::vector<float>(100, 1.0f));
    EXPECT_EQ(renderer.Process(100, CPluginRenderer::EMode::Accumulating, 5.0f),
              std::vector<float>(100, 6.0f));

    float left[8] = {};
    float* outputs[] = {left, nullptr}; // a host that leaves a channel out
    renderer.ProcessBlock({nullptr, outputs, 8}, CPluginRenderer::EMode::Replacing);
    EXPECT_EQ(left[7], 1.0f);
    renderer.log.clear();
    for (const int frames : {0, -5}) {
        renderer.Queue(0, 0x90, 60, 100);
        renderer.ProcessBlock({nullptr, outputs, frames}, CPluginRenderer::EMode::Replacing);
        EXPECT_TRUE(renderer.log.empty()) << frames;
    }
}

TEST(BlockLoop, ReadsPitchBendAsTheWholeRangeOfFourteenBits)
{
    struct Case {
        int data1, data2;
        float bend;
    };
    for (const auto& [data1, data2, bend] :
         {Case{0, 0x40, 0.000061f}, Case{0x7F, 0x7F, 1.0f}, Case{0, 0, -1.0f}}) {
        CTestRenderer renderer;
        renderer.Queue(0, 0xE3, data1, data2);
        renderer.Process(1);
        EXPECT_NEAR(std::stof(renderer.log[0].substr(5)), bend, 1e-6f);
    }
}

} // namespace keldra::test
