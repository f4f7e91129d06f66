#include "engine/DecimationFilter.h"

#include <cmath>
#include <numbers>

#include "frame/Numbers.h"

namespace keldra {

CDecimationFilter::CDecimationFilter()
{
    const double w = std::numbers::pi / 12.0; // a third of the host rate, per internal sample
    const double s = std::sin(w);
    const double c = std::cos(w);
    g_ = FlushedTiny(static_cast<float>((1.0 - c) / (0.5 * s + 2.0)));
    a1_ = FlushedTiny(static_cast<float>(-4.0 * c / (2.0 + s)));
    a2_ = FlushedTiny(static_cast<float>((2.0 - s) / (2.0 + s)));
}

void CDecimationFilter::Reset()
{
    x1_ = x2_ = y1_ = y2_ = 0.0f;
}

void CDecimationFilter::Process(const float* input, float* output, int frames)
{
    float x1 = x1_, x2 = x2_, y1 = y1_, y2 = y2_;
    for (int frame = 0; frame < frames; ++frame) {
        float y = 0.0f;
        for (int i = 0; i < kFactor; ++i) {
            const float x = *input++;
            y = g_ * (x + 2.0f * x1 + x2) - a1_ * y1 - a2_ * y2;
            x2 = x1;
            x1 = x;
            y2 = y1;
            y1 = y;
        }
        output[frame] = y;
        x1 = FlushedTiny(x1);
        x2 = FlushedTiny(x2);
        y1 = FlushedTiny(y1);
        y2 = FlushedTiny(y2);
    }
    x1_ = x1;
    x2_ = x2;
    y1_ = y1;
    y2_ = y2;
}

} // namespace keldra
