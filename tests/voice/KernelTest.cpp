#include <cstdlib>
#include <gtest/gtest.h>
#include <string_view>

#include "tests/voice/VoiceRig.h"
#include "voice/VoiceRandom.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

std::vector<const VoiceKernel*> KernelsOfThisMachine()
{
    std::vector<const VoiceKernel*> kernels;
    for (const VoiceKernel& kernel : VoiceKernels())
        if (kernel.runsHere())
            kernels.push_back(&kernel);
    return kernels;
}

/// Lengths that start and end inside vectors, stretches and quads.
constexpr int kOddBlocks[] = {512, 8, 296, 512, 3, 129, 64};

struct PatchCase {
    const char* what;
    double hostRate;
    void (*arrange)(CVoiceRig&);
};

void Pulses(CVoiceRig& rig, float widthA, float widthB)
{
    rig.patch.shapeA = rig.patch.shapeB = 1.0f;
    rig.Set(rig.patch.pulseWidthA, widthA);
    rig.Set(rig.patch.pulseWidthB, widthB);
    rig.Set(rig.patch.oscBalance, 0.4f);
    rig.patch.detuneBSemitones = 0.13f;
}

void Everything(CVoiceRig& rig)
{
    Pulses(rig, 0.2f, 0.8f);
    VoicePatch& patch = rig.patch;
    patch.sync = patch.ring = true;
    patch.pitchBSemitones = 7.0f;
    rig.Set(patch.noiseBalance, 0.3f);
    patch.filterMode = kBandPass;
    patch.resonance = 0.5f;
    patch.keyTracking = patch.velocityTracking = 0.7f;
    rig.Set(patch.cutoff, 0.5f);
    rig.Set(patch.egAmount, 0.6f);
    rig.Set(patch.lfoAmount, -0.5f);
    rig.Set(patch.modWheelAmount, 0.7f);
    patch.modWheel = 0.6f;
    patch.lfoDestination = kLfoToPitchAB;
    patch.modWheelDestination = kWheelToWidthAB;
    rig.lfo.rate = 5.0;
    rig.lfo.shape = CVoiceLfo::kSine;
    patch.unisonPan = 0.8f;
}

