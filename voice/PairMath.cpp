#include "voice/PairMath.h"

#include <cstddef>
#include <cstdint>
#include <numbers>

namespace keldra {

namespace {

using IntPair [[gnu::vector_size(16)]] = std::int64_t;

template <class Number, std::size_t count>
struct Series {
    Number c[count];
};

/// The Taylor coefficients of 2^x, each twice.
template <std::size_t count>
constexpr Series<DoublePair, count> PowersOfTwo()
{
    Series<DoublePair, count> series{};
    double coefficient = 1.0;
    for (std::size_t i = 0; i < count; ++i) {
        series.c[i] = DoublePair{coefficient, coefficient};
        coefficient *= std::numbers::ln2 / static_cast<double>(i + 1);
    }
    return series;
}

/// The Taylor coefficients of sin(2 pi x) / x in powers of x^2.
template <std::size_t count>
constexpr Series<double, count> SinesOfCycle()
{
    constexpr double z = 2.0 * std::numbers::pi;
    Series<double, count> series{};
    double coefficient = z;
    for (std::size_t i = 0; i < count; ++i) {
        series.c[i] = coefficient;
        coefficient *= -z * z / static_cast<double>((2 * i + 2) * (2 * i + 3));
    }
    return series;
}

} // namespace

DoublePair Exp2(DoublePair x)
{
    // At this magnitude a double's last bits are a whole number: the one nearest to x.
    constexpr double kWholeNumbers = 0x1.8p52;
    const DoublePair shifted = x + kWholeNumbers;
    const DoublePair f = x - (shifted - kWholeNumbers); // -0.5 .. 0.5

    static constexpr auto kSeries = PowersOfTwo<12>();
    const DoublePair(&c)[12] = kSeries.c;
    const DoublePair f2 = f * f;
    const DoublePair f4 = f2 * f2;
    const DoublePair first = (c[0] + c[1] * f) + (c[2] + c[3] * f) * f2;
    const DoublePair second = (c[4] + c[5] * f) + (c[6] + c[7] * f) * f2;
    const DoublePair third = (c[8] + c[9] * f) + (c[10] + c[11] * f) * f2;
    const DoublePair power = first + (second + third * f4) * f4;

    constexpr std::int64_t kExponentBias = 1023;
    const auto wholeBits = reinterpret_cast<IntPair>(shifted);
    return power * reinterpret_cast<DoublePair>((wholeBits + kExponentBias) << 52);
}

double SineOfCycle(double x)
{
    // The second half is the first upside down, the second quarter the first backwards.
    const double half = x < 0.5 ? x : x - 0.5;
    const double quarter = half < 0.25 ? half : 0.5 - half;

    static constexpr auto kSeries = SinesOfCycle<9>();
    const double(&c)[9] = kSeries.c;
    const double q2 = quarter * quarter;
    const double q4 = q2 * q2;
    const double q8 = q4 * q4;
    const double first = (c[0] + c[1] * q2) + (c[2] + c[3] * q2) * q4;
    const double second = (c[4] + c[5] * q2) + (c[6] + c[7] * q2) * q4;
    const double sine = (first + (second + c[8] * q8) * q8) * quarter;
    return x < 0.5 ? sine : -sine;
}

} // namespace keldra
