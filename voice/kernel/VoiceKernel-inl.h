// The voice loop: what every voice does at every internal sample, eight times per sample of the
// host. It is the cost of the whole synthesizer. Included once by a source of its own per
// instruction set, which defines KELDRA_KERNEL_NAME and KELDRA_KERNEL_LANES.
//
// Voices lie side by side in the lanes of vectors, and two vectors run side by side in one pass:
// both take a step before either takes the next, so that they wait for their filters at the same
// time. Oscillators run a sample ahead, while their ladders wait for the saturation's division: a
// sample from its oscillators to its gains is a longer way than processors look ahead. What a voice
// does, written plainly (the truth that tests compare with is reference/ScalarVoice.cpp):
//
//     fall:     phase -= increment, +1 when that leaves (0, 1]; four phases, two per oscillator
//     sync:     when B's first phase wraps, A's phases are shifted so that the first becomes 0
//     wave:     A = phaseA1 - phaseA2 * shapeA: a falling ramp, or with shape 1 a pulse; B likewise
//     ring:     A *= B
//     mix:      s = A * levelA + B * levelB + (noise - 0.125) * noiseLevel - 0.42 - r * y4
//     saturate: x = s / (1 + 3 s^2) for s < 0, else s
//     ladder:   y1 = p (x + old x) - k y1,  y2 = p (y1 + old y1) - k y2, and so on to y4
//     output:   o = c4 y4 + c3 y3 + cx x, less its slow mean; times gains that follow targets
//
// The loop computes exactly that but for rounding, rearranged:
//
// - Phases are kept negated, q = -phase in [-1, 0): it rises, and q - 1 must take its place once it
//   is no longer negative. Read as signed integers, the bits of a float that isn't negative are
//   above those of any negative float, and among negative floats those of the larger magnitude are
//   above. So the smaller of the integers of q and q - 1 is the right one of the two, always.
// - The ladder runs on u1 = y1 / p, u2 = y2 / p^2, u3 = y3 / p^3, u4 = y4 / p^4. Then
//   u1 = x + (old x - k u1), u2 = u1 + (old u1 - k u2), ...: the brackets are ready in advance, and
//   p is only in the weights of what leaves the ladder. The next sample waits for u4 alone, which
//   is x and the sum of all brackets: for one addition. (The others could be had so, but not x
//   beside a large u2: always rounded off there, it would be missed.) Two vectors of four, that
//   have more instructions to a sample, wait for u3 and its bracket and save three additions.
// - All that enters the ladder is scaled by sqrt(3): with t = sqrt(3) s the saturation is
//   t / (1 + n^2), n the smaller of t and 0, without a decision.
// - All that leaves the ladder is scaled by 1 - d, d the rate of its slow mean m. Less the mean
//   that has followed already, o - (m + d (o - m)), is then a plain o - m.
// - A gain follows its target by g += s (target - g). The target moves on a straight line. What the
//   gain rises by is then the target's step, but for an excess that dies away by 1 - s a sample, in
//   all voices alike: g += step + excess (1 - s)^i. (The gain is added up like this, and not had
//   from a formula, to be rounded as the plain form rounds it: 512 small steps make a difference.)
// - A ring mixes to (A levelA + levelB) B.
// - Noise comes from the state less 2^31, which as a signed integer follows the same recurrence and
//   converts to a float in one instruction. Its level is scaled by 2^-32.
// - What isn't needed by any voice of a call isn't there: the loop is a template over features.
// - A sample's sum is kept per lane and added up after the loop.
//
// Test: KernelTest.cpp, and the symbols of the object files.

#pragma once

#include <cstdint>

#include "voice/kernel/BlockSetUp-inl.h"
#include "voice/kernel/Lanes-inl.h"
#include "voice/kernel/VoiceKernels.h"