constexpr PatchCase kPatches[] = {
    {"saw A, full resonance", 44100.0,
     [](CVoiceRig& rig) {
         rig.Set(rig.patch.cutoff, 0.6f);
         rig.patch.resonance = 1.0f;
     }},
    {"saw B, high-pass, wheel to cutoff", 96000.0,
     [](CVoiceRig& rig) {
         rig.Set(rig.patch.oscBalance, 1.0f);
         rig.Set(rig.patch.cutoff, 0.3f);
         rig.patch.filterMode = kHighPass;
         rig.Set(rig.patch.modWheelAmount, -0.4f);
         rig.patch.modWheel = 0.5f;
     }},
    {"both saws synced, EG to pitch of A", 48000.0,
     [](CVoiceRig& rig) {
         rig.patch.sync = true;
         rig.Set(rig.patch.oscBalance, 0.3f);
         rig.patch.pitchBSemitones = -12.0f;
         rig.patch.egDestination = kEgToPitchA;
         rig.Set(rig.patch.egAmount, 0.8f);
     }},
    {"pulse A, LFO square to its width", 22050.0,
     [](CVoiceRig& rig) {
         Pulses(rig, 0.3f, 0.0f);
         rig.patch.shapeB = 0.0f;
         rig.lfo.shape = CVoiceLfo::kPulse;
         rig.lfo.rate = 9.0;
         rig.patch.lfoDestination = kLfoToWidthA;
         rig.Set(rig.patch.lfoAmount, 0.5f);
     }},
    {"pulse B synced saw A, low resonant cutoff, EG to widths", 192000.0,
     [](CVoiceRig& rig) {
         Pulses(rig, 0.5f, 0.1f);
         rig.patch.shapeA = 0.0f;
         rig.patch.sync = true;
         rig.Set(rig.patch.cutoff, 0.15f);
         rig.patch.resonance = 0.4f;
         rig.patch.egDestination = kEgToWidthAB;
         rig.Set(rig.patch.egAmount, -0.7f);
     }},
    {"ring of saws, LFO ramp to pan, wheel to pitch", 44100.0,
     [](CVoiceRig& rig) {
         rig.patch.ring = true;
         rig.patch.pitchBSemitones = 5.0f;
         rig.lfo.shape = CVoiceLfo::kSaw;
         rig.lfo.rate = 3.0;
         rig.patch.lfoDestination = kLfoToPan;
         rig.Set(rig.patch.lfoAmount, 0.9f);
         rig.patch.modWheelDestination = kWheelToPitchA;
         rig.Set(rig.patch.modWheelAmount, 0.5f);
         rig.patch.modWheel = 0.7f;
     }},
    {"ring of pulses, random LFO to pitch, retriggered", 48000.0,
     [](CVoiceRig& rig) {
         Pulses(rig, 0.9f, 0.4f);
         rig.patch.ring = true;
         rig.lfo.shape = CVoiceLfo::kRandom;
         rig.lfo.rate = 11.0;
         rig.lfo.retrigger = true;
         rig.patch.lfoDestination = kLfoToPitchA;
         rig.Set(rig.patch.lfoAmount, 0.7f);
     }},
    {"noise alone, band-pass, synced LFO to cutoff by the wheel", 44100.0,
     [](CVoiceRig& rig) {
         rig.Set(rig.patch.noiseBalance, 1.0f);
         rig.patch.filterMode = kBandPass;
         rig.Set(rig.patch.cutoff, 0.4f);
         rig.patch.resonance = 0.8f;
         rig.lfo.sync = 2.0;
         rig.Set(rig.patch.lfoAmount, 0.6f);
         rig.patch.modWheelDestination = kWheelToLfoDepth;
         rig.Set(rig.patch.modWheelAmount, 0.8f);
         rig.patch.modWheel = 1.0f;
     }},
    {"synced pulses with noise, EG to both pitches, wheel to width", 96000.0,
     [](CVoiceRig& rig) {
         Pulses(rig, 0.7f, 0.7f);
         rig.patch.sync = true;
         rig.patch.pitchBSemitones = -7.0f;
         rig.Set(rig.patch.noiseBalance, 0.2f);
         rig.patch.egDestination = kEgToPitchAB;
         rig.Set(rig.patch.egAmount, -0.5f);
         rig.patch.modWheelDestination = kWheelToWidthA;
         rig.Set(rig.patch.modWheelAmount, 0.5f);
         rig.patch.modWheel = 0.3f;
         rig.patch.lfoDestination = kLfoToWidthAB;
         rig.Set(rig.patch.lfoAmount, 0.3f);
     }},
    {"everything at 22.05 kHz, EG to width of A", 22050.0,
     [](CVoiceRig& rig) {
         Everything(rig);
         rig.patch.egDestination = kEgToWidthA;
     }},
    {"everything at 44.1 kHz", 44100.0, Everything},
    {"everything at 192 kHz", 192000.0, Everything},
    {"tuned, bent, drifting, gliding octaves under the host's tables, decaying to nothing", 48000.0,
     [](CVoiceRig& rig) {
         rig.patch.masterTune = -3.3f;
         rig.patch.bend = -0.5f;
         rig.patch.bendRange = 7;
         rig.patch.octaver = true;
         rig.patch.unisonDetune = 1.2f;
         rig.patch.unisonPan = 0.6f;
         rig.patch.amp = {0.01f, 0.5f, 0.0f, 0.05f};
         rig.Set(rig.patch.cutoff, 0.4f);
         rig.lfo.shape = CVoiceLfo::kTriangle;
         rig.lfo.rate = 4.0;
         rig.Set(rig.patch.lfoAmount, 0.5f);
         for (std::size_t key = 0; key < 128; ++key) {
             const float place = static_cast<float>(key) / 127.0f;
             rig.keys.pitchOffset[key] = 2.0f * place - 1.0f;
             rig.keys.leftGain[key] = place;
             rig.keys.rightGain[key] = 2.0f - place;
             rig.keys.cutoffOffset[key] = 0.2f * place - 0.1f;
             rig.keys.resonanceOffset[key] = place;
         }
         for (int voice = 0; voice < 6; ++voice) {
             rig.Voice(voice).drift = rig.Twin(voice).drift = 0.05f * static_cast<float>(voice);
             rig.Voice(voice).glideRate = rig.Twin(voice).glideRate = 0.0001f;
         }
     }},
};

