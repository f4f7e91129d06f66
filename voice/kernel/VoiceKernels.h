#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "voice/kernel/BlockGoals.h"
#include "voice/kernel/VoiceState.h"

namespace keldra {

/// Most voices that one call renders.
inline constexpr int kMaxKernelVoices = 64;

/// What costs time per sample and that the kernel leaves out when no voice of a call needs it.
enum EKernelFeature : unsigned {
    kPulseA = 1,     ///< oscillator A's second ramp
    kPulseB = 2,     ///< oscillator B's
    kSync = 4,       ///< oscillator B restarts oscillator A
    kRing = 8,       ///< A times B in place of A
    kNoise = 16,     ///< some voice has a noise level, or is on the way to one
    kOutputMix = 32, ///< some voice's filter is not the plain low-pass
};
inline constexpr unsigned kKernelFeatureSets = 64;

/// Where each voice stands in the random sequence, and how it gets to its next number: by
/// state * multiplier + increment. Voices of a group of four take every fourth number.
struct KernelNoise {
    alignas(64) std::uint32_t state[kMaxKernelVoices]; ///< the first number that the voice uses
    alignas(64) std::uint32_t multiplier[kMaxKernelVoices];
    alignas(64) std::uint32_t increment[kMaxKernelVoices];
};

/// The work of one call.
struct KernelJob {
    VoiceState* voices[kMaxKernelVoices];      ///< never null: beyond voiceCount any silent state
    const BlockGoals* goals[kMaxKernelVoices]; ///< likewise
    int voiceCount;                            ///< 1 .. kMaxKernelVoices
    int samples;                               ///< at least 1
    unsigned features;                         ///< sum of EKernelFeature
    double internalRate;                       ///< Hz
    float gainSmoothing;                       ///< of the way to a gain's target, per sample
    KernelNoise noise;
    float* left; ///< `samples` floats each
    float* right;
    bool overwrite; ///< replace what the buffers hold, or add to it
};

/// Has the voices begin a block where goals are new, advances them and writes the sum of what they
/// sound like. Whatever goals and states hold, the states come out finite one block later.
using KernelRender = void (*)(const KernelJob&);

/// The same code compiled for one instruction set; the widest one leaves a few voices to the next.
struct VoiceKernel {
    std::string_view name;
    bool (*runsHere)(); ///< whether this processor has the instructions
    KernelRender render;
};

/// All kernels of this build, fastest first; the last one runs everywhere.
[[nodiscard]] std::span<const VoiceKernel> VoiceKernels();

/// The kernel of that name, or the fastest that runs here when it doesn't or there is none.
[[nodiscard]] const VoiceKernel& ChooseKernel(std::string_view name);

/// What the environment variable KELDRA_KERNEL chose when the program was loaded.
[[nodiscard]] const VoiceKernel& LoadedKernel();

} // namespace keldra
