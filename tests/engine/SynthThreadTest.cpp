#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "engine/EngineRandom.h"
#include "voice/VoiceRandom.h"

namespace keldra::test {

TEST(SynthThread, InstancesShareTheRandomNumbersWithoutSharingAnyNumber)
{
    EngineSequence().Seed(2222);
    std::vector<std::uint32_t> drawn[2];
    std::vector<std::thread> threads;
    for (auto& numbers : drawn)
        threads.emplace_back([&numbers] {
            for (int i = 0; i < 20000; ++i)
                numbers.push_back(EngineSequence().Draw());
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<std::uint32_t> all = drawn[0];
    all.insert(all.end(), drawn[1].begin(), drawn[1].end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());

    std::uint32_t state = 2222;
    for (int i = 0; i < 40000; ++i)
        state = NextRandom(state);
    EXPECT_EQ(EngineSequence().Draw(), NextRandom(state)) << "together they took 40000 of them";
}

} // namespace keldra::test
