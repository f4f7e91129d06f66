// What holds for every program, every song and every division into blocks: random ones, many.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>

#include "tests/Dice.h"
#include "tests/Listening.h"
#include "tests/apps/RunProgram.h"
#include "tests/engine/SynthRig.h"
#include "tests/frame/TestRenderer.h"

namespace keldra::test {
namespace {

#ifdef KELDRA_SANITIZED
constexpr unsigned kSongs = 8;
#else
constexpr unsigned kSongs = 30;
#endif
constexpr int kSongFrames = 12000;

class CSong {
public:
    explicit CSong(unsigned number) : dice_(number + 1)
    {
        for (int i = 0; i < kHostParameterCount; ++i)
            rig_.synth.SetParameter(i, static_cast<float>(dice_.UpTo(100)) / 100.0f);
        // Not minutes of echoes, not seconds of release.
        rig_.synth.SetParameter(kDelayFeedback, static_cast<float>(dice_.UpTo(20)) / 100.0f);
        rig_.synth.SetParameter(kAmpRelease, static_cast<float>(dice_.UpTo(40)) / 100.0f);
        rig_.synth.SetParameter(kUnisonVoices, static_cast<float>(dice_.UpTo(5)));
        rig_.synth.SetParameter(kPolyphony, static_cast<float>(dice_.UpTo(63)));
        rig_.synth.SetParameter(kFirstControllerLink + dice_.UpTo(kAmpRelease - 1), 16.0f);
        rig_.Settle();
    }
    std::vector<float> Play()
    {
        std::vector<float> sound;
        while (sound.size() < 2 * kSongFrames) {
            for (int i = dice_.UpTo(5), time = 0; i > 0; --i) {
                constexpr std::uint8_t kStatuses[] = {0x90, 0x90, 0x90, 0x80, 0xB0, 0xE0};
                const int data1 = dice_.UpTo(127);
                if (EventNode* const node =
                        rig_.synth.AddEvent(static_cast<std::uint32_t>(time += dice_.UpTo(100)), 4))
                    node->message = {dice_.Of(kStatuses), static_cast<std::uint8_t>(data1),
                                     static_cast<std::uint8_t>(dice_.UpTo(127)), 0};
            }
            constexpr int kBlocks[] = {1, 17, 64, 128, 500, 2000};
            const int frames = dice_.Of(kBlocks);
            const Stereo out = rig_.Render(frames, frames);
            sound.insert(sound.end(), out.left.begin(), out.left.end());
            sound.insert(sound.end(), out.right.begin(), out.right.end());
        }
        return sound;
    }
    /// @return samples that are not exactly 0 in the last block, once all may have died away
    std::ptrdiff_t SoundingAfterTheEnd()
    {
        rig_.Midi(0xB0, 64, 0);
        rig_.Midi(0xB0, 123, 0);
        rig_.Render(48000 / 2);
        const auto& counts = rig_.synth.Keys().voiceCount;
        EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), 0), 0) << "a note hangs";
        rig_.Render(48000 * 20, 4800);   // 17 % of feedback, twice a second or so
        rig_.synth.SetChunk(nullptr, 0); // nor does another program make itself heard
        const Stereo last = rig_.Render(512);
        return 1024 - std::count(last.left.begin(), last.left.end(), 0.0f) -
               std::count(last.right.begin(), last.right.end(), 0.0f);
    }

private:
    CSynthRig rig_;
    CDice dice_;
};

} // namespace

// Silence is exact: then nothing is computed, and nothing can be slow.
TEST(SoundProperties, EverySongIsFiniteRepeatsItselfAndEndsInSilence)
{
    const char* const more = std::getenv("KELDRA_SONGS");
    const unsigned songs = more != nullptr ? static_cast<unsigned>(std::atoi(more)) : kSongs;
    for (unsigned number = 0; number < songs; ++number) {
        SeedAsLoaded();
        CSong song(number);
        const std::vector<float> sound = song.Play();
        EXPECT_TRUE(std::isfinite(Peak(sound))) << number;
        EXPECT_EQ(song.SoundingAfterTheEnd(), 0) << number;
        SeedAsLoaded();
        EXPECT_EQ(CSong(number).Play(), sound) << number;
    }
}

TEST(SoundProperties, ASongSoundsTheSameInAFreshProcess)
{
    constexpr char kChild[] = "KELDRA_FRESH_PROCESS";
    const auto hashOf = [](const std::vector<float>& sound) {
        std::size_t hash = sound.size();
        for (const float sample : sound)
            hash = (hash ^ std::bit_cast<std::uint32_t>(sample)) * 1099511628211u;
        return std::to_string(hash);
    };
    if (std::getenv(kChild) != nullptr) {
        std::printf("\nhash %s\n", hashOf(CSong(3).Play()).c_str());
        return;
    }
    CSong(2).Play(); // whatever it leaves behind
    SeedAsLoaded();
    const std::string expected = "\nhash " + hashOf(CSong(3).Play()) + "\n";
    CRunningProgram::Setup fresh;
    fresh.environment = {std::string(kChild) + "=1"};
    const std::string said =
        CRunningProgram({"/proc/self/exe", "--gtest_filter=*InAFreshProcess"}, fresh).Wait().out;
    EXPECT_NE(said.find(expected), std::string::npos) << said;
}

// A click is a corner in the wave: a large second difference. Beside a dull sound it would show.
TEST(SoundProperties, NothingClicksThatIsTurnedOrStolenBesideADullSound)
{
    std::vector<int> knobs{-1}; // another note takes the only voice
    for (const ParameterRow& row : kParameters)
        if (row.form == EForm::Continuous)
            knobs.push_back(row.index);
    for (const int knob : knobs) {
        SeedAsLoaded();
        CSynthRig rig;
        rig.Set("Flt. Cutoff", "20 %");
        rig.Set("Amp. Attack", "5 ms");
        rig.Set("Delay ON/OFF", "On");
        rig.Set("Chorus ON/OFF", "On");
        rig.Set("Gate Smooth", "100 %"); // its edges are no clicks
        rig.synth.SetParameter(kPolyphony, 0.0f);
        rig.Settle();
        rig.Press(45);
        rig.Render(48000);
        const float start = rig.synth.GetParameter(knob);
        const float step = start > 0.5f ? -0.004f : 0.004f;
        double corners[3]{}; // before, meanwhile, afterwards
        double peak = 0.0;
        for (double& corner : corners) {
            std::vector<float> sound;
            for (int i = 0; i < 100; ++i) {
                if (&corner == corners + 1 && knob >= 0) // at control rate
                    rig.synth.SetParameter(knob, start + step * static_cast<float>(i));
                else if (&corner == corners + 1 && i % 10 == 0)
                    rig.Press(i % 20 == 0 ? 45 : 44);
                const Stereo part = rig.Render(64, 64);
                sound.insert(sound.end(), part.left.begin(), part.left.end());
            }
            peak = std::fmax(peak, static_cast<double>(*std::ranges::max_element(sound)));
            for (std::size_t i = 1; i + 1 < sound.size(); ++i)
                corner = std::fmax(corner, std::fabs(static_cast<double>(
                                               sound[i - 1] - 2.0f * sound[i] + sound[i + 1])));
        }
        // This filter's gain in its band hangs on its frequency: a hundredth of the echo a step.
        const double known = knob == kDelayHighCut ? 0.02 * peak : 0.0;
        const double level = std::fmax(2.0 * std::fmax(corners[0], corners[2]), known);
        EXPECT_LT(corners[1], level) << (knob < 0 ? "stealing" : kParameters[knob].name);
    }
}

} // namespace keldra::test
