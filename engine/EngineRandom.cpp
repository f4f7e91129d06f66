#include "engine/EngineRandom.h"

#include <cmath>

namespace keldra {

CRandomSequence& EngineSequence()
{
    static constinit CRandomSequence sequence(2222);
    return sequence;
}

float DrawEngineRandom()
{
    // The highest states would round up to 1.
    return std::fmin(static_cast<float>(EngineSequence().Draw()) * 0x1p-32f, 0x1.fffffep-1f);
}

} // namespace keldra
