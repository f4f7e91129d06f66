#include <cstdlib>
#include <gtest/gtest.h>
#include <string_view>

#include "tests/Dice.h"
#include "tests/Listening.h"
#include "tests/voice/VoiceRig.h"
#include "voice/VoiceRender.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra {

namespace {

#ifdef KELDRA_SANITIZED
constexpr unsigned kPieces = 10; // each as slow as five
#else
constexpr unsigned kPieces = 34;
#endif
constexpr double kRates[] = {22050.0, 44100.0, 48000.0, 96000.0, 192000.0};
constexpr int kMostVoices = 64;

std::vector<const VoiceKernel*> KernelsOfThisMachine()
{
    std::vector<const VoiceKernel*> kernels;
    for (const VoiceKernel& kernel : VoiceKernels())
        if (kernel.runsHere())
            kernels.push_back(&kernel);
    return kernels;
}

/// Any waveforms, filter, routes, tuning and host's tables. Only a filter that oscillates by itself
/// is left out: two plain readings, one compiled with fused multiply-adds, part within half a
/// second there.
void ChangePatch(CVoiceRig& rig, CDice& dice)
{
    VoicePatch& patch = rig.patch;
    patch.shapeA = dice.OneIn(2) ? 1.0f : 0.0f;
    patch.shapeB = dice.OneIn(2) ? 1.0f : 0.0f;
    patch.sync = dice.OneIn(3);
    patch.ring = dice.OneIn(3);
    patch.pitchBSemitones = static_cast<float>(dice.UpTo(48) - 24);
    patch.detuneBSemitones = dice.Between(0.0f, 0.5f);
    rig.Set(patch.pulseWidthA, dice.Between(0.0f, 1.0f));
    rig.Set(patch.pulseWidthB, dice.Between(0.0f, 1.0f));
    rig.Set(patch.oscBalance, dice.Between(0.0f, 1.0f));
    rig.Set(patch.noiseBalance, dice.OneIn(2) ? 0.0f : dice.Between(0.0f, 1.0f));

    rig.Set(patch.cutoff, dice.Between(0.2f, 1.0f));
    patch.resonance = dice.Between(0.0f, 0.6f);
    patch.keyTracking = dice.Between(0.0f, 1.0f);
    patch.velocityTracking = dice.Between(0.0f, 1.0f);
    patch.filterMode = dice.UpTo(kHighPass);

    for (EnvelopeSettings* envelope : {&patch.amp, &patch.eg})
        *envelope = {dice.Between(0.001f, 0.1f), dice.Between(0.005f, 0.3f),
                     dice.OneIn(4) ? 0.0f : dice.Between(0.0f, 1.0f), dice.Between(0.005f, 0.1f)};
    for (SmoothedValue* amount : {&patch.egAmount, &patch.lfoAmount, &patch.modWheelAmount})
        rig.Set(*amount, dice.Between(-1.0f, 1.0f));
    patch.egDestination = dice.UpTo(kEgToWidthAB);
    patch.lfoDestination = dice.UpTo(kLfoToPan);
    patch.modWheelDestination = dice.UpTo(kWheelToWidthAB);
    patch.modWheel = dice.Between(0.0f, 1.0f);
    rig.lfo.rate = static_cast<double>(dice.Between(0.1f, 20.0f));
    rig.lfo.shape = dice.UpTo(CVoiceLfo::kRandom);
    rig.lfo.retrigger = dice.OneIn(2);
    rig.lfo.sync = dice.OneIn(3) ? 0.5 : -1.0;
    patch.tempo = static_cast<double>(dice.Between(30.0f, 300.0f));

    patch.masterTune = dice.Between(-12.0f, 12.0f);
    patch.bend = dice.Between(-1.0f, 1.0f);
    patch.bendRange = static_cast<float>(dice.UpTo(12));
    patch.octaver = dice.OneIn(2);
    patch.unisonDetune = dice.Between(0.0f, 1.5f);
    patch.unisonPan = dice.Between(0.0f, 1.0f);
    for (std::size_t key = 0; key < 128; ++key) {
        rig.keys.pitchOffset[key] = dice.Between(-1.0f, 1.0f);
        rig.keys.leftGain[key] = dice.Between(0.0f, 2.0f);
        rig.keys.rightGain[key] = dice.Between(0.0f, 2.0f);
        rig.keys.cutoffOffset[key] = dice.Between(-0.1f, 0.1f);
        rig.keys.resonanceOffset[key] = dice.Between(-0.1f, 0.1f);
    }
}

/// A note on a voice that is free or sounds, the end of one, or nothing.
void ChangeVoice(CVoiceRig& rig, int index, CDice& dice)
{
    const int step = dice.UpTo(7);
    if (step < 4) {
        const int unisonCount = dice.UpTo(4) + 1;
        const int unisonIndex = dice.UpTo(unisonCount - 1);
        const float drift = dice.Between(-0.05f, 0.0f);
        const float glideRate = dice.Between(0.0f, 0.001f);
        const auto arrange = [&](auto& voice) {
            voice.unisonCount = static_cast<std::int8_t>(unisonCount);
            voice.unisonIndex = static_cast<std::int8_t>(unisonIndex);
            voice.drift = drift;
            voice.glideRate = glideRate;
        };
        arrange(rig.Voice(index));
        arrange(rig.Twin(index));
        rig.Start(index, 30 + dice.UpTo(50), dice.Between(0.1f, 1.0f));
    } else if (step < 6) {
        rig.Release(index);
    } else if (step < 7) {
        rig.Reset(index);
    }
}

/// Between the parts, patch and voices change. A voice that is free meanwhile fills up a group, and
/// plays again from where its filter and its phases are.
template <class RenderPart>
StereoSound PlayPiece(unsigned number, RenderPart&& renderPart)
{
    CVoiceRig rig(kRates[number % std::size(kRates)], kMostVoices);
    CDice dice(number);
    const int voices = dice.OneIn(4) ? dice.UpTo(kMostVoices - 1) + 1 : dice.UpTo(9) + 1;
    StereoSound piece;
    for (int part = 0; part < 6; ++part) {
        ChangePatch(rig, dice);
        for (int i = 0; i < voices; ++i)
            ChangeVoice(rig, i, dice);
        piece.Append(renderPart(rig, rig.Samples(0.06)));
    }
    return piece;
}

} // namespace

