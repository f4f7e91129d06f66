// Vectors with a voice in each lane, and the way of voices into them and back. What is an operation
// of its own on some instruction set has a name here, so that formulas stay formulas.
// Everything has internal linkage, and nothing inline from outside is called: the linker keeps one
// copy of such a function for the whole program, perhaps the one for another processor.

#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace keldra::KELDRA_KERNEL_NAME {

namespace {

constexpr int kLanes = KELDRA_KERNEL_LANES;
constexpr int kQuad = 4;
constexpr int kQuads = kLanes / kQuad;

using Floats [[gnu::vector_size(4 * kLanes)]] = float;
using Ints [[gnu::vector_size(4 * kLanes)]] = std::int32_t;
using Words [[gnu::vector_size(4 * kLanes)]] = std::uint32_t;
using Doubles [[gnu::vector_size(8 * kLanes)]] = double;
using Longs [[gnu::vector_size(8 * kLanes)]] = std::int64_t;
using Quad [[gnu::vector_size(4 * kQuad)]] = float;
using DoubleQuad [[gnu::vector_size(8 * kQuad)]] = double;

[[gnu::always_inline]] inline Floats All(float value)
{
    return Floats{} + value;
}

[[gnu::always_inline]] inline Ints Bits(Floats value)
{
    return reinterpret_cast<Ints>(value);
}

[[gnu::always_inline]] inline Floats FromBits(Ints bits)
{
    return reinterpret_cast<Floats>(bits);
}

[[gnu::always_inline]] inline Doubles Widened(Floats value)
{
    return __builtin_convertvector(value, Doubles);
}

[[gnu::always_inline]] inline Floats Rounded(Doubles value)
{
    return __builtin_convertvector(value, Floats);
}

/// All bits set in the lanes of negative numbers: as integers they are up to minus infinity, the
/// others above. x86 compares integers beside its additions of floats, and shifts in their place.
[[gnu::always_inline]] inline Ints NegativeMask(Floats value)
{
    return Bits(value) < Bits(All(-__builtin_inff())) + 1;
}

[[gnu::always_inline]] inline Floats Choose(Ints mask, Floats where, Floats elsewhere)
{
    return FromBits((Bits(where) & mask) | (Bits(elsewhere) & ~mask));
}

/// The smaller; the limit for what is no number.
[[gnu::always_inline]] inline Floats AtMost(float limit, Floats value)
{
    const Floats limits = All(limit);
    return value < limits ? value : limits;
}

/// The larger; the limit for what is no number.
[[gnu::always_inline]] inline Floats AtLeast(float limit, Floats value)
{
    const Floats limits = All(limit);
    return value > limits ? value : limits;
}

/// The smaller of a number and 0. One instruction on x86, which g++ doesn't find by itself.
[[gnu::always_inline]] inline Floats NegativePart(Floats value)
{
#if defined(__AVX512F__)
    return _mm512_maskz_min_ps(0xffff, value, Floats{}); // g++ warns of _mm512_min_ps
#elif defined(__AVX2__)
    return _mm256_min_ps(value, Floats{});
#elif defined(__SSE2__)
    return _mm_min_ps(value, Floats{});
#else
    return value < Floats{} ? value : Floats{};
#endif
}

/// Four fields of four voices to four voices of four fields, or back.
[[gnu::always_inline]] inline void Transpose(Quad (&rows)[kQuad])
{
    const Quad ab01 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
    const Quad ab23 = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
    const Quad cd01 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
    const Quad cd23 = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
    rows[0] = __builtin_shufflevector(ab01, cd01, 0, 1, 4, 5);
    rows[1] = __builtin_shufflevector(ab01, cd01, 2, 3, 6, 7);
    rows[2] = __builtin_shufflevector(ab23, cd23, 0, 1, 4, 5);
    rows[3] = __builtin_shufflevector(ab23, cd23, 2, 3, 6, 7);
}
[[gnu::always_inline]] inline void Transpose(DoubleQuad (&rows)[kQuad])
{
    const DoubleQuad ab02 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 2, 6);
    const DoubleQuad ab13 = __builtin_shufflevector(rows[0], rows[1], 1, 5, 3, 7);
    const DoubleQuad cd02 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 2, 6);
    const DoubleQuad cd13 = __builtin_shufflevector(rows[2], rows[3], 1, 5, 3, 7);
    rows[0] = __builtin_shufflevector(ab02, cd02, 0, 1, 4, 5);
    rows[1] = __builtin_shufflevector(ab13, cd13, 0, 1, 4, 5);
    rows[2] = __builtin_shufflevector(ab02, cd02, 2, 3, 6, 7);
    rows[3] = __builtin_shufflevector(ab13, cd13, 2, 3, 6, 7);
}

/// A vector of the same field from its quads. Floats in registers, since what was stored in parts
/// can't be loaded as a whole without a wait; doubles, for which compilers have no good way there,
/// through memory.
template <int count>
[[gnu::always_inline]] inline Floats Joined(const Quad (&quads)[count])
{
    if constexpr (count == 1) {
        return quads[0];
    } else if constexpr (count == 2) {
        return __builtin_shufflevector(quads[0], quads[1], 0, 1, 2, 3, 4, 5, 6, 7);
    } else {
        const auto low = __builtin_shufflevector(quads[0], quads[1], 0, 1, 2, 3, 4, 5, 6, 7);
        const auto high = __builtin_shufflevector(quads[2], quads[3], 0, 1, 2, 3, 4, 5, 6, 7);
        return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                       15);
    }
}
[[gnu::always_inline]] inline Doubles Joined(const DoubleQuad (&quads)[kQuads])
{
    Doubles joined;
    __builtin_memcpy(&joined, quads, sizeof(joined));
    return joined;
}

/// From records of one voice each to fields with a voice in each lane.
/// @param offset  of the first of `rows` rows of four fields in a record
/// @param fields  4 * rows vectors
template <class Four, int rows, class Record, class Vector>
[[gnu::always_inline]] inline void Gather(Record* const* records, std::size_t offset,
                                          Vector* fields)
{
    for (int row = 0; row < rows; ++row, offset += sizeof(Four)) {
        Four columns[kQuad][kQuads];
        for (int quad = 0; quad < kQuads; ++quad) {
            Four block[kQuad];
            for (int i = 0; i < kQuad; ++i) {
                const auto* record = reinterpret_cast<const char*>(records[kQuad * quad + i]);
                __builtin_memcpy(&block[i], record + offset, sizeof(Four));
            }
            Transpose(block);
            for (int i = 0; i < kQuad; ++i)
                columns[i][quad] = block[i];
        }
        for (int i = 0; i < kQuad; ++i)
            fields[kQuad * row + i] = Joined(columns[i]);
    }
}

/// And back.
template <class Four, int rows, class Record, class Vector>
[[gnu::always_inline]] inline void Scatter(const Vector* fields, Record* const* records)
{
    for (int row = 0; row < rows; ++row) {
        for (int quad = 0; quad < kQuads; ++quad) {
            Four block[kQuad];
            for (int i = 0; i < kQuad; ++i) {
                const auto* field = reinterpret_cast<const Four*>(fields + kQuad * row + i);
                __builtin_memcpy(&block[i], field + quad, sizeof(Four));
            }
            Transpose(block);
            for (int i = 0; i < kQuad; ++i) {
                auto* record = reinterpret_cast<char*>(records[kQuad * quad + i]);
                __builtin_memcpy(record + static_cast<std::size_t>(row) * sizeof(Four), &block[i],
                                 sizeof(Four));
            }
        }
    }
}

} // namespace

} // namespace keldra::KELDRA_KERNEL_NAME
