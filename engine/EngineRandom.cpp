#include "engine/EngineRandom.h"

namespace keldra {

CRandomSequence& EngineSequence()
{
    static constinit CRandomSequence sequence(2222);
    return sequence;
}

float DrawEngineRandom()
{
    return static_cast<float>(EngineSequence().Draw()) * 0x1p-32f;
}

} // namespace keldra