namespace keldra::KELDRA_KERNEL_NAME {

namespace {

// --- The rearranged voice ---

constexpr double kRoot3 = 1.7320508075688772;
constexpr float kFloatRoot3 = 1.7320508f;
constexpr float kOneByRoot3 = 0.57735027f;
constexpr float kMixOffset = -0.42f * kFloatRoot3;
constexpr float kNoiseScale = kFloatRoot3 * 0x1p-32f;
constexpr float kNoiseOffset = 0x1p31f - 0.125f * 0x1p32f; ///< 2^31 that the state lacks
constexpr float kDcRate = 0.0001f;
constexpr float kWithoutDc = 1.0f - kDcRate;

/// A voice per lane, as the loop wants it: what rises and falls, then what stays for a block.
struct Running {
    Floats phaseA1, phaseA2, phaseB1, phaseB2; ///< negated
    Floats levelA, levelB;                     ///< times sqrt(3)
    Floats noiseLevel;                         ///< times kNoiseScale
    Words noise;
    Floats x, u1, u2, u3, u4; ///< times sqrt(3) and divided by powers of p
    Floats dcState;           ///< times kWithoutDc
    Floats gainL, gainR;
    Floats excessL, excessR; ///< of their rise over their targets', at the start of a stretch

    Floats incA, incB;
    Floats levelAStep, levelBStep, noiseLevelStep;
    Words noiseMultiplier, noiseIncrement;
    Floats k, feedback;
    Floats weight4, weight3, weightX;
    Floats targetLStep, targetRStep;
};

/// Powers of p. In double precision: the ladder's outputs are divided and multiplied by them once a
/// block, and an error of the factor, unlike a rounding, would do the same to each block, which a
/// filter of low cutoff remembers for many of them.
struct Powers {
    explicit Powers(Doubles base) : of1(base), of2(base * base), of3(of2 * base), of4(of2 * of2) {}