/// Six voices: five notes, two more on voices that sound, one on a voice that was freed, releases.
template <class RenderBlocks>
StereoSound PlayPiece(CVoiceRig& rig, RenderBlocks&& render)
{
    constexpr int kKeys[] = {33, 45, 52, 60, 67};
    for (int i = 0; i < 5; ++i) {
        rig.Voice(i).unisonCount = 2;
        rig.Twin(i).unisonCount = 2;
        rig.Voice(i).unisonIndex = static_cast<std::int8_t>(i % 2);
        rig.Twin(i).unisonIndex = i % 2;
        rig.Start(i, kKeys[i], 0.2f * static_cast<float>(i + 1));
    }
    StereoSound piece;
    const auto goOn = [&](double seconds) {
        const StereoSound part = render(Divided(rig.Samples(seconds), kOddBlocks));
        piece.left.insert(piece.left.end(), part.left.begin(), part.left.end());
        piece.right.insert(piece.right.end(), part.right.begin(), part.right.end());
    };
    goOn(0.25);
    rig.Release(1);
    rig.Release(3);
    goOn(0.15); // both end in between
    rig.Start(1, 72, 0.7f);
    rig.Start(0, 45, 0.5f); // while they sound
    rig.Start(4, 40, 0.9f);
    goOn(0.2);
    for (const int voice : {0, 1, 2})
        rig.Release(voice);
    goOn(0.15);
    return piece;
}

} // namespace

// What two renders of the same formulas differ by is rounding: -101 dB at worst here. A filter that
// oscillates by itself against a note of another pitch would be no case for this test: two plain
// readings, one compiled with fused multiply-adds, part within half a second there.
TEST(Kernel, AgreesWithThePlainReadingForEveryWaveformFilterRouteAndRate)
{
    for (const auto& [what, hostRate, arrange] : kPatches) {
        CVoiceRig truthRig(hostRate, 6);
        arrange(truthRig);
        const StereoSound truth =
            PlayPiece(truthRig, [&](const auto& blocks) { return truthRig.RenderTwins(blocks); });
        ASSERT_GT(Rms(truth.left), 0.01) << what;
        for (const VoiceKernel* kernel : KernelsOfThisMachine()) {
            CVoiceRig rig(hostRate, 6);
            arrange(rig);
            const StereoSound sound =
                PlayPiece(rig, [&](const auto& blocks) { return rig.RenderWith(*kernel, blocks); });
            EXPECT_LT(ErrorDb(sound, truth), -95.0) << what << ", " << kernel->name;
        }
    }
}

TEST(Kernel, AgreesForAnyNumberOfVoicesWithVoicesThatWereFreedAmongThem)
{
    constexpr int kBlocks[] = {512, 40};
    const auto play = [&](int count, auto&& render) {
        CVoiceRig rig(48000.0, 64);
        Everything(rig);
        for (int i = 0; i < count; ++i)
            rig.Start(i, 30 + i, 0.5f);
        StereoSound sound = render(rig, Divided(552, kBlocks));
        for (const int freed : {count / 2, count / 3}) // they fill up groups, or wait outside
            if (count > 2)
                rig.Reset(freed);
        const StereoSound rest = render(rig, Divided(552, kBlocks));
        sound.left.insert(sound.left.end(), rest.left.begin(), rest.left.end());
        sound.right.insert(sound.right.end(), rest.right.begin(), rest.right.end());
        return sound;
    };
    for (int count = 1; count <= 64; ++count) {
        const StereoSound truth =
            play(count, [](CVoiceRig& rig, const auto& blocks) { return rig.RenderTwins(blocks); });
        for (const VoiceKernel* kernel : KernelsOfThisMachine())
            EXPECT_LT(ErrorDb(play(count,
                                   [&](CVoiceRig& rig, const auto& blocks) {
                                       return rig.RenderWith(*kernel, blocks);
                                   }),
                              truth),
                      -95.0)
                << count << " voices, " << kernel->name;
    }
}

