#include "voice/VoiceRandom.h"

namespace keldra {

namespace {

constinit CRandomSequence noiseSequence{22222u};
constinit CRandomSequence lfoSequence{2222u};

} // namespace

CRandomSequence& NoiseSequence()
{
    return noiseSequence;
}

CRandomSequence& LfoSequence()
{
    return lfoSequence;
}

} // namespace keldra