    Doubles of1, of2, of3, of4;
};

/// An output of the ladder as the loop has it. 0 stays 0: a filter that was reset and not set up
/// since has no 1 / p.
[[gnu::always_inline]] inline Floats Folded(Floats y, Doubles powerOfInverse)
{
    const Floats folded = Rounded(Widened(y) * (kRoot3 * powerOfInverse));
    return FromBits(Bits(folded) & (y != Floats{}));
}

/// And back; also a weight of such an output.
[[gnu::always_inline]] inline Floats Unfolded(Floats u, Doubles power)
{
    return Rounded(Widened(u) * (power * (1.0 / kRoot3)));
}

[[gnu::always_inline]] inline Words LoadNoise(const std::uint32_t* words)
{
    Words result;
    __builtin_memcpy(&result, words, sizeof(result));
    return result;
}

Running ToRunning(const VoiceLanes& v, const KernelJob& job, int firstVoice)
{
    const Powers p(Widened(v.p));
    const Powers byP(1.0 / p.of1);
    Running run;
    run.phaseA1 = -v.phaseA1;
    run.phaseA2 = -v.phaseA2;
    run.phaseB1 = -v.phaseB1;
    run.phaseB2 = -v.phaseB2;
    run.levelA = v.levelA * kFloatRoot3;
    run.levelB = v.levelB * kFloatRoot3;
    run.noiseLevel = v.noiseLevel * kNoiseScale;
    run.noise = LoadNoise(job.noise.state + firstVoice) ^ 0x80000000u;
    run.x = v.xOld * kFloatRoot3;
    run.u1 = Folded(v.y1, byP.of1);
    run.u2 = Folded(v.y2, byP.of2);
    run.u3 = Folded(v.y3, byP.of3);
    run.u4 = Folded(v.y4, byP.of4);
    run.dcState = v.dcState * kWithoutDc;
    run.gainL = v.gainL;
    run.gainR = v.gainR;
    run.excessL = (v.targetL + v.targetLStep - v.gainL) * job.gainSmoothing - v.targetLStep;
    run.excessR = (v.targetR + v.targetRStep - v.gainR) * job.gainSmoothing - v.targetRStep;

    run.incA = v.incA;
    run.incB = v.incB;
    run.levelAStep = v.levelAStep * kFloatRoot3;
    run.levelBStep = v.levelBStep * kFloatRoot3;
    run.noiseLevelStep = v.noiseLevelStep * kNoiseScale;
    run.noiseMultiplier = LoadNoise(job.noise.multiplier + firstVoice);
    run.noiseIncrement = LoadNoise(job.noise.increment + firstVoice);
    run.k = v.k;
    run.feedback = Rounded(Widened(v.r) * p.of4);
    run.weight4 = Unfolded(v.c4 * kWithoutDc, p.of4);
    run.weight3 = Unfolded(v.c3 * kWithoutDc, p.of3);
    run.weightX = v.cx * (kWithoutDc * kOneByRoot3);
    run.targetLStep = v.targetLStep;
    run.targetRStep = v.targetRStep;
    return run;
}

/// A second phase that nobody heard and the loop left alone, moved on with its first phase.
[[gnu::always_inline]] inline Floats Following(Floats first, Floats firstBefore,
                                               Floats secondBefore)
{
    const Floats moved = secondBefore + (first - firstBefore);
    return FromBits((moved > Floats{} ? Bits(moved) : Bits(moved + 1.0f)));
}

void FromRunning(const Running& run, const KernelJob& job, VoiceLanes& v)
{
    const Powers p(Widened(v.p));
    const Floats phaseA1 = -run.phaseA1;
    const Floats phaseB1 = -run.phaseB1;
    v.phaseA2 = job.features & kPulseA ? -run.phaseA2 : Following(phaseA1, v.phaseA1, v.phaseA2);
    v.phaseB2 = job.features & kPulseB ? -run.phaseB2 : Following(phaseB1, v.phaseB1, v.phaseB2);
    v.phaseA1 = phaseA1;
    v.phaseB1 = phaseB1;
    v.levelA = run.levelA * kOneByRoot3;
    v.levelB = run.levelB * kOneByRoot3;
    v.noiseLevel = run.noiseLevel * (1.0f / kNoiseScale);
    v.xOld = run.x * kOneByRoot3;
    v.y1 = Unfolded(run.u1, p.of1);
    v.y2 = Unfolded(run.u2, p.of2);
    v.y3 = Unfolded(run.u3, p.of3);
    v.y4 = Unfolded(run.u4, p.of4);
    v.dcState = run.dcState * (1.0f / kWithoutDc);
    v.targetL += v.targetLStep * static_cast<float>(job.samples);
    v.targetR += v.targetRStep * static_cast<float>(job.samples);
    v.gainL = run.gainL;
    v.gainR = run.gainR;
}

/// A random number 0 .. 1 less 0.125, times 2^32, from a state less 2^31.
[[gnu::always_inline]] inline Floats Noise(Words state)
{
    return __builtin_convertvector(reinterpret_cast<Ints>(state), Floats) + kNoiseOffset;
}

/// A negated phase that has risen, brought back below 0 by a cycle where it left.
[[gnu::always_inline]] inline Floats Wrapped(Floats phase)
{
#if defined(__SSE2__) && !defined(__SSE4_1__)
    // No minimum of signed integers yet: -1 where it left.
    return phase + FromBits(~NegativeMask(phase) & Bits(All(-1.0f)));
#else
    const Ints here = Bits(phase);
    const Ints cycleBelow = Bits(phase - 1.0f);
    return FromBits(here < cycleBelow ? here : cycleBelow);
#endif
}

// --- A sample ---

/// A vector of voices and a sample of it in the making, one of `width` side by side. What it takes
/// is cut into steps, so that all vectors take a step before any takes the next.
template <unsigned features, int width>
struct Sounding : Running {
    Floats mix; ///< of oscillators and noise
    Floats t, divisor;
    Floats b1, b2, b3, b4; ///< brackets of the ladder
    Floats out;

    /// Whether vectors have enough to do while they wait for additions.
    static constexpr bool kHidesWaits = width == 2 && kLanes == kQuad;

    /// Takes a voice's state at the start of a stretch.
    void Begin(const Running& voice) { static_cast<Running&>(*this) = voice; }

    /// Gives it back at the end. @param decayed  what is left of the gains' excess
    void End(Floats decayed, Running& voice)
    {
        excessL *= decayed;
        excessR *= decayed;
        voice = *this;
    }

    /// Moves the oscillators on and mixes them and the noise.
    void Oscillate()
    {
        const Floats risenB1 = phaseB1 + incB;
        phaseB1 = Wrapped(risenB1);
        if constexpr (features & kPulseB)
            phaseB2 = Wrapped(phaseB2 + incB);
        phaseA1 = Wrapped(phaseA1 + incA);
        if constexpr (features & kPulseA)
            phaseA2 = Wrapped(phaseA2 + incA);

        // Waves are negated, as phases are. A sync shifts both phases: a pulse stays as it is.
        [[maybe_unused]] const Floats pulseA = phaseA1 - phaseA2;
        if constexpr (features & kSync) {
            const Ints goesOn = NegativeMask(risenB1);
            if constexpr (features & kPulseA)
                phaseA2 -= FromBits(~goesOn & Bits(phaseA1));
            phaseA1 = FromBits(goesOn & Bits(phaseA1));
        }
        const Floats a = features & kPulseA ? pulseA : phaseA1;
        const Floats b = features & kPulseB ? phaseB1 - phaseB2 : phaseB1;

        mix = All(kMixOffset);
        if constexpr (features & kNoise) {
            mix += Noise(noise) * noiseLevel;
            noiseLevel += noiseLevelStep;
            noise = noise * noiseMultiplier + noiseIncrement;
        }
        if constexpr (features & kRing) {
            mix += (a * levelA - levelB) * b;
        } else {
            mix -= b * levelB;
            mix -= a * levelA;
        }
        levelB += levelBStep;
        levelA += levelAStep;
    }