// What a call leaves out must not be missed when a later one needs it: also by a voice that was
// free meanwhile, went on in a group, and plays again from where its filter is.
TEST(Kernel, AgreesWhenWaveformsNoiseAndFilterChangeWhileAFreeVoiceFillsTheGroup)
{
    const auto play = [](auto&& render) {
        CVoiceRig rig(44100.0, 4);
        rig.patch.amp.releaseSeconds = 0.005f;
        rig.Set(rig.patch.cutoff, 0.3f);
        rig.Set(rig.patch.noiseBalance, 0.5f);
        rig.patch.filterMode = kHighPass;
        StereoSound piece;
        const auto goOn = [&] {
            constexpr int kBlocks[] = {512};
            const StereoSound part = render(rig, Divided(8 * 512, kBlocks));
            piece.left.insert(piece.left.end(), part.left.begin(), part.left.end());
            piece.right.insert(piece.right.end(), part.right.begin(), part.right.end());
        };
        for (int i = 0; i < 3; ++i)
            rig.Start(i, 45 + 7 * i);
        goOn();
        rig.Release(1);
        goOn();
        EXPECT_NE(rig.Voice(1).IsFree(), rig.Twin(1).note < 0); // only one of them was rendered
        rig.Set(rig.patch.noiseBalance, 0.0f);
        goOn();
        rig.patch.shapeA = rig.patch.shapeB = 1.0f;
        rig.patch.sync = true;
        rig.patch.filterMode = kLowPass;
        goOn();
        rig.Start(1, 60);
        goOn();
        rig.patch.shapeA = 0.0f;
        rig.patch.sync = false;
        rig.patch.ring = true;
        goOn();
        return piece;
    };
    const StereoSound truth =
        play([](CVoiceRig& rig, const auto& blocks) { return rig.RenderTwins(blocks); });
    for (const VoiceKernel* kernel : KernelsOfThisMachine())
        EXPECT_LT(ErrorDb(play([&](CVoiceRig& rig, const auto& blocks) {
                              return rig.RenderWith(*kernel, blocks);
                          }),
                          truth),
                  -95.0)
            << kernel->name;
}

TEST(Kernel, RendersPartsOfABlockAndAVoiceOnTopOfAGroupAsItRendersThemTogether)
{
    const auto begin = [](CVoiceRig& rig) {
        Everything(rig);
        for (int i = 0; i < 5; ++i) {
            rig.Start(i, 50 + i);
            rig.Voice(i).PrepareBlock(64);
        }
    };
    CVoiceRig together(48000.0, 8);
    begin(together);
    StereoSound truth{std::vector<float>(64), std::vector<float>(64)};
    KeldraGenerator* row[8];
    for (int i = 0; i < 8; ++i)
        row[i] = &together.Voice(i);
    RenderVoices(row, 5, 64, together.patch, truth.left.data(), truth.right.data());

    CVoiceRig apart(48000.0, 8);
    begin(apart);
    StereoSound sound{std::vector<float>(64, 99.0f), std::vector<float>(64, 99.0f)};
    KeldraGenerator* const group[] = {&apart.Voice(0), &apart.Voice(1), &apart.Voice(2),
                                      &apart.Voice(3)};
    RenderVoices4(sound.left.data(), sound.right.data(), 40, group, apart.patch, true);
    RenderVoices4(sound.left.data() + 40, sound.right.data() + 40, 24, group, apart.patch, true);
    RenderVoice1(sound.left.data(), sound.right.data(), 64, apart.Voice(4), apart.patch, false);
    EXPECT_LT(ErrorDb(sound, truth), -110.0);
}

TEST(Kernel, IsTheOneThatTheEnvironmentNamesOrTheFastest)
{
    const VoiceKernel* fastest = KernelsOfThisMachine().front();
    for (const VoiceKernel* kernel : KernelsOfThisMachine())
        EXPECT_EQ(&ChooseKernel(kernel->name), kernel);
    for (const char* unknown : {"", "AVX2", "avx1024"})
        EXPECT_EQ(&ChooseKernel(unknown), fastest) << unknown;

    // CTest runs this case with the variable set too.
    const char* wanted = std::getenv("KELDRA_KERNEL");
    const bool known = wanted != nullptr && std::string_view(wanted) == "baseline";
    EXPECT_EQ(LoadedKernel().name, known ? "baseline" : fastest->name);
}

// A group takes four numbers a sample, its free voices too; a voice alone takes one.
TEST(VoiceNoise, GoesOnWhereTheLastSampleOfTheLastGroupLeftIt)
{
    struct Case {
        int voices;
        int numbersPerSample;
    };
    constexpr Case kCases[] = {{1, 1}, {2, 4}, {4, 4}, {5, 5}, {6, 8}, {9, 9}, {64, 64}};
    for (const auto& [voices, numbersPerSample] : kCases) {
        for (const float level : {0.0f, 0.5f}) { // nobody listens, but the numbers are taken
            CVoiceRig rig(44100.0, 64);
            rig.Set(rig.patch.noiseBalance, level);
            for (int i = 0; i < voices; ++i)
                rig.Start(i, 60);
            NoiseSequence().Seed(1);
            rig.Render(700);
            std::uint32_t state = 1;
            for (int i = 0; i < 700 * numbersPerSample; ++i)
                state = NextRandom(state);
            EXPECT_EQ(NoiseSequence().Draw(), NextRandom(state)) << voices << " voices";
        }
    }
}

} // namespace keldra
