// What voices work out once a block, side by side: increments from pitches, coefficients from
// filter knobs, straight lines to new levels.
// Test: KernelTest.cpp, to the last bits.

#pragma once

#include "voice/kernel/BlockGoals.h"
#include "voice/kernel/Lanes-inl.h"
#include "voice/kernel/VoiceState.h"

namespace keldra::KELDRA_KERNEL_NAME {

namespace {

using VoiceLanes = VoiceFields<Floats>;
using GoalLanes = GoalFields<Doubles, Floats>;

constexpr int kVoiceRows = sizeof(VoiceState) / sizeof(Quad);
static_assert(sizeof(VoiceState) == kVoiceRows * sizeof(Quad));
static_assert(sizeof(VoiceLanes) == sizeof(VoiceState) * kLanes);
static_assert(sizeof(BlockGoals) == sizeof(DoubleQuad) + 3 * sizeof(Quad));
static_assert(sizeof(GoalLanes) == sizeof(BlockGoals) * kLanes);

constexpr double kReferenceHz = 220.0;
constexpr float kHighestIncrement = 0.5f;

// Filter: cutoff on a scale of ten octaves above 64 Hz
constexpr double kMaxCutoff = 0.91;
constexpr double kMaxCutoffHz = 35121.0;
constexpr double kOctavesOfCutoff = 10.0;
constexpr double kLowestCutoffOctave = 6.0;
/// The cutoff per sample rate where the ladder's poles still lie inside the unit circle. Only
/// sample rates below 5 kHz can ask for more.
constexpr double kMaxCutoffPerRate = 0.9;
/// Full resonance, and how much of it a closed filter adds: e^1.386249.
constexpr double kResonanceGain = 1.2 * 0.92 * 0.93 * 2.0;
constexpr double kResonanceOctaves = 1.386249 / 0.69314718055994530942;

/// 2^x for x in -1022 .. 1023, to 1e-14 of its value.
[[gnu::always_inline]] inline Doubles Exp2(Doubles x)
{
    // At this magnitude a double's last bits are a whole number: the one nearest to x.
    constexpr double kWholeNumbers = 0x1.8p52;
    const Doubles shifted = x + kWholeNumbers;
    const Doubles f = x - (shifted - kWholeNumbers); // -0.5 .. 0.5

    constexpr double c[] = {
        // (ln 2)^i / i!
        1.0,
        6.9314718055994531e-1,
        2.4022650695910071e-1,
        5.5504108664821580e-2,
        9.6181291076284772e-3,
        1.3333558146428443e-3,
        1.5403530393381609e-4,
        1.5252733804059840e-5,
        1.3215486790144309e-6,
        1.0178086009239699e-7,
        7.0549116208011233e-9,
        4.4455382718708114e-10,
    };
    const Doubles f2 = f * f;
    const Doubles f4 = f2 * f2;
    const Doubles first = (c[0] + c[1] * f) + (c[2] + c[3] * f) * f2;
    const Doubles second = (c[4] + c[5] * f) + (c[6] + c[7] * f) * f2;
    const Doubles third = (c[8] + c[9] * f) + (c[10] + c[11] * f) * f2;
    const Doubles power = first + (second + third * f4) * f4;

    constexpr std::int64_t kExponentBias = 1023;
    const auto wholeBits = reinterpret_cast<Longs>(shifted);
    return power * reinterpret_cast<Doubles>((wholeBits + kExponentBias) << 52);
}

/// 0 in place of magnitudes below 1e-9, denormals later on, and of what isn't finite.
[[gnu::always_inline]] inline Floats Flushed(Floats value)
{
    const Floats magnitude = FromBits(Bits(value) & 0x7fffffff);
    return FromBits(Bits(value) & (magnitude >= All(1e-9f)) & (magnitude <= All(3.4e38f)));
}

/// Stops what a host's tables, clock and rate can have driven beyond numbers: a start from silence
/// instead of a voice that never sounds again.
void ForgetNonsense(VoiceLanes& v)
{
    const Floats sum = (v.levelA + v.levelB) + (v.targetL + v.targetR) + (v.gainL + v.gainR) +
                       (v.xOld + v.dcState) + (v.y1 + v.y2) + (v.y3 + v.y4);
    const Ints sane = sum - sum == Floats{};
    Floats* const moving[] = {&v.levelA, &v.levelB,  &v.targetL, &v.targetR, &v.gainL, &v.gainR,
                              &v.xOld,   &v.dcState, &v.y1,      &v.y2,      &v.y3,    &v.y4};
    for (Floats* field : moving)
        *field = FromBits(Bits(*field) & sane);
}

/// A second phase follows at a distance of 0.99 of a cycle down to half of one, the square.
[[gnu::always_inline]] inline Floats SecondPhase(Floats first, Floats width)
{
    const Floats second = first - (0.99f - 0.49f * AtMost(1.0f, AtLeast(0.0f, width)));
    return second + FromBits(NegativeMask(second) & Bits(All(1.0f)));
}

bool AnyFresh(const BlockGoals* const* voices)
{
    bool fresh = false;
    for (int i = 0; i < kLanes; ++i)
        fresh |= voices[i]->perSample > 0.0f;
    return fresh;
}

GoalLanes GatherGoals(const BlockGoals* const* voices)
{
    GoalLanes goals;
    Gather<DoubleQuad, 1>(voices, 0, &goals.octavesA);
    Gather<Quad, 3>(voices, sizeof(DoubleQuad), &goals.noise);
    return goals;
}

/// Has the voices that are freshly prepared begin their block.
void SetUp(VoiceLanes& v, const GoalLanes& goals, double internalRate)
{
    ForgetNonsense(v);
    const Ints fresh = goals.perSample > Floats{};
    const auto begin = [fresh](Floats& field, Floats value) {
        field = Choose(fresh, value, field);
    };

    // Pitch and filter: rounded once, from double precision
    const double period = 1.0 / internalRate;
    const auto increment = [period](Doubles octaves) {
        return Flushed(AtMost(kHighestIncrement, Rounded(Exp2(octaves) * (kReferenceHz * period))));
    };
    begin(v.incA, increment(goals.octavesA));
    begin(v.incB, increment(goals.octavesB));

    constexpr double kLongestPeriod = kMaxCutoffPerRate / kMaxCutoffHz;
    const Doubles hz = Exp2(goals.cutoff * kOctavesOfCutoff + kLowestCutoffOctave);
    const Doubles f = hz * (period < kLongestPeriod ? period : kLongestPeriod);
    const Doubles k = (3.6 - 1.6 * f) * f - 1.0;
    const Doubles closed = kResonanceOctaves - goals.cutoff * (kResonanceOctaves / kMaxCutoff);
    const Doubles r = goals.resonance * kResonanceGain * (Exp2(closed) + 1.0);
    begin(v.k, Rounded(k));
    begin(v.p, Rounded((k + 1.0) * 0.5));
    begin(v.r, Rounded(r));
    begin(v.c4, goals.c4);
    begin(v.c3, goals.c3);
    begin(v.cx, goals.cx);

    begin(v.phaseA2, SecondPhase(v.phaseA1, goals.widthA));
    begin(v.phaseB2, SecondPhase(v.phaseB1, goals.widthB));

    // Straight lines to where levels and targets shall be at the end of the block
    const auto line = [&](Floats& field, Floats& step, Floats end) {
        begin(field, Flushed(field));
        begin(step, Flushed((end - field) * goals.perSample));
    };
    const Floats noise = AtMost(1.0f, AtLeast(0.0f, goals.noise));
    const Floats balance = AtMost(1.0f, AtLeast(0.0f, goals.balance));
    line(v.noiseLevel, v.noiseLevelStep, noise);
    line(v.levelA, v.levelAStep, (1.0f - noise) * (1.0f - balance));
    line(v.levelB, v.levelBStep, (1.0f - noise) * balance);

    const Floats pan = AtMost(1.0f, AtLeast(0.0f, 0.5f + goals.pan));
    const Floats sideL = AtMost(1.0f, AtLeast(0.0f, 1.0f + goals.unison));
    const Floats sideR = AtMost(1.0f, AtLeast(0.0f, 1.0f - goals.unison));
    line(v.targetL, v.targetLStep, sideL * goals.gainLeft * pan);
    line(v.targetR, v.targetRStep, sideR * goals.gainRight * (1.0f - pan));
}

} // namespace

} // namespace keldra::KELDRA_KERNEL_NAME