    // What each stage of the ladder adds needs nothing of the new sample: it is worked out while
    // the saturation waits for itself.
    void FeedBack()
    {
        t = mix - feedback * u4;
        b2 = u1 - k * u2;
    }
    void BeginSaturation()
    {
        const Floats n = NegativePart(t);
        divisor = 1.0f + n * n;
    }
    void FillBrackets()
    {
        b1 = x - k * u1;
        b4 = u3 - k * u4;
        b3 = u2 - k * u3;
    }
    void EndSaturation()
    {
        if constexpr (!kHidesWaits)
            b4 += (b1 + b2) + b3; // all that the ladder adds
        x = t / divisor;
    }
    void EnterLadder()
    {
        u1 = x + b1;
        u2 = u1 + b2;
    }
    void ClimbLadder()
    {
        u3 = u2 + b3;
        u4 = (kHidesWaits ? u3 : x) + b4;
    }
    void LeaveLadder()
    {
        out = weight4 * u4;
        if constexpr (features & kOutputMix)
            out += weight3 * u3 + weightX * x;
    }

    /// Adds to both sides what has left the ladder, less its slow mean. `decayed` is what is left
    /// of the gains' excess.
    void Amplify(Floats decayed, Floats& left, Floats& right)
    {
        out -= dcState;
        dcState += out * kDcRate;
        left += out * gainL;
        right += out * gainR;
        gainL += targetLStep + excessL * decayed;
        gainR += targetRStep + excessR * decayed;
    }
};

/// Has each of the vectors side by side take a step. (In a loop over them, compilers would learn
/// too late that their fields fit into registers.)
template <class Vector, int width, class Step>
[[gnu::always_inline]] inline void Each(Vector (&vectors)[width], Step step)
{
    static_assert(width == 1 || width == 2);
    step(vectors[0]);
    if constexpr (width == 2)
        step(vectors[1]);
}

/// A sample of vectors side by side, from what their oscillators mix to on.
/// @tparam goesOn  whether a sample follows, whose mix takes the place of this one's
template <bool goesOn, unsigned features, int width>
[[gnu::always_inline]] inline void MakeSample(Sounding<features, width> (&vectors)[width],
                                              Floats decayed, Floats& left, Floats& right)
{
    using Vector = Sounding<features, width>;
    Each(vectors, [](Vector& v) { v.FeedBack(); });
    Each(vectors, [](Vector& v) { v.BeginSaturation(); });
    Each(vectors, [](Vector& v) { v.FillBrackets(); });
    Each(vectors, [](Vector& v) { v.EndSaturation(); });
    if constexpr (goesOn)
        Each(vectors, [](Vector& v) { v.Oscillate(); });
    Each(vectors, [](Vector& v) { v.EnterLadder(); });
    Each(vectors, [](Vector& v) { v.ClimbLadder(); });
    Each(vectors, [](Vector& v) { v.LeaveLadder(); });
    Each(vectors, [&](Vector& v) { v.Amplify(decayed, left, right); });
}

/// Sums of a stretch of samples, per lane: short enough for the first-level cache.
constexpr int kStretch = 256;
struct Sums {
    Floats left[kStretch];
    Floats right[kStretch];
};

/// A stretch of samples of `width` vectors side by side, added to the sums.
template <unsigned features, int width>
[[gnu::flatten]] void Pass(Running* voices, Sums& sums, int samples, float gainSmoothing)
{
    using Vector = Sounding<features, width>;
    Vector vectors[width];
    vectors[0].Begin(voices[0]);
    if constexpr (width == 2)
        vectors[1].Begin(voices[1]);
    Each(vectors, [](Vector& v) { v.Oscillate(); });
    const Floats decay = All(1.0f - gainSmoothing);
    Floats decayed = All(1.0f);
    const int last = samples - 1;
    for (int i = 0; i < last; ++i) {
        Floats left = sums.left[i];
        Floats right = sums.right[i];
        MakeSample<true>(vectors, decayed, left, right);
        sums.left[i] = left;
        sums.right[i] = right;
        decayed *= decay;
    }
    MakeSample<false>(vectors, decayed, sums.left[last], sums.right[last]);
    decayed *= decay;
    vectors[0].End(decayed, voices[0]);
    if constexpr (width == 2)
        vectors[1].End(decayed, voices[1]);
}

[[gnu::always_inline]] inline Quad SumOfQuads(const Floats& lanes)
{
    Quad parts[kQuads];
    __builtin_memcpy(parts, &lanes, sizeof(lanes));
    Quad sum = parts[0];
    for (int i = 1; i < kQuads; ++i)
        sum += parts[i];
    return sum;
}

/// Adds up the lanes of each sample.
void AddUp(const Floats* sums, int samples, float* output, bool overwrite)
{
    int i = 0;
    for (; i + kQuad <= samples; i += kQuad) {
        Quad block[kQuad];
        for (int j = 0; j < kQuad; ++j)
            block[j] = SumOfQuads(sums[i + j]);
        Transpose(block);
        Quad sum = (block[0] + block[1]) + (block[2] + block[3]);
        if (!overwrite) {
            Quad before;
            __builtin_memcpy(&before, output + i, sizeof(before));
            sum += before;
        }
        __builtin_memcpy(output + i, &sum, sizeof(sum));
    }
    for (; i < samples; ++i) {
        const Quad parts = SumOfQuads(sums[i]);
        const float sum = (parts[0] + parts[1]) + (parts[2] + parts[3]);
        output[i] = overwrite ? sum : output[i] + sum;
    }
}

/// The loops for a set of features.
struct Loops {
    void (*one)(Running*, Sums&, int samples, float gainSmoothing);
    void (*two)(Running*, Sums&, int samples, float gainSmoothing);
};

template <unsigned... sets>
struct LoopTable {
    static constexpr Loops kLoops[] = {{Pass<sets, 1>, Pass<sets, 2>}...};
};

/// The table of all sets below `count`.
template <unsigned count, unsigned... sets>
struct AllLoops : AllLoops<count - 1, count - 1, sets...> {
};
template <unsigned... sets>
struct AllLoops<0, sets...> : LoopTable<sets...> {
};

} // namespace

void Render(const KernelJob& job);

void Render(const KernelJob& job)
{
    constexpr int kMaxVectors = kMaxKernelVoices / kLanes;
    VoiceLanes lanes[kMaxVectors];
    Running running[kMaxVectors];
    const int vectors = (job.voiceCount + kLanes - 1) / kLanes;
    for (int i = 0; i < vectors; ++i) {
        Gather<Quad, kVoiceRows>(job.voices + i * kLanes, 0, &lanes[i].levelA);
        if (AnyFresh(job.goals + i * kLanes))
            SetUp(lanes[i], GatherGoals(job.goals + i * kLanes), job.internalRate);
        running[i] = ToRunning(lanes[i], job, i * kLanes);
    }

    const Loops& loops = AllLoops<kKernelFeatureSets>::kLoops[job.features];
    Sums sums;
    for (int done = 0; done < job.samples; done += kStretch) {
        const int count = job.samples - done < kStretch ? job.samples - done : kStretch;
        for (int i = 0; i < count; ++i)
            sums.left[i] = sums.right[i] = Floats{};
        int i = 0;
        for (; i + 2 <= vectors; i += 2)
            loops.two(running + i, sums, count, job.gainSmoothing);
        if (i < vectors)
            loops.one(running + i, sums, count, job.gainSmoothing);
        AddUp(sums.left, count, job.left + done, job.overwrite);
        AddUp(sums.right, count, job.right + done, job.overwrite);
    }

    for (int i = 0; i < vectors; ++i) {
        FromRunning(running[i], job, lanes[i]);
        Scatter<Quad, kVoiceRows>(&lanes[i].levelA, job.voices + i * kLanes);
    }
}

} // namespace keldra::KELDRA_KERNEL_NAME
