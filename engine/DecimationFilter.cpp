#include "engine/DecimationFilter.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "frame/Numbers.h"

// The filter, for each internal sample x:
//
//     y = g x + s1,    s1 = 2g x - a1 y + s2,    s2 = g x - a2 y
//
// with delays s1 and s2. Only every eighth y is wanted, so the recursion goes a whole frame at a
// time: eight steps of a linear recurrence are one step of another,
//
//     s' = A^8 s + sum over j of A^(7-j) B x[j],    A = (-a1 1; -a2 0),  B = (2g - a1 g; g - a2 g)
//
// The sums need no result of the frame before and run side by side in vectors; what remains of the
// recursion is four multiplications a frame. The last y of a frame follows from its second delay:
// s2 = g x[7] - a2 y[7].
// Test: SynthTest.cpp, which compares the whole road with the plain loop.

namespace keldra {

namespace {

using Vector = float __attribute__((vector_size(16)));

Vector Load(const float* from)
{
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

/// The four sums over the lanes of a, b, c and d.
Vector SumsOf(Vector a, Vector b, Vector c, Vector d)
{
    const Vector ab =
        __builtin_shufflevector(a, b, 0, 4, 1, 5) + __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const Vector cd =
        __builtin_shufflevector(c, d, 0, 4, 1, 5) + __builtin_shufflevector(c, d, 2, 6, 3, 7);
    return __builtin_shufflevector(ab, cd, 0, 1, 4, 5) +
           __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
}

Vector SwappedHalves(Vector v)
{
    return __builtin_shufflevector(v, v, 2, 3, 0, 1);
}

struct Matrix {
    double a, b, c, d;
};
constexpr Matrix operator*(const Matrix& x, const Matrix& y)
{
    return {x.a * y.a + x.b * y.c, x.a * y.b + x.b * y.d, x.c * y.a + x.d * y.c,
            x.c * y.b + x.d * y.d};
}

} // namespace

CDecimationFilter::CDecimationFilter()
{
    // Single precision as the coefficients themselves are: they are part of the sound.
    const double w = std::numbers::pi / 12.0; // a third of the host rate, per internal sample
    const double s = std::sin(w);
    const double c = std::cos(w);
    const double g = static_cast<double>(static_cast<float>((1.0 - c) / (0.5 * s + 2.0)));
    const double a1 = static_cast<double>(static_cast<float>(-4.0 * c / (2.0 + s)));
    const double a2 = static_cast<double>(static_cast<float>((2.0 - s) / (2.0 + s)));

    const Matrix step{-a1, 1.0, -a2, 0.0};
    const double in1 = 2.0 * g - a1 * g;
    const double in2 = g - a2 * g;
    Matrix power{1.0, 0.0, 0.0, 1.0};
    for (int j = kFactor - 1; j >= 0; --j) {
        toFirst_[static_cast<std::size_t>(j)] = static_cast<float>(power.a * in1 + power.b * in2);
        toSecond_[static_cast<std::size_t>(j)] = static_cast<float>(power.c * in1 + power.d * in2);
        power = step * power;
    }
    const auto a = static_cast<float>(power.a);
    const auto d = static_cast<float>(power.d);
    keep_ = {a, a, d, d};
    const auto b = static_cast<float>(power.b);
    const auto c8 = static_cast<float>(power.c);
    cross_ = {b, b, c8, c8};
    last_ = static_cast<float>(g / a2);
    second_ = static_cast<float>(-1.0 / a2);
}

void CDecimationFilter::Reset()
{
    state_ = {};
}

void CDecimationFilter::Process(const float* left, const float* right, float* leftOut,
                                float* rightOut, int frames)
{
    const Vector first0 = Load(toFirst_.data()), first1 = Load(toFirst_.data() + 4);
    const Vector second0 = Load(toSecond_.data()), second1 = Load(toSecond_.data() + 4);
    const Vector keep = Load(keep_.data()), cross = Load(cross_.data());

    alignas(16) float states[kMaxFrames][4];
    Vector state = Load(state_.data());
    for (int frame = 0; frame < frames; ++frame) {
        const Vector left0 = Load(left + kFactor * frame);
        const Vector left1 = Load(left + kFactor * frame + 4);
        const Vector right0 = Load(right + kFactor * frame);
        const Vector right1 = Load(right + kFactor * frame + 4);
        const Vector in =
            SumsOf(left0 * first0 + left1 * first1, right0 * first0 + right1 * first1,
                   left0 * second0 + left1 * second1, right0 * second0 + right1 * second1);
        state = (in + keep * state) + cross * SwappedHalves(state);
        std::memcpy(states[frame], &state, sizeof state);
    }
    std::memcpy(state_.data(), &state, sizeof state);
    for (float& value : state_)
        value = FlushedTiny(value);

    for (int frame = 0; frame < frames; ++frame) {
        const int last = kFactor * frame + kFactor - 1;
        leftOut[frame] = last_ * left[last] + second_ * states[frame][2];
        rightOut[frame] = last_ * right[last] + second_ * states[frame][3];
    }
}

} // namespace keldra
