#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <iterator>
#include <limits>
#include <span>

namespace keldra::fuzz {

/// The bytes of one run, taken as whatever is needed next. Empty, it answers zeros.
class CInput : public FuzzedDataProvider {
public:
    using FuzzedDataProvider::FuzzedDataProvider;

    [[nodiscard]] bool IsEmpty() { return remaining_bytes() == 0; }
    [[nodiscard]] int Byte() { return ConsumeIntegral<std::uint8_t>(); }
    [[nodiscard]] int UpTo(int most) { return ConsumeIntegralInRange(0, most); }
    [[nodiscard]] bool OneIn(int count) { return UpTo(count - 1) == 0; }
    template <typename List>
    auto Of(const List& list)
    {
        return std::begin(list)[ConsumeIntegralInRange<std::size_t>(0, std::size(list) - 1)];
    }
    /// Most often a byte, else what no index, length or handle should be.
    [[nodiscard]] std::int32_t AnyInt()
    {
        using Limits = std::numeric_limits<std::int32_t>;
        const std::int32_t some = Byte();
        return PickValueInArray({some, some, some, 0, 1, -1, 156, Limits::max(), Limits::min()});
    }
    /// Most often 0 .. 1, else anything up to no number at all.
    [[nodiscard]] float AnyFloat()
    {
        const float some = static_cast<float>(Byte()) / 255.0f;
        return PickValueInArray({some, some, some, 0.0f, 1.0f, -some, 100.0f * some,
                                 48000.0f * some, NAN, INFINITY, -INFINITY, 1e-40f, 3e38f, -3e38f});
    }
};

inline void MustBeFinite(std::span<const float> sound)
{
    for (const float sample : sound)
        if (!std::isfinite(sample))
            std::abort();
}

} // namespace keldra::fuzz
