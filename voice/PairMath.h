#pragma once

namespace keldra {

/// Two numbers that are worked on as one: the envelopes of a voice need one exponential each.
using DoublePair [[gnu::vector_size(16)]] = double;

/// 2^x for x in -1022 .. 1023, to 1e-14 of its value: several times as fast as two library calls.
/// Beyond, or for a NaN, some number or other.
[[nodiscard]] DoublePair Exp2(DoublePair x);

/// sin(2 pi x) for x in 0 .. 1, to 1e-13.
[[nodiscard]] double SineOfCycle(double x);

} // namespace keldra
