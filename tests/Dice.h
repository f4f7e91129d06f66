#pragma once

#include <iterator>
#include <random>

namespace keldra {

/// What is by chance, the same in every run.
class CDice {
public:
    explicit CDice(unsigned seed = 1) : random_(seed) {}

    int UpTo(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most + 1)); }
    int Byte() { return UpTo(255); }
    bool OneIn(int count) { return UpTo(count - 1) == 0; }
    /// In steps of a thousandth of the way.
    float Between(float low, float high)
    {
        return low + (high - low) * static_cast<float>(UpTo(1000)) / 1000.0f;
    }
    template <typename List>
    auto Of(const List& list)
    {
        return std::begin(list)[UpTo(static_cast<int>(std::size(list)) - 1)];
    }

private:
    std::mt19937 random_;
};

} // namespace keldra
