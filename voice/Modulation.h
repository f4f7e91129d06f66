#pragma once

#include "voice/kernel/BlockGoals.h"

namespace keldra {

class CVoiceGenerator;
struct VoicePatch;

/// What a voice's envelopes and LFO came to in a block.
struct BlockSources {
    float amplitude; ///< of the amplitude envelope, 0 .. 1
    float eg;        ///< of the modulation envelope, 0 .. 1
    float lfo;
};

/// Where note, knobs and modulation take a voice in a block: the pitch sum and the routing of the
/// three sources. The thread that has the engine.
[[nodiscard]] BlockGoals GoalsOf(const CVoiceGenerator& voice, const VoicePatch& patch,
                                 const BlockSources& sources, int samples);

} // namespace keldra
