#include "effects/FilterStage.h"

#include <cmath>

namespace keldra {

void SetLowPass(FilterStage<float>& stage, float omega)
{
    const float sine = std::sin(omega);
    const float cosine = std::cos(omega);
    stage.b1Ratio = 2.0f;
    stage.b = WithoutTiny((1.0f - cosine) / (sine + 2.0f));
    stage.a1 = WithoutTiny(-2.0f * cosine / (1.0f + sine));
    stage.a2 = WithoutTiny((1.0f - sine) / (1.0f + sine));
}

void SetHighPass(FilterStage<float>& stage, float omega)
{
    SetLowPass(stage, omega); // the same poles
    stage.b1Ratio = -2.0f;
    stage.b = WithoutTiny((1.0f + std::cos(omega)) / (std::sin(omega) + 2.0f));
}

double BandGain(float omega)
{
    const double sine = std::sin(static_cast<double>(omega));
    return 2.0 * (1.0 + sine) / (2.0 + sine);
}

FilterStage<Stereo> Joined(const FilterStage<float>& left, const FilterStage<float>& right)
{
    const auto join = [](float l, float r) { return Stereo{l, r, 0.0f, 0.0f}; };
    FilterStage<Stereo> joined;
    joined.b1Ratio = join(left.b1Ratio, right.b1Ratio);
    joined.b = join(left.b, right.b);
    joined.a1 = join(left.a1, right.a1);
    joined.a2 = join(left.a2, right.a2);
    joined.x1 = join(left.x1, right.x1);
    joined.x2 = join(left.x2, right.x2);
    joined.y1 = join(left.y1, right.y1);
    joined.y2 = join(left.y2, right.y2);
    return joined;
}

void Split(const FilterStage<Stereo>& joined, FilterStage<float>& left, FilterStage<float>& right)
{
    const auto split = [](Stereo both, float& l, float& r) {
        l = both[0];
        r = both[1];
    };
    split(joined.x1, left.x1, right.x1);
    split(joined.x2, left.x2, right.x2);
    split(joined.y1, left.y1, right.y1);
    split(joined.y2, left.y2, right.y2);
}

} // namespace keldra
