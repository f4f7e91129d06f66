#include "effects/FilterStage.h"

#include <cmath>

namespace keldra {

void FilterStage::SetLowPass(float omega)
{
    const float sine = std::sin(omega);
    const float cosine = std::cos(omega);
    twice = 2.0f;
    b = WithoutTiny((1.0f - cosine) / (sine + 2.0f));
    a1 = WithoutTiny(-2.0f * cosine / (1.0f + sine));
    a2 = WithoutTiny((1.0f - sine) / (1.0f + sine));
}

void FilterStage::SetHighPass(float omega)
{
    SetLowPass(omega); // the same poles
    twice = -2.0f;
    b = WithoutTiny((1.0f + std::cos(omega)) / (std::sin(omega) + 2.0f));
}

double FilterStage::BandGain(float omega)
{
    const double sine = std::sin(static_cast<double>(omega));
    return 2.0 * (1.0 + sine) / (2.0 + sine);
}

} // namespace keldra