// What two renders of the same formulas differ by is rounding: -97 dB at worst. In a rare piece,
// another with each compiler, it moves the edge of a wave by a sample, which makes more of it.
TEST(Kernel, AgreesWithThePlainReadingInPiecesOfChance)
{
    int piecesWithMovedEdges = 0;
    for (unsigned number = 0; number < kPieces; ++number) {
        const StereoSound truth =
            PlayPiece(number, [](CVoiceRig& rig, int samples) { return rig.RenderTwins(samples); });
        ASSERT_GT(Rms(truth.left), 0.01) << number;
        bool hasMovedEdge = false;
        for (const VoiceKernel* kernel : KernelsOfThisMachine()) {
            const StereoSound sound = PlayPiece(number, [&](CVoiceRig& rig, int samples) {
                return rig.RenderWith(*kernel, samples);
            });
            const double error = ErrorDb(sound, truth);
            EXPECT_LT(error, -80.0) << number << ", " << kernel->name;
            hasMovedEdge = hasMovedEdge || error > -95.0;
        }
        piecesWithMovedEdges += hasMovedEdge ? 1 : 0;
    }
    EXPECT_LE(piecesWithMovedEdges, 1) << "of " << kPieces;
}

TEST(Kernel, RendersPartsOfABlockAndAVoiceOnTopOfAGroupAsItRendersThemTogether)
{
    KeldraGenerator* row[8];
    const auto begin = [&](CVoiceRig& rig) {
        CDice dice(1);
        ChangePatch(rig, dice);
        for (int i = 0; i < 8; ++i)
            row[i] = &rig.Voice(i);
        for (int i = 0; i < 5; ++i) {
            rig.Start(i, 50 + i);
            row[i]->PrepareBlock(64);
        }
    };
    CVoiceRig together(48000.0, 8);
    begin(together);
    StereoSound truth{std::vector<float>(64), std::vector<float>(64)};
    RenderVoices(row, 5, 64, together.patch, truth.left.data(), truth.right.data());

    CVoiceRig apart(48000.0, 8);
    begin(apart);
    StereoSound sound{std::vector<float>(64, 99.0f), std::vector<float>(64, 99.0f)};
    const std::span<KeldraGenerator* const, 4> group(row, 4);
    RenderVoices4(sound.left.data(), sound.right.data(), 40, group, apart.patch, true);
    RenderVoices4(sound.left.data() + 40, sound.right.data() + 40, 24, group, apart.patch, true);
    RenderVoice1(sound.left.data(), sound.right.data(), 64, *row[4], apart.patch, false);
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

} // namespace keldra
